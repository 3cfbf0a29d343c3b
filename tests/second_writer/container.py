"""JT files of version 9.5 and 10.0: header, table of contents, segments, and the elements of the scene graph."""

import lzma
import struct
import zlib

from shape import END, TAIL, element

MONO = "38fb11d1a506006097bdc6e1"
NODE = {"partition": "10dd103e", "group": "10dd101b", "instance": "10dd102a", "range_lod": "10dd104c",
        "tri_strip": "10dd1077", "polygon": "10dd1048"}
PART, META_DATA = "ce357244" + MONO, "ce357245" + MONO
TRANSFORM, MATERIAL = "10dd1083" + TAIL, "10dd1030" + TAIL
STRING, INTEGER, LATE_LOADED = "10dd106e" + TAIL, "10dd102b" + TAIL, "e0b05be5fbbd11d1a3a700aa00d10954"
GRAPH, SHAPE, LOD_0 = 1, 6, 7
NO_BOX = (0.0,) * 6


def mb_string(text):
    raw = text.encode("utf-16-le")
    return struct.pack("<i", len(raw) // 2) + raw


class Figures:
    """What a shape or partition node says of its geometry."""

    def __init__(self, box=NO_BOX, area=0.0, vertices=0, polygons=0):
        self.box, self.area, self.vertices, self.polygons = box, area, vertices, polygons


class File:
    """Collects elements and segments; `save` gives the bytes. The first id is the root partition's."""

    def __init__(self, version, rng, stored=False):
        self.ten, self.rng, self.stored = version >= 10, rng, stored
        self.nodes, self.atoms, self.properties = [], [], {}
        self.segments = []
        self._next_id = 0
        self._strings = {}

    def new_id(self):
        self._next_id += 1
        return self._next_id - 1

    def _v(self, number=1):
        return struct.pack("<B" if self.ten else "<h", number)

    # Nodes. The ids of children and attributes are known beforehand (new_id), so that nodes can be written top down.

    def _base(self, attributes, flags=0):
        return self._v() + struct.pack("<Ii%di" % len(attributes), flags, len(attributes), *attributes)

    def _group(self, attributes, children):
        return self._base(attributes) + self._v() + struct.pack("<i%di" % len(children), len(children), *children)

    def partition(self, node, children, attributes, name, figures):
        flags = 1
        out = self._group(attributes, children) + (b"\1" if self.ten else b"")
        out += struct.pack("<I", flags) + mb_string(name)
        out += struct.pack("<6ff6i", *figures.box, figures.area, 0, figures.vertices, 0, 20, 0, figures.polygons)
        if not self.ten:
            out += struct.pack("<6f", *figures.box)
        self.nodes.insert(0, element(NODE["partition"] + TAIL, 1, node, out))

    def group(self, node, children, attributes):
        self._node(NODE["group"] + TAIL, 1, node, self._group(attributes, children))

    def meta_data(self, node, children, attributes):
        self._node(META_DATA, 1, node, self._group(attributes, children) + self._v())

    def part(self, node, children, attributes):
        self._node(PART, 1, node, self._group(attributes, children) + self._v() + self._v() + struct.pack("<i", 99))

    def instance(self, node, child, attributes):
        self._node(NODE["instance"] + TAIL, 0, node, self._base(attributes) + self._v() + struct.pack("<i", child))

    def range_lod(self, node, children, attributes):
        out = self._group(attributes, children) + self._v() + (b"" if self.ten else struct.pack("<ii", 0, 0))
        self._node(NODE["range_lod"] + TAIL, 1, node, out + self._v() + struct.pack("<i3f", 0, 0.0, 0.0, 0.0))

    def shape(self, node, attributes, segment, options, figures):
        out = self._base(attributes) + self._v()
        if not self.ten:
            out += struct.pack("<6f", *NO_BOX)
        out += struct.pack("<6ff6iif", *figures.box, figures.area, figures.vertices, figures.vertices, 0, 1,
                           figures.polygons, figures.polygons, 0, 0.0)
        bindings = struct.pack("<Q", options.bindings)
        out += self._v(1) + bindings if self.ten else self._v(2) + bindings + options.quantisation + bindings
        kind = NODE["polygon" if options.polygon_set else "tri_strip"] + TAIL
        self._node(kind, 2, node, out)
        atom = self.new_id()
        body = self._atom(2) + segment[0] + struct.pack("<ii", segment[1], 1)
        if not self.ten:
            body += struct.pack("<i", 1)
        self.atoms.append(element(LATE_LOADED, 8, atom, body))
        self.properties.setdefault(node, []).append((self._string("JT_LLPROP_SHAPEIMPL"), atom))

    def _node(self, kind, base_type, node, body):
        self.nodes.append(element(kind, base_type, node, body))

    # Attributes

    def _attribute(self):
        return self._v() + struct.pack("<BI", 8, 0) + (struct.pack("<I", 0) if self.ten else b"")

    def transform(self, matrix):
        """Sixteen numbers, translation last; only what differs from the identity is stored."""
        mask, values = 0, b""
        for i, value in enumerate(matrix):
            if value != (i % 5 == 0):
                mask |= 0x8000 >> i
                values += struct.pack("<d", value)
        return self._new(TRANSFORM, self._v() + struct.pack("<H", mask) + values)

    def material(self, ambient, diffuse, specular, emission, shininess):
        out = self._v(1 if self.ten else 2) + struct.pack("<H", 0)
        out += struct.pack("<16ff", *ambient, *diffuse, *specular, *emission, shininess)
        return self._new(MATERIAL, out + struct.pack("<2f" if self.ten else "<f", *([0.0] * (2 if self.ten else 1))))

    def unknown_attribute(self):
        """One that a reader can only step over."""
        return self._new(self.rng.randbytes(16).hex(), self.rng.randbytes(self.rng.randrange(40)))

    def _new(self, kind, body):
        attribute = self.new_id()
        self.nodes.append(element(kind, 3, attribute, self._attribute() + body))
        return attribute

    # Properties

    def _atom(self, version=1):
        return self._v(version if self.ten else 1) + struct.pack("<I", 0) + self._v(version if self.ten else 1)

    def _string(self, text):
        if text not in self._strings:
            self._strings[text] = self.new_id()
            self.atoms.append(element(STRING, 5, self._strings[text], self._atom(2) + mb_string(text)))
        return self._strings[text]

    def set_property(self, node, key, value):
        self.properties.setdefault(node, []).append((self._string(key), self._string(value)))

    def number_property(self, node, key, value):
        atom = self.new_id()
        self.atoms.append(element(INTEGER, 5, atom, self._atom() + struct.pack("<i", value)))
        self.properties.setdefault(node, []).append((self._string(key), atom))

    # Segments

    def new_guid(self):
        return self.rng.randbytes(16)

    def add_shape(self, data, kind=SHAPE):
        """Answers what a shape node says of its segment."""
        segment = self.new_guid(), kind
        self.segments.append((*segment, data))
        return segment

    def _graph(self):
        table = struct.pack("<hi", 1, len(self.properties))
        for node, pairs in self.properties.items():
            table += struct.pack("<i", node) + b"".join(struct.pack("<ii", *p) for p in pairs) + struct.pack("<i", 0)
        data = b"".join(self.nodes) + END + b"".join(self.atoms) + END + table
        flag = 3 if self.ten else 2
        if self.stored:
            packed, algorithm = data, 1
        elif self.ten:
            packed, algorithm = lzma.compress(data, preset=0), 3
        else:
            packed, algorithm = zlib.compress(data), 2
        return struct.pack("<iiB", flag, len(packed) + 1, algorithm) + packed

    def save(self):
        root = self.new_guid()
        segments = [(root, GRAPH, self._graph())] + self.segments
        self.rng.shuffle(segments)
        head = ("Version %s JT  second writer" % ("10.0" if self.ten else "9.5")).encode().ljust(75) + b" \n\r\n "
        place, entry = ("<Q", 32) if self.ten else ("<I", 28)
        start = len(head) + 5 + struct.calcsize(place) + len(root)
        # A segment may be listed twice. The table stands before or behind the segments.
        listed = segments + segments[:int(self.rng.random() < 0.1)]
        table_size = 4 + entry * len(listed)
        first = self.rng.random() < 0.3
        at, offsets, body = start + table_size * first, {}, b""
        for segment, kind, data in segments:
            offsets[segment] = at + len(body)
            body += segment + struct.pack("<ii", kind, 24 + len(data)) + data
        self.rng.shuffle(listed)
        table = struct.pack("<i", len(listed))
        for segment, kind, data in listed:
            table += segment + struct.pack(place, offsets[segment]) + struct.pack("<II", 24 + len(data), kind << 24)
        table_at = start if first else at + len(body)
        return (head + struct.pack("<Bi", 0, 0) + struct.pack(place, table_at) + root
                + (table + body if first else body + table))
