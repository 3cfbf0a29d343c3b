"""Computes from a scene of zixscene what 'zix info --json' prints (docs/zix-format.md, sections 4 and 8)."""

import math

import numpy as np

from zixscene.layout import MESH_KINDS, TYPE_NAMES
from zixscene.mesh import bounds_of
from zixscene.placement import transform_points


def whole_elements(mesh):
    """The index lists of the whole elements of a mesh."""
    return [element.tolist() for element in mesh.elements()]


def box_numbers(bounds):
    return None if bounds is None else bounds.reshape(6).tolist()


def material_info(m):
    if m is None:
        return None
    return {"diffuse": list(m.diffuse), "specular": list(m.specular), "emission": list(m.emission),
            "ambient": list(m.ambient), "ambient_intensity": m.ambient_intensity}


def mesh_info(placed):
    mesh = placed.mesh
    return {"shape": placed.path.last.name, "path": list(placed.path.node_names), "type": mesh.kind,
            "points": len(mesh.points), "elements": len(mesh.lengths), "indices": len(mesh.indices),
            "bbox": box_numbers(mesh.bounds()), "material": material_info(placed.material)}


def info(scene):
    meshes = list(scene.placed_meshes())
    totals = dict.fromkeys(MESH_KINDS, 0)
    for placed in meshes:
        totals[placed.mesh.kind] += len(placed.mesh.whole_elements()[0])
    return {
        "format_version": "%d.%d" % scene.version,
        "application": scene.application,
        "application_value": scene.application_value,
        "model": scene.model,
        "root": None if scene.root is None else scene.root.name,
        "objects": {name: int(np.count_nonzero(scene.tables["OBJS"]["type"] == kind))
                    for kind, name in TYPE_NAMES.items()},
        "totals": totals,
        "bbox": box_numbers(scene.bounds()),
        "unit": None if scene.unit is None else {"name": scene.unit, "metres": scene.unit_metres},
        "properties": scene.properties,
        "views": [{"name": v.name, "position": list(v.position), "target": list(v.target), "up": list(v.up)}
                  for v in scene.views],
        "meshes": [mesh_info(placed) for placed in meshes],
    }


def corners(bounds):
    return np.array([[bounds[i & 1, 0], bounds[i >> 1 & 1, 1], bounds[i >> 2, 2]] for i in range(8)])


def default_views(scene):
    """(name, position, target, up, height) of the seven views that the writer makes (section 4.9)."""
    placed_corners = [transform_points(placed.matrix, corners(placed.mesh.bounds()))
                      for placed in scene.placed_meshes() if placed.mesh.bounds() is not None]
    bounds = box_numbers(bounds_of(np.concatenate(placed_corners))) if placed_corners else None
    centre, radius = (0.0, 0.0, 0.0), 1.0
    if bounds:
        centre = tuple((a + b) / 2 for a, b in zip(bounds[:3], bounds[3:]))
        half = math.dist(bounds[:3], bounds[3:]) / 2
        radius = half if half > 0 and math.isfinite(half) else 1.0
    r = 1 / math.sqrt(3)
    z, y = (0, 0, 1), (0, 1, 0)
    table = (("front", (0, -1, 0), z), ("back", (0, 1, 0), z), ("left", (-1, 0, 0), z), ("right", (1, 0, 0), z),
             ("top", (0, 0, 1), y), ("bottom", (0, 0, -1), (0, -1, 0)), ("iso", (r, -r, r), z))
    return [(name, tuple(c + 4 * radius * d for c, d in zip(centre, way)), centre, up, 2 * radius)
            for name, way, up in table]
