"""The loftbay program as a user meets it: output streams, exit codes, reports, logs."""

import glob
import json
import os
import pty
import re
import shutil
import signal
import subprocess
import time
import unittest

from graph_file import assembly_file
from programs import LOFTBAY, SOURCE, ProgramTest

SURVEY = os.path.join(SOURCE, "samples", "survey.jt")
SAMPLE = sorted(glob.glob(os.path.join(SOURCE, "samples", "*.jt")))[0]

REPORT_KEYS = ["schema_version", "input", "output", "ok", "jt_version", "seconds", "peak_rss_kb", "counts",
               "skipped", "notes", "log", "outcome", "exit_code", "error", "options", "files", "unit", "bytes"]
COUNT_KEYS = ["nodes", "transforms", "shapes", "meshes", "materials", "triangles", "lines", "points",
              "vertices_read", "vertices_written"]


class CliTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.out = self.path("out.zix")

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)
        return self.path(name)

    def report(self, result):
        report = json.loads(result.stdout.decode("utf-8"))
        self.assertEqual(list(report), REPORT_KEYS)
        self.assertEqual(list(report["counts"]), COUNT_KEYS)
        self.assertEqual(report["ok"], result.returncode == 0)
        return report

    def leftovers(self):
        return sorted(set(os.listdir(self.folder)) - {"work", "out.zix"})


class Usage(CliTest):
    def test_help_goes_to_standard_output_and_tells_the_exit_codes(self):
        result = self.run_program("--help")
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertIn(b"Exit codes:", result.stdout)
        self.assertIn(b"--no-optimize", result.stdout)
        for option in (b"--lines", b"--points", b"--exact-geometry"):
            self.assertIn(option, result.stdout)

    def test_version_names_build_and_format(self):
        result = self.run_program("--version")
        self.assertEqual(result.returncode, 0)
        self.assertRegex(result.stdout, rb"^loftbay 2\.2\.125\.331 \(Zix format \d+\)\n$")

    def test_no_arguments_is_wrong_usage(self):
        result = self.run_program()
        self.assertEqual((result.returncode, result.stdout), (2, b""))
        self.assertIn(b"Usage: loftbay IN.jt OUT.zix", result.stderr)

    def test_an_unknown_option_is_named_with_the_closest_one(self):
        result = self.run_program("a.jt", "b.zix", "--jsn")
        self.assertEqual((result.returncode, result.stdout), (2, b""))
        self.assertIn(b"unknown option --jsn; did you mean --json?", result.stderr)

    def test_a_missing_or_surplus_argument_is_wrong_usage(self):
        self.assertEqual(self.run_program("a.jt").returncode, 2)
        self.assertEqual(self.run_program("a.jt", "b.zix", "c.zix").returncode, 2)

    def test_a_tolerance_must_be_a_number(self):
        result = self.run_program(SAMPLE, self.out, "--tess-tolerance", "wide")
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"wide", result.stderr)
        self.assertFalse(os.path.exists(self.out))


    def test_a_level_of_detail_must_be_a_number_or_one_of_two_words(self):
        for text in ("fine", "-1", "1.5", "", "99999999999"):
            result = self.run_program(SAMPLE, self.out, f"--lod={text}")
            self.assertEqual(result.returncode, 2, text)
            self.assertFalse(os.path.exists(self.out))
        self.assertIn(b"--lod", self.run_program("--help").stdout)


