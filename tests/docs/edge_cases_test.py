#!/usr/bin/env python3
"""docs/edge-cases.md names tests; every one of them must exist and be built, so that the table cannot rot."""
import os
import re
import sys
import unittest

TOP = os.environ.get("LOFTBAY_SOURCE_DIR") or os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
TABLE = "docs/edge-cases.md"


def text_of(path):
    with open(os.path.join(TOP, path), encoding="utf-8") as file:
        return file.read()


def rows(table):
    """(case, tests cell) of every row; the heading and the line below it are none."""
    for line in table.splitlines():
        if not line.startswith("|"):
            continue
        cells = [cell.strip() for cell in re.split(r"(?<!\\)\|", line)[1:-1]]
        if len(cells) == 2 and cells != ["case", "tests"] and set(cells[0]) != {"-"}:
            yield cells[0], cells[1]
        elif len(cells) != 2:
            yield line, ""


def named_tests(cell):
    """(file, test) for every test of a cell; a file's name stands before its tests."""
    file = None
    for word in re.findall(r"`([^`]*)`", cell):
        if "/" in word:
            file = word
        else:
            yield file, word


def is_built(path):
    """Whether the CMakeLists.txt beside the file takes it in."""
    folder, name = os.path.split(path)
    list_file = os.path.join(folder, "CMakeLists.txt")
    if not os.path.exists(os.path.join(TOP, list_file)):
        return False
    lists = text_of(list_file)
    return re.search(rf"(?<![\w.]){re.escape(name)}\b", lists) is not None or (
        name.endswith("_test.cpp") and "GLOB sources CONFIGURE_DEPENDS *_test.cpp" in lists)


def problem_of(file, test):
    """What is wrong with a named test, or None."""
    if file is None:
        return f"{test}: no file stands before it"
    if not os.path.isfile(os.path.join(TOP, file)):
        return f"{file}: no such file"
    if not is_built(file):
        return f"{file}: not in the CMakeLists.txt beside it"
    suite, _, name = test.partition(".")
    source = text_of(file)
    if file.endswith(".py"):
        body = re.search(rf"^class {re.escape(suite)}\(.*?(?=^class |\Z)", source, re.M | re.S)
        found = body is not None and re.search(rf"^    def {re.escape(name)}\(self\)", body.group(), re.M)
        found = found and name.startswith("test_")
    else:
        found = re.search(rf"^TEST(_F|_P)?\(\s*{re.escape(suite)}\s*,\s*{re.escape(name)}\s*\)", source, re.M)
    return None if found else f"{file}: no test {test}"


def problems_of(table):
    found = []
    for case, cell in rows(table):
        tests = list(named_tests(cell))
        if not tests:
            found.append(f"no test for: {case}")
        found += [problem for problem in (problem_of(*test) for test in tests) if problem]
    return found


class EdgeCases(unittest.TestCase):
    def test_every_named_test_exists_and_is_built(self):
        table = text_of(TABLE)
        cases = list(rows(table))
        self.assertEqual(problems_of(table), [])
        tests = {test for _, cell in cases for test in named_tests(cell)}
        print(f"{len(cases)} edge cases, {len(tests)} tests", file=sys.stderr)
        self.assertGreater(len(cases), 0)

    def test_a_row_is_one_case(self):
        cases = [case for case, _ in rows(text_of(TABLE))]
        self.assertEqual(sorted(set(cases)), sorted(cases))


class TheCheckItself(unittest.TestCase):
    GOOD = "`tests/convert/job_test.cpp` `Job.TakesABareFileNameAsAWhole`"

    def table(self, cell):
        return f"| case | tests |\n|---|---|\n| a case | {cell} |\n"

    def test_accepts_a_test_that_is_there(self):
        self.assertEqual(problems_of(self.table(self.GOOD)), [])

    def test_notices_what_is_not_there(self):
        for cell in ["", "a test", "`Job.TakesABareFileNameAsAWhole`", "`tests/convert/gone_test.cpp` `Job.X`",
                     self.GOOD.replace("Bare", "Bear"), self.GOOD.replace("Job.", "Jobs."),
                     self.GOOD.replace("AsAWhole", "AsAW"), self.GOOD.replace("job_test", "notes_test"),
                     "`tests/support/test_main.cpp` `Job.X`",
                     "`tests/cli/convert_test.py` `Usage.test_a_full_disk_is_told_and_leaves_no_unfinished_scene`",
                     self.GOOD + " | `more`"]:
            self.assertEqual(len(problems_of(self.table(cell))), 1, cell)


if __name__ == "__main__":
    unittest.main()
