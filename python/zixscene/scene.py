"""A scene: its tree, its objects, and what is known of the whole."""

from __future__ import annotations

import math
import re
from typing import Callable, Dict, Generic, Iterator, List, NamedTuple, Optional, Sequence, Tuple, TypeVar, Union, overload

import numpy as np
import numpy.typing as npt

from . import layout
from .errors import ZixError
from .layout import NODE, NONE
from .mapping import StrPath, bytes_of, bytes_of_file
from .mesh import Mesh
from .objects import Coordinates, IndexArray, Material, Node, SceneObject, Shape, Transform
from .placement import Matrix, matrices
from .rules import check_tables
from .structure import Structure
from .text import as_texts, decoded
from .tree import Placed, PlacedMesh, Vector, walk_tree, world_bounds

T = TypeVar("T")
CLASSES = {layout.NODE: Node, layout.SHAPE: Shape, layout.MESH: Mesh, layout.TRANSFORM: Transform,
           layout.MATERIAL: Material, layout.COORDINATES: Coordinates, layout.INDEX_ARRAY: IndexArray}
VERIFY = ("tables", "all", "none")


class View(NamedTuple):
    """A named view for a parallel projection, in world coordinates.

    position of the camera; target, the point that it looks at; up, a direction that is not parallel to the view;
    height, the world size from the picture's lower to its upper edge.
    """
    name: str
    position: Vector
    target: Vector
    up: Vector
    height: float


class Items(Sequence[T], Generic[T]):
    """Objects that are made when they are asked for."""

    def __init__(self, numbers: "Sequence[int] | npt.NDArray[np.int64]", make: Callable[[int], T]) -> None:
        self._numbers = numbers
        self._make = make

    def __len__(self) -> int:
        return len(self._numbers)

    @overload
    def __getitem__(self, index: int) -> T: ...

    @overload
    def __getitem__(self, index: slice) -> "Items[T]": ...

    def __getitem__(self, index: Union[int, slice]) -> "Union[T, Items[T]]":
        if isinstance(index, slice):
            return Items(self._numbers[index], self._make)
        return self._make(int(self._numbers[index]))

    def __repr__(self) -> str:
        return f"<{len(self)} objects>"


def load(path: StrPath, *, verify: str = "tables", mapped: bool = True) -> "Scene":
    """The scene in a file.

    verify: which checksums are compared now: of "tables" (everything but the big arrays; the default), of "all"
            chunks, or of "none" but the header. Arrays can be checked later: `Scene.verify`, `Mesh.verify`.
    mapped: arrays are views of the file, which stays open while the scene or one of its arrays lives, and must not be
            made shorter meanwhile (the program would end with a signal). With False the file is read into memory.

    Raises ZixError: the file cannot be read (CANNOT_OPEN), or breaks a rule that readers must refuse
    (docs/zix-format.md, section 7), or a checksum differs.
    """
    return _scene(verify, lambda: bytes_of_file(path, mapped))


def from_bytes(data: "bytes | bytearray | memoryview", *, verify: str = "tables") -> "Scene":
    """The same from the bytes of a whole file; bytes are not copied."""
    return _scene(verify, lambda: bytes_of(data))


def _scene(verify: str, content: "Callable[[], npt.NDArray[np.uint8]]") -> "Scene":
    if verify not in VERIFY:
        raise ValueError(f"verify is one of {', '.join(VERIFY)}, not {verify!r}")
    file = Structure(content(), check_sums=verify != "none")
    check_tables(file)
    scene = Scene(file)
    if verify == "all":
        scene.verify()
    return scene


def _vector(values: "npt.NDArray[np.float64]") -> Vector:
    x, y, z = (float(v) for v in values)
    return x, y, z


