"""The records of Zix files as numpy types, field by field as in docs/zix-format.md, sections 2 and 4."""

from __future__ import annotations

from typing import Any, Dict, List

import numpy as np

MAGIC = b"\x89ZIX\r\n\x1a\n"
MAJOR, MINOR = 1, 1         # the newest version whose fields are known here
NONE = 0xFFFFFFFF           # where a field may refer to nothing
HEADER_SIZE = 64
ALIGNMENT = 64
MUST_BE_KNOWN = 1           # flag of a chunk
MAX_DIMENSION = 255
MAX_KEY = 1024              # bytes of a property's key

INDEX_ARRAY, COORDINATES, MATERIAL, TRANSFORM, MESH, SHAPE, NODE = 4, 11, 14, 15, 16, 18, 19
TYPE_NAMES = {NODE: "Node", SHAPE: "Shape", MESH: "Mesh", TRANSFORM: "Transform", MATERIAL: "Material",
              COORDINATES: "Coordinates", INDEX_ARRAY: "IndexArray"}
PARENT_TYPE = {NODE: NODE, SHAPE: NODE, MESH: SHAPE}
MESH_KINDS = ("triangles", "lines", "points")

Fields = List[Any]            # (name, format) or (name, format, shape), as numpy takes them

HEADER: Fields = [("magic", "V8"), ("major", "<u2"), ("minor", "<u2"), ("header_size", "<u4"), ("file_size", "<u8"),
                  ("directory", "<u8"), ("chunks", "<u8"), ("directory_checksum", "<u8"), ("reserved", "<u8"),
                  ("checksum", "<u8")]
ENTRY: Fields = [("type", "<u4"), ("flags", "<u4"), ("offset", "<u8"), ("size", "<u8"), ("checksum", "<u8"),
                 ("record_size", "<u4"), ("reserved", "<u4")]

TABLES: Dict[str, Fields] = {
    "SCNE": [("value", "<f8"), ("model", "<u8"), ("application", "<u8"), ("save", "<u8"), ("model_size", "<u4"),
             ("application_size", "<u4"), ("save_size", "<u4"), ("flags", "<u4"), ("root", "<u4"), ("reserved", "<u4")],
    "TEXT": [("byte", "u1")],
    "OBJS": [("type", "<u4"), ("ordinal", "<u4"), ("name", "<u8"), ("name_size", "<u4"), ("parent", "<u4"),
             ("placement", "<u4"), ("material", "<u4"), ("first", "<u4"), ("count", "<u4")],
    "CHLD": [("object", "<u4")],
    "MESH": [("kind", "<u4"), ("coordinates", "<u4"), ("indices", "<u4"), ("lengths", "<u4"), ("flags", "<u4"),
             ("reserved", "<u4")],
    "CRDS": [("dimension", "<u4"), ("chunk", "<u4"), ("flags", "<u4"), ("reserved", "<u4")],
    "INDX": [("chunk", "<u4"), ("reserved", "<u4")],
    "XFRM": [("translation", "<f4", (3,)), ("axis", "<f4", (3,)), ("angle", "<f4"), ("scale", "<f4", (3,)),
             ("flags", "<u4"), ("reserved", "<u4")],
    "MATL": [("colours", "<f4", (4, 4)), ("ambient_intensity", "<f4"), ("flags", "<u4")],
    "VIEW": [("name", "<u8"), ("name_size", "<u4"), ("reserved", "<u4"), ("position", "<f8", (3,)),
             ("target", "<f8", (3,)), ("up", "<f8", (3,)), ("height", "<f8")],
}
# Tables that a file may do without. In files of version 1.0 they are chunks of an unknown type.
OPTIONAL: Dict[str, Fields] = {
    "PROP": [("key", "<u8"), ("value", "<u8"), ("key_size", "<u4"), ("value_size", "<u4"), ("object", "<u4"),
             ("reserved", "<u4")],
}
ARRAYS = ("F32A", "U32A")
NEVER_GROW = ("TEXT", "CHLD", "U32A")
TABLE_OF_TYPE = {MESH: "MESH", COORDINATES: "CRDS", INDEX_ARRAY: "INDX", TRANSFORM: "XFRM", MATERIAL: "MATL"}


def tables_of(minor: int) -> List[str]:
    """The types of tables that files of a minor version may have."""
    return [*TABLES, *(OPTIONAL if minor >= 1 else ())]


def four(name: str) -> int:
    """The type of a chunk as the number that the directory holds."""
    return int.from_bytes(name.encode("ascii"), "little")


def type_text(number: int) -> str:
    """The type of a chunk for people."""
    return repr(number.to_bytes(4, "little"))[1:]


def size_of(name: str) -> int:
    """Bytes of a record of the newest known version."""
    return int(np.dtype({**TABLES, **OPTIONAL}[name]).itemsize)


def record(name: str, size: int) -> "np.dtype[np.void]":
    """The known fields of a table's record in records of `size` bytes; what a later version added is stepped over."""
    known = np.dtype({**TABLES, **OPTIONAL}[name])
    names = known.names or ()
    fields: Any = known.fields or {}
    return np.dtype({"names": list(names), "formats": [fields[n][0] for n in names],
                     "offsets": [fields[n][1] for n in names], "itemsize": size})
