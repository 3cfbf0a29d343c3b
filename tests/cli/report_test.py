"""The report, the lines on standard error, the log's folder and interrupts, as scripts rely on them."""

import copy
import json
import os
import re
import shutil
import signal
import subprocess
import time
import unittest

import schema
from cli_case import SAMPLE, SURVEY, CliTest
from programs import LOFTBAY, REPORT_SCHEMA, assembly_file


class Schema(CliTest):
    def test_a_report_with_anything_wrong_is_found_out(self):
        good = self.report(self.run_program(SAMPLE, self.out, "--json"))
        self.assertEqual(schema.faults(good, REPORT_SCHEMA), [])
        for change in (lambda r: r.pop("outcome"), lambda r: r.update(more=1), lambda r: r.update(schema_version=1),
                       lambda r: r.update(ok=1), lambda r: r.update(exit_code=4), lambda r: r.update(outcome="fine"),
                       lambda r: r["counts"].update(nodes=-1), lambda r: r["counts"].pop("points"),
                       lambda r: r.update(seconds="1"), lambda r: r["skipped"].append({"part": "a"}),
                       lambda r: r.update(unit={"name": "m", "metres": 0}), lambda r: r.update(bytes={"total": 1}),
                       lambda r: r.update(options=["lines"]), lambda r: r.update(jt_version="9")):
            bad = copy.deepcopy(good)
            change(bad)
            self.assertNotEqual(schema.faults(bad, REPORT_SCHEMA), [])
            self.assertNotEqual(schema.faults([good, bad], REPORT_SCHEMA), [])
        with self.assertRaises(ValueError):
            schema.faults({}, {"maxProperties": 0})


