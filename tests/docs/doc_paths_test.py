#!/usr/bin/env python3
"""The documents name source files, scripts, functions and tests; every one of them must exist, so that a move or a new name
cannot leave them behind."""
import functools
import os
import re
import subprocess
import sys
import unittest

sys.dont_write_bytecode = True

from edge_cases_test import TOP, named_tests, problem_of, text_of

DOCUMENTS = ["docs/jt-format.md", "docs/behaviour.md", "docs/architecture.md", "docs/contributing.md", "docs/debugging.md",
             "docs/reliability.md"]
# A path has a folder and an ending: `jttk/codec/normals.h`, but neither `./` nor `docs/`. Scripts have no ending.
PATH = re.compile(r"[\w.-]+(?:/[\w.-]+)*/[\w-]+\.(?:cpp|h|py|md|json|txt|cmake)|scripts/[\w-]+")
# `Library::follow()`: the last name is looked for in the files that are named beside it.
FUNCTION = re.compile(r"(?:\w+::)*(\w+)\(\)")
TESTS_LINE = re.compile(r"^(?:- )?Tests: (.*)$", re.M)
SOURCES = (".cpp", ".h", ".py")


def words_of(text):
    """What is between backticks, outside of blocks of commands."""
    return re.findall(r"`([^`\n]*)`", re.sub(r"^```.*?^```", "", text, flags=re.M | re.S))


def paths_of(text):
    return [word for word in words_of(text) if PATH.fullmatch(word)]


def joined(text):
    """The text with each paragraph and list entry on one line."""
    return re.sub(r"\n(?![\n#|]|\s*(?:[-*]|\d+\.) |Tests: |Code: )[ ]*", " ", text)


@functools.cache
def calls_and_definitions(path):
    """The names in a source that a parenthesis follows."""
    return set(re.findall(r"(\w+)(?:<[^<>()]*>)?\(", text_of(path)))


@functools.cache
def all_sources():
    listed = subprocess.run(["git", "-C", TOP, "ls-files"], capture_output=True, text=True, check=True).stdout.split()
    return [path for path in listed if path.endswith(SOURCES) and os.path.exists(os.path.join(TOP, path))]


def missing_functions(text):
    """Functions that none of the sources has which the same paragraph, list entry or row of a table names; where it names
    no source, those that no source has."""
    for line in joined(text).splitlines():
        functions = [match[1] for match in map(FUNCTION.fullmatch, words_of(line)) if match]
        if not functions:
            continue
        named = [path for path in paths_of(line) if path.endswith(SOURCES) and os.path.exists(os.path.join(TOP, path))]
        for function in functions:
            if not any(function in calls_and_definitions(path) for path in named or all_sources()):
                yield f"{function}(): not in {', '.join(named) or 'any source'}"


def problems_of(text):
    missing = [f"{path}: no such file" for path in paths_of(text) if not os.path.exists(os.path.join(TOP, path))]
    tests = [test for line in TESTS_LINE.findall(joined(text)) for test in named_tests(line)]
    return missing + list(missing_functions(text)) + [problem for problem in (problem_of(*test) for test in tests) if problem]


class Documents(unittest.TestCase):
    def test_every_named_file_function_and_test_exists(self):
        for document in DOCUMENTS:
            with self.subTest(document):
                text = text_of(document)
                self.assertEqual(problems_of(text), [])
                self.assertGreater(len(paths_of(text)), 10)


class TheCheckItself(unittest.TestCase):
    GOOD = ("Code: `convert/job.cpp`, `scripts/fuzz`.\n\n- `Library::follow()` in `jttk/model/library.cpp`\n  cuts circles.\n\n"
            "Tests: `tests/convert/job_test.cpp`\n`Job.TakesABareFileNameAsAWhole`.\n")

    def test_accepts_what_is_there(self):
        self.assertEqual(problems_of(self.GOOD), [])
        self.assertEqual(problems_of("Files are read by `ReadJt()`."), [])

    def test_notices_what_is_not_there(self):
        for right, wrong in [("job.cpp", "jab.cpp"), ("Bare", "Bear"), ("job_test", "notes_test"), ("/fuzz", "/fuss"),
                             ("follow()", "fellow()"), ("library.cpp", "model.cpp")]:
            self.assertEqual(len(problems_of(self.GOOD.replace(right, wrong))), 1, wrong)
        self.assertEqual(len(problems_of("Files are read by `Nobody" + "ReadsJt()`.")), 1)


if __name__ == "__main__":
    unittest.main()
