"""Interrupts and deaths while a scene is being written under a temporary name: what is left, and what is told.

Where files without names exist, a writer that ends leaves nothing whatever it does. So the system refuses those here,
as some file systems do, and every new scene has a hidden temporary beside its output."""

import fcntl
import json
import os
import shutil
import signal
import struct
import subprocess
import time
import unittest

from cli_case import SAMPLE, CliTest
from programs import LOFTBAY, assembly_file
from system_calls import name_filter

REFUSE_UNNAMED = name_filter()
F_OFD_SETLK = 37


@unittest.skipUnless(REFUSE_UNNAMED, "no system call filter for this machine")
class Temporaries(CliTest):
    """A conversion that has more to say than a pipe holds, to somebody who does not read, is held up after its scene
    has been begun, for as long as the test needs."""

    def setUp(self):
        super().setUp()
        self.scenes = self.path("scenes")
        os.mkdir(self.scenes)
        self.out = os.path.join(self.scenes, "out.zix")
        self.held_up = self.write("held_up.jt", assembly_file([f"gone{number}.jt" for number in range(4000)]))

    def start(self, *arguments):
        process = subprocess.Popen([LOFTBAY, *arguments, "--json"], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env=self.environment(), preexec_fn=REFUSE_UNNAMED)
        self.addCleanup(process.kill)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        return process

    def writers(self, process, count=1):
        """Waits until so many scenes are begun; the process ids of who writes them."""
        deadline = time.time() + 60
        while True:
            names = [name for name in os.listdir(self.scenes) if name.endswith(".tmp")]
            if len(names) == count:
                # ".out.zix.PROCESS-NUMBER.tmp"
                return [int(name.split(".")[-2].split("-")[0]) for name in sorted(names)]
            self.assertIsNone(process.poll())
            self.assertLess(time.time(), deadline, names)
            time.sleep(0.005)

    def test_an_interrupt_removes_the_temporary_and_gives_130(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = self.start(self.held_up, self.out)
            self.assertEqual(self.writers(process), [process.pid])
            process.send_signal(number)
            output, _ = process.communicate(timeout=60)
            self.assertEqual(process.returncode, 130)
            self.assertEqual(self.check_reports(output)[0]["outcome"], "interrupted")
            self.assertEqual(os.listdir(self.scenes), [])

    def test_an_interrupted_batch_leaves_no_temporary_of_its_conversions(self):
        second = self.path("second.jt")
        shutil.copy(self.held_up, second)
        process = self.start(self.held_up, second, SAMPLE, "--out-dir", self.scenes, "--jobs", "2")
        self.writers(process, 2)
        process.send_signal(signal.SIGINT)
        output, _ = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 130)
        self.assertEqual([report["outcome"] for report in self.check_reports(output)], ["interrupted"] * 3)
        self.assertEqual(os.listdir(self.scenes), [])

    def test_the_batch_removes_what_a_conversion_that_died_has_left(self):
        # Names that only look like those of its temporaries stay, and a temporary whose writer lives.
        kept = [".held_up.zix.1-0.tmp", "held_up.zix.tmp"]
        abandoned = ".held_up.zix.1-1.tmp"
        process = self.start(self.held_up, SAMPLE, "--out-dir", self.scenes, "--jobs", "1")
        [child] = self.writers(process)
        kept += [f"held_up.{child}-0.tmp", f".held_up.zix.{child}-0"]
        for name in (*kept, abandoned):
            with open(os.path.join(self.scenes, name), "wb"):
                pass
        living = open(os.path.join(self.scenes, kept[0]), "r+b")
        self.addCleanup(living.close)
        lock = struct.pack("hhqqi4x", fcntl.F_WRLCK, os.SEEK_SET, 1 << 62, 1, 0)
        fcntl.fcntl(living, F_OFD_SETLK, lock)
        os.kill(child, signal.SIGKILL)
        output, errors = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 1)
        died, converted = json.loads(output)
        self.assertEqual((died["outcome"], converted["outcome"]), ("failed", "ok"))
        self.assertIn("the conversion", died["error"])
        self.assertIn(b"1 converted, 1 failed", errors)
        stem = os.path.basename(SAMPLE)[:-3]
        self.assertEqual(sorted(os.listdir(self.scenes)), sorted([*kept, stem + ".zix"]))
        self.assert_valid(os.path.join(self.scenes, stem + ".zix"))


if __name__ == "__main__":
    unittest.main()
