"""What the tables of a scene must say: the rules of docs/zix-format.md, section 7, from SCENE_COUNT to PROPERTY_ORDER.

One function for each group of rules; all are linear in the size of the tables (CYCLE: times its logarithm), and none
follows the tree downwards.
"""

from __future__ import annotations

from typing import Any, NoReturn, Set, Tuple

import numpy as np
import numpy.typing as npt

from . import layout
from .errors import ZixError
from .layout import COORDINATES, INDEX_ARRAY, MATERIAL, MESH, NODE, NONE, PARENT_TYPE, TABLE_OF_TYPE, TRANSFORM, TYPE_NAMES
from .structure import Structure


def check_tables(file: Structure) -> None:
    """Refuses a file whose tables break a rule. Later checks rely on the earlier ones."""
    _check_counts(file)
    _check_types(file)
    _check_texts(file)
    _check_references(file)
    _check_children(file)
    _check_rows(file)
    _check_cycles(file)
    _check_meshes_and_arrays(file)
    if "PROP" in file.tables:
        _check_properties(file)


def _refuse(file: Structure, code: str, table: str, row: int, message: str) -> NoReturn:
    """Refuses for what a row of a table says; the offset is that of the row."""
    rows = file.tables[table]
    start = int(file.directory[file.numbers[table]]["offset"])
    raise ZixError(code, f"{table} row {row}: {message}", start + row * rows.dtype.itemsize)


def _first(wrong: "npt.NDArray[np.bool_]") -> int:
    """The first place that is wrong, or -1."""
    return int(wrong.argmax()) if wrong.any() else -1


def _check_counts(file: Structure) -> None:
    scenes = len(file.tables["SCNE"])
    if scenes != 1:
        raise ZixError("SCENE_COUNT", f"{scenes} scene records")
    if len(file.tables["OBJS"]) >= NONE:
        raise ZixError("OBJECT_COUNT", f"{len(file.tables['OBJS'])} objects")


def _check_types(file: Structure) -> None:
    objects = file.tables["OBJS"]
    at = _first(~np.isin(objects["type"], np.array(list(TYPE_NAMES), np.uint32)))
    if at >= 0:
        _refuse(file, "OBJECT_TYPE", "OBJS", at, f"type {objects['type'][at]}")
    for kind in TYPE_NAMES:
        numbers = np.flatnonzero(objects["type"] == kind)
        at = _first(objects["ordinal"][numbers] != np.arange(len(numbers), dtype=np.uint32))
        if at >= 0:
            _refuse(file, "OBJECT_ORDINAL", "OBJS", int(numbers[at]), f"ordinal {objects['ordinal'][numbers[at]]}, not {at}")


TEXTS: Tuple[Tuple[str, str, str], ...] = (
    ("SCNE", "model", "model_size"), ("SCNE", "application", "application_size"), ("SCNE", "save", "save_size"),
    ("OBJS", "name", "name_size"), ("VIEW", "name", "name_size"), ("PROP", "key", "key_size"), ("PROP", "value", "value_size"))


def _check_texts(file: Structure) -> None:
    total = np.uint64(len(file.text))
    for table, offset_name, size_name in TEXTS:
        if table in file.tables:
            offsets, sizes = file.tables[table][offset_name], file.tables[table][size_name]
            at = _first((offsets > total) | (sizes > total - np.minimum(offsets, total)))
            if at >= 0:
                _refuse(file, "TEXT_RANGE", table, at,
                        f"{offset_name}: {sizes[at]} bytes at {offsets[at]} of {total} bytes of text")


def _check_references(file: Structure) -> None:
    objects = file.tables["OBJS"]
    types = objects["type"]

    def check(table: str, field: str, wanted: Any) -> None:
        """`wanted`: the type of object that each row's field may name; 0 where it must be none."""
        numbers = file.tables[table][field]
        given = numbers != NONE
        inside = numbers < len(types)
        found = np.zeros(len(numbers), np.uint32)
        found[inside] = types[numbers[inside]]
        at = _first(given & (~inside | (found != wanted)))
        if at >= 0:
            _refuse(file, "OBJECT_NUMBER", table, at, f"{field}: {numbers[at]}")

    parents = np.zeros(len(types), np.uint32)
    for kind, above in PARENT_TYPE.items():
        parents[types == kind] = above
    check("SCNE", "root", NODE)
    check("OBJS", "parent", parents)
    check("OBJS", "placement", np.where(objects["parent"] != NONE, TRANSFORM, 0))
    check("OBJS", "material", np.where(parents != 0, MATERIAL, 0))
    check("MESH", "coordinates", COORDINATES)
    check("MESH", "indices", INDEX_ARRAY)
    check("MESH", "lengths", INDEX_ARRAY)
    if "PROP" in file.tables:
        owners = file.tables["PROP"]["object"]
        at = _first((owners != NONE) & (owners >= len(types)))
        if at >= 0:
            _refuse(file, "OBJECT_NUMBER", "PROP", at, f"object: {owners[at]}")


