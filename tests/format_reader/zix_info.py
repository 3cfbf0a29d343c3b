"""Computes from a scene of zix_reader what 'zix info --json' prints (docs/zix-format.md, sections 4 and 8)."""

import codecs
import math

import zix_reader as zix

MESH_TYPES = ("triangles", "lines", "points")
IDENTITY = ((1.0, 0.0, 0.0), (0.0, 1.0, 0.0), (0.0, 0.0, 1.0), (0.0, 0.0, 0.0))


def replace_bytes(error):
    """One U+FFFD for each byte that is not valid UTF-8. The document leaves the number open, the programs do this."""
    return "\ufffd" * (error.end - error.start), error.end


codecs.register_error("zix-replace", replace_bytes)


def text(raw):
    return raw.decode("utf-8", "zix-replace")


def matrix(transform):
    """R · S as three rows and T as a fourth (section 4.7)."""
    length = math.sqrt(sum(a * a for a in transform.axis))
    if length == 0:
        rotation = IDENTITY[:3]
    else:
        x, y, z = (a / length for a in transform.axis)
        turns = math.isfinite(transform.angle)
        c, s = (math.cos(transform.angle), math.sin(transform.angle)) if turns else (math.nan, math.nan)
        d = 1 - c
        rotation = ((c + d * x * x, d * x * y - s * z, d * x * z + s * y),
                    (d * x * y + s * z, c + d * y * y, d * y * z - s * x),
                    (d * x * z - s * y, d * y * z + s * x, c + d * z * z))
    scaled = tuple(tuple(r * s for r, s in zip(row, transform.scale)) for row in rotation)
    return scaled + (tuple(transform.translation),)


def apply(m, p):
    return tuple(m[i][0] * p[0] + m[i][1] * p[1] + m[i][2] * p[2] + m[3][i] for i in range(3))


def compose(outer, inner):
    """The matrix that applies `inner` first."""
    rows = tuple(tuple(sum(outer[i][k] * inner[k][j] for k in range(3)) for j in range(3)) for i in range(3))
    return rows + (apply(outer, inner[3]),)


class Box:
    def __init__(self):
        self.low, self.high = [math.inf] * 3, [-math.inf] * 3

    def add(self, p):
        if all(map(math.isfinite, p)):
            self.low = list(map(min, self.low, p))
            self.high = list(map(max, self.high, p))

    def values(self):
        return None if self.low[0] > self.high[0] else self.low + self.high

    def corners(self):
        if self.values() is None:
            return []
        pick = (self.low, self.high)
        return [(pick[i & 1][0], pick[i >> 1 & 1][1], pick[i >> 2][2]) for i in range(8)]


def points_of(mesh):
    c = mesh.coordinates
    return [c.data.point(i) for i in range(c.data.points)] if c else []


def values_of(array_object):
    return array_object.data.values if array_object else ()


def whole_elements(mesh):
    """The index lists of the whole elements of a Mesh (section 4.4)."""
    points = mesh.coordinates.data.points if mesh.coordinates else 0
    indices = values_of(mesh.indices)
    whole, at = [], 0
    for length in values_of(mesh.lengths):
        if length > len(indices) - at:
            break
        element = list(indices[at:at + length])
        at += length
        if all(i < points for i in element) and (mesh.mesh_type != 0 or length == 3):
            whole.append(element)
    return whole


def walk(scene):
    """(object, world matrix, material, way) for all objects of the tree, depth first; way links to the start."""
    stack = [(o, IDENTITY, None, None) for o in reversed(scene.starts)]
    while stack:
        o, above, material, way = stack.pop()
        world = compose(above, matrix(o.placement.data)) if o.placement else above
        material = o.material or material
        way = (o, way)
        yield o, world, material, way
        stack.extend((child, world, material, way) for child in reversed(o.children))


def material_info(material):
    if material is None:
        return None
    m = material.data
    return {"diffuse": list(m.diffuse), "specular": list(m.specular), "emission": list(m.emission),
            "ambient": list(m.ambient), "ambient_intensity": m.ambient_intensity}


def mesh_info(o, material, way):
    mesh = o.data
    box = Box()
    points = points_of(mesh)
    for p in points:
        box.add(p)
    path, shape = [], None
    while way:
        if way[0].type == zix.NODE:
            path.append(text(way[0].name))
        elif way[0].type == zix.SHAPE:
            shape = text(way[0].name)
        way = way[1]
    return {"shape": shape, "path": path[::-1], "type": MESH_TYPES[mesh.mesh_type], "points": len(points),
            "elements": len(values_of(mesh.lengths)), "indices": len(values_of(mesh.indices)),
            "bbox": box.values(), "material": material_info(material)}


def info(scene):
    box = Box()
    meshes = []
    totals = dict.fromkeys(MESH_TYPES, 0)
    for o, world, material, way in walk(scene):
        if o.type != zix.MESH:
            continue
        for p in points_of(o.data):
            if all(map(math.isfinite, p)):
                box.add(apply(world, p))
        totals[MESH_TYPES[o.data.mesh_type]] += len(whole_elements(o.data))
        meshes.append(mesh_info(o, material, way))
    return {
        "format_version": "%d.%d" % scene.version,
        "application": text(scene.application),
        "application_value": scene.application_value,
        "model": text(scene.model),
        "root": None if scene.root is None else text(scene.root.name),
        "objects": {name: len(scene.of_type(kind)) for kind, name in zix.TYPE_NAMES.items()},
        "totals": totals,
        "bbox": box.values(),
        "views": [{"name": text(v.name), "position": list(v.position), "target": list(v.target), "up": list(v.up)}
                  for v in scene.views],
        "meshes": meshes,
    }


def default_views(scene):
    """(name, position, target, up, height) of the seven views that the writer makes (section 4.9)."""
    box = Box()
    for o, world, _, _ in walk(scene):
        if o.type == zix.MESH:
            own = Box()
            for p in points_of(o.data):
                own.add(p)
            for corner in own.corners():
                box.add(apply(world, corner))
    bounds = box.values()
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
