"""The objects of a scene: light handles that read the mapped tables when they are asked.

Two handles are equal if they stand for the same object of the same scene. Numbers, arrays and texts come from the file
as they are stored; where a flag says that a value was not set, the stored one (the default) is what is read.
"""

from __future__ import annotations

import math
from typing import TYPE_CHECKING, Any, Dict, Iterator, List, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import layout
from .layout import NONE
from .placement import Matrix, identity
from .text import as_texts, decoded

if TYPE_CHECKING:
    from .mesh import Mesh
    from .scene import Scene

Colour = Tuple[float, float, float, float]


class SceneObject:
    """What objects of all types have.

    scene:  the Scene that it belongs to
    number: its object number, from 0
    """

    __slots__ = ("scene", "number")

    def __init__(self, scene: "Scene", number: int) -> None:
        self.scene = scene
        self.number = number

    def __eq__(self, other: object) -> bool:
        return isinstance(other, SceneObject) and self.scene is other.scene and self.number == other.number

    def __hash__(self) -> int:
        return hash((id(self.scene), self.number))

    def __repr__(self) -> str:
        return f"<{self.type_name} {self.number} {self.name!r}>"

    def _field(self, name: str) -> int:
        return int(self.scene.tables["OBJS"][name][self.number])

    def _row(self) -> Any:
        """The object's row in the table of its type."""
        return self.scene.tables[layout.TABLE_OF_TYPE[self._field("type")]][self._field("ordinal")]

    @property
    def type_name(self) -> str:
        """"Node", "Shape", "Mesh", "Transform", "Material", "Coordinates" or "IndexArray"."""
        return layout.TYPE_NAMES[self._field("type")]

    @property
    def identifier(self) -> Tuple[int, int]:
        """The identifier that the writer gave it."""
        return self.number + 1, self._field("type")

    @property
    def raw_name(self) -> bytes:
        """The bytes of its name."""
        return self.scene.raw_text(self._field("name"), self._field("name_size"))

    @property
    def name(self) -> str:
        """Its name; one U+FFFD stands for each byte that is no UTF-8. Names need not be unique."""
        return decoded(self.raw_name)

    @property
    def properties(self) -> Dict[str, str]:
        """Its own properties in their order; {} if it has none. Keys that differ only in bytes that are no UTF-8 become
        one; `raw_properties` keeps them."""
        return as_texts(self.raw_properties)

    @property
    def raw_properties(self) -> List[Tuple[bytes, bytes]]:
        """The same as bytes of keys and values."""
        return self.scene.raw_properties_of(self.number)


class TreeObject(SceneObject):
    """A Node, Shape or Mesh."""

    __slots__ = ()

    @property
    def parent(self) -> "Union[Node, Shape, None]":
        """The object that holds it."""
        found = self.scene.object_or_none(self._field("parent"))
        assert found is None or isinstance(found, (Node, Shape))
        return found

    @property
    def placement(self) -> "Optional[Transform]":
        """What places it under its parent; None where it is placed as it is."""
        found = self.scene.object_or_none(self._field("placement"))
        assert found is None or isinstance(found, Transform)
        return found

    @property
    def matrix(self) -> Matrix:
        """The placement as a matrix (4, 4), from its own coordinates to its parent's; the identity without a placement."""
        placement = self.placement
        return identity() if placement is None else placement.matrix

    @property
    def material(self) -> "Optional[Material]":
        """Its own material. What a mesh is shown with may be one further up: `Scene.placed_meshes` gives it."""
        found = self.scene.object_or_none(self._field("material"))
        assert found is None or isinstance(found, Material)
        return found

    @property
    def children(self) -> "List[Union[Node, Shape, Mesh]]":
        """What it holds, in the order in which it was attached."""
        return list(self.iterate_children())

    def iterate_children(self) -> "Iterator[Union[Node, Shape, Mesh]]":
        """The same, one after the other."""
        for number in self.scene.child_numbers(self.number):
            child = self.scene.object(int(number))
            assert isinstance(child, TreeObject)
            yield child  # type: ignore[misc]


class Node(TreeObject):
    """A part or an assembly: holds nodes and shapes."""

    __slots__ = ()


class Shape(TreeObject):
    """Holds meshes."""

    __slots__ = ()


