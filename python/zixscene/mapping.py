"""The bytes of a file as a read-only array."""

from __future__ import annotations

import mmap
import os
import stat
from typing import Union

import numpy as np
import numpy.typing as npt

from .errors import ZixError

StrPath = Union[str, "os.PathLike[str]"]


def bytes_of_file(path: StrPath, mapped: bool) -> "npt.NDArray[np.uint8]":
    """All bytes of a file, mapped into memory or read. A map stays as long as an array or a view of it."""
    try:
        with open(path, "rb", opener=_open_at_once) as file:
            status = os.fstat(file.fileno())
            if not stat.S_ISREG(status.st_mode):
                raise ZixError("CANNOT_OPEN", f"{os.fspath(path)} is no regular file")
            if not mapped or status.st_size == 0:
                return np.frombuffer(file.read(), np.uint8)
            return np.frombuffer(mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ), np.uint8)
    except OSError as error:
        raise ZixError("CANNOT_OPEN", f"{os.fspath(path)}: {error.strerror or error}") from error


def bytes_of(data: "bytes | bytearray | memoryview") -> "npt.NDArray[np.uint8]":
    """The bytes of a file that is in memory; what could change is copied."""
    return np.frombuffer(data if isinstance(data, bytes) else bytes(data), np.uint8)


def _open_at_once(path: str, flags: int) -> int:
    """Without waiting for a writer where the path is a pipe."""
    return os.open(path, flags | getattr(os, "O_NONBLOCK", 0))
