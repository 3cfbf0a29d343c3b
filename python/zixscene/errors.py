"""The one exception of the package."""

from __future__ import annotations

from typing import Optional


class ZixError(Exception):
    """A file that a reader must refuse, or an array whose checksum differs.

    code:    one of the codes of docs/zix-format.md, section 7 ("TRUNCATED", "CHUNK_CHECKSUM", ...), or "CANNOT_OPEN"
             for a file that the system does not let one read (the OSError is then the cause)
    offset:  where in the file, in bytes from its start; None where there is no single place
    message: what is wrong, without code and offset
    """

    def __init__(self, code: str, message: str, offset: Optional[int] = None) -> None:
        super().__init__(code, message, offset)
        self.code = code
        self.message = message
        self.offset = offset

    def __str__(self) -> str:
        place = "" if self.offset is None else f" (at offset {self.offset})"
        return f"{self.code}: {self.message}{place}"