class Conversion(CliTest):
    def test_a_level_of_detail_is_converted_in_a_batch_too(self):
        triangles = {}
        for level in ("finest", "0", "1", "coarsest", "9"):
            report = self.report(self.run_program(SAMPLE, self.out, "--json", "--lod", level))
            triangles[level] = report["counts"]["triangles"]
            batch = self.run_program(SAMPLE, "--out-dir", self.folder, "--json", "--lod", level)
            self.assertEqual(json.loads(batch.stdout)[0]["counts"]["triangles"], triangles[level])
        self.assertEqual(triangles["finest"], triangles["0"])
        self.assertLess(triangles["1"], triangles["0"])
        self.assertEqual({triangles["coarsest"], triangles["9"]}, {triangles["1"]})

    def test_converts_and_tells_it_on_standard_error_only(self):
        result = self.run_program(SAMPLE, self.out)
        self.assertEqual((result.returncode, result.stdout), (0, b""), result.stderr)
        self.assertIn(b"triangles", result.stderr)
        self.assert_valid(self.out)
        self.assertEqual(self.leftovers(), [])

    def test_the_word_convert_may_be_given(self):
        self.assertEqual(self.run_program("convert", SAMPLE, self.out).returncode, 0)
        self.assertTrue(os.path.exists(self.out))

    def test_quiet_says_nothing(self):
        result = self.run_program(SAMPLE, self.out, "--quiet")
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"", b""))

    def test_the_report_is_one_document_and_counts_as_zix_info_does(self):
        result = self.run_program(SAMPLE, self.out, "--json")
        report = self.report(result)
        self.assertEqual(report["schema_version"], 2)
        self.assertEqual((report["input"], report["output"], report["jt_version"]), (SAMPLE, self.out, "9.5"))
        self.assertEqual((report["skipped"], report["ok"]), ([], True))
        info = self.zix_info(self.out)
        counts = report["counts"]
        self.assertGreater(counts["triangles"], 0)
        for key in ("triangles", "lines", "points"):
            self.assertEqual(counts[key], info["totals"][key])
        for key, kind in (("nodes", "Node"), ("transforms", "Transform"), ("shapes", "Shape"), ("meshes", "Mesh"),
                          ("materials", "Material")):
            self.assertEqual(counts[key], info["objects"].get(kind, 0), key)

    def test_merging_vertices_can_be_switched_off(self):
        merged = self.report(self.run_program(SAMPLE, self.out, "--json"))["counts"]
        kept = self.report(self.run_program(SAMPLE, self.out, "--json", "--no-optimize"))["counts"]
        self.assertEqual(kept["vertices_written"], kept["vertices_read"])
        self.assertLess(merged["vertices_written"], kept["vertices_written"])
        self.assertEqual(merged["triangles"], kept["triangles"])

    def test_lines_and_points_come_only_when_asked_for(self):
        for lines in (False, True):
            for points in (False, True):
                with self.subTest(lines=lines, points=points):
                    options = ["--lines"] * lines + ["--points"] * points
                    report = self.report(self.run_program(SURVEY, self.out, "--json", *options))
                    counts = report["counts"]
                    self.assertEqual((counts["lines"] > 0, counts["points"] > 0), (lines, points))
                    self.assertEqual(counts["shapes"], 1 + lines + points)
                    self.assertEqual(any("lines are ignored" in note for note in report["notes"]), not lines)
                    self.assertEqual(any("points are ignored" in note for note in report["notes"]), not points)
                    info = self.zix_info(self.out)
                    self.assertEqual((counts["lines"], counts["points"]),
                                     (info["totals"]["lines"], info["totals"]["points"]))

    def test_a_batch_passes_lines_points_and_exact_geometry_on(self):
        result = self.run_program(SURVEY, "--out-dir", self.folder, "--json", "--lines", "--points", "--exact-geometry")
        self.assertEqual(result.returncode, 0, result.stderr)
        counts = json.loads(result.stdout)[0]["counts"]
        self.assertEqual((counts["lines"] > 0, counts["points"] > 0), (True, True))

    def test_equal_input_gives_equal_bytes(self):
        self.run_program(SAMPLE, self.out)
        first = open(self.out, "rb").read()
        self.run_program(SAMPLE, self.out)
        self.assertEqual(open(self.out, "rb").read(), first)

    def test_an_existing_scene_is_replaced(self):
        self.write("out.zix", b"old")
        self.assertEqual(self.run_program(SAMPLE, self.out).returncode, 0)
        self.assert_valid(self.out)

    def test_names_with_any_characters_and_a_backslash_work(self):
        for name in ("größe 模型 🚜", "odd\\name"):
            source = self.path(name + ".jt")
            shutil.copy(SAMPLE, source)
            result = self.run_program(source, self.path(name + ".zix"), "--json")
            self.assertEqual(result.returncode, 0, result.stderr)
            self.assertEqual(self.report(result)["input"], source)
            self.assertTrue(os.path.exists(self.path(name + ".zix")))

    def test_a_relative_name_without_a_folder_works(self):
        shutil.copy(SAMPLE, self.path("model.jt"))
        self.assertEqual(self.run_program("model.jt", "out.zix", cwd=self.folder).returncode, 0)
        self.assertTrue(os.path.exists(self.out))

    def test_double_dash_ends_the_options(self):
        shutil.copy(SAMPLE, self.path("-model.jt"))
        self.assertEqual(self.run_program("--", "-model.jt", "-out.zix", cwd=self.folder).returncode, 0)
        self.assertTrue(os.path.exists(self.path("-out.zix")))


