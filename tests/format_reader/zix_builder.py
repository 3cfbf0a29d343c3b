"""Writes small Zix files from docs/zix-format.md alone, legal ones and ones with one thing wrong, for the tests.

Tables are kept as lists of rows (tuples in the order of the document), so that a test can change any field before the
file is put together with fresh checksums; `change_header` and `change_entry` come after that.
"""

import struct

from zixscene.checksum import xxh64
from zixscene.layout import COORDINATES, INDEX_ARRAY, MATERIAL, MESH, NODE, NONE, SHAPE, TRANSFORM

MAGIC = b"\x89ZIX\r\n\x1a\n"
HEADER = struct.Struct("<8sHHIQQQQQQ")
ENTRY = struct.Struct("<4sIQQQII")
# The tables in the writer's order, with the records of version 1.0.
TABLES = {
    b"SCNE": struct.Struct("<dQQQIIIIII"),
    b"TEXT": struct.Struct("<B"),
    b"OBJS": struct.Struct("<IIQIIIIII"),
    b"CHLD": struct.Struct("<I"),
    b"MESH": struct.Struct("<6I"),
    b"CRDS": struct.Struct("<4I"),
    b"INDX": struct.Struct("<2I"),
    b"XFRM": struct.Struct("<10fII"),
    b"MATL": struct.Struct("<17fI"),
    b"VIEW": struct.Struct("<QII10d"),
}
ORDER = tuple(TABLES)
NEVER_GROW = (b"TEXT", b"CHLD")
PROPERTY = struct.Struct("<QQIIII")
TABLE_OF_TYPE = {MESH: b"MESH", COORDINATES: b"CRDS", INDEX_ARRAY: b"INDX", TRANSFORM: b"XFRM", MATERIAL: b"MATL"}


class Builder:
    def __init__(self, application=b"", value=0.0):
        self.texts = bytearray()
        self.objects = []       # rows of OBJS: type, ordinal, text, size, parent, placement, material, first, count
        self.counts = {}
        self.kids = {}
        self.rows = {name: [] for name in ORDER}
        self.arrays = []        # (type, record size, bytes, flags)
        self.version = (1, 0)
        self.grow = 0           # bytes that a later minor version would add to each row
        self.root = NONE
        self.application, self.value = application, value
        self.model = b"Model"
        self.properties = []    # (object or NONE, key, value), grouped as the document says; none: no chunk

    def text(self, raw):
        at = len(self.texts)
        self.texts += raw
        return at, len(raw)

    def add(self, kind, name=b"", parent=NONE, placement=NONE, material=NONE, row=None):
        """The number of the new object."""
        number = len(self.objects)
        ordinal = self.counts.get(kind, 0)
        self.counts[kind] = ordinal + 1
        self.objects.append([kind, ordinal, *self.text(name), parent, placement, material, 0, 0])
        if parent != NONE:
            self.kids.setdefault(parent, []).append(number)
        if row is not None:
            self.rows[TABLE_OF_TYPE[kind]].append(list(row))
        return number

    def node(self, name, parent=NONE, **more):
        return self.add(NODE, name, parent, **more)

    def array(self, kind, record_size, data, flags=0):
        self.arrays.append((kind, record_size, data, flags))
        return len(self.arrays) - 1

    def coordinates(self, dimension, values):
        chunk = self.array(b"F32A", 4 * dimension, struct.pack("<%df" % len(values), *values))
        return self.add(COORDINATES, row=(dimension, chunk, 1, 0))

    def indices(self, values):
        return self.add(INDEX_ARRAY, row=(self.array(b"U32A", 4, struct.pack("<%dI" % len(values), *values)), 0))

    def mesh(self, shape, kind, coordinates, indices, lengths, **more):
        return self.add(MESH, b"mesh", shape, row=(kind, coordinates, indices, lengths, 1, 0), **more)

    def transform(self, t=(0, 0, 0), axis=(1, 0, 0), angle=0.0, scale=(1, 1, 1)):
        return self.add(TRANSFORM, row=(*t, *axis, angle, *scale, 7, 0))

    def material(self, *colours, intensity=0.0, flags=31):
        return self.add(MATERIAL, row=(*(v for colour in colours for v in colour), intensity, flags))

    def view(self, name, *numbers):
        self.rows[b"VIEW"].append([*self.text(name), 0, *numbers])

    def finish_tables(self):
        """Fills what follows from the objects: child rows, first children, the scene record."""
        self.rows[b"CHLD"] = []
        for number, o in enumerate(self.objects):
            kids = self.kids.get(number, [])
            o[7], o[8] = (len(self.rows[b"CHLD"]) if kids else 0), len(kids)
            self.rows[b"CHLD"] += [[kid] for kid in kids]
        self.rows[b"OBJS"] = self.objects
        model, application = self.text(self.model), self.text(self.application)
        self.property_rows = []
        for owner, key, value in self.properties:
            (key_at, key_size), (value_at, value_size) = self.text(key), self.text(value)
            self.property_rows.append(PROPERTY.pack(key_at, value_at, key_size, value_size, owner, 0))
        self.rows[b"SCNE"] = [[self.value, model[0], application[0], 0, model[1], application[1], 0,
                               4 if self.application else 0, self.root, 0]]
        return self

    def chunks(self):
        chunks = [list(a) for a in self.arrays]
        for name in ORDER:
            if name == b"TEXT":
                chunks.append([name, 1, bytes(self.texts), 0])
                continue
            row = TABLES[name]
            grow = 0 if name in NEVER_GROW else self.grow
            data = b"".join(row.pack(*values) + b"\xee" * grow for values in self.rows[name])
            chunks.append([name, row.size + grow, data, 0])
        if self.properties:
            chunks.append([b"PROP", PROPERTY.size, b"".join(self.property_rows), 0])
        return chunks

    def bytes(self):
        return assemble(self.finish_tables().chunks(), self.version)


def assemble(chunks, version=(1, 0)):
    """A file of [type, record size, bytes, flags] chunks."""
    data = bytearray(64)
    directory = b""
    for kind, record_size, content, flags in chunks:
        data += bytes(-len(data) % 64)
        directory += ENTRY.pack(kind, flags, len(data), len(content), xxh64(content), record_size, 0)
        data += content
    data += bytes(-len(data) % 64)
    start = len(data)
    data += directory
    HEADER.pack_into(data, 0, MAGIC, *version, 64, len(data), start, len(chunks), xxh64(directory), 0, 0)
    return seal(data)


def seal(data):
    """Puts the header's checksum right."""
    data = bytearray(data)
    struct.pack_into("<Q", data, 56, xxh64(data[:56]))
    return bytes(data)


def change_header(data, offset, form, value):
    data = bytearray(data)
    struct.pack_into(form, data, offset, value)
    return seal(data)


def change_entry(data, number, offset, form, value):
    """Changes a field of a directory entry and puts the checksums right."""
    data = bytearray(data)
    start = struct.unpack_from("<Q", data, 24)[0]
    struct.pack_into(form, data, start + 40 * number + offset, value)
    struct.pack_into("<Q", data, 40, xxh64(data[start:]))
    return seal(data)


def change_chunk(data, number, offset, form, value):
    """Changes a value inside a chunk and puts all checksums right."""
    data = bytearray(data)
    start = struct.unpack_from("<Q", data, 24)[0]
    _, _, at, size, _, _, _ = ENTRY.unpack_from(data, start + 40 * number)
    struct.pack_into(form, data, at + offset, value)
    return change_entry(bytes(data), number, 24, "<Q", xxh64(data[at:at + size]))
