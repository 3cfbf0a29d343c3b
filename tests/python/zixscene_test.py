#!/usr/bin/env python3
"""What zixscene gives of scenes that are put together by hand."""

import math
import os
import pathlib
import pickle
import random
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ.get("LOFTBAY_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
sys.path[:0] = [str(SOURCE / "python"), str(SOURCE / "tests" / "format_reader")]
import numpy as np
import zix_builder as build
import zixscene
from zixscene import ZixError, check, checksum
from zixscene.layout import COORDINATES, NONE, SHAPE

CORNERS = [0, 0, 0, 4, 0, 0, 0, 3, 0]


def two_parts():
    """root > left, right (mirrored); both show the same arrays. Objects: 0 root, 1 transform, 2 transform, 3 grey, 4 red,
    5 left, 6 right, 7 coordinates, 8 indices, 9 lengths, 10 and 11 shape and mesh of left, 12 and 13 of right."""
    b = build.Builder(b"App", 1.5)
    b.root = b.node(b"root")
    moved = b.transform(t=(10, 0, 0), axis=(0, 0, 2), angle=math.pi / 2, scale=(2, 1, 1))
    mirrored = b.transform(scale=(-1, 1, 1))
    grey = b.material((.5, .5, .5, 0), *[(0, 0, 0, 0)] * 3, intensity=7)
    red = b.material((1, 0, 0, .25), *[(0, 0, 0, 0)] * 3)
    b.objects[b.root][6] = grey
    left = b.node(b"left", b.root, placement=moved)
    right = b.node(b"right", b.root, placement=mirrored, material=red)
    arrays = b.coordinates(3, CORNERS), b.indices([0, 1, 2]), b.indices([3])
    for node in (left, right):
        b.mesh(b.add(SHAPE, b"shape", node), 0, *arrays)
    b.view(b"front", *range(10))
    return b


class Files(unittest.TestCase):
    def setUp(self):
        temp = tempfile.TemporaryDirectory()
        self.addCleanup(temp.cleanup)
        self.folder = pathlib.Path(temp.name)

    def store(self, data):
        path = self.folder / "scene.zix"
        path.write_bytes(data)
        return path


class Loading(Files):
    def assert_refused(self, code, path, **options):
        with self.assertRaises(ZixError) as caught:
            zixscene.load(path, **options)
        self.assertEqual(caught.exception.code, code)
        return caught.exception

    def test_arrays_are_read_only_views_of_one_map(self):
        scene = zixscene.load(self.store(two_parts().bytes()))
        first, second = scene.meshes
        for name in ("points", "indices", "lengths"):
            mine = getattr(first, name)
            self.assertTrue(np.shares_memory(mine, getattr(second, name)), name)
            self.assertFalse(mine.flags.writeable, name)
            with self.assertRaises(ValueError):
                mine[0] = 1
        self.assertTrue(np.shares_memory(first.triangles(), first.indices))
        self.assertEqual(first.points.dtype, np.float32)
        self.assertEqual(first.points.tolist(), np.reshape(CORNERS, (3, 3)).tolist())

    def test_an_array_outlives_its_scene_and_the_name_of_its_file(self):
        path = self.store(two_parts().bytes())
        points = zixscene.load(path).meshes[0].points
        path.unlink()
        self.assertEqual(points.sum(), 7)

    def test_a_file_that_is_not_mapped_may_change(self):
        path = self.store(two_parts().bytes())
        scene = zixscene.load(str(path), mapped=False)
        path.write_bytes(b"")
        self.assertEqual(scene.meshes[0].points.sum(), 7)

    def test_bytes_that_change_later_are_copied(self):
        data = bytearray(two_parts().bytes())
        scene = zixscene.from_bytes(data)
        data[64:100] = bytes(36)
        self.assertEqual(scene.meshes[0].points.sum(), 7)

    def test_what_cannot_be_read_is_the_same_exception(self):
        error = self.assert_refused("CANNOT_OPEN", self.folder / "missing.zix")
        self.assertIsInstance(error.__cause__, FileNotFoundError)
        self.assertIn("missing.zix", error.message)
        self.assert_refused("CANNOT_OPEN", self.folder)
        os.mkfifo(self.folder / "pipe")
        self.assert_refused("CANNOT_OPEN", self.folder / "pipe")    # and does not wait for a writer
        self.assert_refused("NOT_ZIX", self.store(b""))
        self.assertEqual([f.code for f in check.validate(self.folder)], ["CANNOT_OPEN"])

    def test_errors_tell_code_message_and_offset_also_in_another_process(self):
        data = bytearray(two_parts().bytes())
        data[60] ^= 1
        error = self.assert_refused("HEADER_CHECKSUM", self.store(data))
        self.assertEqual((error.offset, str(error)), (56, "HEADER_CHECKSUM: the header's checksum differs (at offset 56)"))
        copy = pickle.loads(pickle.dumps(error))
        self.assertEqual((copy.code, copy.message, copy.offset), (error.code, error.message, 56))

    def test_the_offset_is_that_of_the_row(self):
        b = two_parts().finish_tables()
        b.rows[b"XFRM"].append(b.rows[b"XFRM"][0])
        self.assertIsNone(self.assert_refused("TABLE_ROWS", self.store(build.assemble(b.chunks()))).offset)
        data = build.change_chunk(two_parts().bytes(), 5, 5 * 40, "<I", 17)
        self.assertEqual(self.assert_refused("OBJECT_TYPE", self.store(data)).offset,
                         int(zixscene.from_bytes(two_parts().bytes()).chunks[5]["offset"]) + 5 * 40)

    def test_arrays_are_verified_when_it_is_asked_for(self):
        b = two_parts()
        shape = b.add(SHAPE, b"other", b.root)
        b.mesh(shape, 0, b.coordinates(3, CORNERS), 8, 9)
        data = bytearray(b.bytes())
        data[64] ^= 1   # the first coordinate of the shared array
        path = self.store(data)
        scene = zixscene.load(path)
        for mesh in scene.meshes[:2]:
            for verify in (mesh.verify, mesh.verify, mesh.coordinates.verify, scene.verify):
                with self.assertRaises(ZixError) as caught:
                    verify()
                self.assertEqual((caught.exception.code, caught.exception.offset), ("CHUNK_CHECKSUM", 64))
            mesh.index_array.verify()
        scene.meshes[2].verify()
        self.assert_refused("CHUNK_CHECKSUM", path, verify="all")
        zixscene.load(path, verify="none")
        with self.assertRaises(ValueError):
            zixscene.load(path, verify="some")

    def test_tables_are_verified_unless_nothing_is(self):
        data = bytearray(two_parts().bytes())
        placement = int(zixscene.from_bytes(bytes(data)).chunks[10]["offset"])
        data[placement] ^= 1
        path = self.store(data)
        self.assertEqual(self.assert_refused("CHUNK_CHECKSUM", path).offset, placement)
        scene = zixscene.load(path, verify="none")
        with self.assertRaises(ZixError):
            scene.verify()


class Tree(unittest.TestCase):
    def setUp(self):
        self.scene = zixscene.from_bytes(two_parts().bytes())

    def test_meshes_come_with_path_place_and_material(self):
        left, right = self.scene.placed_meshes()
        self.assertEqual(left.path.names, ("root", "left", "shape"))
        self.assertEqual(right.path.node_names, ("root", "right"))
        self.assertEqual((str(right.path), len(right.path)), ("root/right/shape", 3))
        self.assertEqual([type(item).__name__ for item in left.path], ["Node", "Node", "Shape"])
        self.assertEqual((left.material.ambient_intensity, left.material.opacity), (7, 1))
        self.assertEqual((right.material.diffuse, right.material.opacity), ((1, 0, 0, .25), .75))
        np.testing.assert_allclose(left.points(), [[10, 0, 0], [10, 8, 0], [7, 0, 0]], atol=1e-6)
        self.assertEqual(right.points().tolist(), [[0, 0, 0], [-4, 0, 0], [0, 3, 0]])

    def test_a_mirrored_triangle_keeps_its_front(self):
        for placed, mirrored in zip(self.scene.placed_meshes(), (False, True)):
            self.assertEqual(placed.mirrored, mirrored)
            a, b, c = placed.points()[placed.triangles()][0]
            self.assertGreater(np.cross(b - a, c - a)[2], 0)

    def test_matrices_cannot_be_changed_and_end_with_the_unit_row(self):
        for placed in self.scene.walk():
            self.assertEqual((placed.matrix.shape, placed.matrix.dtype), ((4, 4), np.float64))
            self.assertEqual(placed.matrix[3].tolist(), [0, 0, 0, 1])
            with self.assertRaises(ValueError):
                placed.matrix[0, 0] = 5
        with self.assertRaises(ValueError):
            self.scene.transforms[0].matrix[0, 0] = 5
        self.assertEqual(self.scene.root.matrix.tolist(), np.eye(4).tolist())

    def test_a_placement_tells_its_parts(self):
        transform = self.scene.nodes[1].placement
        self.assertEqual((transform.translation.tolist(), transform.axis.tolist(), transform.scale.tolist()),
                         ([10, 0, 0], [0, 0, 2], [2, 1, 1]))
        self.assertAlmostEqual(transform.angle, math.pi / 2, delta=1e-7)

    def test_a_turn_that_is_not_finite_leaves_no_point_finite(self):
        for field, value in ((3, math.nan), (4, math.inf), (6, math.nan), (6, -math.inf)):
            b = two_parts()
            b.rows[b"XFRM"][0][field] = value
            matrix = zixscene.from_bytes(b.bytes()).transforms[0].matrix
            self.assertTrue(np.isnan(matrix[:3]).all(), (field, value))
            self.assertEqual(matrix[3].tolist(), [0, 0, 0, 1])

    def test_objects_know_each_other(self):
        scene = self.scene
        root, left, right = scene.nodes
        self.assertEqual(root.children, [left, right])
        self.assertEqual((left.parent, root.parent, scene.starts), (root, None, [root]))
        self.assertEqual(left.children[0].children[0].parent.parent, left)
        self.assertEqual(len({left, scene.object(5), right}), 2)
        self.assertNotEqual(left, zixscene.from_bytes(two_parts().bytes()).nodes[1])
        self.assertEqual((right.identifier, right.type_name, right.raw_name), ((7, 19), "Node", b"right"))
        self.assertEqual([len(items) for items in (scene.objects, scene.shapes, scene.meshes, scene.transforms,
                                                   scene.materials, scene.coordinates, scene.index_arrays)],
                         [14, 2, 2, 2, 2, 1, 2])
        self.assertEqual([node.name for node in scene.nodes[1:]], ["left", "right"])
        self.assertEqual((scene.materials[-1].number, scene.transforms[0].number), (4, 1))
        for number in (-1, 14, NONE):
            with self.assertRaises(IndexError):
                scene.object(number)

    def test_opacity_is_what_can_be_shown(self):
        b = two_parts()
        for shown, stored in ((1, -.5), (0, 2), (1, math.nan), (1, math.inf), (.75, .25)):
            b.rows[b"MATL"][0][3] = stored
            material = zixscene.from_bytes(b.bytes()).materials[0]
            self.assertEqual(material.opacity, shown, stored)
            self.assertEqual(str(material.diffuse[3]), str(float(stored)))

    def test_what_is_known_of_the_whole(self):
        scene = self.scene
        self.assertEqual((scene.version, scene.model, scene.application, scene.application_value), ((1, 0), "Model", "App", 1.5))
        self.assertEqual(scene.views, [("front", (0, 1, 2), (3, 4, 5), (6, 7, 8), 9)])
        np.testing.assert_allclose(scene.bounds(), [[-4, 0, 0], [10, 8, 0]], atol=1e-6)
        self.assertEqual(repr(scene), "<Scene 'Model': 3 nodes, 2 meshes>")
        self.assertIsNone(zixscene.from_bytes(build.Builder().bytes()).bounds())

    def test_a_deep_tree_with_meshes_at_every_level_takes_linear_work(self):
        """The names of all paths together would be 200 million."""
        b = build.Builder()
        b.root = node = b.node(b"0")
        arrays = b.coordinates(3, CORNERS), b.indices([0, 1, 2]), b.indices([3])
        placement = b.transform(t=(1, 0, 0))
        levels = 20_000
        for _ in range(levels):
            node = b.node(b"n", node, placement=placement)
            b.mesh(b.add(SHAPE, b"s", node), 0, *arrays)
        scene = zixscene.from_bytes(b.bytes(), verify="none")
        depths = [(len(placed.path), placed.matrix[0, 3]) for placed in scene.placed_meshes()]
        self.assertEqual(depths, [(k + 2, k) for k in range(1, levels + 1)])
        path = next(placed.path for placed in scene.walk() if len(placed.path) == levels)
        self.assertEqual(len(path.names), levels)

    def test_a_long_chain_without_an_end_is_refused(self):
        b = build.Builder()
        first = node = b.node(b"0")
        for _ in range(20_000):
            node = b.node(b"n", node)
        b.objects[first][4] = node
        b.kids[node] = [first]
        with self.assertRaises(ZixError) as caught:
            zixscene.from_bytes(b.bytes(), verify="none")
        self.assertEqual(caught.exception.code, "CYCLE")


class Elements(unittest.TestCase):
    def mesh(self, kind, coordinates, indices, lengths, dimension=3):
        b = build.Builder()
        shape = b.add(SHAPE, b"s", b.node(b"n"))
        b.mesh(shape, kind, b.coordinates(dimension, coordinates), b.indices(indices), b.indices(lengths))
        return zixscene.from_bytes(b.bytes()).meshes[0]

    def test_triangles_that_are_not_whole_are_left_out(self):
        mesh = self.mesh(0, CORNERS, [0, 1, 2, 0, 1, 2, 0, 0, 1, 3, 2, 1, 0, 1, 1], [3, 3, 0, 1, 3, 3, 3])
        self.assertEqual(mesh.triangles().tolist(), [[0, 1, 2], [0, 1, 2], [2, 1, 0]])
        self.assertEqual([e.tolist() for e in mesh.elements()], mesh.triangles().tolist())
        mesh = self.mesh(0, CORNERS, [0, 1, 2, 9], [3])
        self.assertEqual(mesh.triangles().tolist(), [[0, 1, 2]])
        self.assertTrue(np.shares_memory(mesh.triangles(), mesh.indices))
        self.assertEqual(self.mesh(0, CORNERS, [0, 1, 3], [3]).triangles().shape, (0, 3))
        self.assertEqual(self.mesh(0, [], [], []).triangles().shape, (0, 3))

    def test_lengths_whose_sum_exceeds_32_bits_end_the_list(self):
        mesh = self.mesh(1, CORNERS, [0, 1, 2], [2, NONE, NONE, 3, 1])
        self.assertEqual([e.tolist() for e in mesh.elements()], [[0, 1]])

    def test_polylines_and_points(self):
        mesh = self.mesh(1, CORNERS, [0, 1, 2, 1, 5], [3, 0, 1, 1])
        self.assertEqual([e.tolist() for e in mesh.elements()], [[0, 1, 2], [], [1]])
        self.assertEqual(self.mesh(2, CORNERS, [2, 0], [1, 1]).kind, "points")
        with self.assertRaises(ValueError):
            mesh.triangles()

    def test_points_have_three_values_whatever_is_stored(self):
        flat = self.mesh(1, [1, 2, 3, 4], [], [], dimension=2)
        self.assertEqual(flat.points.tolist(), [[1, 2, 0], [3, 4, 0]])
        long = self.mesh(1, range(8), [], [], dimension=4)
        self.assertEqual(long.points.tolist(), [[0, 1, 2], [4, 5, 6]])
        self.assertEqual((long.coordinates.dimension, long.coordinates.values.shape), (4, (2, 4)))

    def test_arrays_that_are_not_there_are_empty(self):
        b = build.Builder()
        shape = b.add(SHAPE, b"s", b.node(b"n"))
        b.mesh(shape, 0, NONE, NONE, NONE)
        b.mesh(shape, 0, b.add(COORDINATES, row=(2, NONE, 1, 0)), NONE, NONE)
        for mesh in zixscene.from_bytes(b.bytes()).meshes:
            self.assertEqual((mesh.points.shape, mesh.indices.shape, mesh.triangles().shape), ((0, 3), (0,), (0, 3)))
            self.assertIsNone(mesh.bounds())
            mesh.verify()

    def test_points_that_are_not_finite_are_in_no_box(self):
        mesh = self.mesh(2, [1, 2, 3, math.nan, 9, 9, 9, math.inf, 9], [], [])
        self.assertEqual(mesh.bounds().tolist(), [[1, 2, 3], [1, 2, 3]])

    def test_equal_keys_are_shared_arrays(self):
        keys = [mesh.array_key for mesh in zixscene.from_bytes(two_parts().bytes()).meshes]
        self.assertEqual(keys, [("triangles", 0, 1, 2)] * 2)


class Properties(unittest.TestCase):
    def scene(self, *rows):
        b = two_parts()
        b.version = (1, 1)
        b.properties = rows
        return zixscene.from_bytes(b.bytes(), verify="all")

    def test_they_are_their_owners_in_their_order(self):
        scene = self.scene((NONE, b"unit", b"inch"), (NONE, b"a", b""), (0, b"z", b"1"), (0, b"a", b"2"), (6, b"n\xff", b"\xc3\xa4"))
        self.assertEqual(list(scene.properties.items()), [("unit", "inch"), ("a", "")])
        self.assertEqual(list(scene.root.properties.items()), [("z", "1"), ("a", "2")])
        self.assertEqual([node.properties for node in scene.nodes[1:]], [{}, {"n\ufffd": "ä"}])
        self.assertEqual(scene.materials[0].properties, {})

    def test_without_the_chunk_there_are_none(self):
        scene = zixscene.from_bytes(two_parts().bytes())
        self.assertEqual((scene.properties, scene.root.properties, scene.unit, scene.unit_metres), ({}, {}, None, None))

    def test_the_unit_has_a_name_and_a_length(self):
        scene = self.scene((NONE, b"unit", b"inch"), (NONE, b"unit_metres", b"0.0254"))
        self.assertEqual((scene.unit, scene.unit_metres), ("inch", 0.0254))
        self.assertEqual(self.scene((NONE, b"unit_metres", b"1e-06")).unit_metres, 1e-6)
        self.assertEqual((self.scene((NONE, b"unit", b"cubit")).unit_metres), None)
        self.assertIsNone(self.scene((0, b"unit", b"inch")).unit)

    def test_nobody_scales_by_what_is_no_length(self):
        for text in (b"", b"0", b"-1", b"nan", b"inf", b"1e999", b"0x1", b" 1", b"1_0", b"\xd9\xa1", b"1\n"):
            with self.subTest(text):
                self.assertIsNone(self.scene((NONE, b"unit_metres", text)).unit_metres)

    def test_keys_that_look_alike_are_kept_as_bytes(self):
        scene = self.scene((NONE, b"\xff", b"1"), (NONE, b"\xfe", b"2\xfd"), (3, b"a", b""))
        self.assertEqual(scene.properties, {"\ufffd": "2\ufffd"})
        self.assertEqual(scene.raw_properties, [(b"\xff", b"1"), (b"\xfe", b"2\xfd")])
        self.assertEqual(scene.object(3).raw_properties, [(b"a", b"")])

    def test_in_a_file_of_version_1_0_the_chunk_is_unknown(self):
        b = two_parts()
        b.properties = [(NONE, b"", b"v"), (NONE, b"unit", b"inch")]    # what 1.1 would refuse
        self.assertEqual(zixscene.from_bytes(b.bytes(), verify="all").properties, {})

    def test_texts_and_owners_are_looked_up_in_the_file(self):
        for row, code in (((14, b"k", b"v"), "OBJECT_NUMBER"), ((0, b"k", b"v"), "TEXT_RANGE")):
            b = two_parts()
            b.version, b.properties = (1, 1), [row]
            chunks = b.finish_tables().chunks()
            if code == "TEXT_RANGE":
                chunks[-1][2] = build.PROPERTY.pack(0, (1 << 64) - 1, 1, 1, 0, 0)
            with self.assertRaises(ZixError) as caught:
                zixscene.from_bytes(build.assemble(chunks, (1, 1)))
            self.assertEqual(caught.exception.code, code)


class Checks(unittest.TestCase):
    def test_texts_are_utf8_or_not_wherever_they_begin_and_end(self):
        """Names share bytes, so a name can begin and end inside of the characters of another."""
        raw = b"a\xe2\x82\xac\xe2\x82b\xf0\x9f\x98\x80\xc3\xc3\xa4\x80z\xf4\x90\x80\x80\xed\xa0\x80"
        spans = [(start, size) for start in range(len(raw)) for size in range(len(raw) - start + 1)]
        b = two_parts()
        at, _ = b.text(raw)
        for start, size in spans:
            b.objects[b.add(SHAPE, b"", b.root)][2:4] = at + start, size
        wanted = 0
        for start, size in spans:
            try:
                raw[start:start + size].decode()
            except UnicodeDecodeError:
                wanted += 1
        self.assertGreater(wanted, 100)
        self.assertEqual([f.code for f in check.validate_bytes(b.bytes())], ["NAME_NOT_UTF8"] * wanted)

    def test_of_meshes_that_share_arrays_each_has_its_findings(self):
        b = two_parts()
        shape = b.add(SHAPE, b"s", b.root)
        indices = b.indices([0, 1, 2] * 66_000 + [3, 4, 0])
        lengths = b.indices([3] * 66_000 + [2])
        for _ in range(3000):
            b.mesh(shape, 0, 7, indices, lengths)
        found = check.validate_bytes(b.bytes())
        self.assertEqual({code: sum(f.code == code for f in found) for code in {f.code for f in found}},
                         dict.fromkeys(("INDEX_RANGE", "LENGTHS_SUM", "ELEMENT_LENGTH"), 3000))
        index_chunk = zixscene.from_bytes(b.bytes()).meshes[-1].index_array.chunk
        offset = int(zixscene.from_bytes(b.bytes()).chunks[index_chunk]["offset"])
        self.assertEqual({f.offset for f in found if f.code == "INDEX_RANGE"}, {offset + 4 * 198_000})


class Checksum(unittest.TestCase):
    """Without the module xxhash, which the other tests may use."""

    def setUp(self):
        self.addCleanup(setattr, checksum, "fast", checksum.fast)
        self.fast, checksum.fast = checksum.fast, None

    def test_runs_side_by_side_have_the_sums_that_they_have_alone(self):
        generator = random.Random(7)
        data = np.frombuffer(generator.randbytes(1 << 17), np.uint8)
        sizes = [0, 1, 31, 32, 33, 64, 65, 40_000] + [generator.randrange(5000) for _ in range(30)]
        offsets = [8 * generator.randrange(8000) for _ in sizes]
        alone = [checksum.xxh64(data[o:o + s].tobytes()) for o, s in zip(offsets, sizes)]
        self.assertEqual(checksum.xxh64_many(data, offsets, sizes), alone)
        self.assertEqual(checksum.xxh64_many(data, offsets[5:8], sizes[5:8]), alone[5:8])
        self.assertEqual(checksum.xxh64_many(data, [], []), [])

    def test_the_module_xxhash_gives_the_same(self):
        if self.fast is None:
            self.skipTest("skipped: the module xxhash is not installed")
        data = np.frombuffer(random.Random(8).randbytes(5000), np.uint8)
        sizes = range(0, 5000, 71)
        own = [checksum.xxh64(data[:size]) for size in sizes]
        checksum.fast = self.fast
        self.assertEqual([checksum.xxh64(data[:size]) for size in sizes], own)
        self.assertEqual(checksum.xxh64_many(data, [0] * len(sizes), sizes), own)


if __name__ == "__main__":
    unittest.main()
