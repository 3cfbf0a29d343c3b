"""Finds everything that is wrong or odd in a Zix file, as `zix validate` does.

Made from docs/zix-format.md alone (section 7) and sharing nothing with the C++ library: where the two judge a file
differently, one of them or the document is wrong.

    for finding in zixscene.check.validate("model.zix"):
        print(finding)

or, from a shell: python3 -m zixscene.check model.zix
"""

from __future__ import annotations

import sys
from typing import Dict, Iterator, List, NamedTuple, Optional, Tuple

import numpy as np
import numpy.typing as npt

from . import layout
from .errors import ZixError
from .layout import MESH, NODE, NONE, SHAPE
from .mapping import StrPath, bytes_of, bytes_of_file
from .rules import check_tables
from .structure import Structure
from .text import are_utf8


class Finding(NamedTuple):
    """severity: "error" or "warning"; code: section 7 of the document; offset in bytes, or None."""
    severity: str
    code: str
    message: str
    offset: Optional[int]

    def __str__(self) -> str:
        place = "" if self.offset is None else f" at {self.offset}"
        return f"{self.severity} {self.code}{place}: {self.message}"


def validate(path: StrPath) -> List[Finding]:
    """All findings of a file, none of which are errors if it is valid. Every byte is looked at.

    A file that readers must refuse has one finding, the rule that it breaks. Nothing is raised for what a file holds;
    one that cannot be read has the finding CANNOT_OPEN.
    """
    try:
        return _findings(bytes_of_file(path, mapped=True))
    except ZixError as error:
        return [Finding("error", error.code, error.message, error.offset)]


def validate_bytes(data: "bytes | bytearray | memoryview") -> List[Finding]:
    """The same of the bytes of a whole file."""
    try:
        return _findings(bytes_of(data))
    except ZixError as error:
        return [Finding("error", error.code, error.message, error.offset)]


def _findings(data: "npt.NDArray[np.uint8]") -> List[Finding]:
    file = Structure(data)
    check_tables(file)
    return [*_padding(file), *_checksums(file), *_meshes(file), *_coordinates(file), *_names(file), *_tree(file)]


def _error(code: str, message: str, offset: Optional[int] = None) -> Finding:
    return Finding("error", code, message, offset)


def _warning(code: str, message: str, offset: Optional[int] = None) -> Finding:
    return Finding("warning", code, message, offset)


def _padding(file: Structure) -> Iterator[Finding]:
    offsets = file.directory["offset"].tolist()
    sizes = file.directory["size"].tolist()
    for number, (offset, size, following) in enumerate(zip(offsets, sizes, [*offsets[1:], file.directory_offset])):
        gap = file.data[offset + size:following]
        if gap.any():
            first = offset + size + int((gap != 0).argmax())
            yield _error("PADDING", f"a byte behind chunk {number} is not 0", first)


def _checksums(file: Structure) -> Iterator[Finding]:
    tables = set(file.numbers.values())
    for number in file.differing(n for n in range(len(file.directory)) if n not in tables):
        yield _error("CHUNK_CHECKSUM", f"chunk {number}: the checksum differs", int(file.directory[number]["offset"]))


class _Arrays:
    """Facts on array chunks, each found out once: many objects may share one chunk."""

    def __init__(self, file: Structure) -> None:
        self.file = file
        self.highest: Dict[int, npt.NDArray[np.uint32]] = {}
        self.lengths: Dict[int, Tuple[int, int]] = {}

    def values(self, chunk: int) -> "npt.NDArray[np.uint32]":
        return self.file.chunk_bytes(chunk).view("<u4") if chunk != NONE else np.empty(0, np.uint32)

    def first_not_below(self, chunk: int, limit: int) -> int:
        """The place of the first value that is not below the limit, or -1."""
        if chunk not in self.highest:
            # The greatest value up to each place rises, so any limit is looked up in it at once.
            self.highest[chunk] = np.maximum.accumulate(self.values(chunk))
        running = self.highest[chunk]
        if limit > NONE:
            return -1
        at = int(np.searchsorted(running, np.uint32(limit), side="left"))
        return at if at < len(running) else -1

    def sum_and_first_not_3(self, chunk: int) -> Tuple[int, int]:
        if chunk not in self.lengths:
            values = self.values(chunk)
            other = values != 3
            self.lengths[chunk] = int(values.sum(dtype=np.uint64)), int(other.argmax()) if other.any() else -1
        return self.lengths[chunk]


