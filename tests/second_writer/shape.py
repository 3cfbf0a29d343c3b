"""Shape LOD segments with topologically compressed data: symbols, coordinates, normals and other attributes."""

import math
import struct

from packets import LAG1, NULL, hash16, hash32
from topology import Coder, Rings

TAIL = "2ac811d19b6b0080c7bb5997"
TRI_STRIP_LOD, POLYGON_LOD = "10dd10ab" + TAIL, "10dd109f" + TAIL
TOPO_MESH = "f830a5adbe4c4fbc9b5fb9269278d2e1"
END = b"\x10\0\0\0" + b"\xff" * 16
COORDINATES_3, NORMALS, COLOURS_3, COLOURS_4, VERTEX_FLAGS, TEXTURE_2 = 0x2, 0x8, 0x10, 0x20, 0x40, 0x200
PSI_MAX = 0.615479709


def guid(text):
    raw = bytes.fromhex(text)
    return struct.pack("<IHH", *struct.unpack(">IHH", raw[:8])) + raw[8:]


def element(type_guid, base_type, object_id, body):
    data = guid(type_guid) + struct.pack("<Bi", base_type, object_id) + body
    return struct.pack("<i", len(data)) + data


def float_bits(value):
    return struct.unpack("<I", struct.pack("<f", value))[0]


def float32(value):
    return struct.unpack("<f", struct.pack("<f", value))[0]


class Quantiser:
    """Codes for the range of some values. `back` gives the value that stands for a code."""

    def __init__(self, values, bits):
        self.low, self.high, self.bits = float32(min(values)), float32(max(values)), bits
        self.top = (1 << bits) - 1

    def code(self, value):
        if self.high == self.low:
            return 0
        return min(self.top, max(0, round((value - self.low) / (self.high - self.low) * self.top)))

    def back(self, code):
        return float32(code * (self.high - self.low) / self.top + self.low)

    def pack(self):
        return struct.pack("<ffB", self.low, self.high, self.bits)


def normal_codes(normal, bits):
    """Sextant, octant, theta and psi of a direction."""
    size = [abs(c) for c in normal]
    x, z, y = sorted(size, reverse=True)
    length = math.sqrt(x * x + y * y + z * z)
    x, y, z = x / length, y / length, z / length
    order = tuple(sorted(range(3), key=lambda i: -size[i]))
    # Which component is the largest, the middle and the smallest one.
    sextant = {(0, 2, 1): 0, (2, 0, 1): 1, (2, 1, 0): 2, (1, 2, 0): 3, (1, 0, 2): 4, (0, 1, 2): 5}[order]
    octant = 4 * (normal[0] >= 0) + 2 * (normal[1] >= 0) + (normal[2] >= 0)
    top = 1 << bits
    psi = min(top - 1, round(math.asin(min(1, y)) / PSI_MAX * top))
    sine = min(1, z / math.sqrt(max(1e-30, 1 - y * y)))
    theta = round(top * (1 - math.atan(sine) / PSI_MAX)) - (sextant & 1)
    return sextant, octant, min(top - 1, max(0, theta)), psi


def colour_of(key):
    """Four numbers from 0 to 1 for the records of a key: red, green, blue, alpha, or hue, saturation and so on."""
    return [(37 * key + 11 * i) % 101 / 100 for i in range(4)]


class Options:
    """How a shape is stored; `None` leaves an attribute out."""

    def __init__(self, coordinate_bits=0, normal_bits=None, colour=None, texture_bits=None, vertex_flags=False,
                 polygon_set=False, pinch=False, flat=False):
        self.coordinate_bits, self.normal_bits, self.colour = coordinate_bits, normal_bits, colour
        self.texture_bits, self.vertex_flags, self.polygon_set = texture_bits, vertex_flags, polygon_set
        # Whether holes that meet in a point are joined there; whether every polygon has attributes of its own.
        self.pinch, self.flat = pinch, flat

    @property
    def bindings(self):
        colour = 0 if self.colour is None else COLOURS_4 if self.colour[0] == 4 else COLOURS_3
        return (COORDINATES_3 | (NORMALS if self.normal_bits is not None else 0) | colour
                | (VERTEX_FLAGS if self.vertex_flags else 0) | (TEXTURE_2 if self.texture_bits is not None else 0))

    @property
    def attributes(self):
        return self.bindings != COORDINATES_3

    @property
    def quantisation(self):
        return struct.pack("<4B", self.coordinate_bits, self.normal_bits or 0, self.texture_bits or 0,
                           (self.colour or (0, 0))[1])


