#!/usr/bin/env python3
"""docs/zix-vectors: the files are what their maker writes, and 'zix validate' and the reader for Python find in each
what its index says."""

import json
import os
import pathlib
import re
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parents[1] / "python")]
import make_vectors
from zixscene import check

BIN = pathlib.Path(os.environ.get("LOFTBAY_BIN_DIR", make_vectors.SOURCE / "build" / "bin"))
INDEX = json.loads((make_vectors.FOLDER / "index.json").read_text(encoding="utf-8"))["vectors"]


class Vectors(unittest.TestCase):
    def test_they_are_what_their_maker_writes(self):
        self.assertEqual(make_vectors.differences(), [], "run tests/format_reader/make_vectors.py")

    def test_program_and_reader_find_what_the_index_says(self):
        self.assertGreater(len(INDEX), 50)
        for vector in INDEX:
            path = make_vectors.FOLDER / vector["file"]
            wanted = sorted(("error", c) for c in vector["errors"]) + sorted(("warning", c) for c in vector["warnings"])
            with self.subTest(vector["file"]):
                run = subprocess.run([str(BIN / "zix"), "validate", str(path)], capture_output=True, timeout=60)
                found = re.findall(r"^(error|warning) ([A-Z_0-9]+) ", run.stdout.decode("utf-8", "replace"), re.M)
                self.assertEqual(sorted(found), wanted)
                self.assertEqual(run.returncode, 1 if vector["errors"] else 0)
                self.assertEqual(sorted((f.severity, f.code) for f in check.validate(path)), wanted)

    def test_every_code_of_the_document_has_a_file(self):
        document = (make_vectors.SOURCE / "docs" / "zix-format.md").read_text(encoding="utf-8")
        section = document[document.index("\n## 7."):document.index("\n### 7.1")]
        codes = set(re.findall(r"\b[A-Z][A-Z0-9]+(?:_[A-Z0-9]+)+\b|\b(?:TRUNCATED|CHILDREN|CYCLE|DIMENSION|PADDING|UNATTACHED)\b",
                               section))
        shown = {c for v in INDEX for c in v["errors"] + v["warnings"]}
        # A file of 4294967295 objects has 160 GB; one that cannot be read is no file.
        self.assertEqual(codes - shown, {"OBJECT_COUNT", "CANNOT_OPEN"})


if __name__ == "__main__":
    unittest.main()