def _meshes(file: Structure) -> Iterator[Finding]:
    objects, tables = file.tables["OBJS"], file.tables
    numbers = np.flatnonzero(objects["type"] == MESH).tolist()
    meshes = tables["MESH"]
    arrays = _Arrays(file)

    def chunks_of(field: str, table: str) -> List[int]:
        """For each mesh the chunk of one of its arrays, none where there is no object or no chunk."""
        named = meshes[field]
        found = np.full(len(named), NONE, np.uint32)
        there = named != NONE
        found[there] = tables[table]["chunk"][objects["ordinal"][named[there]]]
        return list(found.tolist())

    rows = zip(numbers, meshes["kind"].tolist(), meshes["coordinates"].tolist(), meshes["indices"].tolist(),
               chunks_of("coordinates", "CRDS"), chunks_of("indices", "INDX"), chunks_of("lengths", "INDX"))
    for number, kind, coordinates, indices, points_chunk, index_chunk, length_chunk in rows:
        points = 0
        if points_chunk != NONE:
            points = int(file.directory[points_chunk]["size"]) // int(file.directory[points_chunk]["record_size"])
        at = arrays.first_not_below(index_chunk, points)
        if at >= 0:
            yield _error("INDEX_RANGE", f"mesh {number}: index {at} is not below {points} points",
                         int(file.directory[index_chunk]["offset"]) + 4 * at)
        total, odd = arrays.sum_and_first_not_3(length_chunk)
        if total != len(arrays.values(index_chunk)):
            yield _warning("LENGTHS_SUM", f"mesh {number}: lengths of {total} for {len(arrays.values(index_chunk))} indices")
        if kind == 0 and odd >= 0:
            yield _warning("ELEMENT_LENGTH", f"mesh {number}: element {odd} is no triangle",
                           int(file.directory[length_chunk]["offset"]) + 4 * odd)
        if coordinates == NONE or indices == NONE:
            yield _warning("MESH_INCOMPLETE", f"mesh {number} has no {'coordinates' if coordinates == NONE else 'indices'}")


def _coordinates(file: Structure) -> Iterator[Finding]:
    first_odd: Dict[int, int] = {NONE: -1}
    for row, chunk in enumerate(file.tables["CRDS"]["chunk"].tolist()):
        if chunk not in first_odd:
            odd = ~np.isfinite(file.chunk_bytes(chunk).view("<f4"))
            first_odd[chunk] = int(odd.argmax()) if odd.any() else -1
        if first_odd[chunk] >= 0:
            yield _warning("NOT_FINITE", f"coordinates {row}: value {first_odd[chunk]} is no finite number",
                           int(file.directory[chunk]["offset"]) + 4 * first_odd[chunk])


def _names(file: Structure) -> Iterator[Finding]:
    objects = file.tables["OBJS"]
    for number in np.flatnonzero(~are_utf8(file.text, objects["name"], objects["name_size"])).tolist():
        yield _warning("NAME_NOT_UTF8", f"the name of object {number} is no UTF-8")
    if "PROP" in file.tables:
        rows = file.tables["PROP"]
        valid = are_utf8(file.text, rows["key"], rows["key_size"]) & are_utf8(file.text, rows["value"], rows["value_size"])
        for owner in dict.fromkeys(rows["object"][~valid].tolist()):
            whose = "the scene" if owner == NONE else f"object {owner}"
            yield _warning("PROPERTY_NOT_UTF8", f"a property of {whose} is no UTF-8")


def _tree(file: Structure) -> Iterator[Finding]:
    objects = file.tables["OBJS"]
    root = int(file.tables["SCNE"]["root"][0])
    if root == NONE:
        yield _warning("NO_ROOT", "the scene has no root")
    elif int(objects["parent"][root]) != NONE:
        yield _warning("ROOT_HAS_PARENT", f"object {root}, the root, has a parent")
    free = objects["parent"] == NONE
    lost = free & ((objects["type"] == SHAPE) | (objects["type"] == MESH))
    if root != NONE:
        lost |= free & (objects["type"] == NODE) & (np.arange(len(objects)) != root)
    for number in np.flatnonzero(lost).tolist():
        yield _warning("UNATTACHED", f"object {number}, {layout.TYPE_NAMES[int(objects['type'][number])]}, has no parent")


def main(arguments: List[str]) -> int:
    """Prints the findings of files; 0 if no file has an error, 1 if one has, 2 without files."""
    if not arguments or arguments[0].startswith("-"):
        print("usage: python3 -m zixscene.check FILE...", file=sys.stderr)
        return 2
    wrong = False
    for path in arguments:
        for finding in validate(path):
            print(f"{path}: {finding}")
            wrong = wrong or finding.severity == "error"
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
