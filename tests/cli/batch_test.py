"""`loftbay --out-dir`: many files in one run."""

import json
import os
import shutil
import signal
import subprocess
import time
import unittest

from cli_case import REPORT_KEYS, SAMPLE, CliTest
from programs import LOFTBAY, assembly_file


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


if __name__ == "__main__":
    unittest.main()
