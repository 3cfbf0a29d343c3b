"""Texts: UTF-8 is meant, any bytes are legal (docs/zix-format.md, section 1)."""

from __future__ import annotations

import codecs
from typing import Dict, List, Tuple

import numpy as np
import numpy.typing as npt


def _replace_bytes(error: UnicodeError) -> Tuple[str, int]:
    assert isinstance(error, UnicodeDecodeError)
    return "\ufffd" * (error.end - error.start), error.end


codecs.register_error("zixscene.replace", _replace_bytes)


def decoded(raw: bytes) -> str:
    """The text, with one U+FFFD for each byte that belongs to no valid character."""
    return raw.decode("utf-8", "zixscene.replace")


def as_texts(rows: List[Tuple[bytes, bytes]]) -> Dict[str, str]:
    """Keys and values for people."""
    return {decoded(key): decoded(value) for key, value in rows}


def are_utf8(text: "npt.NDArray[np.uint8]", offsets: "npt.NDArray[np.uint64]",
             sizes: "npt.NDArray[np.uint32]") -> "npt.NDArray[np.bool_]":
    """Which of the runs of `text` are valid UTF-8.

    The bytes are decoded once, however many runs share them. A character begins where it begins in whatever run it is
    read, so a run is valid if it has no byte that belongs to no character, and cuts none at its ends.
    """
    raw = text.tobytes()
    if raw.isascii():
        return np.ones(len(offsets), np.bool_)
    wrong = np.zeros(len(text) + 1, np.int64)

    def note(error: UnicodeError) -> Tuple[str, int]:
        assert isinstance(error, UnicodeDecodeError)
        wrong[error.start:error.end] = 1
        return "", error.end

    codecs.register_error("zixscene.note", note)
    raw.decode("utf-8", "zixscene.note")
    inside = np.append((text & 0xC0) == 0x80, False) & (wrong == 0)  # a character runs on here
    before = np.concatenate([np.zeros(1, np.int64), np.cumsum(wrong[:-1])])
    starts = offsets.astype(np.int64)
    ends = starts + sizes
    valid: npt.NDArray[np.bool_] = (before[ends] == before[starts]) & ~inside[starts] & ~inside[ends]
    valid |= sizes == 0
    return valid
