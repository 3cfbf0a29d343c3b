"""`loftbay IN OUT` as a user meets it: output streams, exit codes, reports, logs."""

import json
import os
import re
import shutil
import subprocess
import unittest

from cli_case import SAMPLE, SURVEY, CliTest
from programs import LOFTBAY, ZIX, GraphFile


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

    def properties(self, *options):
        """Of a model with an assembly, two instances of one part and a part that stands alone, by owner."""
        graph = GraphFile()
        graph.partition(0, [1, 2, 3])
        graph.property(0, "JT_PROP_NAME", "machine.asm;0;0:")
        graph.property(0, "JT_PROP_MEASUREMENT_UNITS", "Inches")
        graph.instance(1, 4)
        graph.instance(2, 4)
        graph.part(3)
        graph.part(4)
        graph.property(1, "JT_PROP_NAME", "left.part;0;0:")
        graph.property(2, "JT_PROP_NAME", "right.part;0;0:")
        graph.property(2, "colour", "blue")
        graph.property(4, "colour", "red")
        graph.property(4, "state", "released")
        model = self.write("machine.jt", graph.bytes())
        self.report(self.run_program(model, self.out, "--json", *options))
        return self.zix_info(self.out)["properties"], self.properties_in_tree()

    def properties_in_tree(self):
        """By the name of the node or shape."""
        found = {}
        for line in subprocess.run([ZIX, "tree", "--properties", self.out], capture_output=True, check=True).stdout.decode().splitlines():
            owner = re.match(r' *(?:Node|Shape) "(.*?)"', line)
            text = re.match(r' *"(.*)" = "(.*)"$', line)
            if owner:
                name = owner[1]
            elif text:
                found.setdefault(name, {})[text[1]] = text[2]
        return found

    def test_the_unit_is_stored_always(self):
        scene, own = self.properties()
        self.assertEqual(scene, {"unit": "Inches", "unit_metres": "0.0254"})
        self.assertEqual(own, {})

    def test_properties_are_stored_where_they_are_asked_for_and_an_instances_own_win(self):
        scene, own = self.properties("--properties")
        self.assertEqual(scene["unit"], "Inches")
        self.assertEqual(own["left"], {"JT_PROP_NAME": "left.part;0;0:", "colour": "red", "state": "released"})
        self.assertEqual(own["right"], {"JT_PROP_NAME": "right.part;0;0:", "colour": "blue", "state": "released"})
        self.assertEqual(own["machine"], {"JT_PROP_NAME": "machine.asm;0;0:", "JT_PROP_MEASUREMENT_UNITS": "Inches"})

    def test_properties_of_a_part_without_an_object_go_to_its_shapes(self):
        self.report(self.run_program(SURVEY, self.out, "--json", "--properties"))
        self.assertEqual(self.properties_in_tree()["Surface"]["JT_PROP_NAME"], "Surface.part;0;0:")

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


if __name__ == "__main__":
    unittest.main()
