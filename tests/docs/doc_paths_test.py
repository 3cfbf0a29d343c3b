#!/usr/bin/env python3
"""The documents name source files and tests; every one of them must exist, so that a move or a new name cannot leave them behind."""
import os
import re
import sys
import unittest

sys.dont_write_bytecode = True

from edge_cases_test import TOP, named_tests, problem_of, text_of

DOCUMENTS = ["docs/jt-format.md", "docs/behaviour.md"]
# A path has a folder and an ending: `jttk/codec/normals.h`, but neither `./` nor `docs/`.
PATH = re.compile(r"[\w.-]+(?:/[\w.-]+)*/[\w-]+\.(?:cpp|h|py|md|json|txt)")
TESTS_LINE = re.compile(r"^(?:- )?Tests: (.*)$", re.M)


def paths_of(text):
    return [word for word in re.findall(r"`([^`\n]*)`", text) if PATH.fullmatch(word)]


def joined(text):
    """The text with each paragraph and list entry on one line."""
    return re.sub(r"\n(?![\n#|]|\s*(?:[-*]|\d+\.) |Tests: |Code: )[ ]*", " ", text)


def problems_of(text):
    missing = [f"{path}: no such file" for path in paths_of(text) if not os.path.exists(os.path.join(TOP, path))]
    tests = [test for line in TESTS_LINE.findall(joined(text)) for test in named_tests(line)]
    return missing + [problem for problem in (problem_of(*test) for test in tests) if problem]


class Documents(unittest.TestCase):
    def test_every_named_file_and_test_exists(self):
        for document in filter(lambda path: os.path.exists(os.path.join(TOP, path)), DOCUMENTS):
            with self.subTest(document):
                text = text_of(document)
                self.assertEqual(problems_of(text), [])
                self.assertGreater(len(paths_of(text)), 10)


class TheCheckItself(unittest.TestCase):
    GOOD = "Code: `convert/job.cpp`.\nTests: `tests/convert/job_test.cpp`\n`Job.TakesABareFileNameAsAWhole`.\n"

    def test_accepts_what_is_there(self):
        self.assertEqual(problems_of(self.GOOD), [])

    def test_notices_what_is_not_there(self):
        for text in [self.GOOD.replace("job.cpp", "jab.cpp"), self.GOOD.replace("Bare", "Bear"), self.GOOD.replace("job_test", "notes_test")]:
            self.assertEqual(len(problems_of(text)), 1, text)


if __name__ == "__main__":
    unittest.main()