class Fields(CliTest):
    def convert(self, *arguments, **keywords):
        return self.report(self.run_program(*arguments, "--json", **keywords))

    def test_a_conversion_tells_outcome_file_unit_and_the_scenes_bytes(self):
        report = self.convert(SAMPLE, self.out)
        self.assertEqual((report["outcome"], report["exit_code"], report["error"]), ("ok", 0, None))
        self.assertEqual((report["files"], report["options"]), ([SAMPLE], []))
        self.assertEqual(report["unit"], {"name": "Millimeters", "metres": 0.001})
        self.assertEqual(report["bytes"]["total"], os.path.getsize(self.out))
        counts = report["counts"]
        # Three coordinates and three indices of four bytes, where no arrays are equal.
        self.assertGreater(report["bytes"]["arrays"], 0)
        self.assertLessEqual(report["bytes"]["arrays"], 12 * counts["vertices_written"] + 16 * counts["triangles"] + 65536)
        self.assertGreater(report["bytes"]["records"], 0)

    def test_the_options_that_bear_on_the_result_are_told_also_in_a_batch(self):
        options = ["--points", "--lines", "--tess-tolerance", "0.25", "--work-dir", self.path("logs")]
        expected = ["--lines", "--points", "--tess-tolerance=0.25", "--work-dir=" + self.path("logs")]
        self.assertEqual(self.convert(SURVEY, self.out, *options)["options"], expected)
        result = self.run_program(SURVEY, "--out-dir", self.folder, "--jobs", "1", "--json", *options)
        report = json.loads(result.stdout)[0]
        self.assertEqual(report["options"], expected)
        self.assertGreater(report["counts"]["lines"], 0)
        self.assertTrue(report["log"].startswith(self.path("logs/")))

    def test_a_model_with_something_missing_is_partial(self):
        os.mkdir(self.path("parts"))
        shutil.copy(SAMPLE, self.path("parts/engine.jt"))
        self.write("main.jt", assembly_file(["parts\\engine.jt", "gone.jt"]))
        report = self.convert("main.jt", "out.zix", cwd=self.folder)
        self.assertEqual((report["outcome"], report["exit_code"], report["error"]), ("partial", 1, None))
        self.assertEqual([os.path.normpath(name) for name in report["files"]], ["main.jt", "parts/engine.jt"])
        # The first file that states a unit.
        self.assertEqual(report["unit"], {"name": "Millimeters", "metres": 0.001})

    def test_a_file_that_cannot_be_loaded_has_failed(self):
        report = self.convert(self.write("bad.jt", b"nonsense"), self.out)
        self.assertEqual((report["outcome"], report["exit_code"], report["files"]), ("failed", 1, []))
        self.assertIn("bad.jt", report["error"])
        self.assertIsNone(report["unit"])

    def test_a_scene_that_cannot_be_saved_has_failed(self):
        # Not more than 64 KiB of a file can be written.
        script = 'ulimit -f 64; trap "" XFSZ; exec "$0" "$@"'
        result = subprocess.run(["sh", "-c", script, LOFTBAY, SAMPLE, self.out, "--json"], capture_output=True,
                                env=self.environment(), timeout=120)
        report = self.check_reports(result.stdout)[0]
        self.assertEqual((report["outcome"], report["error"], report["bytes"]), ("failed", "Failed to save", None))
        self.assertEqual(report["skipped"][0]["part"], self.out)

    def test_the_peak_is_the_programs_own_and_not_that_of_who_started_it(self):
        large = bytearray(400 << 20)
        large[::4096] = b"\1" * (len(large) // 4096)
        self.assertLess(self.convert(SURVEY, self.out)["peak_rss_kb"], 200 << 10)
        del large


class Paths(CliTest):
    def test_paths_are_told_as_the_host_writes_them_and_once(self):
        os.mkdir(self.path("w"))
        self.write("w/bad.jt", b"nonsense")
        result = self.run_program("w/bad.jt", "out.zix", "--json", cwd=self.folder)
        report = self.report(result)
        self.assertEqual([loss["part"] for loss in report["skipped"]], ["w/bad.jt"])
        info = self.run_program("info", "w/bad.jt", "--json", cwd=self.folder)
        self.assertEqual([loss["part"] for loss in json.loads(info.stdout)["cannot_be_converted"]], ["w/bad.jt"])
        text = self.run_program("info", "w/bad.jt", cwd=self.folder)
        for told in (result.stdout, result.stderr, info.stdout, text.stdout, text.stderr):
            self.assertNotIn(b"w\\", told)
            self.assertNotIn(b"w/bad.jt: w/bad.jt", told)
        self.assertIn(b"w/bad.jt: ", result.stderr)
        self.assertIn(b"w/bad.jt: ", text.stderr)

    def test_every_line_of_a_batch_says_whose_it_is_and_names_it_once(self):
        names = ["good.jt", "bad.jt", "short.jt", "survey.jt", "missing.jt", "damaged.jt"]
        shutil.copy(SAMPLE, self.path("good.jt"))
        shutil.copy(SURVEY, self.path("survey.jt"))
        self.write("bad.jt", b"nonsense")
        self.write("short.jt", assembly_file(["gone.jt"]))
        with open(SAMPLE, "rb") as file:
            damaged = bytearray(file.read())
        strips = bytes.fromhex("ab10dd10c82ad1119b6b0080c7bb5997")
        for _ in range(2):
            damaged[damaged.find(strips)] ^= 0xFF
        self.write("damaged.jt", damaged)
        inputs = [self.path(name) for name in names]
        result = self.run_program(*inputs, "--out-dir", self.path("scenes"), "--jobs", "3", "--json")
        self.assertEqual(result.returncode, 1)
        lines = result.stderr.decode().splitlines()
        summary = lines.index("2 converted, 4 failed")
        seen = set()
        for line in lines[:summary]:
            owner = re.match(r"(?:loftbay: )?(/[^:]*\.jt): (?!\1)", line)
            self.assertTrue(owner and owner[1] in inputs, line)
            self.assertEqual(line.count(owner[1] + ":"), 1, line)
            seen.add(owner[1])
        self.assertEqual(seen, set(inputs))
        for line in lines[summary + 1:]:
            self.assertRegex(line, r"^failed: /.*\.jt \(code [13]\)$")

    def test_an_output_folder_that_cannot_be_made_is_told_with_a_report_for_every_file(self):
        in_the_way = self.write("scenes", b"")
        result = self.run_program(SAMPLE, SURVEY, "--out-dir", os.path.join(in_the_way, "sub"), "--json",
                                  "--no-optimize")
        self.assertEqual(result.returncode, 3)
        self.assertIn(in_the_way.encode() + b"/sub: ", result.stderr)
        reports = json.loads(result.stdout)
        self.assertEqual([report["input"] for report in reports], [SAMPLE, SURVEY])
        for report in reports:
            self.assertEqual((report["outcome"], report["exit_code"]), ("refused", 3))
            self.assertIn(in_the_way + "/sub: ", report["error"])
            self.assertEqual(report["options"], ["--no-optimize"])


class WorkDirectory(CliTest):
    def unusable(self):
        return ["/proc/nowhere", self.write("file", b""), self.path("two/levels")]

    def test_one_that_the_user_names_must_do(self):
        scenes = self.path("scenes")
        for folder in ["", *self.unusable()]:
            for target in ([self.out], ["--out-dir", scenes]):
                with self.subTest(folder=folder, target=target):
                    result = self.run_program(SAMPLE, *target, "--json", "--work-dir", folder)
                    self.assertEqual((result.returncode, result.stdout), (2, b""))
                    self.assertIn(b"--work-dir: ", result.stderr)
                    self.assertIn(folder.encode(), result.stderr)
                    self.assertFalse(os.path.exists(self.out) or os.path.exists(scenes))

    def test_trying_it_leaves_nothing_but_the_runs_own(self):
        report = self.report(self.run_program(SAMPLE, self.out, "--json", "--work-dir", self.path("logs")))
        self.assertEqual(os.listdir(self.path("logs")), [report["log"].split("/")[-2]])

    def test_one_that_a_variable_names_only_costs_the_log(self):
        for folder in self.unusable():
            result = self.run_program(SAMPLE, self.out, "--json", environment={"MERIDAN_TEMP_PATH": folder})
            report = self.report(result)
            self.assertEqual((result.returncode, report["log"]), (0, None))
            self.assertEqual([folder in note for note in report["notes"] if "no log is written" in note], [True])


class Interrupts(CliTest):
    """A conversion that has more to say than a pipe holds, to somebody who does not read, is held up for as long as the
    test needs."""

    def setUp(self):
        super().setUp()
        self.held_up = self.write("held_up.jt", assembly_file([f"gone{number}.jt" for number in range(4000)]))

    def start(self, *arguments, ignored=()):
        def ignore():
            for number in ignored:
                signal.signal(number, signal.SIG_IGN)

        process = subprocess.Popen([LOFTBAY, *arguments, "--json"], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env=self.environment(), preexec_fn=ignore)
        self.addCleanup(process.kill)
        deadline = time.time() + 60
        # The log's folder is made before the input is opened.
        while not (os.path.isdir(self.path("work")) and os.listdir(self.path("work"))):
            self.assertLess(time.time(), deadline)
            time.sleep(0.01)
        return process

    def end(self, process, number):
        process.send_signal(number)
        output, errors = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 130, errors)
        shutil.rmtree(self.path("work"))
        return self.check_reports(output), errors.decode()

    def test_the_peak_is_what_the_system_says(self):
        process = self.start(self.held_up, self.out)
        # Held up, it takes no more memory.
        peaks = [0, 1]
        while peaks[-1] != peaks[-2]:
            time.sleep(0.1)
            with open(f"/proc/{process.pid}/status", encoding="ascii") as file:
                peaks.append(int(re.search(r"VmHWM:\s*(\d+) kB", file.read())[1]))
        [report], _ = self.end(process, signal.SIGINT)
        # The report itself takes some more.
        self.assertGreaterEqual(report["peak_rss_kb"], peaks[-1])
        self.assertLess(report["peak_rss_kb"], peaks[-1] + 4096)

    def test_one_document_is_written_all_the_same(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            [report], _ = self.end(self.start(self.held_up, self.out), number)
            self.assertEqual((report["outcome"], report["exit_code"]), ("interrupted", 130))
            self.assertEqual((report["input"], report["output"]), (self.held_up, self.out))

    def test_a_batch_tells_which_files_were_never_started(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = self.start(self.held_up, SAMPLE, SURVEY, "--out-dir", self.path("scenes"), "--jobs", "1")
            reports, errors = self.end(process, number)
            self.assertEqual([report["input"] for report in reports], [self.held_up, SAMPLE, SURVEY])
            self.assertEqual([report["outcome"] for report in reports], ["interrupted"] * 3)
            self.assertEqual(["before this file was started" in report["error"] for report in reports],
                             [False, True, True])
            self.assertIn("0 converted, 1 failed, 2 not started", errors)
            self.assertIn("not started: " + SAMPLE, errors)
            self.assertEqual(os.listdir(self.path("scenes")), [])

    def test_a_signal_that_was_ignored_at_the_start_stays_ignored(self):
        for target in ([self.out], ["--out-dir", self.path("scenes")]):
            process = self.start(self.held_up, *target, ignored=(signal.SIGHUP, signal.SIGINT))
            for number in (signal.SIGHUP, signal.SIGINT):
                process.send_signal(number)
            time.sleep(0.3)
            self.assertIsNone(process.poll())
            self.end(process, signal.SIGTERM)


if __name__ == "__main__":
    unittest.main()
