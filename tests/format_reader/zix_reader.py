"""Reads a Zix scene into plain Python objects.

Made from docs/zix-format.md alone and sharing nothing with the C++ library: where the two read a file differently,
one of them or the document is wrong. Section numbers in the comments are those of the document.

    scene = zix_reader.read(data)        # raises ZixError with a code of section 7, a message and an offset
"""

import struct
import sys
from array import array

NONE = 0xFFFFFFFF
MAGIC = b"\x89ZIX\r\n\x1a\n"
MAJOR, MINOR = 1, 0
HEADER = struct.Struct("<8sHHIQQQQQQ")
ENTRY = struct.Struct("<4sIQQQII")
MUST_BE_KNOWN = 1

INDEX_ARRAY, COORDINATES, MATERIAL, TRANSFORM, MESH, SHAPE, NODE = 4, 11, 14, 15, 16, 18, 19
TYPE_NAMES = {INDEX_ARRAY: "IndexArray", COORDINATES: "Coordinates", MATERIAL: "Material", TRANSFORM: "Transform",
              MESH: "Mesh", SHAPE: "Shape", NODE: "Node"}
PARENT_TYPE = {NODE: NODE, SHAPE: NODE, MESH: SHAPE}

# Section 2.3 with the record layouts of section 4.
SCNE_ROW = struct.Struct("<dQQQIIIIII")
OBJS_ROW = struct.Struct("<IIQIIIIII")
VIEW_ROW = struct.Struct("<QII10d")
TABLES = {
    b"SCNE": SCNE_ROW,
    b"TEXT": struct.Struct("<B"),
    b"OBJS": OBJS_ROW,
    b"CHLD": struct.Struct("<I"),
    b"MESH": struct.Struct("<6I"),
    b"CRDS": struct.Struct("<4I"),
    b"INDX": struct.Struct("<2I"),
    b"XFRM": struct.Struct("<10fII"),
    b"MATL": struct.Struct("<17fI"),
    b"VIEW": VIEW_ROW,
}
FIXED_SIZE = (b"TEXT", b"CHLD", b"U32A")
TABLE_OF_TYPE = {MESH: b"MESH", COORDINATES: b"CRDS", INDEX_ARRAY: b"INDX", TRANSFORM: b"XFRM", MATERIAL: b"MATL"}

M64 = (1 << 64) - 1
P1, P2, P3 = 0x9E3779B185EBCA87, 0xC2B2AE3D27D4EB4F, 0x165667B19E3779F9
P4, P5 = 0x85EBCA77C2B2AE63, 0x27D4EB2F165667C5


class ZixError(Exception):
    """A file that a reader must refuse: a code of section 7, what is wrong, and where in the file if known."""

    def __init__(self, code, message, offset=None):
        super().__init__(f"{code}: {message}" + ("" if offset is None else f" (at offset {offset})"))
        self.code = code
        self.offset = offset


def rotl(x, r):
    return ((x << r) | (x >> (64 - r))) & M64


def xxh_round(a, x):
    return rotl((a + x * P2) & M64, 31) * P1 & M64


def xxh64(data):
    """The checksum of section 3."""
    n = len(data)
    whole = n // 32 * 32
    if n >= 32:
        a1, a2, a3, a4 = (P1 + P2) & M64, P2, 0, -P1 & M64
        for x1, x2, x3, x4 in struct.iter_unpack("<4Q", data[:whole]):
            a1, a2, a3, a4 = xxh_round(a1, x1), xxh_round(a2, x2), xxh_round(a3, x3), xxh_round(a4, x4)
        h = (rotl(a1, 1) + rotl(a2, 7) + rotl(a3, 12) + rotl(a4, 18)) & M64
        for a in (a1, a2, a3, a4):
            h = ((h ^ xxh_round(0, a)) * P1 + P4) & M64
    else:
        h = P5
    h = (h + n) & M64
    at = whole
    while n - at >= 8:
        h = (rotl(h ^ xxh_round(0, struct.unpack_from("<Q", data, at)[0]), 27) * P1 + P4) & M64
        at += 8
    if n - at >= 4:
        h = (rotl(h ^ (struct.unpack_from("<I", data, at)[0] * P1 & M64), 23) * P2 + P3) & M64
        at += 4
    for x in data[at:]:
        h = rotl(h ^ (x * P5 & M64), 11) * P1 & M64
    h = (h ^ (h >> 33)) * P2 & M64
    h = (h ^ (h >> 29)) * P3 & M64
    return h ^ (h >> 32)