class Transform(SceneObject):
    """A placement: scaled first, then turned, then moved."""

    __slots__ = ()

    @property
    def translation(self) -> "npt.NDArray[np.float32]":
        """(3,) in lengths of the scene."""
        return self._vector("translation")

    @property
    def axis(self) -> "npt.NDArray[np.float32]":
        """(3,) of any length; an axis of length 0 turns nothing."""
        return self._vector("axis")

    @property
    def angle(self) -> float:
        """Radians, right-handed about the axis."""
        return float(self._row()["angle"])

    @property
    def scale(self) -> "npt.NDArray[np.float32]":
        """(3,) may be negative."""
        return self._vector("scale")

    @property
    def matrix(self) -> Matrix:
        """(4, 4) float64, read-only, see zixscene.placement."""
        return self.scene.matrix_of(self._field("ordinal"))

    def _vector(self, field: str) -> "npt.NDArray[np.float32]":
        values: npt.NDArray[np.float32] = self._row()[field]
        return values


class Material(SceneObject):
    """Colours as four numbers as they are stored, in the encoding of the display (sRGB). They are meant to lie between 0
    and 1, but can be anything: what is shown is cut to that range, and 0 for what is not finite."""

    __slots__ = ()

    def _colour(self, which: int) -> Colour:
        r, g, b, a = (float(v) for v in self._row()["colours"][which])
        return r, g, b, a

    @property
    def diffuse(self) -> Colour:
        """Red, green, blue and the transparency: 0 is opaque, 1 is invisible."""
        return self._colour(0)

    @property
    def specular(self) -> Colour:
        """The fourth number has no meaning."""
        return self._colour(1)

    @property
    def emission(self) -> Colour:
        """The fourth number has no meaning."""
        return self._colour(2)

    @property
    def ambient(self) -> Colour:
        """The fourth number has no meaning."""
        return self._colour(3)

    @property
    def ambient_intensity(self) -> float:
        """As it was handed over; the converter puts the JT shininess here."""
        return float(self._row()["ambient_intensity"])

    @property
    def opacity(self) -> float:
        """One minus the transparency, as it is shown: between 0 and 1, and 1 where the file's number is not finite."""
        transparency = self.diffuse[3]
        return 1.0 - min(max(transparency, 0.0), 1.0) if math.isfinite(transparency) else 1.0


class ArrayObject(SceneObject):
    """An object that names a chunk of values. Objects may share one."""

    __slots__ = ()

    @property
    def chunk(self) -> Optional[int]:
        """The number of its chunk; None if its values were never set. Equal numbers are equal values."""
        number = int(self._row()["chunk"])
        return None if number == NONE else number

    def verify(self) -> None:
        """Raises ZixError (CHUNK_CHECKSUM) if the values are not those that were written. Done once per chunk."""
        chunk = self.chunk
        if chunk is not None:
            self.scene.verify_chunks([chunk])

    def _bytes(self) -> "npt.NDArray[np.uint8]":
        chunk = self.chunk
        return np.empty(0, np.uint8) if chunk is None else self.scene.chunk_bytes(chunk)


class Coordinates(ArrayObject):
    """The points of meshes."""

    __slots__ = ()

    @property
    def dimension(self) -> int:
        """Values per point, 1 to 255."""
        return int(self._row()["dimension"])

    @property
    def values(self) -> "npt.NDArray[np.float32]":
        """(points, dimension): a read-only view of the file, bits as stored, NaN and infinities included."""
        values: npt.NDArray[np.float32] = self._bytes().view("<f4").reshape(-1, self.dimension)
        return values

    @property
    def points(self) -> "npt.NDArray[np.float32]":
        """(points, 3) x, y, z: a view of the file where points have three values or more, else filled up with 0."""
        values = self.values
        if values.shape[1] >= 3:
            return values[:, :3]
        filled = np.zeros((len(values), 3), np.float32)
        filled[:, :values.shape[1]] = values
        filled.flags.writeable = False
        return filled


class IndexArray(ArrayObject):
    """Point numbers or lengths of elements."""

    __slots__ = ()

    @property
    def values(self) -> "npt.NDArray[np.uint32]":
        """(n,): a read-only view of the file."""
        values: npt.NDArray[np.uint32] = self._bytes().view("<u4")
        return values
