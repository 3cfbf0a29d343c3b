"""Models of many files: which files are found, and what is told of the others."""

import json
import os
import shutil
import unittest

from cli_case import SAMPLE, SURVEY, CliTest
from programs import assembly_file


class ManyFiles(CliTest):
    def setUp(self):
        super().setUp()
        os.makedirs(self.path("model/Parts"))
        shutil.copy(SAMPLE, self.path("model/Parts/Engine.jt"))
        shutil.copy(SAMPLE, self.path("outside.jt"))
        self.alone = self.report(self.run_program(SAMPLE, self.out, "--json"))["counts"]["triangles"]

    def convert(self, references, *options):
        self.model = self.write("model/main.jt", assembly_file(references))
        result = self.run_program(self.model, self.out, "--json", *options)
        self.assert_valid(self.out)
        return self.report(result)

    def test_references_are_followed_whatever_their_case_and_separators(self):
        report = self.convert(["parts\\ENGINE.JT"])
        self.assertEqual((report["ok"], report["skipped"]), (True, []))
        self.assertEqual(report["counts"]["triangles"], self.alone)

    def test_a_missing_file_is_named_and_the_rest_converts(self):
        report = self.convert(["Parts/Engine.jt", "gone.jt"])
        self.assertFalse(report["ok"])
        self.assertEqual(len(report["skipped"]), 1)
        self.assertIn('"gone.jt" was not found', report["skipped"][0]["reason"])
        self.assertEqual(report["counts"]["triangles"], self.alone)

    def test_files_that_refer_to_themselves_are_named_and_not_followed(self):
        report = self.convert(["Parts/Engine.jt", "main.jt"])
        self.assertEqual(len(report["skipped"]), 1)
        self.assertIn("the circle is not followed", report["skipped"][0]["reason"])
        self.assertEqual(report["counts"]["triangles"], self.alone)

    def test_what_climbs_out_of_the_folder_counts_as_missing_unless_that_is_allowed(self):
        os.symlink("../outside.jt", self.path("model/link.jt"))
        for reference in ("../outside.jt", "Parts/../../outside.jt", self.path("outside.jt"), "link.jt"):
            with self.subTest(reference=reference):
                report = self.convert(["Parts/Engine.jt", reference])
                self.assertEqual(len(report["skipped"]), 1)
                self.assertIn("outside the folder", report["skipped"][0]["reason"])
                self.assertEqual(report["counts"]["triangles"], self.alone)
                allowed = self.convert(["Parts/Engine.jt", reference], "--allow-outside")
                self.assertEqual(allowed["skipped"], [])
                # The second copy comes in whole, or as places of what is there.
                self.assertGreaterEqual(allowed["counts"]["nodes"], report["counts"]["nodes"])
                self.assertTrue(allowed["ok"])

    def test_search_folders_count_in_conversions_batches_and_info(self):
        library = self.path("library")
        os.makedirs(os.path.join(library, "parts"))
        shutil.copy(SURVEY, os.path.join(library, "parts", "hill.jt"))
        os.makedirs(self.path("empty"))
        model = self.write("model.jt", assembly_file(["C:\\old\\parts\\HILL.jt  "]))
        folders = ["--search-dir", self.path("empty"), "--search-dir", library]
        self.assertEqual(self.run_program(model, self.out, *folders[:2]).returncode, 1)
        result = self.run_program(model, self.out, *folders, "--json")
        report = self.report(result)
        self.assertEqual((result.returncode, report["skipped"]), (0, []), result.stderr)
        self.assertGreater(report["counts"]["triangles"], 0)
        self.assertTrue(any("hill.jt was read" in note for note in report["notes"]), report["notes"])
        result = self.run_program(*folders, model, "--out-dir", self.path("scenes"))
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.run_program("info", model).returncode, 1)
        self.assertEqual(self.run_program("info", *folders, model).returncode, 0)

    def test_a_search_folder_that_does_not_exist_is_wrong_usage(self):
        for command in ([SAMPLE, self.path("new.zix")], ["info", SAMPLE]):
            result = self.run_program(*command, "--search-dir", self.path("none"))
            self.assertEqual(result.returncode, 2)
            self.assertIn(b"none' is not a folder", result.stderr)
        self.assertFalse(os.path.exists(self.path("new.zix")))

    def test_info_lists_the_other_files_and_what_is_missing(self):
        self.convert(["Parts/Engine.jt", "gone.jt"])
        document = json.loads(self.run_program("info", self.model, "--json").stdout)
        self.assertEqual(document["files"], [self.path("model/Parts/Engine.jt")])
        self.assertEqual(len(document["cannot_be_converted"]), 1)
        self.assertIn("gone.jt", document["cannot_be_converted"][0]["reason"])


if __name__ == "__main__":
    unittest.main()
