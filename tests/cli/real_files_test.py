"""Every real JT file at hand goes through the programs: it converts without a loss, the scene is valid, and the
scene's shapes, box and area in space are those that an independent decoder found.

The files are not part of the project: LOFTBAY_JT_SAMPLES names their folder; without it every test is skipped."""

import collections
import glob
import json
import math
import os
import struct
import subprocess
import unittest

from programs import SOURCE, ZIX, ProgramTest

SAMPLES = os.environ.get("LOFTBAY_JT_SAMPLES", os.path.join(SOURCE, "..", "shared", "jt-samples"))
FILES = sorted(glob.glob(os.path.join(SAMPLES, "**", "*.jt"), recursive=True))


def stl_triangles(path):
    """Triangles with three different corners."""
    with open(path, "rb") as file:
        data = file.read()
    (count,) = struct.unpack_from("<I", data, 80)
    triangles = []
    for i in range(count):
        v = struct.unpack_from("<9f", data, 84 + 50 * i + 12)
        triangle = (v[0:3], v[3:6], v[6:9])
        if len(set(triangle)) == 3:
            triangles.append(triangle)
    return triangles


def signed_volume(triangles):
    return sum(a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0]) + a[2] * (b[0] * c[1] - b[1] * c[0])
               for a, b, c in triangles) / 6


def area_of(triangles):
    area = 0.0
    for a, b, c in triangles:
        u = [b[k] - a[k] for k in range(3)]
        v = [c[k] - a[k] for k in range(3)]
        cross = (u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0])
        area += math.sqrt(sum(x * x for x in cross)) / 2
    return area


@unittest.skipUnless(FILES, "skipped: tests on real JT files (no folder " + SAMPLES + ")")
class RealFiles(ProgramTest):
    def expected(self, path):
        name = os.path.relpath(path, SAMPLES)[:-3] + ".json"
        with open(os.path.join(SAMPLES, "expected", name), encoding="utf-8") as file:
            return json.load(file)

    def convert(self, path, *options):
        scene = self.path(os.path.basename(path)[:-3] + ".zix")
        result = self.run_program(path, scene, "--json", *options, timeout=300)
        self.assertEqual(result.returncode, 0, result.stderr)
        return scene, json.loads(result.stdout)

    def triangles_of(self, scene):
        stl = scene[:-4] + ".stl"
        subprocess.run([ZIX, "export", scene, stl], check=True, capture_output=True)
        return stl_triangles(stl)

    def test_each_file_converts_without_a_loss_and_everything_is_in_place(self):
        for path in FILES:
            with self.subTest(file=os.path.relpath(path, SAMPLES)):
                placed = self.expected(path)["placed"]
                scene, report = self.convert(path)
                self.assertEqual(report["skipped"], [])
                self.assertEqual(report["counts"]["shapes"], placed["shapes"])
                self.assert_valid(scene)

                info = self.zix_info(scene)
                size = max(b - a for a, b in zip(placed["bbox"][:3], placed["bbox"][3:]))
                for ours, theirs in zip(info["bbox"], placed["bbox"]):
                    self.assertAlmostEqual(ours, theirs, delta=2e-5 * size)

                area = area_of(self.triangles_of(scene))
                self.assertAlmostEqual(area, placed["area"], delta=5e-4 * placed["area"])

    def test_without_merging_every_triangle_is_there(self):
        for path in FILES:
            with self.subTest(file=os.path.relpath(path, SAMPLES)):
                placed = self.expected(path)["placed"]
                scene, report = self.convert(path, "--no-optimize")
                self.assertGreaterEqual(report["counts"]["triangles"], placed["triangles_nd"])

    def test_exact_geometry_gives_closed_bodies_of_the_facets_size(self):
        for name in ("fan_v9.0.jt", "bolt.jt", "nut.jt"):
            path = os.path.join(SAMPLES, name)
            if not os.path.exists(path):
                continue
            with self.subTest(file=name):
                figures = []
                for options in ([], ["--exact-geometry"]):
                    scene, report = self.convert(path, *options)
                    self.assertEqual(report["skipped"], [])
                    figures.append(self.triangles_of(scene))
                facets, exact = figures
                self.assertNotEqual(len(facets), len(exact))
                edges = collections.Counter()
                for a, b, c in exact:
                    edges.update(((a, b), (b, c), (c, a)))
                # Bodies may stand at one place twice: as often as an edge is there, so is its opposite.
                unpaired = [edge for edge in edges if edges[edge] != edges[edge[1], edge[0]]]
                self.assertEqual(unpaired, [])
                area = area_of(facets)
                self.assertAlmostEqual(area_of(exact), area, delta=5e-3 * area)
                volume = signed_volume(facets)
                self.assertGreater(volume, 0)
                self.assertAlmostEqual(signed_volume(exact), volume, delta=5e-3 * volume)

    def test_info_names_what_each_file_holds(self):
        for path in FILES:
            with self.subTest(file=os.path.relpath(path, SAMPLES)):
                expected = self.expected(path)
                result = self.run_program("info", path, "--json", timeout=300)
                self.assertEqual(result.returncode, 0, result.stderr)
                document = json.loads(result.stdout)
                self.assertEqual(document["version"], expected["version"])
                self.assertEqual(document["byte_order"], expected["byte_order"])
                self.assertEqual(sum(document["segments"].values()), sum(expected["segments"].values()))
                self.assertEqual(document["cannot_be_converted"], [])


if __name__ == "__main__":
    unittest.main()