class Scene:
    """A scene, made by `load`.

    version:           (major, minor) of the file
    model:             the name of the model
    application:       the writing application, "" if none was given; application_value: a number that it gave
    save_text, flags:  as handed over by the writer; no meaning
    tables:            the rows of the file's tables by chunk type, numpy records of zixscene.layout, read-only
    """

    def __init__(self, file: Structure) -> None:
        self._file = file
        self.tables = file.tables
        self.version = file.version
        row = file.tables["SCNE"][0]
        self.application_value = float(row["value"])
        self.model = decoded(self.raw_text(int(row["model"]), int(row["model_size"])))
        self.application = decoded(self.raw_text(int(row["application"]), int(row["application_size"])))
        self.save_text = decoded(self.raw_text(int(row["save"]), int(row["save_size"])))
        self.flags = int(row["flags"])
        self._matrices: Optional[Matrix] = None
        self._numbers: Dict[int, npt.NDArray[np.int64]] = {}
        # The owners of properties, rising: the scene as 0, then objects as their number + 1.
        owners = file.tables["PROP"]["object"].astype(np.int64) if "PROP" in file.tables else np.empty(0, np.int64)
        self._owners = np.where(owners == NONE, 0, owners + 1)

    def __repr__(self) -> str:
        return f"<Scene {self.model!r}: {len(self.nodes)} nodes, {len(self.meshes)} meshes>"

    # Objects

    def object(self, number: int) -> SceneObject:
        """The object of that number. Raises IndexError where there is none."""
        if not 0 <= number < len(self.tables["OBJS"]):
            raise IndexError(f"object {number} of {len(self.tables['OBJS'])}")
        return CLASSES[int(self.tables["OBJS"]["type"][number])](self, number)

    def object_or_none(self, number: int) -> Optional[SceneObject]:
        """The same, with None for the number that stands for none."""
        return None if number == NONE else self.object(number)

    @property
    def objects(self) -> Items[SceneObject]:
        """All objects in the order of their numbers, in the tree or not."""
        return Items(range(len(self.tables["OBJS"])), self.object)

    def _of_type(self, kind: int) -> "npt.NDArray[np.int64]":
        """Numbers of objects; kept, since `scene.nodes[i]` asks for all of them each time."""
        if kind not in self._numbers:
            self._numbers[kind] = np.flatnonzero(self.tables["OBJS"]["type"] == kind)
        return self._numbers[kind]

    @property
    def nodes(self) -> Items[Node]:
        """All nodes, in the tree or not; so are the lists that follow."""
        return Items(self._of_type(NODE), lambda number: Node(self, number))

    @property
    def shapes(self) -> Items[Shape]:
        return Items(self._of_type(layout.SHAPE), lambda number: Shape(self, number))

    @property
    def meshes(self) -> Items[Mesh]:
        return Items(self._of_type(layout.MESH), lambda number: Mesh(self, number))

    @property
    def transforms(self) -> Items[Transform]:
        return Items(self._of_type(layout.TRANSFORM), lambda number: Transform(self, number))

    @property
    def materials(self) -> Items[Material]:
        return Items(self._of_type(layout.MATERIAL), lambda number: Material(self, number))

    @property
    def coordinates(self) -> Items[Coordinates]:
        return Items(self._of_type(layout.COORDINATES), lambda number: Coordinates(self, number))

    @property
    def index_arrays(self) -> Items[IndexArray]:
        return Items(self._of_type(layout.INDEX_ARRAY), lambda number: IndexArray(self, number))

    @property
    def views(self) -> List[View]:
        """The named views in their order."""
        return [View(decoded(self.raw_text(int(row["name"]), int(row["name_size"]))), _vector(row["position"]),
                     _vector(row["target"]), _vector(row["up"]), float(row["height"])) for row in self.tables["VIEW"]]

    # The tree

    @property
    def root(self) -> Optional[Node]:
        """The root; None if the scene has none."""
        number = int(self.tables["SCNE"]["root"][0])
        return None if number == NONE else Node(self, number)

    @property
    def starts(self) -> List[Node]:
        """Where the tree starts: at the root, or, without one, at every node that has no parent."""
        root = self.root
        if root is not None:
            return [root]
        objects = self.tables["OBJS"]
        free = np.flatnonzero((objects["type"] == NODE) & (objects["parent"] == NONE))
        return [Node(self, number) for number in free.tolist()]

    def child_numbers(self, number: int) -> "npt.NDArray[np.uint32]":
        """The object numbers of an object's children, in their order."""
        objects = self.tables["OBJS"]
        first = int(objects["first"][number])
        numbers: npt.NDArray[np.uint32] = self.tables["CHLD"]["object"][first:first + int(objects["count"][number])]
        return numbers

    def walk(self) -> Iterator[Placed]:
        """All nodes, shapes and meshes of the tree, depth first, each with its path, world matrix and material."""
        return walk_tree(self)

    def placed_meshes(self) -> Iterator[PlacedMesh]:
        """The meshes of the tree, depth first: (path, matrix, mesh, material).

        path:     the nodes and the shape above it, from the start of the tree down; iterable, str() joins the names
        matrix:   (4, 4) float64, from the mesh's coordinates to the world's; for column vectors, read-only
        material: the one that it is shown with, its own or the nearest above it; None if there is none
        """
        for placed in walk_tree(self):
            if isinstance(placed.object, Mesh):
                assert placed.path.above is not None    # a tree starts at nodes
                yield PlacedMesh(placed.path.above, placed.matrix, placed.object, placed.material)

    def bounds(self) -> "Optional[npt.NDArray[np.float64]]":
        """(2, 3) lowest and highest world x, y, z of all finite points of placed meshes; None without one.

        Every point is placed, so this takes its time in large scenes.
        """
        return world_bounds(self.placed_meshes())

    def matrix_of(self, ordinal: int) -> Matrix:
        """The matrix of a transform, by its row."""
        if self._matrices is None:
            self._matrices = matrices(self.tables["XFRM"])
        matrix: Matrix = self._matrices[ordinal]
        return matrix

    # Properties

    @property
    def properties(self) -> Dict[str, str]:
        """The properties of the scene itself, in their order. Keys that differ only in bytes that are no UTF-8 become
        one; `raw_properties` keeps them."""
        return as_texts(self.raw_properties)

    @property
    def raw_properties(self) -> List[Tuple[bytes, bytes]]:
        """The same as bytes of keys and values."""
        return self._properties(0)

    def raw_properties_of(self, number: int) -> List[Tuple[bytes, bytes]]:
        """The own properties of the object of that number, in their order."""
        return self._properties(number + 1)

    def _properties(self, owner: int) -> List[Tuple[bytes, bytes]]:
        first, last = np.searchsorted(self._owners, [owner, owner + 1])
        if first == last:
            return []
        return [(self.raw_text(int(row["key"]), int(row["key_size"])),
                 self.raw_text(int(row["value"]), int(row["value_size"]))) for row in self.tables["PROP"][first:last]]

    @property
    def unit(self) -> Optional[str]:
        """The unit of lengths as the model states it ("millimeter", "inch"); None if the scene does not say."""
        return self.properties.get("unit")

    @property
    def unit_metres(self) -> Optional[float]:
        """The length of the unit in metres; None if the scene does not say, or says no positive number."""
        text = self.properties.get("unit_metres", "")
        if not re.fullmatch(r"[0-9]+(\.[0-9]+)?([eE][-+]?[0-9]+)?", text):
            return None
        value = float(text)
        return value if 0 < value < math.inf else None

    # Bytes

    def raw_text(self, offset: int, size: int) -> bytes:
        """The bytes of a text."""
        return self._file.text[offset:offset + size].tobytes()

    def chunk_bytes(self, number: int) -> "npt.NDArray[np.uint8]":
        """The bytes of a chunk, a read-only view of the file."""
        return self._file.chunk_bytes(number)

    @property
    def chunks(self) -> "npt.NDArray[np.void]":
        """The directory: one row per chunk with type, flags, offset, size, checksum and record_size."""
        return self._file.directory

    def verify(self) -> None:
        """Compares the checksum of every chunk that was not compared yet. Raises ZixError (CHUNK_CHECKSUM)."""
        self._file.verify(range(len(self._file.directory)))

    def verify_chunks(self, numbers: Sequence[int]) -> None:
        """The same for some chunks."""
        self._file.verify(numbers)


__all__ = ["Items", "Scene", "View", "ZixError", "from_bytes", "load"]
