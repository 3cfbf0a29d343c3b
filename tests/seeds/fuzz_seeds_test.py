"""The seeds in fuzz/corpus are what their makers write, no file more or less: fuzz_seeds_test.py MAKER...

Where the seeds of a maker are meant to change, LOFTBAY_UPDATE_SEEDS=1 puts the new ones into fuzz/corpus.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

CORPUS = pathlib.Path(os.environ["LOFTBAY_SOURCE_DIR"]) / "fuzz" / "corpus"
MAKERS = sys.argv[1:]


def contents(folder):
    """{path from the folder: bytes} of all files in it."""
    return {str(path.relative_to(folder)): path.read_bytes() for path in sorted(folder.rglob("*")) if path.is_file()}


class Seeds(unittest.TestCase):
    def test_the_corpus_is_what_the_makers_write(self):
        with tempfile.TemporaryDirectory() as scratch:
            folder = pathlib.Path(scratch)
            written_by = {}
            for maker in MAKERS:
                before = set(contents(folder))
                subprocess.run([maker, folder], check=True, timeout=120)
                for name in set(contents(folder)) - before:
                    written_by[name] = os.path.basename(maker)
                self.assertNotEqual(set(contents(folder)), before, f"{maker} writes nothing of its own")
            if os.environ.get("LOFTBAY_UPDATE_SEEDS") == "1":
                shutil.rmtree(CORPUS)
                shutil.copytree(folder, CORPUS)
            made, stored = contents(folder), contents(CORPUS)
        self.assertGreater(len(made), 200)
        wrong = [f"{name}: {written_by[name]} writes it, fuzz/corpus lacks it" for name in sorted(made.keys() - stored.keys())]
        wrong += [f"{name}: no maker writes it" for name in sorted(stored.keys() - made.keys())]
        wrong += [f"{name}: not as {written_by[name]} writes it" for name in sorted(made.keys() & stored.keys())
                  if made[name] != stored[name]]
        self.assertEqual("\n".join(wrong), "")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