class ShapeWriter:
    """One mesh: `points` (three floats each), `polygons` (lists of point numbers), and groups of polygons."""

    def __init__(self, packets, rng, version):
        self.packets, self.rng, self.ten = packets, rng, version >= 10

    def _v(self, number=1):
        return struct.pack("<B" if self.ten else "<h", number)

    def write(self, points, polygons, groups, options):
        """The data of a segment; afterwards `stored` has the points as a reader gets them."""
        self.options = options
        rings = Rings(polygons, self.rng, options.pinch)
        normals = facet_normals(points, polygons)
        # Polygons that meet in a vert share a record where they have the same key: all of them, or those of a group.
        own = range(len(polygons))
        keys = own if options.flat else self.rng.choice(([0] * len(polygons), groups, own))

        def record_of(polygon, corner):
            return (keys[polygon], normals[polygon]) if options.attributes else None

        self.symbols = Coder(rings, lambda p: groups[p], record_of, self.rng).run()
        self.seen = self._count(rings)
        self.stored = {}
        places = [rings.place[v] for v in self.symbols.verts]
        data = self._topology() + self._records([(place, points[place]) for place in places])
        return self._element(data) + END + struct.pack("<hi", 1, 0)

    def _count(self, rings):
        """How often something out of the ordinary is in the mesh."""
        s = self.symbols
        doubles = sum(len(set(p)) < len(p) for p in rings.polys)
        return {"split": len(s.split_offsets), "cover": sum(s.flags), "high degree": len(s.high_masks),
                "upper mask": sum(m >> 32 > 0 for m in s.masks[7]), "cover that meets itself": doubles,
                "position of several verts": len(rings.place) - len(set(rings.place)),
                **{"degree context %d" % i: len(d) for i, d in enumerate(s.degrees)}}

    def _element(self, data):
        o = self.options
        kind = POLYGON_LOD if o.polygon_set else TRI_STRIP_LOD
        bindings = struct.pack("<Q", o.bindings)
        if self.ten:
            inner = element(TOPO_MESH, 9, 2, b"\1" + struct.pack("<I", 1) + b"\1" + data)
            return element(kind, 4, 1, b"\1\1" + bindings + inner + b"\1")
        tail = self._v(1) + bindings + self._v(1)
        head = self._v(1) + self._v(1) + bindings + self._v(2) + struct.pack("<I", 1) + self._v(2)
        return element(kind, 4, 1, head + data + tail)

    def _topology(self):
        s, packet = self.symbols, self.packets.packet
        width = 32 if self.ten else 30
        low_mask = (1 << width) - 1
        context_7 = s.masks[7]
        masks = s.masks[:7] + [[m & low_mask for m in context_7]]
        if self.ten:
            upper = [[m >> 32 for m in context_7]]
        else:
            upper = [[m >> 30 & low_mask for m in context_7], [m >> 60 for m in context_7]]
        out = b"".join(packet(d) for d in s.degrees)
        out += packet(s.valences) + packet(s.groups) + packet(s.flags, LAG1)
        out += b"".join(packet(m) for m in masks + upper)
        out += struct.pack("<i%dI" % len(s.high_masks), len(s.high_masks), *s.high_masks)
        out += packet(s.split_offsets, LAG1) + packet(s.split_positions)
        h = 0
        for values in s.degrees + [s.valences, s.groups]:
            h = hash32(values, h)
        h = hash16(s.flags, h)
        for values in masks + upper + [s.high_masks, s.split_offsets, s.split_positions]:
            h = hash32(values, h)
        return out + struct.pack("<I", h)

    def _records(self, verts):
        o, records = self.options, self.symbols.records
        out = struct.pack("<Q", o.bindings) + o.quantisation + struct.pack("<ii", len(verts), len(records))
        out += self._coordinates(verts)
        if o.normal_bits is not None:
            out += self._normals([r[1] for r in records])
        if o.colour is not None:
            out += self._colours([colour_of(r[0]) for r in records])
        if o.texture_bits is not None:
            out += self._texture(len(records))
        if o.vertex_flags:
            out += struct.pack("<i", len(records)) + self.packets.packet([self.rng.randrange(2) for _ in records])
        return out

    def _columns(self, columns, predictor):
        """Lossless floats and their hash. The rule of the hash of 9.5 is not known; what stands there is arbitrary."""
        out, h = b"", 0
        for column in columns:
            bits = [float_bits(v) for v in column]
            if self.ten:
                out += self.packets.packet(bits, predictor)
                h = hash32(bits, h)
            else:
                out += self.packets.packet([b >> 23 for b in bits], predictor)
                out += self.packets.packet([b & 0x7ffffff for b in bits], predictor)
        return out + struct.pack("<I", h if self.ten else self.rng.getrandbits(32))

    def _codes(self, columns, predictor):
        h = 0
        for column in columns:
            h = hash32(column, h)
        return b"".join(self.packets.packet(c, predictor) for c in columns) + struct.pack("<I", h)

    def _coordinates(self, verts):
        bits = self.options.coordinate_bits
        columns = [[point[axis] for _, point in verts] for axis in range(3)]
        quantisers = [Quantiser(c, bits) for c in columns]
        out = struct.pack("<iB", len(verts), 3) + b"".join(q.pack() for q in quantisers)
        if bits == 0:
            self.stored = {place: tuple(map(float32, point)) for place, point in verts}
            return out + self._columns(columns, LAG1)
        codes = [[q.code(v) for v in c] for q, c in zip(quantisers, columns)]
        for i, (place, _) in enumerate(verts):
            self.stored[place] = tuple(q.back(c[i]) for q, c in zip(quantisers, codes))
        return out + self._codes(codes, LAG1)

    def _normals(self, normals):
        bits = self.options.normal_bits
        out = struct.pack("<iBB", len(normals), 3, bits)
        if bits == 0:
            return out + self._columns([[n[axis] for n in normals] for axis in range(3)], NULL)
        codes = [normal_codes(n, bits) for n in normals]
        if self.ten:
            joined = [s << 2 * bits + 3 | o << 2 * bits | t << bits | p for s, o, t, p in codes]
            return out + self._codes([joined], NULL)
        return out + self._codes([list(c) for c in zip(*codes)], NULL)

    def _colours(self, values):
        components, bits, hsv = self.options.colour
        out = struct.pack("<iBB", len(values), components, bits)
        if bits == 0:
            return out + self._columns([[v[i] for v in values] for i in range(components)], NULL)
        out += struct.pack("<B", hsv)
        if hsv:
            out += struct.pack("<4B", bits, bits, bits, bits)
            codes = [[round(v[i] * ((1 << bits) - 1)) for v in values] for i in range(4)]
        else:
            quantisers = [Quantiser([v[i] for v in values], bits) for i in range(4)]
            out += b"".join(q.pack() for q in quantisers)
            codes = [[q.code(v[i]) for v in values] for i, q in enumerate(quantisers)]
        return out + self._codes(codes, NULL)

    def _texture(self, count):
        bits = self.options.texture_bits
        columns = [[self.rng.random() for _ in range(count)] for _ in range(2)]
        out = struct.pack("<iBB", count, 2, bits)
        if bits == 0:
            return out + self._columns(columns, NULL)
        quantisers = [Quantiser(c, bits) for c in columns]
        out += b"".join(q.pack() for q in quantisers)
        return out + self._codes([[q.code(v) for v in c] for q, c in zip(quantisers, columns)], NULL)


def facet_normals(points, polygons):
    normals = []
    for p in polygons:
        n = [0.0, 0.0, 0.0]
        for i, a in enumerate(p):
            (ax, ay, az), (bx, by, bz) = points[a], points[p[(i + 1) % len(p)]]
            n[0] += (ay - by) * (az + bz)
            n[1] += (az - bz) * (ax + bx)
            n[2] += (ax - bx) * (ay + by)
        length = math.sqrt(sum(c * c for c in n))
        normals.append(tuple(c / length for c in n) if length > 0 else (1.0, 0.0, 0.0))
    return normals
