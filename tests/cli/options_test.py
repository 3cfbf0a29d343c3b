"""What options do, alone and passed on by a batch; and output that cannot be written."""

import glob
import json
import os
import shutil
import subprocess
import unittest

from loftbay_cli_test import SAMPLE, SURVEY, CliTest, assembly_file
from programs import LOFTBAY, SOURCE, ZIX

JOINT = os.path.join(SOURCE, "samples", "flange_joint.jt")
BOTH_WAYS = os.path.join(os.environ["LOFTBAY_BIN_DIR"], "write_both_ways")


class PassedOn(CliTest):
    def convert(self, model, *options):
        """The report and the scene's bytes, which are the same in a batch."""
        alone = self.report(self.run_program(model, self.out, "--json", *options))
        with open(self.out, "rb") as file:
            scene = file.read()
        scenes = self.path("scenes")
        result = self.run_program(model, "--out-dir", scenes, "--jobs", "1", "--json", *options)
        [report] = json.loads(result.stdout)
        self.assertEqual(report["options"], alone["options"])
        self.assertEqual(report["counts"], alone["counts"])
        with open(report["output"], "rb") as file:
            self.assertEqual(file.read(), scene)
        shutil.rmtree(scenes)
        return report, scene

    def expect_change(self, model, *options):
        without, scene = self.convert(model)
        with_options, changed = self.convert(model, *options)
        self.assertNotEqual(scene, changed)
        return without["counts"], with_options["counts"]

    def test_no_optimize(self):
        merged, kept = self.expect_change(SAMPLE, "--no-optimize")
        self.assertEqual(kept["vertices_written"], kept["vertices_read"])
        self.assertLess(merged["vertices_written"], kept["vertices_written"])

    def test_tess_tolerance(self):
        usual, fine = self.expect_change(JOINT, "--tess-tolerance", "0.002")
        self.assertLess(usual["triangles"], fine["triangles"])

    def test_exact_geometry(self):
        model = self.path("both.jt")
        subprocess.run([BOTH_WAYS, model], check=True)
        facets, exact = self.expect_change(model, "--exact-geometry")
        self.assertEqual(facets["triangles"], 2)
        self.assertGreater(exact["triangles"], 100)

    def test_lines_and_points(self):
        for option, count in (("--lines", "lines"), ("--points", "points")):
            without, given = self.expect_change(SURVEY, option)
            self.assertEqual(without[count], 0)
            self.assertGreater(given[count], 0)

    def test_allow_outside(self):
        os.mkdir(self.path("model"))
        shutil.copy(SURVEY, self.path("outside.jt"))
        model = self.write("model/main.jt", assembly_file(["../outside.jt"]))
        without, given = self.expect_change(model, "--allow-outside")
        self.assertEqual(without["triangles"], 0)
        self.assertGreater(given["triangles"], 0)

    def test_work_dir(self):
        report, _ = self.convert(SURVEY, "--work-dir", self.path("logs"))
        self.assertTrue(report["log"].startswith(self.path("logs/")))
        self.assertEqual(len(glob.glob(self.path("logs/*/*"))), 2)
        self.assertFalse(os.path.exists(self.path("work")))


class Tolerance(CliTest):
    def test_what_is_no_finite_number_is_wrong_usage(self):
        for text in ("nan", "-nan", "inf", "-inf", "infinity", "1e39", "-1e39", "1e999", "", "1x", "0x1p3"):
            result = self.run_program(JOINT, self.out, f"--tess-tolerance={text}", "--json")
            self.assertEqual((result.returncode, result.stdout), (2, b""), text)
            self.assertIn(b"--tess-tolerance: '" + text.encode(), result.stderr)
            self.assertFalse(os.path.exists(self.out))

    def test_every_finite_number_will_do(self):
        for text in ("0", "-1", "1e-30", "3.4e38", ".5"):
            self.assertEqual(self.run_program(SURVEY, self.out, f"--tess-tolerance={text}").returncode, 0, text)


class FullOutput(CliTest):
    def test_a_standard_output_that_takes_nothing_more_gives_1_and_is_told(self):
        scene = self.path("scene.zix")
        self.assertEqual(self.run_program(SURVEY, scene).returncode, 0)
        for command in ([LOFTBAY, SURVEY, self.out, "--json"], [LOFTBAY, "info", SURVEY],
                        [LOFTBAY, SURVEY, "--out-dir", self.path("scenes"), "--json"],
                        [LOFTBAY, "info", SURVEY, "--json"], [LOFTBAY, "info", "--summary", SURVEY, SAMPLE],
                        [LOFTBAY, "info", "--properties", SURVEY], [LOFTBAY, "--help"], [LOFTBAY, "--version"],
                        [LOFTBAY, "info", "--help"], [ZIX, "--help"], [ZIX, "info", scene], [ZIX, "tree", scene],
                        [ZIX, "info", scene, "--json"], [ZIX, "validate", scene], [ZIX, "diff", scene, self.out]):
            with self.subTest(command=command), open("/dev/full", "wb") as full:
                shutil.copy(scene, self.out)
                if command[1] == "diff":
                    self.run_program(SAMPLE, self.out)
                result = subprocess.run(command, stdout=full, stderr=subprocess.PIPE, env=self.environment())
                self.assertEqual(result.returncode, 1)
                self.assertIn(b"standard output: No space left on device", result.stderr)

    def test_the_scene_is_there_all_the_same(self):
        with open("/dev/full", "wb") as full:
            subprocess.run([LOFTBAY, SAMPLE, self.out, "--json"], stdout=full, stderr=subprocess.DEVNULL,
                           env=self.environment())
        self.assert_valid(self.out)


if __name__ == "__main__":
    unittest.main()
