"""Placements as matrices (docs/zix-format.md, section 4.7).

A matrix is 4 x 4, float64, for column vectors: a point p of an object is at `matrix @ (x, y, z, 1)` in its parent, and
`outer @ inner` applies the inner one first. Its last row is (0, 0, 0, 1).
"""

from __future__ import annotations

from typing import Any

import numpy as np
import numpy.typing as npt

Matrix = npt.NDArray[np.float64]


def identity() -> Matrix:
    """The matrix that moves nothing; read-only."""
    matrix = np.eye(4)
    matrix.flags.writeable = False
    return matrix


def matrices(rows: "npt.NDArray[np.void]") -> Matrix:
    """The matrices (n, 4, 4) of rows of XFRM: scaled first, then turned, then moved.

    An axis of length 0 turns nothing; an axis or angle that is not finite gives NaN in the first three rows.
    """
    axes = rows["axis"].astype(np.float64)
    angles = rows["angle"].astype(np.float64)
    lengths = np.sqrt((axes * axes).sum(axis=1))
    still = lengths == 0
    with np.errstate(all="ignore"):
        x, y, z = (axes / np.where(still, 1.0, lengths)[:, None]).T
        c, s = np.cos(angles), np.sin(angles)
        d = 1 - c
        turned = np.array([[c + d * x * x, d * x * y - s * z, d * x * z + s * y],
                           [d * x * y + s * z, c + d * y * y, d * y * z - s * x],
                           [d * x * z - s * y, d * y * z + s * x, c + d * z * z]]).transpose(2, 0, 1)
        turned[still] = np.eye(3)
        result = np.zeros((len(rows), 4, 4))
        result[:, :3, :3] = turned * rows["scale"].astype(np.float64)[:, None, :]
        result[:, :3, 3] = rows["translation"]
    result[~still & ~(np.isfinite(lengths) & np.isfinite(angles)), :3] = np.nan
    result[:, 3, 3] = 1
    result.flags.writeable = False
    return result


def compose(outer: Matrix, inner: Matrix) -> Matrix:
    """The placement that applies `inner` first; as `outer @ inner`, but numbers that are not finite stay where they belong."""
    result = np.zeros((4, 4))
    with np.errstate(all="ignore"):
        result[:3] = outer[:3, :3] @ inner[:3]
        result[:3, 3] += outer[:3, 3]
    result[3, 3] = 1
    result.flags.writeable = False
    return result


def transform_points(matrix: Matrix, points: "npt.NDArray[np.floating[Any]]") -> "npt.NDArray[np.float64]":
    """Points (n, 3) where the matrix puts them: a new array (n, 3), float64."""
    with np.errstate(all="ignore"):
        moved: npt.NDArray[np.float64] = points.astype(np.float64) @ matrix[:3, :3].T + matrix[:3, 3]
    return moved


def mirrors(matrix: Matrix) -> bool:
    """Whether front and back of triangles are exchanged: a negative determinant of the linear part."""
    a, b, c = matrix[:3, :3]
    with np.errstate(all="ignore"):
        return bool(np.dot(a, np.cross(b, c)) < 0)
