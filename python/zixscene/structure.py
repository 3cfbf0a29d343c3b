"""Header and directory of a file, and the chunks in it: the rules of docs/zix-format.md, section 7, down to the tables.

Everything is checked against the bytes that are there before memory is taken for it.
"""

from __future__ import annotations

from typing import Dict, Iterable, List, Tuple

import numpy as np
import numpy.typing as npt

from . import layout
from .checksum import xxh64, xxh64_many
from .errors import ZixError

Rows = npt.NDArray[np.void]


class Structure:
    """A file whose header, directory and set of tables follow the rules.

    data:      all bytes of the file, uint8
    version:   (major, minor)
    directory: one row per chunk (layout.ENTRY)
    tables:    rows by type; TEXT as uint8
    """

    def __init__(self, data: "npt.NDArray[np.uint8]", check_sums: bool = True) -> None:
        self.data = data
        self.check_sums = check_sums
        self.version: Tuple[int, int] = (0, 0)
        self.tables: Dict[str, Rows] = {}
        self.numbers: Dict[str, int] = {}   # chunk numbers of the tables
        self._verified: Dict[int, bool] = {}
        self.directory_offset = 0
        self.directory = self._read_header()
        self._check_places()
        self._check_record_sizes()
        self._find_tables()
        if check_sums:
            self.verify(self.numbers.values())

    def _read_header(self) -> Rows:
        data = self.data
        magic = data[:len(layout.MAGIC)].tobytes()
        if not magic or magic != layout.MAGIC[:len(magic)]:
            raise ZixError("NOT_ZIX", "the file is empty" if not magic else "the file does not begin as a Zix scene does", 0)
        if len(data) < layout.HEADER_SIZE:
            raise ZixError("TRUNCATED", f"{len(data)} bytes are no whole header", len(data))
        row = data[:layout.HEADER_SIZE].view(np.dtype(layout.HEADER))[0]
        self.version = int(row["major"]), int(row["minor"])
        if self.version[0] != layout.MAJOR:
            raise ZixError("UNKNOWN_VERSION", "version %d.%d" % self.version, 8)
        if xxh64(data[:56]) != int(row["checksum"]):
            raise ZixError("HEADER_CHECKSUM", "the header's checksum differs", 56)
        if int(row["header_size"]) != layout.HEADER_SIZE:
            raise ZixError("HEADER_SIZE", f"the header states a size of {int(row['header_size'])}", 12)
        size, start, count = int(row["file_size"]), int(row["directory"]), int(row["chunks"])
        if len(data) < size:
            raise ZixError("TRUNCATED", f"{len(data)} of {size} bytes are there", len(data))
        if len(data) > size:
            raise ZixError("EXTRA_BYTES", f"{len(data) - size} bytes follow the end of the scene", size)
        entry = np.dtype(layout.ENTRY)
        if start % layout.ALIGNMENT or start < layout.HEADER_SIZE or start + entry.itemsize * count != size:
            raise ZixError("DIRECTORY_PLACE", f"a directory of {count} chunks at {start} of {size} bytes", 24)
        if self.check_sums and xxh64(data[start:]) != int(row["directory_checksum"]):
            raise ZixError("DIRECTORY_CHECKSUM", "the directory's checksum differs", start)
        self.directory_offset = start
        return data[start:].view(entry)

    def _check_places(self) -> None:
        """Every chunk starts at the first multiple of 64 behind the one before it, and so does the directory."""
        end = np.uint64(self.directory_offset)
        offsets, sizes = self.directory["offset"], self.directory["size"]
        outside = offsets > end
        outside |= sizes > end - np.minimum(offsets, end)
        if outside.any():
            self._refuse_place(int(outside.argmax()))
        ends = (offsets + sizes + np.uint64(63)) // np.uint64(64) * np.uint64(64)
        wanted = np.concatenate([np.array([layout.HEADER_SIZE], np.uint64), ends])
        wrong = wanted[:-1] != offsets
        if wrong.any():
            self._refuse_place(int(wrong.argmax()))
        if int(wanted[-1]) != self.directory_offset:
            raise ZixError("CHUNK_PLACE", f"the directory is not at {int(wanted[-1])}", self.directory_offset)

    def _refuse_place(self, number: int) -> None:
        row = self.directory[number]
        raise ZixError("CHUNK_PLACE", f"chunk {number} has {int(row['size'])} bytes at {int(row['offset'])}",
                       self.entry_offset(number))

    def entry_offset(self, number: int) -> int:
        """Where the directory's entry of a chunk is in the file."""
        return self.directory_offset + number * np.dtype(layout.ENTRY).itemsize

    def _check_record_sizes(self) -> None:
        types, records, sizes = self.directory["type"], self.directory["record_size"], self.directory["size"]
        wrong = (records == 0) | (sizes % np.maximum(records, 1) != 0)
        later = self.version[1] > layout.MINOR
        for name in layout.tables_of(self.version[1]):
            known = layout.size_of(name)
            bad = records != known
            if later and name not in layout.NEVER_GROW:
                bad &= (records < known) | (records % 4 != 0)
            wrong |= (types == layout.four(name)) & bad
        wrong |= (types == layout.four("F32A")) & (records % 4 != 0)
        wrong |= (types == layout.four("U32A")) & (records != 4)
        if wrong.any():
            number = int(wrong.argmax())
            row = self.directory[number]
            raise ZixError("RECORD_SIZE", f"chunk {number}, {layout.type_text(int(row['type']))}: records of "
                           f"{int(row['record_size'])} in {int(row['size'])} bytes", self.entry_offset(number) + 32)

    def _find_tables(self) -> None:
        types = self.directory["type"]
        known = [layout.four(name) for name in (*layout.tables_of(self.version[1]), *layout.ARRAYS)]
        strange = ((self.directory["flags"] & layout.MUST_BE_KNOWN) != 0) & ~np.isin(types, np.array(known, np.uint32))
        if strange.any():
            number = int(strange.argmax())
            raise ZixError("UNKNOWN_CHUNK", f"chunk {number}: type {layout.type_text(int(types[number]))} must be known",
                           self.entry_offset(number))
        for name in layout.tables_of(self.version[1]):
            found = np.flatnonzero(types == layout.four(name))
            if len(found) > 1:
                raise ZixError("DUPLICATE_CHUNK", f"chunk {int(found[1])}: a second {name}", self.entry_offset(int(found[1])))
            if len(found) == 0 and name in layout.TABLES:
                raise ZixError("MISSING_CHUNK", f"no chunk {name}")
            if len(found) == 1:
                number = int(found[0])
                self.numbers[name] = number
                row = layout.record(name, int(self.directory[number]["record_size"]))
                self.tables[name] = self.chunk_bytes(number).view(row)

    @property
    def text(self) -> "npt.NDArray[np.uint8]":
        """The bytes of all texts."""
        return self.chunk_bytes(self.numbers["TEXT"])

    def chunk_bytes(self, number: int) -> "npt.NDArray[np.uint8]":
        """The bytes of a chunk: a view of the file."""
        row = self.directory[number]
        start = int(row["offset"])
        return self.data[start:start + int(row["size"])]

    def differing(self, numbers: Iterable[int]) -> List[int]:
        """The chunks of these numbers whose checksum differs; each chunk is added up once and then remembered."""
        wanted = list(numbers)
        new = [n for n in dict.fromkeys(wanted) if n not in self._verified]
        rows = self.directory[np.array(new, np.int64)]
        sums = xxh64_many(self.data, rows["offset"].tolist(), rows["size"].tolist())
        for number, mine, stated in zip(new, sums, rows["checksum"].tolist()):
            self._verified[number] = mine == stated
        return [n for n in wanted if not self._verified[n]]

    def verify(self, numbers: Iterable[int]) -> None:
        """Refuses the first of these chunks whose checksum differs."""
        for number in self.differing(numbers):
            row = self.directory[number]
            raise ZixError("CHUNK_CHECKSUM", f"chunk {number}, {layout.type_text(int(row['type']))}: the checksum differs",
                           int(row["offset"]))
