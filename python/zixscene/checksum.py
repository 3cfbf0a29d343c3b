"""XXH64 with seed 0, the checksum of all Zix files (docs/zix-format.md, section 3).

The module xxhash (Debian: python3-xxhash) does the work where it is installed. Without it, about 10 MB a second are
checked: each block of 32 bytes needs the result of the one before it. Only different runs of bytes can be worked on
side by side, which `xxh64_many` does with numpy.
"""

from __future__ import annotations

import importlib
import struct
from typing import Any, List, Sequence, Union

import numpy as np
import numpy.typing as npt

fast: Any
try:
    fast = importlib.import_module("xxhash")
except ImportError:
    fast = None

Bytes = Union[bytes, bytearray, memoryview, "npt.NDArray[np.uint8]"]

M = (1 << 64) - 1
P1, P2, P3 = 0x9E3779B185EBCA87, 0xC2B2AE3D27D4EB4F, 0x165667B19E3779F9
P4, P5 = 0x85EBCA77C2B2AE63, 0x27D4EB2F165667C5
START = ((P1 + P2) & M, P2, 0, -P1 & M)
BLOCK = 32
PIECE = 1 << 20         # bytes whose words are held as Python numbers at a time
FEWEST_BESIDE = 6       # with fewer runs the plain loop is quicker than steps of numpy


def xxh64(data: Bytes) -> int:
    """The checksum of some bytes."""
    content = np.frombuffer(data, np.uint8) if len(data) else np.empty(0, np.uint8)
    if fast is not None:
        return int(fast.xxh64_intdigest(content.data))
    whole = len(content) // BLOCK * BLOCK
    return _finish(_blocks(list(START), content[:whole]), content)


def xxh64_many(data: "npt.NDArray[np.uint8]", offsets: Sequence[int], sizes: Sequence[int]) -> List[int]:
    """The checksum of each run of bytes `data[offsets[i]:offsets[i] + sizes[i]]`; offsets are multiples of 8."""
    runs = [data[offset:offset + size] for offset, size in zip(offsets, sizes)]
    if fast is not None or len(runs) < FEWEST_BESIDE:
        return [xxh64(run) for run in runs]
    blocks = np.array([size // BLOCK for size in sizes], np.int64)
    order = np.argsort(-blocks, kind="stable")
    states, done = _blocks_beside(data, np.array(offsets, np.int64)[order], blocks[order])
    sums = [0] * len(runs)
    for place, number in enumerate(order.tolist()):
        run = runs[number]
        whole = len(run) // BLOCK * BLOCK
        sums[number] = _finish(_blocks(states[place].tolist(), run[done * BLOCK:whole]), run)
    return sums


def _blocks(state: List[int], content: "npt.NDArray[np.uint8]") -> List[int]:
    """The four accumulators after whole blocks."""
    a1, a2, a3, a4 = state
    for start in range(0, len(content), PIECE):
        words = content[start:start + PIECE].view("<u8")
        # The multiplication needs nothing that came before. Bits above the 64th are cut off only where they are in the way.
        for y1, y2, y3, y4 in (words * np.uint64(P2)).reshape(-1, 4).tolist():
            a1 = (a1 + y1) & M
            a2 = (a2 + y2) & M
            a3 = (a3 + y3) & M
            a4 = (a4 + y4) & M
            a1 = (a1 << 31 | a1 >> 33) * P1 & M
            a2 = (a2 << 31 | a2 >> 33) * P1 & M
            a3 = (a3 << 31 | a3 >> 33) * P1 & M
            a4 = (a4 << 31 | a4 >> 33) * P1 & M
    return [a1, a2, a3, a4]


def _blocks_beside(data: "npt.NDArray[np.uint8]", offsets: "npt.NDArray[np.int64]",
                   blocks: "npt.NDArray[np.int64]") -> "tuple[npt.NDArray[np.uint64], int]":
    """Accumulators of runs, longest first, after the returned number of blocks (or all, where a run has fewer)."""
    words = data[:len(data) // 8 * 8].view("<u8")
    states = np.tile(np.array(START, np.uint64), (len(blocks), 1))
    left, right, factor = np.uint64(31), np.uint64(33), np.uint64(P1)
    done = 0
    while True:
        active = int(np.searchsorted(-blocks, -done, side="left"))  # those with more than `done` blocks
        if active < FEWEST_BESIDE:
            return states, done
        steps = min(int(blocks[active - 1]) - done, max(1, PIECE // (active * BLOCK)))
        first = offsets[:active] // 8 + 4 * done
        places = first[None, :, None] + (4 * np.arange(steps))[:, None, None] + np.arange(4)[None, None, :]
        products = words[places].astype(np.uint64) * np.uint64(P2)
        state = states[:active]
        turned = np.empty_like(state)
        for product in products:
            np.add(state, product, out=state)
            np.left_shift(state, left, out=turned)
            np.right_shift(state, right, out=state)
            np.bitwise_or(state, turned, out=state)
            np.multiply(state, factor, out=state)
        done += steps


def _rotl(x: int, r: int) -> int:
    return (x << r | x >> (64 - r)) & M


def _round(a: int, x: int) -> int:
    return _rotl((a + x * P2) & M, 31) * P1 & M


def _finish(state: List[int], content: "npt.NDArray[np.uint8]") -> int:
    """From the accumulators of all whole blocks of `content` to its checksum."""
    n = len(content)
    if n >= BLOCK:
        a1, a2, a3, a4 = state
        h = (_rotl(a1, 1) + _rotl(a2, 7) + _rotl(a3, 12) + _rotl(a4, 18)) & M
        for a in state:
            h = ((h ^ _round(0, a)) * P1 + P4) & M
    else:
        h = P5
    h = (h + n) & M
    rest = content[n // BLOCK * BLOCK:].tobytes()
    at = 0
    while len(rest) - at >= 8:
        h = (_rotl(h ^ _round(0, struct.unpack_from("<Q", rest, at)[0]), 27) * P1 + P4) & M
        at += 8
    if len(rest) - at >= 4:
        h = (_rotl(h ^ (struct.unpack_from("<I", rest, at)[0] * P1 & M), 23) * P2 + P3) & M
        at += 4
    for x in rest[at:]:
        h = _rotl(h ^ (x * P5 & M), 11) * P1 & M
    h = (h ^ (h >> 33)) * P2 & M
    h = (h ^ (h >> 29)) * P3 & M
    return h ^ (h >> 32)
