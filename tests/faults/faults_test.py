"""Some of the calls of the system fail, one at a time. scripts/check-faults does it with all of them."""

import os
import tempfile
import unittest

import fault_runs  # noqa: I001  says where system_calls is
import system_calls


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
                    if row.call in fault_runs.CUTS:
                        self.assertGreater(row.told, 0)  # the input is read, by calls that a cut can come before

    def test_memory_runs_out(self):
        self.check(["memory"], 24)

    def test_a_call_fails(self):
        self.check(fault_runs.FILE_CALLS, 4)

    def test_an_input_becomes_shorter(self):
        self.check(fault_runs.CUTS, 6)

    def test_nothing_can_be_opened_for_want_of_memory(self):
        """All n: the path check must not say that the input is not there, nor the model that a file lies outside."""
        self.check([fault_runs.NO_MEMORY_TO_OPEN], 100)

    def test_the_path_check_leaves_nothing_when_memory_runs_out(self):
        """Where files have a name from the beginning, it makes the output's file to see whether it can."""
        refused = system_calls.name_filter()
        if refused is None:
            self.skipTest("no filter of system calls for this machine")
        command = self.commands[0]
        command.expected = fault_runs.Run(command, "", fault_runs.NEVER)
        calls = fault_runs.Run(command, fault_runs.NO_MEMORY_TO_OPEN, fault_runs.NEVER, preparation=refused).calls
        self.assertGreater(calls, 5)
        for number in range(calls):
            run = fault_runs.Run(command, fault_runs.NO_MEMORY_TO_OPEN, number, preparation=refused)
            with self.subTest(number):
                self.assertEqual(run.wrong(), [], str(run))

    def test_a_summary_says_that_memory_ran_out(self):
        """It has a line per file and no room for reasons, but a lack of memory is not the file's fault."""
        command = next(command for command in self.commands if "--summary" in command.words)
        command.expected = fault_runs.Run(command, "", fault_runs.NEVER)
        calls = fault_runs.Run(command, "memory", fault_runs.NEVER).calls
        runs = [fault_runs.Run(command, "memory", number) for number in range(0, calls, 16)]
        self.assertEqual([str(run) for run in runs if run.wrong()], [])
        self.assertTrue(any(b"memory ran out" in run.out for run in runs))

    def test_the_faults_are_seen(self):
        """The library that makes them is loaded, and what it does arrives."""
        command = self.commands[0]
        command.expected = fault_runs.Run(command, "", fault_runs.NEVER)
        self.assertEqual(fault_runs.Run(command, "sync", 0).code, 1)
        # The first writes are lines of the log, which are lost silently.
        self.assertEqual(fault_runs.Run(command, "write", 0, lasting=True).code, 1)
        self.assertGreater(fault_runs.Run(command, "memory", fault_runs.NEVER).calls, 1000)
        for cut in fault_runs.CUTS:
            run = fault_runs.Run(command, cut, 0)
            self.assertEqual(run.code, 1, str(run))
            self.assertGreater(run.calls, 0)


if __name__ == "__main__":
    unittest.main()
