"""`loftbay --preview` and `--export`: what is written beside the scene, what is refused, and what failures leave."""

import base64
import json
import os
import re
import shutil
import subprocess
import unittest

from cli_case import SAMPLE, CliTest
from programs import LOFTBAY, ZIX, assembly_file


def content(path):
    with open(path, "rb") as file:
        return file.read()


class FurtherOutputs(CliTest):
    def setUp(self):
        super().setUp()
        self.png, self.glb = self.path("out.png"), self.path("out.glb")

    def zix(self, *arguments):
        subprocess.run([ZIX, *arguments], check=True, capture_output=True)

    def test_they_are_what_zix_writes(self):
        names = ["out.glb", "OUT2.STL", "out.obj"]
        exports = [word for name in names for word in ("--export", self.path(name))]
        result = self.run_program(SAMPLE, self.out, "--json", "--preview", self.png, *exports)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.report(result)["options"],
                         ["--preview=" + self.png, *("--export=" + self.path(name) for name in names)])
        self.zix("render", self.out, self.path("expected.png"))
        self.assertEqual(content(self.png), content(self.path("expected.png")))
        for name in names:
            expected = self.path("expected" + name[-4:])
            self.zix("export", self.out, expected)
            self.assertEqual(content(self.path(name)), content(expected))

    def run_copy(self, *arguments):
        """Runs a copy of the program, which looks for the viewer in a folder of its own."""
        os.makedirs(self.path("bin"), exist_ok=True)
        shutil.copy(LOFTBAY, self.path("bin/loftbay"))
        return subprocess.run([self.path("bin/loftbay"), *arguments], capture_output=True, env=self.environment(),
                              timeout=120)

    def test_a_page_without_the_viewer_is_refused_before_the_conversion(self):
        self.write("out.zix", b"as before")
        result = self.run_copy(SAMPLE, self.out, "--json", "--export", self.glb, "--export", self.path("out.html"))
        self.assertEqual(result.returncode, 3, result.stderr)
        report = self.report(result)
        self.assertEqual(report["outcome"], "refused")
        self.assertRegex(report["error"], "out.html: the viewer is not there .*scripts/build-viewer")
        self.assertEqual(content(self.out), b"as before")
        self.assertFalse(os.path.exists(self.glb))

    def test_a_page_holds_the_report(self):
        os.mkdir(self.path("bin"))
        self.write("bin/viewer.html", b"<html><!--zix-data--></html>")
        main = self.write("main.jt", assembly_file(["missing.jt"]))
        page = self.path("out.html")
        result = self.run_copy(main, self.out, "--json", "--export", page)
        report = self.report(result)
        self.assertEqual(report["outcome"], "partial")
        block = re.search(rb'id="zix-report"[^>]*>([^<]*)<', content(page)).group(1)
        shown = json.loads(base64.b64decode(block))
        for key in ("skipped", "notes", "input", "output", "outcome", "exit_code", "options", "bytes"):
            self.assertEqual(shown[key], report[key], key)
        self.assertEqual(len(shown["skipped"]), 1)

    def test_other_endings_are_wrong_usage(self):
        for words in (["--preview", self.path("a.jpg")], ["--preview", "png"], ["--export", self.path("a.fbx")],
                      ["--export", self.path("a")], ["--export", self.png]):
            result = self.run_program(SAMPLE, self.out, *words)
            self.assertEqual(result.returncode, 2, words)
            self.assertIn(words[1].encode(), result.stderr)
            self.assertFalse(os.path.exists(self.out))

    def test_they_are_for_one_file(self):
        for words in (["--preview", self.png], ["--export", self.glb]):
            result = self.run_program(SAMPLE, "--out-dir", self.path("scenes"), *words)
            self.assertEqual(result.returncode, 2)
            self.assertIn(words[0].encode() + b" is for one file", result.stderr)
            self.assertFalse(os.path.exists(self.path("scenes")))

    def test_one_that_is_another_file_of_the_conversion_is_refused(self):
        model = self.path("model.glb")
        shutil.copy(SAMPLE, self.path("model.jt"))
        os.link(self.path("model.jt"), model)
        before = content(model)
        elsewhere = os.path.join(self.folder, ".", "out.glb")
        for words, reason in ((["--export", model], b"this is the input"),
                              (["--export", self.glb, "--export", elsewhere], b"two outputs are the same file")):
            result = self.run_program(self.path("model.jt"), self.out, "--json", *words)
            self.assertEqual(result.returncode, 3)
            self.assertEqual(self.report(result)["outcome"], "refused")
            self.assertIn(reason, result.stderr)
            self.assertFalse(os.path.exists(self.out))
        self.assertEqual(content(model), before)

    def test_one_that_cannot_be_written_costs_only_itself(self):
        lost = self.path("no-folder/out.png")
        result = self.run_program(SAMPLE, self.out, "--json", "--preview", lost, "--export", self.glb)
        self.assertEqual(result.returncode, 1)
        report = self.report(result)
        self.assertEqual(report["outcome"], "partial")
        self.assertEqual([entry["part"] for entry in report["skipped"]], [lost])
        self.assertIn(lost.encode(), result.stderr)
        self.assertRegex(result.stderr, b" triangles in [0-9.]+ s; " + re.escape(lost.encode()) + b" not written\n")
        self.assertNotIn(b"not converted", result.stderr)
        self.zix("validate", self.out)
        self.zix("export", self.out, self.path("expected.glb"))
        self.assertEqual(content(self.glb), content(self.path("expected.glb")))

    def test_without_a_scene_none_is_written(self):
        broken = self.write("broken.jt", b"nothing")
        result = self.run_program(broken, self.out, "--json", "--preview", self.png, "--export", self.glb)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(self.report(result)["outcome"], "failed")
        self.assertFalse(os.path.exists(self.png))
        self.assertFalse(os.path.exists(self.glb))

    def test_a_conversion_that_took_too_long_leaves_none(self):
        outcomes = set()
        for step in range(1, 25):
            for path in (self.out, self.png, self.glb):
                if os.path.exists(path):
                    os.remove(path)
            result = self.run_program(SAMPLE, self.out, "--json", "--timeout", str(0.03 * step), "--preview", self.png,
                                      "--export", self.glb)
            report = self.report(result)
            outcomes.add(report["outcome"])
            there = [os.path.exists(path) for path in (self.out, self.png, self.glb)]
            self.assertEqual(there, [report["outcome"] == "ok"] * 3, report)
            self.assertEqual(report["bytes"] is None, report["outcome"] == "timeout")
            self.assertLessEqual(set(self.leftovers()), {"out.png", "out.glb"})
        self.assertIn("timeout", outcomes)


if __name__ == "__main__":
    unittest.main()