def _check_children(file: Structure) -> None:
    objects, children = file.tables["OBJS"], file.tables["CHLD"]["object"]
    counts = objects["count"].astype(np.uint64)     # their sum stays below 2 to the power of 64
    ends = np.cumsum(counts, dtype=np.uint64)
    at = _first(objects["first"] != np.where(counts > 0, ends - counts, 0))
    if at >= 0:
        _refuse(file, "CHILDREN", "OBJS", at, f"first child {objects['first'][at]}")
    total = int(ends[-1]) if len(ends) else 0
    if total != len(children):
        raise ZixError("CHILDREN", f"{len(children)} rows of CHLD for {total} children")
    owners = np.repeat(np.arange(len(objects), dtype=np.uint32), objects["count"])
    at = _first(children >= len(objects))
    if at < 0:
        at = _first(objects["parent"][children] != owners)
    if at >= 0:
        _refuse(file, "CHILDREN", "CHLD", at, f"object {children[at]} below object {owners[at]}")
    listed = np.bincount(children, minlength=len(objects))
    at = _first(listed != (objects["parent"] != NONE))
    if at >= 0:
        _refuse(file, "CHILDREN", "OBJS", at, f"listed {listed[at]} times as a child")


def _check_rows(file: Structure) -> None:
    types = file.tables["OBJS"]["type"]
    for kind, table in TABLE_OF_TYPE.items():
        rows, wanted = len(file.tables[table]), int(np.count_nonzero(types == kind))
        if rows != wanted:
            raise ZixError("TABLE_ROWS", f"{rows} rows of {table} for {wanted} objects")


def _check_cycles(file: Structure) -> None:
    """Steps upwards, twice as far each time: whoever has not arrived at the end after all of them never will."""
    parents = file.tables["OBJS"]["parent"]
    end = len(parents)
    above = np.append(np.where(parents == NONE, end, parents), end).astype(np.int64)
    for _ in range(end.bit_length() + 1):
        above = above[above]
    at = _first(above != end)
    if at >= 0:
        _refuse(file, "CYCLE", "OBJS", int(above[at]), "the object is above itself")


def _check_properties(file: Structure) -> None:
    """Keys are short, so that comparing those of one owner is work in the size of the table."""
    rows = file.tables["PROP"]
    sizes = rows["key_size"]
    at = _first((sizes == 0) | (sizes > layout.MAX_KEY))
    if at >= 0:
        _refuse(file, "PROPERTY_KEY", "PROP", at, f"a key of {sizes[at]} bytes")
    owners = rows["object"].astype(np.int64)
    owners = np.where(owners == NONE, -1, owners)
    at = _first(owners[1:] < owners[:-1])
    if at >= 0:
        _refuse(file, "PROPERTY_ORDER", "PROP", at + 1, "its owner comes before that of the row before it")
    text = file.text
    keys: Set[bytes] = set()
    before = None
    for row, (owner, start, size) in enumerate(zip(owners.tolist(), rows["key"].tolist(), sizes.tolist())):
        if owner != before:
            keys, before = set(), owner
        key = text[start:start + size].tobytes()
        if key in keys:
            _refuse(file, "PROPERTY_ORDER", "PROP", row, "its owner has this key twice")
        keys.add(key)


def _check_meshes_and_arrays(file: Structure) -> None:
    meshes, coordinates, indices = file.tables["MESH"], file.tables["CRDS"], file.tables["INDX"]
    at = _first(meshes["kind"] >= len(layout.MESH_KINDS))
    if at >= 0:
        _refuse(file, "MESH_TYPE", "MESH", at, f"type {meshes['kind'][at]}")
    dimensions = coordinates["dimension"]
    at = _first((dimensions == 0) | (dimensions > layout.MAX_DIMENSION))
    if at >= 0:
        _refuse(file, "DIMENSION", "CRDS", at, f"dimension {dimensions[at]}")
    _check_chunks(file, "CRDS", "F32A", dimensions * 4)
    _check_chunks(file, "INDX", "U32A", np.full(len(indices), 4, np.uint32))


def _check_chunks(file: Structure, table: str, kind: str, record_sizes: "npt.NDArray[np.integer[Any]]") -> None:
    numbers = file.tables[table]["chunk"]
    given = numbers != NONE
    wrong = given & (numbers >= len(file.directory))
    rows = file.directory[numbers[given & ~wrong]]
    wrong[given & ~wrong] = (rows["type"] != layout.four(kind)) | (rows["record_size"] != record_sizes[given & ~wrong])
    at = _first(wrong)
    if at >= 0:
        _refuse(file, "ARRAY_CHUNK", table, at, f"chunk {numbers[at]} is no {kind} with records of {record_sizes[at]} bytes")
