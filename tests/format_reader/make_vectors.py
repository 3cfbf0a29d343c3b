#!/usr/bin/env python3
"""Writes docs/zix-vectors: small Zix files that a reader can be tested with, and index.json, which says what each shows.

    tests/format_reader/make_vectors.py            writes them anew
    tests/format_reader/make_vectors.py --check    compares; fails if one differs

Legal files are made here; one file for each code that a reader must refuse is the first one of wrong_files() that has it.
"""

import json
import math
import pathlib
import struct
import sys

HERE = pathlib.Path(__file__).resolve().parent
SOURCE = HERE.parents[1]
sys.path[:0] = [str(HERE), str(SOURCE / "python")]
import zix_builder as build
from format_reader_test import small_scene, wrong_files
from zixscene.layout import COORDINATES, MESH, NONE, SHAPE

FOLDER = SOURCE / "docs" / "zix-vectors"


def made(change, scene=small_scene):
    b = scene()
    change(b)
    return b.bytes()


def one_node():
    b = build.Builder()
    b.root = b.node(b"root")
    return b


def every_mesh_type(b):
    deep = b.coordinates(5, [float(k) for k in range(10)])
    flat = b.coordinates(2, [1, 2, 3, 4, 5, -7])
    single = b.coordinates(1, [1, 2, 3])
    i, l = b.indices([0, 1, 2, 0, 1]), b.indices([3, 2])
    one = b.indices([3])
    other = b.add(SHAPE, b"other", 2)
    for kind in (1, 2):
        b.mesh(other, kind, flat, i, l)
    b.mesh(other, 0, single, 6, one)
    b.mesh(other, 2, deep, b.indices([1]), b.indices([1]))


def shared_arrays(b):
    """Two more meshes with arrays of their own objects, which name the chunks of the first."""
    for _ in range(2):
        c = b.add(COORDINATES, row=(3, 0, 1, 0))
        i, l = (b.add(4, row=(chunk, 0)) for chunk in (1, 2))
        b.mesh(4, 0, c, i, l)


def properties(b):
    b.version = (1, 1)
    b.properties = [(NONE, b"unit", b"inch"), (NONE, b"unit_metres", b"0.0254"), (NONE, b"by", "Jürgen".encode()),
                    (2, b"Mass", b"2 kg"), (2, b"Material", b""), (8, b"by", b"hand")]


def unknown_unit(b):
    b.version = (1, 1)
    b.properties = [(NONE, b"unit", b"cubit")]


def not_utf8(b):
    b.objects[2][2:4] = b.text(b"\xfe\xed\xa0\x80")


def property_not_utf8(b):
    b.version = (1, 1)
    b.properties = [(2, b"\xff", b"x")]


def set_root(number):
    def change(b):
        b.root = number
    return change


def later(b):
    b.version, b.grow = (1, 7), 8
    b.array(b"LATE", 7, b"\1" * 14, 0xFFFFFFFE)


def without_flags(b):
    for table, field in ((b"XFRM", 10), (b"MATL", 17), (b"MESH", 4), (b"CRDS", 2)):
        b.rows[table][0][field] = 0
    b.rows[b"MESH"][0][0] = 2


def any_order():
    parts = small_scene().finish_tables().chunks()
    return build.assemble(parts[:3] + parts[:2:-1])


def nested(b):
    low = b.node(b"low", 2, placement=b.transform((10, -5, 2), (0, 1, 3), -1.25, (1, 3, 0.5)))
    b.mesh(b.add(SHAPE, b"placed", low, placement=b.transform((0, 7, 1), (1, -1, 0), 20, (1, 1, 1))), 0, 5, 6, 7)


def mirrored(b):
    b.rows[b"XFRM"][0][7:10] = (-1, 1, 1)


def not_set(b):
    b.mesh(4, 0, b.add(COORDINATES, row=(3, NONE, 1, 0)), b.add(4, row=(NONE, 0)), b.add(4, row=(NONE, 0)))


