"""Walks over the tree with its placements. Nothing here recurses: trees of 100,000 levels are legal."""

from __future__ import annotations

from typing import TYPE_CHECKING, Iterable, Iterator, List, NamedTuple, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from .layout import NONE
from .mesh import Mesh, bounds_of
from .objects import Material, Node, Shape
from .placement import Matrix, compose, identity, mirrors, transform_points

if TYPE_CHECKING:
    from .scene import Scene

Vector = Tuple[float, float, float]


class Path:
    """The way from the start of the tree down to an object: a chain that objects below it share.

    Iterating gives the objects from the start down. It is short to keep and takes its length to look at.
    """

    __slots__ = ("above", "last", "_length")

    def __init__(self, above: "Optional[Path]", last: Union[Node, Shape, Mesh]) -> None:
        self.above = above
        self.last = last
        self._length = 1 if above is None else len(above) + 1

    def __len__(self) -> int:
        return self._length

    def __iter__(self) -> Iterator[Union[Node, Shape, Mesh]]:
        way: List[Union[Node, Shape, Mesh]] = []
        path: Optional[Path] = self
        while path is not None:
            way.append(path.last)
            path = path.above
        return reversed(way)

    @property
    def names(self) -> Tuple[str, ...]:
        """The names from the start down; they may be empty, hold slashes, and need not be unique."""
        return tuple(item.name for item in self)

    @property
    def node_names(self) -> Tuple[str, ...]:
        """The names of the nodes only."""
        return tuple(item.name for item in self if isinstance(item, Node))

    def __str__(self) -> str:
        return "/".join(self.names)

    def __repr__(self) -> str:
        return f"<Path of {len(self)} to {self.last!r}>"


class Placed(NamedTuple):
    """An object of the tree with its path (itself included), world matrix (4, 4) and the material that is in force."""
    object: Union[Node, Shape, Mesh]
    path: Path
    matrix: Matrix
    material: Optional[Material]


class PlacedMesh(NamedTuple):
    """A mesh in the world, see Scene.placed_meshes."""
    path: Path
    matrix: Matrix
    mesh: Mesh
    material: Optional[Material]

    def points(self) -> "npt.NDArray[np.float64]":
        """(points, 3) the mesh's points in world coordinates; a new array."""
        return transform_points(self.matrix, self.mesh.points)

    def triangles(self) -> "npt.NDArray[np.uint32]":
        """(triangles, 3) as Mesh.triangles, with two corners swapped where the placement mirrors: counter-clockwise
        in world coordinates."""
        triangles = self.mesh.triangles()
        return triangles[:, [0, 2, 1]] if self.mirrored else triangles

    @property
    def mirrored(self) -> bool:
        """Whether the placement exchanges front and back."""
        return mirrors(self.matrix)


def walk_tree(scene: "Scene") -> Iterator[Placed]:
    """See Scene.walk."""
    objects = scene.tables["OBJS"]
    placements, materials = objects["placement"], objects["material"]
    ordinals, counts = objects["ordinal"], objects["count"]
    starts = iter([start.number for start in scene.starts])
    levels: List[Tuple[Iterator[int], Optional[Path], Matrix, Optional[Material]]] = [(starts, None, identity(), None)]
    while levels:
        numbers, above, matrix, material = levels[-1]
        number = next(numbers, None)
        if number is None:
            levels.pop()
            continue
        item = scene.object(number)
        assert isinstance(item, (Node, Shape, Mesh))
        placement = int(placements[number])
        # What stands above a root that has a parent has no effect; the root's own placement has.
        if placement != NONE:
            matrix = compose(matrix, scene.matrix_of(int(ordinals[placement])))
        if materials[number] != NONE:
            material = Material(scene, int(materials[number]))
        path = Path(above, item)
        yield Placed(item, path, matrix, material)
        if counts[number]:
            levels.append((iter(scene.child_numbers(number).tolist()), path, matrix, material))


def world_bounds(meshes: Iterable[PlacedMesh]) -> "Optional[npt.NDArray[np.float64]]":
    """The box (2, 3) of the world points of meshes, those left out that are not finite, before or after."""
    boxes = [bounds_of(placed.points()) for placed in meshes]
    found = [box for box in boxes if box is not None]
    if not found:
        return None
    together = np.array(found)
    return np.array([together[:, 0].min(axis=0), together[:, 1].max(axis=0)])
