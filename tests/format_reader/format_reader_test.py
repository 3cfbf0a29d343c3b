#!/usr/bin/env python3
"""The scene format's document is exact: a reader made from it alone (python/zixscene) finds in a file what the programs
find, and judges files as 'zix validate' does.

Three sources of files: the samples, converted by the program; the dumps in the document; and files that zix_builder
writes from the document, legal ones that no sample holds (every mesh type, other dimensions, later minor versions) and
files with one thing wrong.
"""

import json
import math
import os
import pathlib
import random
import re
import struct
import subprocess
import sys
import tempfile
import unittest
from unittest import mock

SOURCE = pathlib.Path(os.environ.get("LOFTBAY_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
sys.path[:0] = [str(pathlib.Path(__file__).resolve().parent), str(SOURCE / "python")]
import zix_builder as build
import zix_info
from zixscene import ZixError, check, checksum, from_bytes
from zixscene.layout import COORDINATES, MESH, NONE, SHAPE

BIN = pathlib.Path(os.environ.get("LOFTBAY_BIN_DIR", SOURCE / "build" / "bin"))


def findings(data):
    """(error codes, warning codes) that the reader finds."""
    found = check.validate_bytes(data)
    return tuple([f.code for f in found if f.severity == severity] for severity in ("error", "warning"))


class Programs(unittest.TestCase):
    """A folder of its own and the two programs."""

    @classmethod
    def setUpClass(cls):
        temp = tempfile.TemporaryDirectory()
        cls.addClassCleanup(temp.cleanup)
        cls.folder = pathlib.Path(temp.name)
        cls.environment = dict(os.environ, MERIDAN_TEMP_PATH=str(cls.folder))

    def run_program(self, name, *arguments):
        return subprocess.run([str(BIN / name), *map(str, arguments)], env=self.environment, cwd=self.folder,
                              capture_output=True, timeout=120)

    def store(self, data):
        path = self.folder / "scene.zix"
        path.write_bytes(data)
        return path

    def tool_info(self, path):
        run = self.run_program("zix", "info", path, "--json")
        self.assertEqual(run.returncode, 0, run.stderr)
        # parse_int keeps the sign of -0, which stands without a point; counts are compared as numbers all the same.
        return json.loads(run.stdout.decode("utf-8"), parse_int=lambda t: float(t) if t == "-0" else int(t))

    def tool_findings(self, data):
        """(error codes, warning codes) of 'zix validate', each in its order."""
        run = self.run_program("zix", "validate", self.store(data))
        lines = run.stdout.decode("utf-8", "replace").splitlines()
        errors = [line.split()[1] for line in lines if line.startswith("error ")]
        self.assertEqual(run.returncode, 1 if errors else 0, lines)
        return errors, [line.split()[1] for line in lines if line.startswith("warning ")]

    def assert_judged_alike(self, data, where=None):
        """(error codes, warning codes) of a file in which reader and program find the same, as often."""
        mine, theirs = findings(data), self.tool_findings(data)
        for ours, tools in zip(mine, theirs):
            self.assertEqual(sorted(ours), sorted(tools), where)
        return theirs

    def assert_same_number(self, mine, theirs, where):
        if math.isfinite(mine):
            self.assertIn(type(theirs), (int, float), where)
            self.assertEqual(struct.pack("<d", mine), struct.pack("<d", theirs), where)
        else:
            self.assertEqual("nan" if math.isnan(mine) else "inf" if mine > 0 else "-inf", theirs, where)

    def assert_same(self, mine, theirs, where="info"):
        """Floats bit for bit, everything else equal, and no member more or less."""
        if isinstance(mine, dict):
            self.assertIsInstance(theirs, dict, where)
            self.assertEqual(sorted(mine), sorted(theirs), where)
            for name in mine:
                self.assert_same(mine[name], theirs[name], f"{where}.{name}")
        elif isinstance(mine, list):
            self.assertIsInstance(theirs, list, where)
            self.assertEqual(len(mine), len(theirs), where)
            for i, value in enumerate(mine):
                self.assert_same(value, theirs[i], f"{where}[{i}]")
        elif isinstance(mine, float):
            self.assert_same_number(mine, theirs, where)
        else:
            self.assertEqual(type(mine), type(theirs), where)
            self.assertEqual(mine, theirs, where)

    def assert_close_box(self, mine, theirs, where):
        """Boxes computed along two ways: 1e-6 of the largest number in the box."""
        if mine is None or theirs is None:
            self.assertEqual(mine, theirs, where)
            return
        self.assertEqual((len(mine), len(theirs)), (6, 6), where)
        size = max(map(abs, mine))
        for a, b in zip(mine, theirs):
            self.assertLessEqual(abs(a - b), 1e-6 * size, f"{where}: {mine} {theirs}")

    def assert_tool_agrees(self, data):
        """The scene of `data`, after comparing all that the program tells of it with what is read here."""
        scene = from_bytes(data, verify="all")
        self.assertEqual([code for code in self.assert_judged_alike(data)[0] if code != "INDEX_RANGE"], [])
        mine, theirs = zix_info.info(scene), self.tool_info(self.store(data))
        self.assert_close_box(mine.pop("bbox"), theirs.pop("bbox"), "world bbox")
        self.assert_same(mine, theirs)
        return scene


class Samples(Programs):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.scenes = {}
        for sample in sorted((SOURCE / "samples").glob("*.jt")):
            out = cls.folder / (sample.stem + ".zix")
            run = subprocess.run([str(BIN / "loftbay"), str(sample), str(out)], env=cls.environment,
                                 capture_output=True, timeout=120)
            if run.returncode != 0:
                raise AssertionError(f"{sample.name}: {run.stderr}")
            cls.scenes[sample.stem] = out.read_bytes()

    def test_the_samples_are_there(self):
        self.assertGreaterEqual(len(self.scenes), 4)
        self.assertTrue({"beam_engine", "beam_engine_8.1", "beam_engine_10.0", "survey"} <= set(self.scenes))

    def test_what_is_read_is_what_the_program_tells(self):
        for name, data in self.scenes.items():
            with self.subTest(name):
                scene = self.assert_tool_agrees(data)
                self.assertGreater(sum(zix_info.info(scene)["totals"].values()), 0)

    def test_the_arrays_fit_together(self):
        for name, data in self.scenes.items():
            for mesh in from_bytes(data).meshes:
                with self.subTest(name, mesh=mesh.number):
                    self.assertGreater(len(mesh.lengths), 0)
                    self.assertEqual(mesh.lengths.sum(), len(mesh.indices))
                    self.assertLess(mesh.indices.max(), len(mesh.points))
                    self.assertEqual(len(mesh.whole_elements()[0]), len(mesh.lengths))

    def test_neither_finds_anything_wrong(self):
        for name, data in self.scenes.items():
            with self.subTest(name):
                self.assertEqual(self.assert_judged_alike(data), ([], []))

    def test_the_writer_keeps_the_order_of_chunks_and_objects(self):
        order = list(build.ORDER)
        for name, data in self.scenes.items():
            with self.subTest(name):
                types = [c.tobytes() for c in from_bytes(data).chunks["type"]]
                arrays = [t for t in types if t in (b"F32A", b"U32A")]
                self.assertEqual(types[:len(arrays)], arrays)
                self.assertEqual(types[len(arrays):][:len(order)], order)

    def test_the_views_are_those_that_the_bounds_give(self):
        for name, data in self.scenes.items():
            scene = from_bytes(data)
            wanted = zix_info.default_views(scene)
            self.assertEqual([v.name for v in scene.views], [w[0] for w in wanted])
            for view, (view_name, position, target, up, height) in zip(scene.views, wanted):
                with self.subTest(name, view=view_name):
                    for a, b in zip((*view.position, *view.target, *view.up, view.height),
                                    (*position, *target, *up, height)):
                        self.assertLessEqual(abs(a - b), 1e-6 * height)

    def test_a_changed_byte_anywhere_is_found(self):
        data = self.scenes["survey"]
        generator = random.Random(64)
        directory = struct.unpack_from("<Q", data, 24)[0]
        positions = set(range(64)) | set(generator.sample(range(directory, len(data)), 150))
        chunks = from_bytes(data).chunks
        for end in (chunks["offset"] + chunks["size"]).tolist():
            positions |= set(range(end, (end + 63) // 64 * 64, 7))
        positions |= set(generator.sample(range(64, directory), 500))
        self.assertGreater(len(positions), 600)
        for position in sorted(positions):
            changed = bytearray(data)
            changed[position] ^= generator.randrange(1, 256)
            self.assertTrue(findings(changed)[0], f"byte {position}")

    def test_a_file_cut_anywhere_is_refused_as_cut(self):
        data = self.scenes["survey"]
        for size in [1, 7, 8, 9, 63, 64, 65, 1000, len(data) - 40, len(data) - 1]:
            with self.assertRaises(ZixError) as caught:
                from_bytes(data[:size])
            self.assertEqual(caught.exception.code, "TRUNCATED", size)


def dumps_of_the_document():
    """{name: bytes} of the files that the document shows byte by byte; every byte stands at the offset it states."""
    document = (SOURCE / "docs" / "zix-format.md").read_text(encoding="utf-8")
    files = {}
    for name, body in re.findall(r"<!-- dump: (\w+) -->\n```text\n(.*?)```", document, re.S):
        data = bytearray()
        for line in body.splitlines():
            match = re.match(r"([0-9a-f]{6})  ((?:[0-9a-f]{2} )+|[0-9a-f]{2}$)", line)
            if not match:
                continue
            if int(match[1], 16) != len(data):
                raise AssertionError(f"{name}: {line!r} stands behind {len(data):06x}")
            times = re.match(r"[0-9a-f]{6}  00 \((\d+) times\)", line)
            data += bytes(int(times[1])) if times else bytes.fromhex(match[2])
        files[name] = bytes(data)
    return files


class Document(Programs):
    def test_the_checksum_has_the_values_that_the_document_states(self):
        for module in {checksum.fast, None}:
            with self.subTest(module), mock.patch.object(checksum, "fast", module):
                self.assertEqual(checksum.xxh64(b""), 0xEF46DB3751D8E999)
                self.assertEqual(checksum.xxh64(b"a"), 0xD24EC4F1A98C6E5B)

    def test_both_dumps_are_whole_files_that_reader_and_program_accept(self):
        files = dumps_of_the_document()
        self.assertEqual(sorted(files), ["node", "triangle"])
        for name, data in files.items():
            with self.subTest(name):
                self.assertEqual(len(data), struct.unpack_from("<Q", data, 16)[0])
                self.assert_tool_agrees(data)

    def test_the_triangle_is_the_one_that_the_text_describes(self):
        scene = from_bytes(dumps_of_the_document()["triangle"])
        self.assertEqual([o.name for o in scene.root.children], ["part"])
        told = zix_info.info(scene)
        self.assertEqual(told["totals"], {"triangles": 1, "lines": 0, "points": 0})
        self.assertEqual(told["bbox"], [10, 0, 0, 14, 3, 0])
        self.assertEqual(told["meshes"][0]["path"], ["root", "part"])
        self.assertEqual(zix_info.whole_elements(scene.meshes[0]), [[2, 0, 1]])
        for view, wanted in zip(scene.views, zix_info.default_views(scene), strict=True):
            for a, b in zip((*view.position, *view.target, *view.up, view.height), (*sum(wanted[1:4], ()), wanted[4])):
                self.assertAlmostEqual(a, b, delta=1e-12)

    def test_a_change_of_any_byte_of_the_triangle_is_found(self):
        data = dumps_of_the_document()["triangle"]
        generator = random.Random(5)
        for position in range(len(data)):
            changed = bytearray(data)
            changed[position] ^= generator.choice((1, 2, 4, 8, 16, 32, 64, 128, 255))
            self.assertTrue(findings(changed)[0], f"byte {position}")

    def test_the_triangle_is_refused_at_every_length_but_its_own(self):
        data = dumps_of_the_document()["triangle"]
        for size in range(len(data)):
            with self.assertRaises(ZixError) as caught:
                from_bytes(data[:size])
            self.assertEqual(caught.exception.code, "TRUNCATED" if size else "NOT_ZIX")
        with self.assertRaises(ZixError) as caught:
            from_bytes(data + b"\0")
        self.assertEqual(caught.exception.code, "EXTRA_BYTES")


def small_scene():
    """top > n (placed) > s > one triangle; object numbers: 0 top, 1 transform, 2 n, 3 material, 4 s, 5 coordinates,
    6 indices, 7 lengths, 8 mesh; chunks: 0 F32A, 1 and 2 U32A, then the tables."""
    b = build.Builder(b"App", 2.5)
    b.root = b.node(b"top")
    placement = b.transform((1, 2, 3), (1, 2, 3), 0.7, (-2, 1, 0.5))
    n = b.node(b"n", b.root, placement=placement)
    material = b.material((.1, .2, .3, .4), (1, .5, .25, 1), (0, -0.0, 0, 1), (1, 1, 1, 1), intensity=5)
    shape = b.add(SHAPE, b"s", n, material=material)
    c = b.coordinates(3, [0, 0, 0, 1, 0, 0, 0, 1, 0])
    i, l = b.indices([0, 1, 2]), b.indices([3])
    b.mesh(shape, 0, c, i, l)
    b.view(b"v", *[0.1 * k for k in range(10)])
    return b


class LegalFiles(Programs):
    """Files that the converter does not make and that the document allows: reader and program see the same in them."""

    def test_a_scene_with_every_mesh_type_and_elements_that_are_not_whole(self):
        b = small_scene()
        c = b.coordinates(2, [1, 2, 3, 4, math.nan, 1, 5, -7])
        deep = b.coordinates(5, [float(k) for k in range(10)])
        i, l = b.indices([0, 1, 2, 3, 9, 1, 2]), b.indices([3, 0, 1, 2, 7])
        other = b.add(SHAPE, b"other", 2)
        for kind in range(3):
            b.mesh(other, kind, c, i, l)
            b.mesh(other, kind, deep, i, l)
            b.mesh(other, kind, NONE, i, l)
            b.mesh(other, kind, c, NONE, l)
            b.mesh(other, kind, c, i, NONE)
        scene = self.assert_tool_agrees(b.bytes())
        self.assertEqual(zix_info.info(scene)["totals"], {"triangles": 2, "lines": 5, "points": 5})

    def test_placements_at_every_level_and_the_nearest_material(self):
        b = small_scene()
        grey = b.material(*[(.5, .5, .5, 0)] * 4, intensity=1)
        b.objects[b.root][6] = grey
        low = b.node(b"low", 2, placement=b.transform((10, -5, 2), (0, 1, 3), -1.25, (1, 3, 0.5)), material=grey)
        shape = b.add(SHAPE, b"placed", low, placement=b.transform((0, 7, 1), (1, -1, 0), 2, (-1, 1, 1)), material=3)
        turned = b.transform((100, 0, 0), (0, 0, 1), math.pi / 2)
        b.mesh(shape, 1, 5, 6, 7, material=grey, placement=turned)
        b.mesh(shape, 2, 5, 6, 7)
        b.mesh(b.add(SHAPE, b"bare", b.node(b"side", b.root)), 0, 5, 6, 7)
        scene = self.assert_tool_agrees(b.bytes())
        self.assertEqual([m["material"]["ambient_intensity"] for m in zix_info.info(scene)["meshes"]], [5, 1, 5, 1])

    def test_names_that_are_no_text(self):
        b = small_scene()
        b.model = b'a\0b\x1f"\\\n\x7f\xc0\x80\xed\xa0\x80\xf4\x90\x80\x80\xf0\x9f\x98\xe2\x82x\xe2\x82\xac\xff'
        b.root = b.node(b"\xfe", NONE)
        self.assert_tool_agrees(b.bytes())

    def test_numbers_that_are_not_finite(self):
        for table, field in [(b"XFRM", k) for k in range(10)] + [(b"MATL", 0), (b"MATL", 16), (b"VIEW", 3)]:
            for value in (math.nan, math.inf, -math.inf):
                with self.subTest(table, field=field, value=value):
                    b = small_scene()
                    b.rows[table][0][field] = value
                    self.assert_tool_agrees(b.bytes())
        b = small_scene()
        b.value = -math.inf
        self.assert_tool_agrees(b.bytes())

    def test_axes_of_any_length(self):
        for axis in ((0, 0, 0), (1e-40, 2e-40, 0), (3e38, 2e38, 1e38), (0, 0, -5)):
            with self.subTest(axis):
                b = small_scene()
                b.rows[b"XFRM"][0][3:6] = axis
                self.assert_tool_agrees(b.bytes())

    def test_a_tree_without_a_root_starts_at_every_free_node(self):
        b = small_scene()
        b.root = NONE
        b.mesh(b.add(SHAPE, b"s2", b.node(b"second")), 1, 5, 6, 7)
        b.mesh(b.add(SHAPE, b"lone"), 1, 5, 6, 7)
        b.add(MESH, b"lone mesh", row=(0, 5, 6, 7, 1, 0))
        scene = self.assert_tool_agrees(b.bytes())
        self.assertEqual([m["path"] for m in zix_info.info(scene)["meshes"]], [["top", "n"], ["second"]])

    def test_a_root_inside_the_tree(self):
        b = small_scene()
        b.root = 2
        b.objects[0][6], b.objects[4][6] = 3, NONE
        self.assert_tool_agrees(b.bytes())

    def test_the_stored_value_counts_where_a_flag_says_not_set(self):
        b = small_scene()
        for table, field in ((b"XFRM", 10), (b"MATL", 17), (b"MESH", 4), (b"CRDS", 2)):
            b.rows[table][0][field] = 0
        b.rows[b"MESH"][0][0] = 2
        scene = self.assert_tool_agrees(b.bytes())
        self.assertEqual(zix_info.info(scene)["totals"]["points"], 1)

    def test_a_later_minor_version_with_longer_records_and_unknown_chunks(self):
        for grow in (4, 8):
            b = small_scene()
            b.version, b.grow = (1, 7), grow
            b.array(b"ABCD", 7, b"\1" * 14, 0xFFFFFFFE)
            scene = self.assert_tool_agrees(b.bytes())
            self.assertEqual(scene.version, (1, 7))

    def test_chunks_in_any_order_and_chunks_that_nothing_uses(self):
        b = small_scene()
        b.array(b"F32A", 2000, bytes(4000))
        b.array(b"U32A", 4, b"")
        chunks = b.finish_tables().chunks()
        self.assert_tool_agrees(build.assemble(chunks[:3] + chunks[:2:-1]))

    def test_a_chunk_shared_and_coordinates_never_set(self):
        b = small_scene()
        b.mesh(4, 0, b.add(COORDINATES, row=(3, 0, 1, 0)), 6, 7)
        b.mesh(4, 0, b.add(COORDINATES, row=(3, NONE, 1, 0)), 6, 7)
        self.assert_tool_agrees(b.bytes())

    def test_reserved_fields_and_unknown_flags_are_ignored(self):
        b = small_scene()
        for table, field in ((b"XFRM", 11), (b"MESH", 5), (b"CRDS", 3), (b"INDX", 1), (b"VIEW", 2)):
            b.rows[table][0][field] = 0xABCDEF01
        b.rows[b"XFRM"][0][10] = b.rows[b"MATL"][0][17] = 0xFFFFFFFF
        data = build.change_header(b.bytes(), 48, "<Q", 9)
        for offset in (4, 36):
            data = build.change_entry(data, 4, offset, "<I", 0xFFFFFFFF)
        self.assert_tool_agrees(data)

    def test_properties_of_the_scene_and_of_objects_of_every_type(self):
        b = small_scene()
        b.version = (1, 1)
        b.properties = [(NONE, b"unit", b"inch"), (NONE, b"unit_metres", b"0.0254"), (NONE, b"k" * 1024, b""),
                        *((number, key, b"\xc3\xa4") for number in range(9) for key in (b"b", b"a", b"A"))]
        scene = self.assert_tool_agrees(b.bytes())
        self.assertEqual(list(scene.object(8).properties), ["b", "a", "A"])

    def test_properties_that_are_no_text(self):
        b = small_scene()
        b.version = (1, 1)
        b.properties = [(NONE, b"\xff", b""), (NONE, b"\xfe\n", b""), (0, b"a", b"\xc3"), (0, b"b", b"\xa4"), (1, b"c", b""),
                        (2, b"\xed\xa0\x80", b"")]
        self.assert_tool_agrees(b.bytes())
        self.assertEqual(findings(b.bytes()), ([], ["PROPERTY_NOT_UTF8"] * 3))

    def test_lengths_of_units(self):
        for text in (b"0.001", b"1e-06", b"1E-6", b"25", b"1e+2", b"0", b"0.0", b"-1", b"+1", b".5", b"5.", b"1e", b"nan", b"inf",
                     b"1e999", b"1e-999", b"0x1", b" 1", b"1 ", b"1\n", b"1_0", b"\xd9\xa1", b"", b"007", b"0.0254000000000000000001"):
            with self.subTest(text):
                b = small_scene()
                b.version = (1, 1)
                b.properties = [(NONE, b"unit", b"some"), (NONE, b"unit_metres", text)]
                self.assert_tool_agrees(b.bytes())

    def test_properties_in_a_file_of_version_1_0_are_of_an_unknown_type(self):
        b = small_scene()
        b.properties = [(NONE, b"", b"v"), (99, b"unit", b"inch")]
        self.assertEqual(self.assert_tool_agrees(b.bytes()).properties, {})

    def test_a_deep_tree_is_read_without_recursion(self):
        b = build.Builder()
        b.root = node = b.node(b"0")
        for _ in range(100_000):
            node = b.node(b"n", node)
        b.mesh(b.add(SHAPE, b"s", node), 0, NONE, NONE, NONE)
        scene = self.assert_tool_agrees(b.bytes())
        self.assertEqual(len(zix_info.info(scene)["meshes"][0]["path"]), 100_001)


def wrong_files():
    """(what is wrong, code, bytes): one thing is wrong in each."""
    good = small_scene().bytes()
    chunks = small_scene().finish_tables().chunks

    def built(change):
        b = small_scene()
        change(b)
        return b.bytes()

    def table(change):
        b = small_scene().finish_tables()
        change(b)
        return build.assemble(b.chunks())

    def assembled(change):
        parts = chunks()
        return build.assemble(change(parts) or parts)

    def field(name, row, column, value):
        return table(lambda b: b.rows[name][row].__setitem__(column, value))

    directory = struct.unpack_from("<Q", good, 24)[0]
    yield "empty", "NOT_ZIX", b""
    yield "other magic", "NOT_ZIX", b"\x89ZIY" + good[4:]
    yield "short and other", "NOT_ZIX", b"\x89Zi"
    yield "header cut", "TRUNCATED", good[:40]
    yield "cut", "TRUNCATED", good[:-1]
    yield "size stated too large", "TRUNCATED", build.change_header(good, 16, "<Q", len(good) + 1)
    yield "version 2", "UNKNOWN_VERSION", build.change_header(good, 8, "<H", 2)
    yield "version 0", "UNKNOWN_VERSION", build.change_header(good, 8, "<H", 0)
    yield "reserved header field changed", "HEADER_CHECKSUM", good[:50] + b"\1" + good[51:]
    yield "header size", "HEADER_SIZE", build.change_header(good, 12, "<I", 128)
    yield "more bytes", "EXTRA_BYTES", good + b"\0"
    yield "directory at 0", "DIRECTORY_PLACE", build.change_header(good, 24, "<Q", 0)
    yield "directory moved", "DIRECTORY_PLACE", build.change_header(good, 24, "<Q", directory - 64)
    yield "chunk count", "DIRECTORY_PLACE", build.change_header(good, 32, "<Q", 12)
    yield "huge chunk count", "DIRECTORY_PLACE", build.change_header(good, 32, "<Q", (1 << 64) - 1)
    yield "directory changed", "DIRECTORY_CHECKSUM", good[:-1] + b"\1"
    yield "chunk moved", "CHUNK_PLACE", build.change_entry(good, 3, 8, "<Q", 64)
    yield "chunk longer than the file", "CHUNK_PLACE", build.change_entry(good, 12, 16, "<Q", 1 << 63)
    yield "record size 0", "RECORD_SIZE", build.change_entry(good, 1, 32, "<I", 0)
    yield "record size that does not divide", "RECORD_SIZE", build.change_entry(good, 1, 32, "<I", 8)
    yield "long records without a later version", "RECORD_SIZE", built(lambda b: setattr(b, "grow", 4))
    yield "records of 58", "RECORD_SIZE", built(lambda b: b.__dict__.update(version=(1, 9), grow=2))
    yield "floats of 6 bytes", "RECORD_SIZE", built(lambda b: b.array(b"F32A", 6, b""))
    yield "must be known", "UNKNOWN_CHUNK", built(lambda b: b.array(b"ABCD", 1, b"", 1))
    yield "two tables", "DUPLICATE_CHUNK", assembled(lambda c: c.append(c[6]))
    for number, name in enumerate(build.ORDER):
        yield f"no {name}", "MISSING_CHUNK", assembled(lambda c, k=3 + number: c.pop(k) and c)
    yield "table checksum", "CHUNK_CHECKSUM", build.change_entry(good, 4, 24, "<Q", 1)
    yield "array checksum", "CHUNK_CHECKSUM", build.change_entry(good, 0, 24, "<Q", 1)
    yield "no scene", "SCENE_COUNT", assembled(lambda c: c[3].__setitem__(2, b""))
    yield "two scenes", "SCENE_COUNT", assembled(lambda c: c[3].__setitem__(2, c[3][2] * 2))
    yield "text offset of an empty text", "TEXT_RANGE", field(b"SCNE", 0, 3, 1000)
    yield "text size", "TEXT_RANGE", field(b"OBJS", 2, 3, 1000)
    yield "text offset near the end of numbers", "TEXT_RANGE", field(b"VIEW", 0, 0, (1 << 64) - 1)
    yield "root out of range", "OBJECT_NUMBER", field(b"SCNE", 0, 8, 9)
    yield "root a shape", "OBJECT_NUMBER", field(b"SCNE", 0, 8, 4)
    yield "parent out of range", "OBJECT_NUMBER", field(b"OBJS", 2, 4, 9)
    yield "child out of range", "CHILDREN", field(b"CHLD", 0, 0, 9)
    yield "object type below a node", "OBJECT_TYPE", built(lambda b: b.add(17, parent=0))
    yield "shape under a shape", "OBJECT_NUMBER", built(lambda b: b.add(SHAPE, b"x", 4))
    yield "mesh under a node", "OBJECT_NUMBER", built(lambda b: b.mesh(0, 0, 5, 6, 7))
    yield "placement is a node", "OBJECT_NUMBER", field(b"OBJS", 2, 5, 0)
    yield "placement without a parent", "OBJECT_NUMBER", field(b"OBJS", 0, 5, 1)
    yield "material is a node", "OBJECT_NUMBER", field(b"OBJS", 2, 6, 0)
    yield "material of a transform", "OBJECT_NUMBER", field(b"OBJS", 1, 6, 3)
    yield "coordinates are indices", "OBJECT_NUMBER", field(b"MESH", 0, 1, 6)
    yield "indices are coordinates", "OBJECT_NUMBER", field(b"MESH", 0, 2, 5)
    yield "lengths out of range", "OBJECT_NUMBER", field(b"MESH", 0, 3, 9)
    yield "object type", "OBJECT_TYPE", built(lambda b: b.add(17))
    yield "ordinal", "OBJECT_ORDINAL", field(b"OBJS", 2, 1, 0)
    yield "first child", "CHILDREN", field(b"OBJS", 2, 7, 0)
    yield "first child of none", "CHILDREN", field(b"OBJS", 1, 7, 1)
    yield "child count", "CHILDREN", field(b"OBJS", 2, 8, 2)
    yield "child of another", "CHILDREN", field(b"CHLD", 0, 0, 4)
    yield "parent that does not list it", "CHILDREN", field(b"OBJS", 4, 4, NONE)
    yield "child twice", "CHILDREN", built(lambda b: b.kids[0].append(2))
    yield "child not listed", "CHILDREN", built(lambda b: b.kids.pop(2))
    yield "rows", "TABLE_ROWS", table(lambda b: b.rows[b"XFRM"].append(b.rows[b"XFRM"][0]))
    yield "no rows", "TABLE_ROWS", table(lambda b: b.rows[b"INDX"].pop())
    yield "mesh type", "MESH_TYPE", field(b"MESH", 0, 0, 3)
    yield "dimension 0", "DIMENSION", field(b"CRDS", 0, 0, 0)
    yield "dimension 256", "DIMENSION", field(b"CRDS", 0, 0, 256)
    yield "coordinates of another dimension", "ARRAY_CHUNK", field(b"CRDS", 0, 0, 1)
    yield "coordinates from indices", "ARRAY_CHUNK", field(b"CRDS", 0, 1, 1)
    yield "indices from a table", "ARRAY_CHUNK", field(b"INDX", 0, 0, 3)
    yield "chunk out of range", "ARRAY_CHUNK", field(b"INDX", 0, 0, 13)

    def properties(*rows):
        return built(lambda b: b.__dict__.update(version=(1, 1), properties=list(rows)))

    yield "property's key empty", "PROPERTY_KEY", properties((0, b"", b"x"))
    yield "property's key too long", "PROPERTY_KEY", properties((0, b"k" * 1025, b"x"))
    yield "scene's property behind an object's", "PROPERTY_ORDER", properties((0, b"a", b""), (NONE, b"a", b""))
    yield "properties out of order", "PROPERTY_ORDER", properties((2, b"a", b""), (0, b"a", b""))
    yield "property's key twice", "PROPERTY_ORDER", properties((0, b"a", b""), (0, b"b", b""), (0, b"a", b""))
    yield "property of no object", "OBJECT_NUMBER", properties((9, b"a", b""))
    yield "padding", "PADDING", good[:64 + 36] + b"\1" + good[64 + 37:]
    yield "padding before the directory", "PADDING", good[:directory - 1] + b"\1" + good[directory:]

    def property_field(offset, form, value):
        return build.change_chunk(properties((NONE, b"k", b"v"), (0, b"k", b"v")), 13, offset, form, value)

    yield "scene's key twice", "PROPERTY_ORDER", properties((NONE, b"a", b"1"), (NONE, b"a", b"1"))
    yield "an owner comes back", "PROPERTY_ORDER", properties((0, b"a", b"1"), (1, b"a", b"1"), (0, b"b", b"1"))
    yield "key outside", "TEXT_RANGE", property_field(32, "<Q", 1000)
    yield "value outside", "TEXT_RANGE", property_field(20, "<I", 1000)
    yield "properties twice", "DUPLICATE_CHUNK", build.assemble(
        [*chunks(), [b"PROP", 32, b"", 0], [b"PROP", 32, b"", 0]], (1, 1))
    yield "properties of 40 bytes", "RECORD_SIZE", build.assemble([*chunks(), [b"PROP", 40, b"", 0]], (1, 1))
    yield "properties of 28 bytes", "RECORD_SIZE", build.assemble([*chunks(), [b"PROP", 28, b"", 0]], (1, 2))
    yield "later children of 8 bytes", "RECORD_SIZE", build.assemble(
        [[b"CHLD", 8, bytes(24), 0] if c[0] == b"CHLD" else c for c in chunks()], (1, 7))
    yield "later texts of 5 bytes", "RECORD_SIZE", build.assemble(
        [[b"TEXT", 5, bytes(100), 0] if c[0] == b"TEXT" else c for c in chunks()], (1, 7))
    yield "later indices of 8 bytes", "RECORD_SIZE", build.assemble([*chunks(), [b"U32A", 8, b"", 0]], (1, 7))
    yield "properties changed", "CHUNK_CHECKSUM", build.change_entry(properties((0, b"a", b"1")), 13, 24, "<Q", 1)
    yield "1.0 with properties that must be known", "UNKNOWN_CHUNK", build.assemble([*chunks(), [b"PROP", 32, b"", 1]])

    def ring(b):
        first = b.node(b"x")
        second = b.node(b"y", first)
        b.objects[first][4] = second
        b.kids[second] = [first]

    yield "ring", "CYCLE", built(ring)


NO_REFUSALS = ("PADDING",)   # errors that a reader need not look for


class WrongFiles(Programs):
    def test_reader_and_program_refuse_each_with_the_code_of_the_document(self):
        codes = set()
        for what, code, data in wrong_files():
            with self.subTest(what):
                if code in NO_REFUSALS:
                    from_bytes(data, verify="all")
                else:
                    with self.assertRaises(ZixError) as caught:
                        from_bytes(data, verify="all")
                    self.assertEqual(caught.exception.code, code)
                self.assertEqual(self.assert_judged_alike(data)[0][:1], [code])
                codes.add(code)
        document = (SOURCE / "docs" / "zix-format.md").read_text(encoding="utf-8")
        listed = set(re.findall(r"^\| ([A-Z_]{5,}) \|", document, re.M))
        self.assertIn("CYCLE", listed)
        # No test makes a file of 4294967295 objects (160 GB).
        self.assertEqual(listed - codes, {"OBJECT_COUNT"})

    def test_files_that_are_not_wrong_are_accepted_by_both(self):
        self.assertEqual(self.assert_judged_alike(small_scene().bytes()), ([], []))

    def test_random_changes_with_fresh_checksums_are_judged_alike(self):
        """Of refusals only the verdict is compared: with two things wrong, either may be named first."""
        good = small_scene().bytes()
        chunks = [(number, c["type"].tobytes(), int(c["size"])) for number, c in enumerate(from_bytes(good).chunks)]
        chunks = [c for c in chunks if c[2] and c[1] != b"TEXT"]
        generator = random.Random(2026)
        values = [*range(21), 64, 128, 255, 256, NONE - 1, NONE, 1 << 31]
        verdicts = {True: 0, False: 0}
        for _ in range(300):
            (number, kind, size), value = generator.choice(chunks), generator.choice(values)
            if generator.random() < 0.8:
                what = (kind, generator.randrange(size // 4) * 4, value)
                data = build.change_chunk(good, number, what[1], "<I", value)
            else:
                what = ("directory", generator.randrange(10) * 4, value)
                data = build.change_entry(good, number, what[1], "<I", value)
            try:
                from_bytes(data, verify="all")
                self.assert_judged_alike(data, what)
                accepted = True
            except ZixError as error:
                self.assertIn(error.code, findings(data)[0], what)
                self.assertTrue(self.tool_findings(data)[0], what)
                accepted = False
            verdicts[accepted] += 1
        self.assertGreater(min(verdicts.values()), 50)


if __name__ == "__main__":
    unittest.main()