def legal():
    yield "root_only", "a root node and nothing else", made(lambda b: None, one_node), []
    yield "empty", "no object at all", build.Builder().bytes(), ["NO_ROOT"]
    yield "triangle", "version 1.0: one triangle, placed, with a material and a view", small_scene().bytes(), []
    yield "every_mesh_type", "triangles, lines and points, in 1, 2, 3 and 5 dimensions", made(every_mesh_type), []
    yield "shared_arrays", "three meshes whose arrays are in the file once", made(shared_arrays), []
    yield "nested_placements", "placements of nodes and a shape, with an angle of more than a turn", made(nested), []
    yield "mirrored", "a placement that mirrors: two corners of the triangle change places in the world", made(mirrored), []
    yield "properties", "version 1.1: unit, and properties of the scene, a node and a mesh", made(properties), []
    yield "unknown_unit", "version 1.1: a unit whose length nobody knows", made(unknown_unit), []
    yield "makers_chunk", "a chunk of another maker, between the arrays", \
        made(lambda b: b.array(b"xMak", 3, b"abcdef")), []
    yield "later_version", "version 1.7: longer records, an unknown chunk, unknown flags", made(later), []
    yield "any_order", "tables in the opposite order", any_order(), []
    yield "unused_array", "an array that no object names", made(lambda b: b.array(b"U32A", 4, b"\1\0\0\0")), []
    yield "values_not_set", "a mesh whose arrays were never set", made(not_set), []
    yield "flags_not_set", "the stored value counts where a flag says that none was set", made(without_flags), []
    yield "names_not_utf8", "a name that is no UTF-8", made(not_utf8), ["NAME_NOT_UTF8"]
    yield "property_not_utf8", "a key that is no UTF-8", made(property_not_utf8), ["PROPERTY_NOT_UTF8"]
    yield "no_root", "no root: the tree starts at every node without a parent", made(set_root(NONE)), ["NO_ROOT"]
    yield "root_has_parent", "a root inside the tree; the node above it is not shown", \
        made(set_root(2)), ["ROOT_HAS_PARENT", "UNATTACHED"]
    yield "unattached", "a node, a shape and a mesh that hang under nothing", \
        made(lambda b: (b.node(b"free"), b.add(SHAPE, b"free"), b.add(MESH, b"free", row=(0, 5, 6, 7, 1, 0)))), \
        ["UNATTACHED"] * 3
    yield "lengths_sum", "lengths that add up to more than there are indices: the element is not whole", \
        made(lambda b: b.mesh(4, 1, 5, 6, b.indices([3, 1]))), ["LENGTHS_SUM"]
    yield "element_length", "a triangle of two indices: it is not whole", \
        made(lambda b: b.mesh(4, 0, 5, b.indices([0, 1]), b.indices([2]))), ["ELEMENT_LENGTH"]
    yield "mesh_incomplete", "a mesh without coordinates and indices", \
        made(lambda b: b.mesh(4, 0, NONE, NONE, NONE)), ["MESH_INCOMPLETE"]
    yield "not_finite", "coordinates that are no finite numbers", \
        made(lambda b: b.mesh(4, 0, b.coordinates(3, [0, 0, 0, math.nan, 0, 0, 0, math.inf, 0]), 6, 7)), ["NOT_FINITE"]


def wrong():
    """One file for each error. Readers accept the files with PADDING and INDEX_RANGE; `zix validate` does not."""
    seen = set()
    for what, code, data in wrong_files():
        if code not in seen:
            seen.add(code)
            yield code.lower(), what, data, [code]
    yield "index_range", "an index that names no point", \
        made(lambda b: b.mesh(4, 0, 5, b.indices([0, 1, 3]), b.indices([3]))), ["INDEX_RANGE"]
    # One bit of a coordinate: only the array's checksum tells.
    data = bytearray(small_scene().bytes())
    data[struct.unpack_from("<Q", data, struct.unpack_from("<Q", data, 24)[0] + 8)[0] + 2] ^= 4
    yield "array_damaged", "a bit of an array has changed: its checksum differs", bytes(data), ["CHUNK_CHECKSUM"]


def vectors():
    """{file name: bytes}, index included."""
    files, index = {}, []
    for folder, source in (("legal", legal()), ("wrong", wrong())):
        for name, shows, data, codes in source:
            file = f"{folder}/{name}.zix"
            files[file] = data
            index.append({"file": file, "errors": codes if folder == "wrong" else [],
                          "warnings": codes if folder == "legal" else [], "shows": shows})
    text = json.dumps({"format_version": "1.1", "vectors": index}, indent=1, ensure_ascii=False) + "\n"
    files["index.json"] = text.encode()
    return files


def differences():
    """What in the folder is not what is made here."""
    files = vectors()
    there = {path.relative_to(FOLDER).as_posix() for path in FOLDER.rglob("*") if path.is_file()}
    return sorted(there ^ set(files)) + sorted(name for name in there & set(files)
                                               if (FOLDER / name).read_bytes() != files[name])


def main(arguments):
    if arguments == ["--check"]:
        differing = differences()
        for name in differing:
            print(f"{name} differs")
        return 1 if differing else 0
    if arguments:
        print(__doc__, file=sys.stderr)
        return 2
    for path in sorted(FOLDER.rglob("*.zix")):
        path.unlink()
    for name, data in vectors().items():
        (FOLDER / name).parent.mkdir(parents=True, exist_ok=True)
        (FOLDER / name).write_bytes(data)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
