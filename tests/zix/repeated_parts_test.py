#!/usr/bin/env python3
"""A model whose parts repeat: its scene holds each part's arrays once, however often the part is placed."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

BIN = pathlib.Path(os.environ["LOFTBAY_BIN_DIR"])


class RepeatedParts(unittest.TestCase):
    def setUp(self):
        temp = tempfile.TemporaryDirectory()
        self.addCleanup(temp.cleanup)
        self.folder = pathlib.Path(temp.name)
        self.environment = dict(os.environ, MERIDAN_TEMP_PATH=str(self.folder))

    def run_program(self, name, *arguments):
        run = subprocess.run([str(BIN / name), *map(str, arguments)], env=self.environment, capture_output=True,
                             timeout=300)
        self.assertEqual(run.returncode, 0, run.stderr)
        return run.stdout

    def scene_of(self, placed):
        """(path, bytes of arrays) of the scene of 100 parts that are placed so often in all."""
        model, scene = self.folder / f"{placed}.jt", self.folder / f"{placed}.zix"
        self.run_program("make_samples", "--repeated-parts", placed, model)
        report = json.loads(self.run_program("loftbay", model, scene, "--json"))
        return scene, report["bytes"]["arrays"]

    def test_arrays_are_there_once_for_each_part_and_the_scene_is_about_as_small_as_its_glb(self):
        _, once = self.scene_of(100)
        scene, often = self.scene_of(850)
        self.assertGreater(once, 1_000_000)
        self.assertEqual(often, once)
        info = json.loads(self.run_program("zix", "info", scene, "--json"))
        self.assertEqual(len(info["meshes"]), 850)
        glb = self.folder / "scene.glb"
        self.run_program("zix", "export", scene, glb)
        self.assertLess(scene.stat().st_size, 1.5 * glb.stat().st_size)


if __name__ == "__main__":
    unittest.main()
