"""Random product models: writes one into a File and says what a reader has to find in it."""

import collections
import math

from container import LOD_0, SHAPE, Figures, File
from meshes import random_mesh
from packets import Packets
from shape import Options, ShapeWriter

IDENTITY = [1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0]


def multiply(a, b):
    """Row vectors: `a` is applied first."""
    return [sum(a[4 * i + k] * b[4 * k + j] for k in range(4)) for i in range(4) for j in range(4)]


def transformed(point, m):
    return tuple(sum((*point, 1)[k] * m[4 * k + i] for k in range(4)) for i in range(3))


def mirrors(m):
    a, b, c = m[0:3], m[4:7], m[8:11]
    return sum(a[i] * (b[i - 2] * c[i - 1] - b[i - 1] * c[i - 2]) for i in range(3)) < 0


def random_matrix(rng, reach=50):
    """A turn, sometimes a scale or a mirror image before it, and a shift."""
    x, y, z = (rng.gauss(0, 1) for _ in range(3))
    length = math.sqrt(x * x + y * y + z * z)
    x, y, z = x / length, y / length, z / length
    angle = rng.choice((0.0, math.pi / 2, rng.uniform(0.1, 3.0)))
    c, s = math.cos(angle), math.sin(angle)
    d = 1 - c
    turn = [c + d * x * x, d * x * y + s * z, d * x * z - s * y, d * x * y - s * z, c + d * y * y, d * y * z + s * x,
            d * x * z + s * y, d * y * z - s * x, c + d * z * z]
    scale = rng.choice(((1, 1, 1), (1, 1, 1), (25.4, 25.4, 25.4), (2, 3, 0.5), (-1, 1, 1)))
    m = [0.0] * 16
    for i in range(3):
        for j in range(3):
            m[4 * i + j] = turn[3 * i + j] * scale[i]
        m[12 + i] = rng.choice((0.0, rng.uniform(-reach, reach)))
    m[15] = 1.0
    return m


class Placed:
    """A shape where it is met: names on the way down, the matrix from its part to the world, the material.

    The coordinates are those of the part; `exact` says that the file has them as they are.
    """

    def __init__(self, path, name, shape, matrix, material):
        self.path, self.name, self.matrix, self.material = path, name, matrix, material
        self.points, self.polygons, self.exact = shape.points, shape.polygons, shape.inner == IDENTITY
        if not self.exact:
            self.points = [transformed(p, shape.inner) for p in self.points]
        if mirrors(shape.inner):
            self.polygons = [p[::-1] for p in self.polygons]


class Shape:
    """`points` as a reader gets them, `polygons`, and `inner`, the matrix from the shape to its part."""

    def __init__(self, points, polygons):
        self.points, self.polygons, self.inner, self.material = points, polygons, IDENTITY, None


class _Item:
    """A part, an assembly or an instance; several instances can share their `children`."""

    def __init__(self, node, matrix, material, name=None):
        self.node, self.matrix, self.material, self.name = node, matrix, material, name
        self.shapes, self.children, self.is_instance = None, [], False