def align64(offset):
    return (offset + 63) // 64 * 64


class Chunk:
    """One entry of the directory with the bytes that it covers."""

    def __init__(self, number, fields, data):
        self.number = number
        self.type, self.flags, self.offset, self.size, self.checksum, self.record_size, _ = fields
        self.data = data[self.offset:self.offset + self.size]

    @property
    def rows(self):
        return self.size // self.record_size

    def records(self):
        """The known fields of every row; bytes that a later minor version added are stepped over."""
        row = TABLES[self.type]
        return [row.unpack_from(self.data, at) for at in range(0, self.size, self.record_size)]


class Object:
    """A row of OBJS; parent, placement, material and children are Objects, `data` is what its type's table holds."""

    def __init__(self, number, fields, name):
        self.number = number
        self.type, self.ordinal, _, _, self.parent, self.placement, self.material, self.first_child, \
            self.child_count = fields
        self.name = name
        self.children = []
        self.data = None


class Mesh:
    def __init__(self, fields):
        self.mesh_type, self.coordinates, self.indices, self.lengths, self.flags, _ = fields


class Coordinates:
    """`values` has dimension × points floats with their bits unchanged; empty where they were never set."""

    def __init__(self, fields):
        self.dimension, self.chunk, self.flags, _ = fields
        self.values = array("f")

    @property
    def points(self):
        return len(self.values) // self.dimension

    def point(self, i):
        xyz = list(self.values[i * self.dimension:i * self.dimension + min(3, self.dimension)])
        return xyz + [0.0] * (3 - len(xyz))


class IndexArray:
    def __init__(self, fields):
        self.chunk, _ = fields
        self.values = array("I")


class Transform:
    def __init__(self, fields):
        self.translation, self.axis, self.angle = fields[0:3], fields[3:6], fields[6]
        self.scale, self.flags = fields[7:10], fields[10]


class Material:
    def __init__(self, fields):
        self.diffuse, self.specular, self.emission, self.ambient = (fields[i:i + 4] for i in (0, 4, 8, 12))
        self.ambient_intensity, self.flags = fields[16], fields[17]


class View:
    def __init__(self, fields, name):
        self.name = name
        self.position, self.target, self.up, self.height = fields[3:6], fields[6:9], fields[9:12], fields[12]


DATA_CLASS = {MESH: Mesh, COORDINATES: Coordinates, INDEX_ARRAY: IndexArray, TRANSFORM: Transform, MATERIAL: Material}


class Scene:
    """`root` is an Object or None; `starts` are the objects at which the tree starts (section 4.1)."""

    def __init__(self):
        self.version = (0, 0)
        self.application_value = 0.0
        self.model = self.application = self.save_text = b""
        self.flags = 0
        self.root = None
        self.objects = []
        self.views = []
        self.chunks = []

    @property
    def starts(self):
        if self.root is not None:
            return [self.root]
        return [o for o in self.objects if o.type == NODE and o.parent is None]

    def of_type(self, kind):
        return [o for o in self.objects if o.type == kind]


def read(data):
    """The scene in `data` (bytes of a whole file). Every byte is checked, padding included."""
    reader = _Reader(bytes(data))
    return reader.read()


