#!/usr/bin/env python3
"""What zixscene reads in files that others wrote: converted samples, and the vectors of the format's document."""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ.get("LOFTBAY_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
BIN = pathlib.Path(os.environ.get("LOFTBAY_BIN_DIR", SOURCE / "build" / "bin"))
REAL = pathlib.Path(os.environ.get("LOFTBAY_JT_SAMPLES", SOURCE.parent / "shared" / "jt-samples"))
REAL_FILES = sorted(path for path in REAL.glob("*.jt") if (REAL / "expected" / (path.stem + ".json")).exists())
VECTORS = SOURCE / "docs" / "zix-vectors"
sys.path.insert(0, str(SOURCE / "python"))
import numpy as np
import zixscene
from zixscene import check


class Converted(unittest.TestCase):
    def setUp(self):
        temp = tempfile.TemporaryDirectory()
        self.addCleanup(temp.cleanup)
        self.folder = pathlib.Path(temp.name)

    def convert(self, path, *options):
        """(the scene, the converter's report)"""
        out = self.folder / (path.stem + ".zix")
        run = subprocess.run([str(BIN / "loftbay"), str(path), str(out), "--json", *options], capture_output=True, timeout=300,
                             env=dict(os.environ, MERIDAN_TEMP_PATH=str(self.folder)))
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual([str(f) for f in check.validate(out) if f.severity == "error"], [])
        return zixscene.load(out, verify="all"), json.loads(run.stdout)

    def assert_counts(self, scene, report):
        counts = report["counts"]
        triangles = sum(len(p.mesh.triangles()) for p in scene.placed_meshes() if p.mesh.kind == "triangles")
        lines = sum(len(p.mesh.whole_elements()[0]) for p in scene.placed_meshes() if p.mesh.kind == "lines")
        points = sum(len(p.mesh.whole_elements()[0]) for p in scene.placed_meshes() if p.mesh.kind == "points")
        self.assertEqual((triangles, lines, points, len(scene.meshes), len(scene.materials)),
                         (counts["triangles"], counts["lines"], counts["points"], counts["meshes"], counts["materials"]))

    def assert_unit(self, scene, report):
        """Scenes of version 1.0 state no unit."""
        if scene.version >= (1, 1) and report["unit"] is not None:
            self.assertEqual((scene.unit, scene.unit_metres), (report["unit"]["name"], report["unit"]["metres"]))

    def test_the_projects_samples(self):
        samples = sorted((SOURCE / "samples").glob("*.jt"))
        self.assertGreaterEqual(len(samples), 5)
        for path in samples:
            for options in ((), ("--lines", "--points")):
                with self.subTest(path.stem, options=options):
                    scene, report = self.convert(path, *options)
                    self.assert_counts(scene, report)
                    self.assert_unit(scene, report)
                    self.assertGreater(len(list(scene.placed_meshes())), 0)

    @unittest.skipUnless(REAL_FILES, f"skipped: scenes of real JT files (no folder {REAL})")
    def test_real_files_have_the_size_and_area_that_an_independent_decoder_found(self):
        for path in REAL_FILES:
            with self.subTest(path.stem):
                placed = json.loads((REAL / "expected" / (path.stem + ".json")).read_text(encoding="utf-8"))["placed"]
                scene, report = self.convert(path)
                self.assert_counts(scene, report)
                self.assert_unit(scene, report)
                bounds = scene.bounds().reshape(6)
                size = (bounds[3:] - bounds[:3]).max()
                np.testing.assert_allclose(bounds, placed["bbox"], rtol=0, atol=2e-5 * size)
                area = 0.0
                for mesh in scene.placed_meshes():
                    a, b, c = mesh.points()[mesh.triangles()].transpose(1, 0, 2)
                    area += np.linalg.norm(np.cross(b - a, c - a), axis=1).sum() / 2
                self.assertAlmostEqual(area, placed["area"], delta=5e-4 * placed["area"])


def vectors():
    """(path, codes of errors, codes of warnings) of all files in the index, codes sorted."""
    entries = json.loads((VECTORS / "index.json").read_text(encoding="utf-8"))["vectors"]
    return [(VECTORS / entry["file"], sorted(entry["errors"]), sorted(entry["warnings"])) for entry in entries]


@unittest.skipUnless((VECTORS / "index.json").exists(), "skipped: the format's vectors (no docs/zix-vectors/index.json)")
class Vectors(unittest.TestCase):
    def test_each_has_the_findings_of_the_index(self):
        self.assertGreater(len(vectors()), 20)
        for path, *codes in vectors():
            with self.subTest(path.name):
                found = check.validate(path)
                self.assertEqual([sorted(f.code for f in found if f.severity == s) for s in ("error", "warning")], codes)

    def test_what_is_refused_is_not_loaded_and_the_rest_is(self):
        for path, errors, _ in vectors():
            with self.subTest(path.name):
                if set(errors) <= {"PADDING", "INDEX_RANGE"}:
                    scene = zixscene.load(path, verify="all")
                    for placed in scene.placed_meshes():
                        list(placed.mesh.elements())
                else:
                    with self.assertRaises(zixscene.ZixError) as caught:
                        zixscene.load(path, verify="all")
                    self.assertIn(caught.exception.code, errors)

    def test_every_file_of_the_folder_is_in_the_index(self):
        self.assertEqual(sorted(VECTORS.rglob("*.zix")), sorted(path for path, _, _ in vectors()))


if __name__ == "__main__":
    unittest.main()