class Log(CliTest):
    def lines(self, result):
        log = self.report(result)["log"]
        with open(log, encoding="utf-8") as file:
            lines = file.read().splitlines()
        for line in lines:
            self.assertRegex(line, r"^\[\d+:\d+:\d+, \d+-\d+-\d{4}\] ")
        return [line.split("] ", 1)[1] for line in lines]

    def test_holds_the_jobs_lines_and_nothing_of_the_dialog(self):
        lines = self.lines(self.run_program(SAMPLE, self.out, "--json"))
        self.assertEqual(lines[0], "obJt2Zix::Start conversion...")
        self.assertEqual(lines[-1], "obJt2Zix::Conversion completed.")
        self.assertIn("obJt2Zix::ReadJt(): JT File Version: 9.5", lines)
        self.assertIn("obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0.02", lines)

    def test_the_environment_sets_the_tolerance_with_a_line(self):
        lines = self.lines(self.run_program(SAMPLE, self.out, "--json", environment={"MERIDAN_JT_ULP_TESS_TOLERANCE": "0.005"}))
        self.assertEqual(lines[0], "obJt2Zix::ULP : MERIDAN_JT_ULP_TESS_TOLERANCE is set.")
        self.assertIn("obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0.005", lines)

    def test_the_option_beats_the_environment_without_that_line(self):
        lines = self.lines(self.run_program(SAMPLE, self.out, "--json", "--tess-tolerance", "0.25",
                                            environment={"MERIDAN_JT_ULP_TESS_TOLERANCE": "0.005"}))
        self.assertEqual(lines[0], "obJt2Zix::Start conversion...")
        self.assertIn("obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0.25", lines)

    def test_the_work_directory_is_created_below_the_named_base(self):
        base = self.path("base")
        report = self.report(self.run_program(SAMPLE, self.out, "--json", "--work-dir", base))
        self.assertRegex(report["log"], "^" + re.escape(base) + r"/Loftbay-\d{4}-\d+-\d+-\d+-\d+-\d+[^/]*/Loftbay_Log\.txt$")
        self.assertTrue(os.path.exists(report["log"]))

    def test_runs_within_one_second_do_not_share_a_log(self):
        logs = {self.report(self.run_program(SAMPLE, self.out, "--json"))["log"] for _ in range(3)}
        self.assertEqual(len(logs), 3)
        for log in logs:
            with open(log, encoding="utf-8") as file:
                self.assertEqual(file.read().count("Start conversion..."), 1)

    def test_without_any_variable_the_temporary_folder_is_the_base(self):
        tmpdir = self.path("tmp")
        os.mkdir(tmpdir)
        env = {k: v for k, v in os.environ.items() if k not in ("MERIDAN_TEMP_PATH", "TEMP", "TMP", "USERPROFILE")}
        env["TMPDIR"] = tmpdir
        result = subprocess.run([LOFTBAY, SAMPLE, self.out, "--json"], capture_output=True, env=env, timeout=120)
        self.assertTrue(self.report(result)["log"].startswith(tmpdir + "/"))

    def test_a_log_that_cannot_be_written_does_not_stop_the_conversion(self):
        result = self.run_program(SAMPLE, self.out, environment={"MERIDAN_TEMP_PATH": "/proc/nowhere"})
        self.assertEqual(result.returncode, 0)


