"""Values of options that are refused; and output that cannot be written."""

import os
import shutil
import subprocess
import unittest

from cli_case import SAMPLE, SURVEY, CliTest
from programs import LOFTBAY, SOURCE, ZIX

JOINT = os.path.join(SOURCE, "samples", "flange_joint.jt")


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


class Repeated(CliTest):
    def test_an_option_that_takes_one_value_is_given_once(self):
        for command in (["--lod", "0", "--lod=1", SAMPLE, self.out], ["info", "--max-places=1", "--max-places=2", SAMPLE]):
            result = self.run_program(*command)
            self.assertEqual((result.returncode, result.stdout), (2, b""))
            self.assertIn(b"is given twice", result.stderr)
        result = subprocess.run([ZIX, "render", "--size=1x1", "--size=2x2", self.out, self.path("a.png")],
                                capture_output=True)
        self.assertEqual((result.returncode, result.stdout), (2, b""))
        self.assertIn(b"option '--size' is given twice", result.stderr)

    def test_a_flag_may_be_given_again_and_takes_no_value(self):
        self.assertEqual(self.run_program(SURVEY, self.out, "--lines", "--lines").returncode, 0)
        for value in ("", "false", "true", "maybe"):
            result = self.run_program(SURVEY, self.path("new.zix"), f"--lines={value}")
            self.assertEqual(result.returncode, 2)
            self.assertIn(b"option --lines takes no value", result.stderr)
        self.assertFalse(os.path.exists(self.path("new.zix")))

    def test_an_empty_value_takes_no_file_name_for_it(self):
        for option in ("--lod=", "--tess-tolerance=", "--search-dir=", "--jobs=", "--work-dir=", "--out-dir="):
            result = self.run_program(SURVEY, self.out, option)
            self.assertEqual((result.returncode, result.stdout), (2, b""), option)
            self.assertIn(option[:-1].encode() + b":", result.stderr)


class Words(CliTest):
    def refusal(self, *words):
        result = subprocess.run([ZIX, *words], capture_output=True, cwd=self.folder)
        self.assertEqual((result.returncode, result.stdout), (2, b""), words)
        return result.stderr.decode().splitlines()[0]

    def test_the_next_word_is_the_value_whatever_it_looks_like(self):
        for value in ("--json", "--", "-1", "[1,2]", ""):
            result = self.run_program(SURVEY, self.out, "--lod", value)
            self.assertEqual((result.returncode, result.stdout), (2, b""), value)
            self.assertIn(f"--lod: '{value}' is not finest".encode(), result.stderr)
        self.assertEqual(self.refusal("render", "a", "b", "--size"), "zix: option '--size' needs a value: WxH")

    def test_names_of_files_are_taken_as_they_are(self):
        plain, dashed = ["[a,b]", "++", "a=b", "info", "{}"], ["--", "--json", "-x", "--lod=", "--"]
        for name in plain + dashed:
            shutil.copy(SURVEY, self.path(name))
        result = subprocess.run([LOFTBAY, "info", *plain, "--stated", "--summary", "--", *dashed], capture_output=True,
                                cwd=self.folder)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        lines = result.stdout.decode().splitlines()[-len(plain + dashed):]
        for name, line in zip(plain + dashed, lines):
            self.assertTrue(line.startswith(name + " "), line)

    def test_a_word_with_a_dash_is_no_file(self):
        for word in ("-5", "---x", "-hh", "-x"):
            self.assertEqual(self.refusal("tree", word), f"zix: unknown option '{word}'")
        self.assertEqual(self.refusal("--lod"), "zix: unknown option '--lod'")


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
