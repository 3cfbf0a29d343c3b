"""The summary of ./test names every test that was skipped, whichever runner told it."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

TOP = pathlib.Path(__file__).resolve().parents[2]

PYTHON_TESTS = """
import unittest
class Alone(unittest.TestCase):
    @unittest.skip("no disk")
    def test_one(self): pass
    def test_runs(self): pass
    def test_while_it_runs(self): self.skipTest("too late")
    @unittest.skip("no screen")
    def test_with_words(self):
        \"\"\"What it is about.\"\"\"
@unittest.skipUnless(False, "no files")
class Together(unittest.TestCase):
    def test_two(self): pass
if __name__ == "__main__":
    unittest.main()
"""

GOOGLE_LOG = """
[ RUN      ] Suite.Skips
[  SKIPPED ] Suite.Skips (0 ms)
[ RUN      ] Ways/Saving.Skips/Named
[  SKIPPED ] Ways/Saving.Skips/Named (12 ms)
[       OK ] Suite.Runs (0 ms)
[  SKIPPED ] 2 tests, listed below:
[  SKIPPED ] Suite.Skips
[  SKIPPED ] Ways/Saving.Skips/Named
"""


class SkippedTests(unittest.TestCase):
    def names(self, log):
        with tempfile.NamedTemporaryFile("w", suffix=".log") as file:
            file.write(log)
            file.flush()
            result = subprocess.run([TOP / "scripts" / "skipped-tests", file.name], capture_output=True, check=True, text=True)
        return result.stdout.splitlines()

    def both(self, log):
        """The same with the numbers that ctest puts in front."""
        plain = self.names(log)
        self.assertEqual(self.names("".join("17: " + line + "\n" for line in log.splitlines())), plain)
        return plain

    def test_of_python(self):
        with tempfile.TemporaryDirectory() as folder:
            module = os.path.join(folder, "sample_test.py")
            with open(module, "w", encoding="utf-8") as file:
                file.write(PYTHON_TESTS)
            run = subprocess.run([sys.executable, module, "-v"], stderr=subprocess.PIPE, text=True, check=True)
        self.assertEqual(sorted(self.both(run.stderr)),
                         ["Alone.test_one", "Alone.test_while_it_runs", "Together.test_two", "What it is about."])

    def test_of_googletest(self):
        self.assertEqual(self.both(GOOGLE_LOG), ["Suite.Skips", "Ways/Saving.Skips/Named"])

    def test_of_nothing(self):
        self.assertEqual(self.names(""), [])

    def test_the_summary_uses_them(self):
        self.assertIn("scripts/skipped-tests", (TOP / "test").read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main()