class RefusedPaths(CliTest):
    def check(self, code, message, *arguments):
        result = self.run_program(*arguments, "--json")
        self.assertEqual(result.returncode, code)
        report = self.report(result)
        self.assertEqual(result.stderr.decode().splitlines(), [message])
        self.assertEqual((report["outcome"], report["exit_code"], report["error"]), ("refused", 3, message))
        self.assertEqual((report["counts"]["nodes"], report["files"], report["bytes"]), (0, [], None))
        return report

    def test_a_missing_input(self):
        missing = self.path("missing.jt")
        report = self.check(3, missing + ": Error:Input file is not found.", missing, self.out)
        self.assertIsNone(report["log"], "nothing was written")
        self.assertFalse(os.path.exists(self.out))

    def test_a_folder_as_input(self):
        os.mkdir(self.path("folder.jt"))
        self.check(3, self.path("folder.jt: Error:Input file is not found."), self.path("folder.jt"), self.out)

    def test_other_extensions(self):
        self.check(3, self.path("a.txt: Error:Unsupported input format."), self.write("a.txt", b""), self.out)
        self.check(3, self.path("out.zixx: Error:Unsupported output format."), SAMPLE, self.path("out.zixx"))
        # The formats come first.
        missing = self.path("missing.jt")
        self.check(3, self.path("out.zixx: Error:Unsupported output format."), missing, self.path("out.zixx"))

    def test_empty_texts(self):
        self.check(3, "Please specify the input file.", "", self.out)
        self.check(3, "Please specify the output file.", SAMPLE, "")

    def test_a_missing_output_folder_is_not_created(self):
        output = self.path("missing/out.zix")
        self.check(3, output + ": Error:Output directory is not available.", SAMPLE, output)
        self.assertFalse(os.path.exists(self.path("missing")))

    def test_an_output_that_cannot_be_written_is_logged(self):
        os.mkdir(self.path("dir.zix"))
        message = "Permission denied for writing the ZIX file. Please verify whether you have the write permission."
        report = self.check(3, self.path("dir.zix: ") + message, SAMPLE, self.path("dir.zix"))
        with open(report["log"], encoding="utf-8") as file:
            self.assertEqual([line.split("] ", 1)[1] for line in file.read().splitlines()], [message])

    def test_the_input_as_output_also_behind_a_link(self):
        model = self.path("model.jt")
        shutil.copy(SAMPLE, model)
        before = open(model, "rb").read()
        os.symlink(model, self.out)
        result = self.run_program(model, self.out)
        self.assertEqual(result.returncode, 3)
        self.assertIn(b"same file", result.stderr)
        os.remove(self.out)
        os.link(model, self.out)
        self.assertEqual(self.run_program(model, self.out).returncode, 3)
        self.assertEqual(self.run_program(model, model).returncode, 3)
        self.assertEqual(open(model, "rb").read(), before)


