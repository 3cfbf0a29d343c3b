"""Reads Zix scenes.

    import zixscene

    scene = zixscene.load("model.zix")
    for path, matrix, mesh, material in scene.placed_meshes():
        print(path, mesh.kind, mesh.points.shape)

The arrays of meshes are read-only numpy views of the mapped file. Whatever is wrong with a file is a ZixError.
docs/zix-format.md in the project Loftbay defines the format; zixscene.check finds everything that is wrong in a file.
"""

from __future__ import annotations

from .errors import ZixError
from .mesh import Mesh
from .objects import Coordinates, IndexArray, Material, Node, SceneObject, Shape, Transform
from .placement import transform_points
from .scene import Items, Scene, View, from_bytes, load
from .tree import Path, Placed, PlacedMesh

__version__ = "1.1.0"

__all__ = ["Coordinates", "IndexArray", "Items", "Material", "Mesh", "Node", "Path", "Placed", "PlacedMesh", "Scene",
           "SceneObject", "Shape", "Transform", "View", "ZixError", "from_bytes", "load", "transform_points"]
