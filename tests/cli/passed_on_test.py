"""Every option that the program's table marks as passed on, through a batch of two files: each has its effect there,
the same as alone. The list comes from the program, so that a new option needs a case here."""

import json
import os
import shutil
import subprocess
import unittest

from cli_case import SAMPLE, SURVEY, CliTest
from programs import LOFTBAY, SOURCE, assembly_file

JOINT = os.path.join(SOURCE, "samples", "flange_joint.jt")
BOTH_WAYS = os.path.join(os.environ["LOFTBAY_BIN_DIR"], "write_both_ways")
# Options of a conversion that a batch keeps to itself: --json and --in-batch it gives to every process anyway.
KEPT = {"--help", "--version", "--describe", "--out-dir", "--jobs", "--json", "--in-batch", "--preview", "--export"}
# What differs between two conversions that do the same.
OWN_FIELDS = ("input", "output", "seconds", "peak_rss_kb", "log", "files")


def table():
    text = subprocess.run([LOFTBAY, "--describe", "options"], capture_output=True, check=True).stdout
    return {option["name"]: option for option in json.loads(text) if "convert" in option["commands"]}


def text_of(report):
    return json.dumps({key: value for key, value in report.items() if key not in OWN_FIELDS})


def named(option):
    """The option is why something is missing."""
    return lambda before, after: not before["skipped"] and option in after["skipped"][0]["reason"]


def more(count):
    return lambda before, after: before["counts"][count] < after["counts"][count]


class PassedOn(CliTest):
    def referring_model(self, folder, reference, target):
        """A model in a folder of its own that refers to a survey, which lies at `target`."""
        for name in (folder, os.path.dirname(target)):
            os.makedirs(self.path(name), exist_ok=True)
        shutil.copy(SURVEY, self.path(target))
        return self.write(folder + "/main.jt", assembly_file([reference]))

    def both_ways(self):
        """A model with facets and exact geometry."""
        subprocess.run([BOTH_WAYS, self.path("both.jt")], check=True)
        return self.path("both.jt")

    def cases(self):
        """By option: a model, the words, and whether two reports, without and with these, show the effect."""
        outside = self.referring_model("first", "../outside.jt", "outside.jt")
        elsewhere = self.referring_model("second", "hill.jt", "elsewhere/hill.jt")
        logs = self.path("logs/")
        os.makedirs(self.path("empty"), exist_ok=True)
        return {
            "--no-optimize": (SAMPLE, [], more("vertices_written")),
            "--properties": (SURVEY, [], lambda before, after: before["bytes"]["total"] < after["bytes"]["total"]),
            "--lines": (SURVEY, [], more("lines")),
            "--points": (SURVEY, [], more("points")),
            "--exact-geometry": (self.both_ways(), [], more("triangles")),
            "--lod": (SAMPLE, ["=coarsest"], lambda before, after: more("triangles")(after, before)),
            "--tess-tolerance": (JOINT, ["=0.002"], more("triangles")),
            "--allow-outside": (outside, [], more("triangles")),
            # The second of them holds the file.
            "--search-dir": (elsewhere, ["=" + self.path("empty"), "=" + self.path("elsewhere")], more("triangles")),
            "--max-places": (SAMPLE, ["=1"], named("--max-places")),
            "--max-unpacked": (SAMPLE, ["=1"], named("--max-unpacked")),
            "--max-memory": (SAMPLE, ["=1K"], named("--max-memory")),
            "--timeout": (SAMPLE, ["=0.001"], lambda before, after: after["outcome"] == "timeout"),
            "--work-dir": (SURVEY, ["=" + logs],
                           lambda before, after: after["log"].startswith(logs) and logs not in before["log"]),
            "--quiet": (SURVEY, [], None),
        }

    def batch(self, model, *words):
        """The reports of two files that are the same, and what is said meanwhile."""
        twin = os.path.join(os.path.dirname(model), "twin.jt") if model.startswith(self.folder) else self.path("twin.jt")
        shutil.copy(model, twin)
        shutil.rmtree(self.path("scenes"), True)
        result = self.run_program(model, twin, "--out-dir", self.path("scenes"), "--jobs", "2", "--json", *words)
        return json.loads(result.stdout), result.stderr

    def check(self, option, model, words, effect):
        before, said_before = self.batch(model)
        after, said_after = self.batch(model, *words)
        self.assertEqual((len(before), len(after)), (2, 2))
        if option["name"] == "--quiet":
            # Of each file a line, and one of the batch. With the option nothing at all.
            for report in before:
                self.assertIn((report["input"] + ": ").encode(), said_before)
            self.assertEqual(said_after, b"")
        else:
            for pair in zip(before, after):
                self.assertTrue(effect(*pair), pair)
        alone = self.report(self.run_program(model, self.out, "--json", *words))
        for report in after:
            self.assertEqual(report["options"], words if option["reported"] else [])
            if report["outcome"] == "ok":
                self.assertEqual(text_of(report), text_of(alone))
        if alone["outcome"] == "ok":
            # The second file has another name, which is in its scene.
            with open(self.out, "rb") as scene, open(after[0]["output"], "rb") as of_batch:
                self.assertTrue(scene.read() == of_batch.read(), "another scene than alone")

    def test_what_is_not_passed_on_is_known(self):
        self.assertEqual({name for name, option in table().items() if not option["passed_on"]}, KEPT)

    def test_each_has_its_effect_on_both_files(self):
        cases = self.cases()
        options = {name: option for name, option in table().items() if option["passed_on"]}
        self.assertEqual(sorted(options), sorted(cases), "an option that is passed on has no case here, or the reverse")
        for name, option in options.items():
            model, values, effect = cases[name]
            words = [name + value for value in values] or [name]
            with self.subTest(option=name):
                self.assertEqual(option["kind"] == "flag", not values)
                self.assertEqual(option["repeated"], len(values) > 1)
                self.check(option, model, words, effect)

    def test_all_together(self):
        words = ["--quiet", "--lines", "--no-optimize", "--points", "--max-places=9K", "--lod=0", "--exact-geometry"]
        [first, second], said = self.batch(SURVEY, *words)
        self.assertEqual(said, b"")
        self.assertEqual(first["options"], second["options"])
        self.assertEqual(first["options"], ["--no-optimize", "--lines", "--points", "--exact-geometry", "--lod=0",
                                            "--max-places=9K"])
        self.assertGreater(second["counts"]["lines"] * second["counts"]["points"], 0)


if __name__ == "__main__":
    unittest.main()