class _Reader:
    """The checks of section 7 in the order of its list, one method for each group that has its own place."""

    def __init__(self, data):
        self.data = data
        self.scene = Scene()
        self.chunks = []
        self.tables = {}

    def read(self):
        self.read_header()
        self.read_directory()
        self.check_record_sizes()
        self.find_tables()
        self.check_checksums()
        self.read_scene_record()
        self.read_objects()
        self.check_object_types()
        self.check_object_numbers()
        self.check_children()
        self.check_table_rows()
        self.check_cycles()
        self.check_values()
        self.check_padding()
        return self.link()

    # Section 2.1

    def read_header(self):
        data = self.data
        if not data or data[:8] != MAGIC[:len(data)]:
            raise ZixError("NOT_ZIX", "the file does not begin as a Zix file", 0)
        if len(data) < HEADER.size:
            raise ZixError("TRUNCATED", f"{len(data)} bytes are no whole header", len(data))
        _, major, minor, header_size, file_size, self.directory_offset, self.count, self.directory_sum, _, header_sum \
            = HEADER.unpack_from(data)
        if len(data) < file_size:
            raise ZixError("TRUNCATED", f"{len(data)} bytes where {file_size} should be", len(data))
        if major != MAJOR:
            raise ZixError("UNKNOWN_VERSION", f"version {major}.{minor}", 8)
        if xxh64(data[:56]) != header_sum:
            raise ZixError("HEADER_CHECKSUM", "the header's checksum differs", 56)
        if header_size != HEADER.size:
            raise ZixError("HEADER_SIZE", f"the header size is {header_size}", 12)
        if len(data) > file_size:
            raise ZixError("EXTRA_BYTES", f"{len(data)} bytes where {file_size} should be", file_size)
        self.scene.version = (major, minor)

    # Section 2.2

    def read_directory(self):
        start = self.directory_offset
        if start % 64 or start < 64 or start + ENTRY.size * self.count != len(self.data):
            raise ZixError("DIRECTORY_PLACE", f"directory of {self.count} entries at {start}", 24)
        directory = self.data[start:]
        if xxh64(directory) != self.directory_sum:
            raise ZixError("DIRECTORY_CHECKSUM", "the directory's checksum differs", 40)
        end = HEADER.size
        for number, fields in enumerate(ENTRY.iter_unpack(directory)):
            offset, size = fields[2], fields[3]
            if offset != align64(end) or offset + size > start:
                raise ZixError("CHUNK_PLACE", f"chunk {number} at {offset}", start + ENTRY.size * number)
            end = offset + size
            self.chunks.append(Chunk(number, fields, self.data))
        if align64(end) != start:
            raise ZixError("CHUNK_PLACE", f"the chunks end at {end}, the directory starts at {start}", 24)

    def check_record_sizes(self):
        newer = self.scene.version[1] > MINOR
        for chunk in self.chunks:
            size = chunk.record_size
            allowed = size > 0 and chunk.size % size == 0
            if allowed and chunk.type == b"F32A":
                allowed = size % 4 == 0
            elif allowed and chunk.type == b"U32A":
                allowed = size == 4
            elif allowed and chunk.type in TABLES:
                known = TABLES[chunk.type].size
                grown = newer and chunk.type not in FIXED_SIZE and size > known and size % 4 == 0
                allowed = size == known or grown
            if not allowed:
                raise ZixError("RECORD_SIZE", f"chunk {chunk.number}: {chunk.size} bytes in records of {size}",
                               chunk.offset)

    def find_tables(self):
        for chunk in self.chunks:
            if chunk.type not in TABLES and chunk.type not in (b"F32A", b"U32A") and chunk.flags & MUST_BE_KNOWN:
                raise ZixError("UNKNOWN_CHUNK", f"chunk {chunk.number}: type {chunk.type!r}", chunk.offset)
        for chunk in self.chunks:
            if chunk.type in TABLES:
                if chunk.type in self.tables:
                    raise ZixError("DUPLICATE_CHUNK", f"chunk {chunk.number}: type {chunk.type!r}", chunk.offset)
                self.tables[chunk.type] = chunk
        for name in TABLES:
            if name not in self.tables:
                raise ZixError("MISSING_CHUNK", f"no chunk of type {name!r}")

    def check_checksums(self):
        for chunk in self.chunks:
            if xxh64(chunk.data) != chunk.checksum:
                raise ZixError("CHUNK_CHECKSUM", f"chunk {chunk.number}: the checksum differs", chunk.offset)

    # Section 4

    def text(self, offset, size):
        chunk = self.tables[b"TEXT"]
        if offset > chunk.size or size > chunk.size - offset:
            raise ZixError("TEXT_RANGE", f"text of {size} bytes at {offset} of {chunk.size}")
        return chunk.data[offset:offset + size]

    def read_scene_record(self):
        rows = self.tables[b"SCNE"].rows
        if rows != 1:
            raise ZixError("SCENE_COUNT", f"{rows} scene records")
        if self.tables[b"OBJS"].rows >= NONE:
            raise ZixError("OBJECT_COUNT", "too many objects")
        scene = self.scene
        value, model, application, save, model_size, application_size, save_size, scene.flags, self.root, _ \
            = self.tables[b"SCNE"].records()[0]
        scene.application_value = value
        scene.model = self.text(model, model_size)
        scene.application = self.text(application, application_size)
        scene.save_text = self.text(save, save_size)

    def read_objects(self):
        for number, fields in enumerate(self.tables[b"OBJS"].records()):
            self.scene.objects.append(Object(number, fields, self.text(fields[2], fields[3])))
        for fields in self.tables[b"VIEW"].records():
            self.scene.views.append(View(fields, self.text(fields[0], fields[1])))
        self.children = [row[0] for row in self.tables[b"CHLD"].records()]
        self.meshes = [Mesh(row) for row in self.tables[b"MESH"].records()]

    def check_reference(self, number, kinds, what):
        """`number` is none or that of an object of one of the types `kinds`."""
        if number == NONE:
            return
        objects = self.scene.objects
        if number >= len(objects) or objects[number].type not in kinds:
            raise ZixError("OBJECT_NUMBER", f"{what}: {number}")

    def check_object_numbers(self):
        self.check_reference(self.root, (NODE,), "root")
        for o in self.scene.objects:
            what = f"object {o.number}"
            self.check_reference(o.parent, (PARENT_TYPE.get(o.type),), f"{what}, parent")
            self.check_reference(o.placement, (TRANSFORM,) if o.parent != NONE else (), f"{what}, placement")
            self.check_reference(o.material, (MATERIAL,) if o.type in PARENT_TYPE else (), f"{what}, material")
        for row, mesh in enumerate(self.meshes):
            self.check_reference(mesh.coordinates, (COORDINATES,), f"mesh {row}, coordinates")
            self.check_reference(mesh.indices, (INDEX_ARRAY,), f"mesh {row}, indices")
            self.check_reference(mesh.lengths, (INDEX_ARRAY,), f"mesh {row}, lengths")

    def check_object_types(self):
        for o in self.scene.objects:
            if o.type not in TYPE_NAMES:
                raise ZixError("OBJECT_TYPE", f"object {o.number}: type {o.type}")
        seen = dict.fromkeys(TYPE_NAMES, 0)
        for o in self.scene.objects:
            if o.ordinal != seen[o.type]:
                raise ZixError("OBJECT_ORDINAL", f"object {o.number}: ordinal {o.ordinal}, not {seen[o.type]}")
            seen[o.type] += 1
        self.counts = seen

    def check_children(self):
        objects = self.scene.objects
        listed = set()
        first = 0
        for o in objects:
            if o.first_child != (first if o.child_count else 0):
                raise ZixError("CHILDREN", f"object {o.number}: first child {o.first_child}")
            if o.child_count > len(self.children) - first:
                raise ZixError("CHILDREN", f"object {o.number}: {o.child_count} children")
            for child in self.children[first:first + o.child_count]:
                if child >= len(objects) or objects[child].parent != o.number or child in listed:
                    raise ZixError("CHILDREN", f"object {o.number}: child {child}")
                listed.add(child)
            first += o.child_count
        if first != len(self.children) or len(listed) != sum(o.parent != NONE for o in objects):
            raise ZixError("CHILDREN", f"{len(self.children)} rows, {first} children")

    def check_table_rows(self):
        for kind, table in TABLE_OF_TYPE.items():
            rows, wanted = self.tables[table].rows, self.counts[kind]
            if rows != wanted:
                raise ZixError("TABLE_ROWS", f"{rows} rows of {table!r}, {wanted} objects")

    def check_cycles(self):
        """Going up from every object ends; what was found to end once is not walked again, so this is linear."""
        objects = self.scene.objects
        ends = bytearray(len(objects))
        for o in objects:
            way, number = [], o.number
            on_way = set()
            while number != NONE and not ends[number]:
                if number in on_way:
                    raise ZixError("CYCLE", f"object {number} is above itself")
                on_way.add(number)
                way.append(number)
                number = objects[number].parent
            for number in way:
                ends[number] = 1

    def array_chunk(self, number, kind, record_size, what):
        if number == NONE:
            return b""
        if number < len(self.chunks):
            chunk = self.chunks[number]
            if chunk.type == kind and chunk.record_size == record_size:
                return chunk.data
        raise ZixError("ARRAY_CHUNK", f"{what}: chunk {number}")

    def check_values(self):
        for row, mesh in enumerate(self.meshes):
            if mesh.mesh_type > 2:
                raise ZixError("MESH_TYPE", f"mesh {row}: type {mesh.mesh_type}")
        self.data_rows = {MESH: self.meshes}
        for kind, table in TABLE_OF_TYPE.items():
            if kind != MESH:
                self.data_rows[kind] = [DATA_CLASS[kind](row) for row in self.tables[table].records()]
        for row, c in enumerate(self.data_rows[COORDINATES]):
            if not 1 <= c.dimension <= 255:
                raise ZixError("DIMENSION", f"coordinates {row}: dimension {c.dimension}")
        for row, c in enumerate(self.data_rows[COORDINATES]):
            c.values.frombytes(self.array_chunk(c.chunk, b"F32A", 4 * c.dimension, f"coordinates {row}"))
        for row, i in enumerate(self.data_rows[INDEX_ARRAY]):
            i.values.frombytes(self.array_chunk(i.chunk, b"U32A", 4, f"index array {row}"))
        if sys.byteorder == "big":
            for holder in self.data_rows[COORDINATES] + self.data_rows[INDEX_ARRAY]:
                holder.values.byteswap()

    def check_padding(self):
        starts = [c.offset for c in self.chunks[1:]] + [self.directory_offset]
        for chunk, start in zip(self.chunks, starts):
            end = chunk.offset + chunk.size
            if any(self.data[end:start]):
                raise ZixError("PADDING", f"bytes behind chunk {chunk.number} are not 0", end)

    def link(self):
        """Puts objects where their numbers stand."""
        scene = self.scene
        objects = scene.objects

        def at(number):
            return None if number == NONE else objects[number]

        for o in objects:
            o.children = [objects[n] for n in self.children[o.first_child:o.first_child + o.child_count]]
            o.parent, o.placement, o.material = at(o.parent), at(o.placement), at(o.material)
            o.data = self.data_rows[o.type][o.ordinal] if o.type in self.data_rows else None
        for mesh in self.meshes:
            mesh.coordinates, mesh.indices, mesh.lengths = at(mesh.coordinates), at(mesh.indices), at(mesh.lengths)
        scene.root = at(self.root)
        scene.chunks = self.chunks
        return scene
