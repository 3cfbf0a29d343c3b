"""What small hostile files cost the real program, the options that bound it, and --timeout.

Prints what each of the files cost (ctest -V shows it).
"""

import json
import os
import re
import resource
import shutil
import signal
import subprocess
import time
import unittest

from programs import LOFTBAY, SOURCE, GraphFile, ProgramTest

SAMPLE = os.path.join(SOURCE, "samples", "beam_engine.jt")
BOMBS = os.path.join(os.path.dirname(LOFTBAY), "make_limit_bombs")

MOST_KILOBYTES = 256 << 10
MOST_OUTPUT = 200_000_000

SANITIZED = os.environ.get("LOFTBAY_SANITIZE", "").upper() in ("ON", "1", "TRUE")


class LimitTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.out = self.path("out.zix")

    def convert(self, model, *options, code=1):
        """The report, and what the conversion cost: kilobytes of memory, bytes of everything that was written."""
        def limit():
            # Generous: a busy machine must not decide. Without limits of its own the program would take minutes.
            if not SANITIZED:
                resource.setrlimit(resource.RLIMIT_CPU, (60, 60))
                resource.setrlimit(resource.RLIMIT_AS, (2 << 30, 2 << 30))

        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        result = self.run_program(model, self.out, "--json", *options, preexec_fn=limit)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        self.processor_seconds = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
        if code is None:
            self.assertIn(result.returncode, (0, 1), result.stderr[:2000])
        else:
            self.assertEqual(result.returncode, code, result.stderr[:2000])
        report = json.loads(result.stdout)
        written = len(result.stdout) + len(result.stderr) + os.path.getsize(report["log"])
        written += os.path.getsize(self.out)
        self.assert_valid(self.out)
        return report, report["peak_rss_kb"], written

    def limits_told(self, report):
        return [loss["reason"] for loss in report["skipped"] if re.search(r"--max-|needs more work", loss["reason"])]