class BadInput(CliTest):
    def check_not_loaded(self, content, reason):
        source = self.write("bad.jt", content)
        result = self.run_program(source, self.out, "--json")
        self.assertEqual(result.returncode, 1)
        report = self.report(result)
        self.assertEqual(len(report["skipped"]), 1, report)
        self.assertRegex(report["skipped"][0]["reason"], reason)
        self.assertIn(b"bad.jt", result.stderr)
        self.assertIn(b"Unable to find root node.  Check file...", result.stderr)
        # The job saves what it has: a scene with its root only.
        self.assert_valid(self.out)
        self.assertEqual(self.leftovers(), ["bad.jt"])

    def test_an_empty_file(self):
        self.check_not_loaded(b"", r"(?i)JT file|ends|empty")

    def test_a_file_that_is_no_jt_file(self):
        self.check_not_loaded(b"solid cube\nfacet normal 0 0 1\n" * 10, r"(?i)not a JT file")

    def test_a_file_cut_off_anywhere_gives_a_message_and_a_whole_scene(self):
        content = open(SAMPLE, "rb").read()
        for size in sorted({1, 80, 81, 104, 105, 120, len(content) // 4, len(content) // 2, len(content) - 1}):
            with self.subTest(size=size):
                source = self.write("cut.jt", content[:size])
                result = self.run_program(source, self.out, "--json")
                self.assertEqual(result.returncode, 1, result.stderr)
                self.assertTrue(self.report(result)["skipped"])
                self.assert_valid(self.out)
                os.remove(source)
        self.assertEqual(self.leftovers(), [])

    def test_a_full_disk_is_told_and_leaves_no_unfinished_scene(self):
        # A disk of 64 KiB in a mount namespace of its own; only some machines let a program make one.
        disk = self.path("disk")
        os.mkdir(disk)
        on_disk = ["unshare", "-rm", "sh", "-c", 'mount -t tmpfs -o size=64k none "$1" && { shift; "$@"; }', "sh", disk]
        if subprocess.run([*on_disk, "true"], capture_output=True).returncode != 0:
            self.skipTest("no disk of limited size can be made here")
        script = '"$0" "$1" "$2/out.zix"; echo "code $?"; ls -A "$2"'
        environment = self.environment()
        result = subprocess.run([*on_disk, "sh", "-c", script, LOFTBAY, SAMPLE, disk], capture_output=True, text=True,
                                env=environment, timeout=120)
        self.assertEqual(result.stdout, "code 1\n", result.stderr)
        self.assertIn("Failed to save", result.stderr)
        self.assertIn("No space left on device", result.stderr)

    def test_a_file_name_under_four_characters_ends_the_job(self):
        # "x.jt" has four characters and is legal; ".jt" has three.
        shutil.copy(SAMPLE, self.path(".jt"))
        result = self.run_program(self.path(".jt"), self.out, "--json")
        self.assertEqual(result.returncode, 1)
        self.assertIn(b".jt: invalid string position", result.stderr)
        self.report(result)
        self.assertFalse(os.path.exists(self.out))


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


class Batch(CliTest):
    def setUp(self):
        super().setUp()
        self.out_dir = self.path("scenes")
        self.models = [self.path(name) for name in ("one.jt", "two.jt", "three.jt")]
        for model in self.models:
            shutil.copy(SAMPLE, model)

    def reports(self, result):
        reports = json.loads(result.stdout)
        for report in reports:
            self.assertEqual(list(report), REPORT_KEYS)
        return reports

    def test_converts_every_file_into_a_folder_that_it_makes(self):
        result = self.run_program("convert", *self.models, "--out-dir", self.out_dir, "--jobs", "2", "--json")
        self.assertEqual(result.returncode, 0, result.stderr)
        reports = self.reports(result)
        self.assertEqual([report["input"] for report in reports], self.models)
        self.assertEqual(sorted(os.listdir(self.out_dir)), ["one.zix", "three.zix", "two.zix"])
        self.assertEqual(len({report["log"] for report in reports}), 3)
        self.assertIn(b"3 converted, 0 failed", result.stderr)

    def test_one_failure_does_not_stop_the_rest(self):
        self.write("two.jt", b"nonsense")
        missing = self.path("missing.jt")
        result = self.run_program(self.models[0], self.models[1], missing, self.models[2],
                                  "--out-dir", self.out_dir, "--jobs", "2", "--json")
        self.assertEqual(result.returncode, 1)
        self.assertEqual([report["ok"] for report in self.reports(result)], [True, False, False, True])
        self.assertIn(missing.encode() + b": Error:Input file is not found.", result.stderr)
        self.assertIn(b"2 converted, 2 failed", result.stderr)
        for name in ("one.zix", "three.zix"):
            self.assertTrue(os.path.exists(os.path.join(self.out_dir, name)))

    def words_of(self, pid):
        try:
            with open(f"/proc/{pid}/cmdline", "rb") as file:
                return file.read().split(b"\0")
        except OSError:
            return []  # it has ended meanwhile

    def has_open(self, pid, folder):
        """Whether a process has a file of a folder open, with or without a name."""
        try:
            links = [os.readlink(f"/proc/{pid}/fd/{number}") for number in os.listdir(f"/proc/{pid}/fd")]
        except OSError:
            return False  # it has ended meanwhile, or has just closed one
        return any(link.startswith(folder + "/") for link in links)

    def test_a_conversion_that_crashes_costs_only_itself(self):
        # It has more to say than a pipe holds, to somebody who does not read yet: so it is met with its output open.
        held_up = self.write("held_up.jt", assembly_file([f"gone{number}.jt" for number in range(4000)]))
        models = [held_up]
        for number in range(7):
            models.append(self.path(f"model{number}.jt"))
            shutil.copy(SAMPLE, models[-1])
        process = subprocess.Popen([LOFTBAY, *models, "--out-dir", self.out_dir, "--jobs", "2", "--json"],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env=self.environment())
        self.addCleanup(process.kill)
        deadline = time.time() + 60
        victim = None
        while victim is None:
            self.assertLess(time.time(), deadline, "no conversion had its output open")
            for child in self.children_of(process.pid):
                if self.has_open(child, self.out_dir) and held_up.encode() in self.words_of(child):
                    victim = child
            time.sleep(0.005)
        os.kill(victim, signal.SIGKILL)
        output, errors = process.communicate(timeout=120)
        reports = json.loads(output)
        self.assertEqual(process.returncode, 1)
        self.assertEqual([report["ok"] for report in reports], [False] + [True] * 7, errors)
        self.assertIn("the conversion ended by signal 9", reports[0]["skipped"][0]["reason"])
        self.assertIn(b"7 converted, 1 failed", errors)
        # The others are whole, and nothing unfinished is left.
        self.assertEqual(sorted(os.listdir(self.out_dir)), [f"model{number}.zix" for number in range(7)])
        for number in range(7):
            self.assert_valid(os.path.join(self.out_dir, f"model{number}.zix"))

    def test_inputs_that_would_share_an_output_are_refused_before_anything_runs(self):
        os.mkdir(self.path("other"))
        twin = self.path("other/one.JT")
        shutil.copy(SAMPLE, twin)
        result = self.run_program(self.models[0], twin, "--out-dir", self.out_dir)
        self.assertEqual((result.returncode, result.stdout), (2, b""))
        self.assertIn(self.models[0].encode(), result.stderr)
        self.assertIn(twin.encode(), result.stderr)
        self.assertFalse(os.path.exists(self.out_dir))

    def test_jobs_must_be_a_positive_number_and_goes_with_a_folder(self):
        for jobs in ("0", "-1", "-99999999999", "two"):
            result = self.run_program(*self.models, "--out-dir", self.out_dir, "--jobs", jobs)
            self.assertEqual((result.returncode, result.stdout), (2, b""), jobs)
            self.assertIn(b"--jobs", result.stderr)
        self.assertFalse(os.path.exists(self.out_dir))
        self.assertEqual(self.run_program(self.models[0], self.out, "--jobs", "2").returncode, 2)

    def test_an_interrupt_ends_the_batch_with_130_and_leaves_nothing_half_written(self):
        models = []
        for number in range(60):
            models.append(self.path(f"model{number}.jt"))
            shutil.copy(SAMPLE, models[-1])
        process = subprocess.Popen([LOFTBAY, *models, "--out-dir", self.out_dir, "--jobs", "2", "--quiet"],
                                   stderr=subprocess.DEVNULL, env=self.environment())
        deadline = time.time() + 30
        while time.time() < deadline and not (os.path.isdir(self.out_dir) and os.listdir(self.out_dir)):
            time.sleep(0.002)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(timeout=60), 130)
        for name in os.listdir(self.out_dir):
            self.assertTrue(name.endswith(".zix"), name)
            scene = os.path.join(self.out_dir, name)
            self.assert_valid(scene)


class Terminal(CliTest):
    def run_at_terminal(self, environment):
        master, slave = pty.openpty()
        env = self.environment(environment)
        process = subprocess.Popen([LOFTBAY, SAMPLE, self.out], stderr=slave, stdout=subprocess.DEVNULL, env=env)
        os.close(slave)
        output = b""
        while True:
            try:
                data = os.read(master, 4096)
            except OSError:
                break
            if not data:
                break
            output += data
        os.close(master)
        self.assertEqual(process.wait(timeout=60), 0)
        return output

    def test_progress_is_drawn_on_a_terminal_only_where_it_may_be(self):
        env = {"TERM": "xterm"}
        env_no_color = {"TERM": "xterm", "NO_COLOR": "1"}
        os.environ.pop("NO_COLOR", None)
        self.assertIn(b"\x1b[K", self.run_at_terminal(env))
        self.assertNotIn(b"\x1b", self.run_at_terminal(env_no_color))
        self.assertNotIn(b"\x1b", self.run_at_terminal({"TERM": "dumb"}))


class Info(CliTest):
    def test_tells_version_tree_and_shapes_as_text(self):
        result = self.run_program("info", SAMPLE)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertIn(b"9.5", result.stdout)
        self.assertIn(b"part", result.stdout)

    def test_the_same_as_one_json_document(self):
        result = self.run_program("info", SAMPLE, "--json")
        self.assertEqual(result.returncode, 0)
        document = json.loads(result.stdout)
        self.assertEqual(document["version"], "9.5")
        self.assertGreater(sum(document["segments"].values()), 0)

    def test_the_document_holds_container_tree_levels_and_counts(self):
        document = json.loads(self.run_program("info", SAMPLE, "--json").stdout)
        self.assertEqual((document["loaded"], document["byte_order"], document["units"]), (True, "little", "millimeters"))
        self.assertEqual(document["segments"]["scene graph"], 1)
        self.assertGreater(document["segments"]["shape, level 0"], 0)
        self.assertIn("zlib", document["compression"])
        self.assertEqual((document["cannot_be_converted"], document["tree_is_cut"]), ([], False))
        kinds = {node["kind"] for node in document["tree"]}
        self.assertEqual(kinds, {"assembly", "part", "instance"})
        parts = [node for node in document["tree"] if node["kind"] == "part" and not node["listed_before"]]
        self.assertTrue(any(len(part["levels"]) > 1 for part in parts))
        for part in parts:
            for level in part["levels"]:
                for shape in level:
                    self.assertEqual(shape["kind"], "tri-strip set")
                    self.assertGreater(shape["triangles"], 0)
        # The text tells the same.
        text = self.run_program("info", SAMPLE).stdout.decode()
        for word in ("JT 9.5, little-endian, units millimeters", "scene graph (zlib)", "level 0: ", "level 1: ",
                     "tri-strip set", " triangles"):
            self.assertIn(word, text)

    def test_what_cannot_be_converted_is_named_with_its_reason(self):
        with open(SAMPLE, "rb") as file:
            content = bytearray(file.read())
        # The segments of shapes: 24 bytes of header, an element's length, then the GUID that says what it is.
        strips = bytes.fromhex("ab10dd10c82ad1119b6b0080c7bb5997")
        first = content.find(strips)
        self.assertGreater(first, 0)
        content[first] ^= 0xFF
        model = self.write("damaged.jt", content)
        result = self.run_program("info", model, "--json")
        self.assertEqual(result.returncode, 1)
        losses = json.loads(result.stdout)["cannot_be_converted"]
        self.assertEqual(len(losses), 2)
        self.assertIn("are not known", losses[0]["reason"])
        self.assertIn("level of detail 0 cannot be read; level 1 is shown instead", losses[1]["reason"])
        text = self.run_program("info", model)
        self.assertEqual(text.returncode, 1)
        self.assertIn(b"Cannot be converted:", text.stdout)
        self.assertIn(losses[0]["part"].encode(), text.stdout)
        # The conversion names the same, where it is of a level that is converted, and keeps the rest.
        report = json.loads(self.run_program(model, self.out, "--json").stdout)
        self.assertGreater(report["counts"]["triangles"], 0)

    def test_a_file_that_cannot_be_read_gives_1_and_a_json_document_all_the_same(self):
        result = self.run_program("info", self.write("bad.jt", b"nonsense"), "--json")
        self.assertEqual(result.returncode, 1)
        self.assertIn("error", json.loads(result.stdout))


if __name__ == "__main__":
    unittest.main()
