"""The command line of `loftbay`: help, version, wrong usage, what a terminal sees."""

import os
import pty
import subprocess
import unittest

from cli_case import SAMPLE, CliTest
from programs import LOFTBAY


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


if __name__ == "__main__":
    unittest.main()