@unittest.skipIf(SANITIZED, "sanitizers take memory and time of their own")
class Bombs(LimitTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.bombs = os.path.join(os.path.dirname(LOFTBAY), "limit_bombs")
        subprocess.run([BOMBS, cls.bombs], check=True)

    def check(self, name, *told, most_size=10_000):
        """`told`: what stands in the reasons of the limits that are met, in their order."""
        model = os.path.join(self.bombs, name)
        self.assertLess(os.path.getsize(model), most_size)
        report, kilobytes, written = self.convert(model, code=None)
        self.print_cost(model, kilobytes, written)
        limits = self.limits_told(report)
        self.assertEqual(len(limits), len(told), report["skipped"][:5])
        for reason, expected in zip(limits, told):
            self.assertIn(expected, reason)
        self.assertLess(kilobytes, MOST_KILOBYTES)
        self.assertLess(written, MOST_OUTPUT)
        # What could be kept is kept.
        self.assertGreater(report["counts"]["triangles"], 0)
        return report

    def print_cost(self, model, kilobytes, written):
        print(f"{os.path.basename(model):<22} {os.path.getsize(model):>8} bytes: {self.processor_seconds:>5.2f} s of CPU, "
              f"{kilobytes / 1024:>4.0f} MB of memory, {written / 1e6:>6.1f} MB written", flush=True)

    def test_instances_of_instances(self):
        report = self.check("instances.jt", "--max-places", most_size=2500)
        self.assertEqual(report["outcome"], "partial")
        self.assertLess(report["counts"]["nodes"], 90_000)
        self.assertGreater(report["counts"]["nodes"], 5_000)

    def test_two_million_equal_children(self):
        report = self.check("children.jt", "--max-places")
        self.assertGreater(report["counts"]["shapes"], 8_000)

    def test_thirty_files_that_refer_to_each_other(self):
        report = self.check("friend0.jt", "--max-places", most_size=2500)
        self.assertEqual(len(report["files"]), 30)

    def test_costly_exact_geometry_part_after_part(self):
        report = self.check("exact.jt", "needs more work")
        self.assertGreater(report["counts"]["shapes"], 0)

    def test_many_faces_of_one_edge_of_many_points(self):
        report = self.check("one_edge.jt", "needs more work")
        # The faces that were made before the limit was met.
        self.assertGreater(report["counts"]["triangles"], 50_000)

    def test_one_shape_of_many_corners(self):
        # Packets of equal values take no bits, so that some hundred bytes stand for all of these.
        for name, triangles in (("tetrahedra9", 400_000), ("tetrahedra10", 400_000), ("polygons9", 750_000),
                                ("polygon10", 750_000), ("strip8", 690_000), ("equal_corners8", 1_990_000)):
            with self.subTest(name):
                report = self.check(name + ".jt")
                self.assertGreaterEqual(report["counts"]["triangles"], triangles)
                self.assertEqual(report["outcome"], "ok")

    def test_one_shape_of_too_many_corners(self):
        for name in ("polygon_too_large.jt", "strip_too_large.jt"):
            with self.subTest(name):
                report = self.check(name, "--max-memory")
                self.assertIn("segment 5e600002-0007-0007-0102-030405060708: ", report["skipped"][0]["reason"])
                self.assertEqual(report["counts"]["shapes"], 1)

    def test_everything_at_once(self):
        report = self.check("everything.jt", "needs more work", "--max-places")
        # The large strip, the first faces, and many small shapes.
        self.assertGreater(report["counts"]["triangles"], 510_000)
        self.assertGreater(report["counts"]["shapes"], 5_000)

    def test_a_segment_that_fails_for_every_part(self):
        self.assertEqual(self.check("failing.jt")["outcome"], "partial")

    def test_a_megabyte_that_unpacks_to_a_gigabyte(self):
        model = os.path.join(self.bombs, "zeros.jt")
        self.assertLess(os.path.getsize(model), 1_100_000)
        report, kilobytes, written = self.convert(model)
        self.print_cost(model, kilobytes, written)
        self.assertEqual(len(self.limits_told(report)), 1)
        self.assertIn("--max-unpacked", self.limits_told(report)[0])
        self.assertEqual(report["counts"]["shapes"], 1)
        # The limit for this size is 265 MB; growing takes half as much again at one time.
        self.assertLess(kilobytes, 500 << 10)


class Options(LimitTest):
    def chain(self, count):
        graph = GraphFile()
        graph.partition(0, [1] * count)
        graph.part(1)
        return self.write(graph.bytes())

    def write(self, content):
        with open(self.path("model.jt"), "wb") as file:
            file.write(content)
        return self.path("model.jt")

    def test_places_are_raised_and_lowered(self):
        model = self.chain(3000)
        self.convert(model, code=0)
        for limit in ("2999", "2K"):
            report = self.convert(model, "--max-places", limit)[0]
            self.assertEqual(len(self.limits_told(report)), 1)
            self.assertIn(f"--max-places={limit}", report["options"])
        self.convert(model, "--max-places", "3K", code=0)
        told = self.run_program("info", model, "--max-places", "2K")
        self.assertEqual(told.returncode, 1)
        self.assertIn(b"places more than 2000 nodes", told.stdout)
        self.assertEqual(self.run_program("info", model, "--max-places", "3K").returncode, 0)

    def test_unpacked_bytes_and_memory_are_raised_and_lowered(self):
        for option, small in (("--max-unpacked", "2K"), ("--max-memory", "1K")):
            with self.subTest(option=option):
                result = self.run_program(SAMPLE, self.out, "--json", option, small)
                self.assertEqual(result.returncode, 1)
                self.assertIn(option.encode(), result.stdout)
                self.assertEqual(self.run_program(SAMPLE, self.out, option, "1G").returncode, 0)
                self.assertEqual(self.run_program("info", SAMPLE, option, small).returncode, 1)
                self.assertEqual(self.run_program("info", SAMPLE, option, "1G").returncode, 0)

    def test_a_batch_passes_them_on(self):
        model = self.chain(3000)
        for options in (["--max-places", "2999"], ["--max-unpacked", "1"], ["--max-memory", "1K"]):
            source = model if "--max-places" in options else SAMPLE
            result = self.run_program(source, "--out-dir", self.path("scenes"), "--json", *options)
            self.assertEqual(result.returncode, 1, options)
            report = json.loads(result.stdout)[0]
            self.assertEqual(report["options"], ["=".join(options)])
            self.assertIn(options[0], report["skipped"][0]["reason"])

    def test_what_is_no_number_is_wrong_usage(self):
        for option in ("--max-places", "--max-unpacked", "--max-memory", "--timeout"):
            for value in ("0", "-1", "", "many", "1T", "K", "99999999999999999999", "20000000000G"):
                result = self.run_program(SAMPLE, self.out, f"{option}={value}")
                self.assertEqual((result.returncode, result.stdout), (2, b""), (option, value))
                self.assertIn(option.encode(), result.stderr)
        self.assertEqual(self.run_program("info", SAMPLE, "--max-places=0").returncode, 2)
        for option in (b"--max-places", b"--max-unpacked", b"--max-memory", b"--timeout"):
            self.assertIn(option, self.run_program("--help").stdout)


class Timeouts(LimitTest):
    """A conversion that has more to say than a pipe holds, to somebody who does not read, takes for ever."""

    def setUp(self):
        super().setUp()
        graph = GraphFile()
        graph.partition(0, list(range(1, 4001)))
        for number in range(1, 4001):
            graph.partition(number, [], file_name=f"gone{number}.jt")
        self.held_up = self.path("held_up.jt")
        with open(self.held_up, "wb") as file:
            file.write(graph.bytes())

    def start(self, *arguments):
        process = subprocess.Popen([LOFTBAY, *arguments, "--json"], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env=self.environment())
        self.addCleanup(process.kill)
        return process

    def leftovers(self):
        return sorted(set(os.listdir(self.folder)) - {"work", "held_up.jt"})

    def test_a_conversion_is_given_up_without_a_scene(self):
        with open(self.out, "wb") as file:
            file.write(b"old")
        process = self.start(self.held_up, self.out, "--timeout", "1")
        # Nobody reads standard error until it has ended.
        report = self.check_reports(process.stdout.read())[0]
        self.assertEqual(process.wait(timeout=60), 1)
        self.assertEqual((report["outcome"], report["exit_code"]), ("timeout", 1))
        self.assertEqual(report["error"], "the conversion took longer than 1 seconds (--timeout) and was given up")
        self.assertEqual(report["options"], ["--timeout=1"])
        self.assertIsNone(report["bytes"])
        self.assertEqual(self.leftovers(), [])

    def test_it_is_told_on_standard_error(self):
        process = self.start(self.held_up, self.out, "--timeout", "0.5")
        time.sleep(1)
        output, errors = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 1)
        self.assertIn(b"held_up.jt: the conversion took longer than 0.5 seconds (--timeout) and was given up",
                      errors.splitlines()[-1])

    def test_nobody_who_does_not_read_can_hold_it(self):
        process = self.start(self.held_up, self.out, "--timeout", "0.5")
        self.assertEqual(process.wait(timeout=60), 1)
        self.assertEqual(self.leftovers(), [])

    def test_enough_time_changes_nothing(self):
        result = self.run_program(SAMPLE, self.out, "--timeout", "1000", "--json")
        self.assertEqual(result.returncode, 0, result.stderr)

    def test_a_batch_goes_on_behind_a_file_whose_time_is_over(self):
        shutil.copy(SAMPLE, self.path("good.jt"))
        process = self.start(self.held_up, self.path("good.jt"), "--out-dir", self.path("scenes"), "--jobs", "1",
                             "--timeout", "2")
        time.sleep(3)
        output, errors = process.communicate(timeout=120)
        reports = self.check_reports(output)
        self.assertEqual([report["outcome"] for report in reports], ["timeout", "ok"], errors[-2000:])
        self.assertEqual(process.returncode, 1)
        self.assertEqual(os.listdir(self.path("scenes")), ["good.zix"])

    def test_a_batch_ends_a_child_that_does_not_end_itself(self):
        process = self.start(self.held_up, "--out-dir", self.path("scenes"), "--timeout", "1")
        child = None
        deadline = time.time() + 30
        while child is None and time.time() < deadline:
            child = next(iter(self.children_of(process.pid)), None)
        os.kill(child, signal.SIGSTOP)
        output, errors = process.communicate(timeout=120)
        report = self.check_reports(output)[0]
        self.assertEqual((process.returncode, report["outcome"]), (1, "timeout"))
        self.assertIn(b"took longer than 1 seconds", errors)
        self.assertEqual(os.listdir(self.path("scenes")), [])


if __name__ == "__main__":
    unittest.main()
