"""How tests are called: in C++ Suite.WhatIsSo, in Python test_what_is_so; and one folder of tests for each room of jttk."""

import os
import re
import subprocess
import unittest

TOP = os.environ["LOFTBAY_SOURCE_DIR"]


def tracked(*patterns):
    files = subprocess.run(["git", "-C", TOP, "ls-files", *patterns], capture_output=True, text=True, check=True)
    return files.stdout.split()


class Names(unittest.TestCase):
    def test_tests_in_cpp_are_sentences_in_upper_camel_case(self):
        found = 0
        for path in tracked("tests/*.cpp", "tests/*.h"):
            with open(os.path.join(TOP, path), encoding="utf-8") as file:
                for suite, name in re.findall(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", file.read()):
                    found += 1
                    self.assertRegex(suite, r"^[A-Z][A-Za-z0-9]*$", path)
                    self.assertRegex(name, r"^(DISABLED_)?[A-Z][A-Za-z0-9]*$", path)
        self.assertGreater(found, 500)

    def test_rooms_with_sources_have_a_folder_of_tests(self):
        rooms = {path.split("/")[1] for path in tracked("jttk/*/*.cpp")}
        tested = {path.split("/")[2] for path in tracked("tests/jttk/*/*_test.cpp")}
        self.assertEqual(sorted(rooms - tested), [])


if __name__ == "__main__":
    unittest.main()