class Model:
    """`data` has the file's bytes, `placed` the shapes in walking order, `seen` counts what is special in it."""

    def __init__(self, version, rng):
        self.rng, self.version = rng, version
        self.file = File(version, rng, stored=rng.random() < 0.15)
        self.packets = Packets(rng, version)
        self.seen = collections.Counter()
        self._written = []
        self._names, self.root_name = 0, "Model"
        root = self.file.new_id()
        self.totals = Figures()
        # Parts need no material of their own where the top assembly has one.
        self._inherit = rng.random() < 0.4
        top = self._assembly(0) if self._inherit or rng.random() < 0.8 else self._part(top=True)
        self.file.partition(root, [top.node], [], "model.jt", self.totals)
        self.file.set_property(root, "JT_PROP_NAME", "Model.asm;1;0:")
        self.placed = []
        self.recoloured = []  # names of parts, once for every place where they get another material than their own
        self._first_material = {}
        self._place(top, [], IDENTITY, None)
        self.data = self.file.save()
        self.seen.update(self.packets.used)

    def _name(self, node, kind, suffix):
        self._names += 1
        name = self.rng.choice(("%s %d", "%s.%d", "%s-%d\u00e9\u4e2d")) % (kind, self._names)
        self.file.set_property(node, "JT_PROP_NAME", name + suffix)
        return name

    def _material(self):
        colours = [tuple(self.rng.randrange(256) / 256 for _ in range(4)) for _ in range(4)]
        shininess = float(self.rng.randrange(1, 129))
        return (*colours, shininess), self.file.material(*colours, shininess)

    def _attributes(self, chance_transform, chance_material):
        matrix = material = None
        ids = []
        if self.rng.random() < chance_transform:
            matrix = random_matrix(self.rng)
            ids.append(self.file.transform(matrix))
        if self.rng.random() < 0.1:
            ids.append(self.file.unknown_attribute())
        if self.rng.random() < chance_material:
            material, attribute = self._material()
            ids.append(attribute)
        return matrix, material, ids

    def _part(self, instanced=False, top=False):
        node = self.file.new_id()
        matrix, material, ids = self._attributes(0 if instanced else 0.6, 0.5 if self._inherit else 1)
        name = self.root_name if top else self._name(node, "part", ".part;3;1:")
        part = _Item(node, matrix, material, name)
        # What stands below the part moves the coordinates themselves.
        below, below_ids = self._inner()
        range_lod, levels = self.file.new_id(), []
        for level in range(self.rng.choice((1, 1, 2))):
            group = self.file.new_id()
            inner, group_ids = self._inner()
            shapes = [self._shape(level) for _ in range(self.rng.choice((1, 1, 2, 3)))]
            for _, shape in shapes:
                shape.inner = multiply(multiply(shape.inner, inner), below)
            self.file.group(group, [node for node, _ in shapes], group_ids)
            levels.append(group)
            part.shapes = part.shapes or [shape for _, shape in shapes]
        self.file.range_lod(range_lod, levels, below_ids)
        self.file.number_property(node, "weight::", self.rng.randrange(100))
        self.file.part(node, [range_lod], ids)
        return part

    def _inner(self):
        if self.rng.random() > 0.05:
            return IDENTITY, []
        matrix = random_matrix(self.rng, 0.05)
        return matrix, [self.file.transform(matrix)]

    def _shape(self, level):
        """Answers the node and the Shape; a segment can be another shape's too."""
        if self._written and self.rng.random() < 0.1:
            points, polygons, *stored = self.rng.choice(self._written)
        else:
            points, polygons, *stored = self._segment(level)
            self._written.append((points, polygons, *stored))
        shape = Shape(points, polygons)
        shape.inner, ids = self._inner()
        if self.rng.random() < 0.3:
            shape.material, attribute = self._material()
            ids = ids + [attribute]
        node = self.file.new_id()
        self.file.shape(node, ids, *stored)
        return node, shape

    def _segment(self, level):
        rng = self.rng
        options = Options(polygon_set=rng.random() < 0.35, normal_bits=rng.choice((None, 0, 4, 8, 13)),
                          coordinate_bits=rng.choice((0, 0, 0, 14, 17, 20, 24, 32)), vertex_flags=rng.random() < 0.2,
                          texture_bits=rng.choice((None, None, None, 0, 10)), pinch=rng.random() < 0.3,
                          colour=rng.choice((None, None, (3, 8, 0), (4, 6, 0), (3, 0, 0), (4, 8, 1))))
        points, polygons, groups = random_mesh(rng, options.polygon_set)
        writer = ShapeWriter(self.packets, rng, self.version)
        data = writer.write(points, polygons, groups, options)
        self.seen.update(writer.seen)
        stored = [writer.stored[i] for i in range(len(points))]
        columns = list(zip(*stored))
        figures = Figures((*map(min, columns), *map(max, columns)), area(stored, polygons), len(points),
                          sum(len(p) - 2 for p in polygons))
        return stored, polygons, self.file.add_shape(data, rng.choice((SHAPE, LOD_0 + level))), options, figures

    def _assembly(self, depth, instanced=False):
        node = self.file.new_id()
        # The top node's name is the partition's; assemblies below an instance are placed by it alone.
        matrix, material, ids = self._attributes(0 if depth == 0 or instanced else 0.5,
                                                 1 if depth == 0 and self._inherit else 0.2)
        name = self._name(node, "assembly", ".asm;1;2:") if depth > 0 else self.root_name
        assembly = _Item(node, matrix, material, name)
        count = self.rng.randint(1, 2)
        for _ in range(count):
            kind = self.rng.choice(("part", "part", "instances", "assembly"))
            if kind == "part" or depth >= 2:
                assembly.children.append(self._part())
            elif kind == "assembly":
                assembly.children.append(self._assembly(depth + 1, instanced))
            else:
                shared = self._part(True) if self.rng.random() < 0.5 else self._assembly(depth + 1, True)
                assembly.children += [self._instance(shared) for _ in range(self.rng.randint(1, 3))]
        self.file.meta_data(node, [c.node for c in assembly.children], ids)
        return assembly

    def _instance(self, shared):
        node = self.file.new_id()
        matrix, material, ids = self._attributes(0.8, 0.2)
        item = _Item(node, matrix, material, self._name(node, "occurrence", ".part;1;7:"))
        item.children, item.is_instance = [shared], True
        self.file.instance(node, shared.node, ids)
        return item

    def _place(self, item, path, matrix, material, instance=None):
        """`instance` is the one that names `item` directly."""
        matrix = multiply(item.matrix, matrix) if item.matrix else matrix
        material = item.material or material
        if item.shapes is None:
            for child in item.children:
                self._place(child, path + [item.name], matrix, material, item if item.is_instance else None)
            return
        if instance is None:
            # A part that is not an instance's own gets what its name got first.
            own, material = material, self._first_material.setdefault(item.name, material)
            if own != material:
                self.recoloured.append(item.name)
            if item.matrix:
                path = path + [item.name]
        name = instance.name if instance else item.name
        for shape in item.shapes:
            self.placed.append(Placed(path, name, shape, matrix, shape.material or material))


def area(points, polygons):
    total = 0.0
    for p in polygons:
        x = y = z = 0.0
        for i in range(1, len(p) - 1):
            a, b, c = points[p[0]], points[p[i]], points[p[i + 1]]
            u, v = [q - r for q, r in zip(b, a)], [q - r for q, r in zip(c, a)]
            x += u[1] * v[2] - u[2] * v[1]
            y += u[2] * v[0] - u[0] * v[2]
            z += u[0] * v[1] - u[1] * v[0]
        total += math.sqrt(x * x + y * y + z * z) / 2
    return total
