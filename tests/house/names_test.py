"""How tests are called: in C++ Suite.WhatIsSo, in Python test_what_is_so; and one folder of tests for each room of jttk."""

import re
import unittest

from sources import texts


class Names(unittest.TestCase):
    def test_tests_in_cpp_are_sentences_in_upper_camel_case(self):
        found = 0
        for path, text in texts("tests/*.cpp", "tests/*.h"):
            for suite, name in re.findall(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", text):
                found += 1
                self.assertRegex(suite, r"^[A-Z][A-Za-z0-9]*$", path)
                self.assertRegex(name, r"^(DISABLED_)?[A-Z][A-Za-z0-9]*$", path)
        self.assertGreater(found, 500)

    def test_rooms_with_sources_have_a_folder_of_tests(self):
        rooms = {path.split("/")[1] for path, _ in texts("jttk/*/*.cpp")}
        tested = {path.split("/")[2] for path, _ in texts("tests/jttk/*/*_test.cpp")}
        self.assertEqual(sorted(rooms - tested), [])


if __name__ == "__main__":
    unittest.main()
