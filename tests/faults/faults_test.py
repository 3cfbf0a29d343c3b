"""Some of the calls of the system fail, one at a time. scripts/check-faults does it with all of them."""

import os
import tempfile
import unittest

import fault_runs


SANITIZED = os.environ.get("LOFTBAY_SANITIZE", "").upper() in ("ON", "1", "TRUE")


@unittest.skipIf(SANITIZED, "the sanitizers bring an allocator and calls of their own; faults cannot be put before them")
class Faults(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="loftbay-faults-")
        cls.addClassCleanup(cls.folder.cleanup)
        cls.commands = fault_runs.commands(cls.folder.name)

    def check(self, calls, most):
        for command in self.commands:
            for row in fault_runs.measure(command, calls, most, os.cpu_count() or 1):
                with self.subTest(command=command.name, call=row.call):
                    self.assertEqual(row.wrong, [])

    def test_memory_runs_out(self):
        self.check(["memory"], 24)

    def test_a_call_fails(self):
        self.check(fault_runs.FILE_CALLS, 4)

    def test_the_faults_are_seen(self):
        """The library that makes them is loaded, and what it does arrives."""
        command = self.commands[0]
        command.expected = fault_runs.Run(command, "", fault_runs.NEVER)
        self.assertEqual(fault_runs.Run(command, "sync", 0).code, 1)
        self.assertEqual(fault_runs.Run(command, "write", 0).code, 1)
        self.assertGreater(fault_runs.Run(command, "memory", fault_runs.NEVER).calls, 1000)


if __name__ == "__main__":
    unittest.main()
