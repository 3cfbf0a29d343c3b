"""Meshes: triangles, polylines or points over shared arrays (docs/zix-format.md, section 4.4)."""

from __future__ import annotations

from typing import Any, Iterator, List, Literal, Optional, Tuple, Union, cast

import numpy as np
import numpy.typing as npt

from . import layout
from .layout import NONE
from .objects import Coordinates, IndexArray, TreeObject

Kind = Literal["triangles", "lines", "points"]
Array = Union[Coordinates, IndexArray]


class Mesh(TreeObject):
    """A list of elements: triangles, polylines or points.

    Arrays that are not there are empty. An element is *whole* when all its indices exist and are those of points, and,
    in a mesh of triangles, it takes three. Files with others are legal; only whole ones are meant to be used.
    """

    __slots__ = ()

    @property
    def kind(self) -> Kind:
        """"triangles", "lines" or "points"."""
        return cast(Kind, layout.MESH_KINDS[int(self._row()["kind"])])

    def _array(self, field: str) -> Optional[Array]:
        number = int(self._row()[field])
        return None if number == NONE else cast(Array, self.scene.object(number))

    @property
    def coordinates(self) -> Optional[Coordinates]:
        """The object that holds the points."""
        return cast(Optional[Coordinates], self._array("coordinates"))

    @property
    def index_array(self) -> Optional[IndexArray]:
        """The object that holds the indices."""
        return cast(Optional[IndexArray], self._array("indices"))

    @property
    def length_array(self) -> Optional[IndexArray]:
        """The object that holds the lengths."""
        return cast(Optional[IndexArray], self._array("lengths"))

    @property
    def points(self) -> "npt.NDArray[np.float32]":
        """(points, 3) x, y, z in the mesh's own coordinates; read-only, a view of the file as a rule."""
        coordinates = self.coordinates
        return np.empty((0, 3), np.float32) if coordinates is None else coordinates.points

    @property
    def indices(self) -> "npt.NDArray[np.uint32]":
        """(n,) point numbers of all elements one after another, whole or not; a read-only view of the file."""
        array = self.index_array
        return np.empty(0, np.uint32) if array is None else array.values

    @property
    def lengths(self) -> "npt.NDArray[np.uint32]":
        """(elements,) how many indices each element takes; a read-only view of the file."""
        array = self.length_array
        return np.empty(0, np.uint32) if array is None else array.values

    @property
    def array_key(self) -> Tuple[str, Optional[int], Optional[int], Optional[int]]:
        """Equal for meshes of one scene that share all their values: work on geometry can be done once for each key."""
        arrays: List[Optional[Array]] = [self.coordinates, self.index_array, self.length_array]
        first, second, third = (None if array is None else array.chunk for array in arrays)
        return self.kind, first, second, third

    def whole_elements(self) -> "Tuple[npt.NDArray[np.int64], npt.NDArray[np.int64]]":
        """(starts, lengths) of the whole elements, in order: element i takes `indices[starts[i]:starts[i] + lengths[i]]`."""
        indices, lengths = self.indices, self.lengths.astype(np.int64)
        ends = np.cumsum(lengths)
        # The first element that takes more than is left ends the list.
        listed = int(np.searchsorted(ends, len(indices), side="right"))
        ends, lengths = ends[:listed], lengths[:listed]
        starts = ends - lengths
        wrong = np.concatenate([np.zeros(1, np.int64), np.cumsum(indices >= len(self.points))])
        whole = wrong[starts] == wrong[ends]
        if self.kind == "triangles":
            whole &= lengths == 3
        return starts[whole], lengths[whole]

    def triangles(self) -> "npt.NDArray[np.uint32]":
        """(triangles, 3) point numbers of the whole triangles, counter-clockwise seen from the front.

        A view of the file where all elements are whole. Raises ValueError for a mesh of another kind.
        """
        if self.kind != "triangles":
            raise ValueError(f"a mesh of {self.kind} has no triangles")
        indices, lengths = self.indices, self.lengths
        if 3 * len(lengths) <= len(indices) and bool((lengths == 3).all()):
            used = indices[:3 * len(lengths)]
            if used.size == 0 or int(used.max()) < len(self.points):
                return used.reshape(-1, 3)
        starts, _ = self.whole_elements()
        return indices[starts[:, None] + np.arange(3)]

    def elements(self) -> "Iterator[npt.NDArray[np.uint32]]":
        """The point numbers of each whole element: of a polyline in its order, of a point element its points."""
        indices = self.indices
        starts, lengths = self.whole_elements()
        for start, length in zip(starts.tolist(), lengths.tolist()):
            yield indices[start:start + length]

    def bounds(self) -> "Optional[npt.NDArray[np.float64]]":
        """(2, 3) lowest and highest x, y, z of all finite points in own coordinates; None without one."""
        return bounds_of(self.points)

    def verify(self) -> None:
        """Raises ZixError (CHUNK_CHECKSUM) if one of its arrays is not as it was written. Done once per chunk."""
        _, *chunks = self.array_key
        self.scene.verify_chunks([chunk for chunk in chunks if isinstance(chunk, int)])


def bounds_of(points: "npt.NDArray[np.floating[Any]]") -> "Optional[npt.NDArray[np.float64]]":
    """(2, 3) lowest and highest x, y, z of points (n, 3); those with a coordinate that is not finite are left out."""
    finite = np.isfinite(points).all(axis=1)
    kept = points if bool(finite.all()) else points[finite]
    if len(kept) == 0:
        return None
    return np.array([kept.min(axis=0), kept.max(axis=0)], np.float64)
