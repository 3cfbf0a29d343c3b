"""The seeds in fuzz/corpus are what their makers write, no file more or less: fuzz_seeds_test.py MAKER...

Where the seeds of a maker are meant to change, LOFTBAY_UPDATE_SEEDS puts the new ones into fuzz/corpus: those of the
makers that it names (MAKER,MAKER...), or of all (1). What no maker writes any more goes then.
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

CORPUS = pathlib.Path(os.environ["LOFTBAY_SOURCE_DIR"]) / "fuzz" / "corpus"
MAKERS = {os.path.basename(path): path for path in sys.argv[1:]}


def contents(folder):
    """{path from the folder: bytes} of all files in it."""
    return {str(path.relative_to(folder)): path.read_bytes() for path in sorted(folder.rglob("*")) if path.is_file()}


def taken_over(wanted):
    """The names of the makers whose seeds are to be taken over."""
    names = set(MAKERS) if wanted == "1" else {name for name in wanted.split(",") if name}
    if names - set(MAKERS):
        sys.exit(f"LOFTBAY_UPDATE_SEEDS: no maker is called {', '.join(sorted(names - set(MAKERS)))}; "
                 f"there are {', '.join(sorted(MAKERS))}")
    return names


def update(corpus, made, written_by, makers):
    """Has the corpus hold what the named makers wrote, and nothing that no maker writes. `made`: the new contents."""
    for name in contents(corpus).keys() - made.keys():
        (corpus / name).unlink()
    for name, data in made.items():
        if written_by[name] in makers:
            (corpus / name).parent.mkdir(parents=True, exist_ok=True)
            (corpus / name).write_bytes(data)


class Seeds(unittest.TestCase):
    def test_seeds_of_one_maker_can_be_taken_over(self):
        with tempfile.TemporaryDirectory() as scratch:
            corpus = pathlib.Path(scratch)
            (corpus / "target").mkdir()
            for name in ("mine", "other", "nobodys"):
                (corpus / "target" / name).write_bytes(b"old")
            made = {"target/mine": b"new", "target/other": b"new", "fresh/mine": b"new"}
            update(corpus, made, {"target/mine": "a", "target/other": "b", "fresh/mine": "a"}, {"a"})
            self.assertEqual(contents(corpus), {**made, "target/other": b"old"})

    def test_the_corpus_is_what_the_makers_write(self):
        updated = taken_over(os.environ.get("LOFTBAY_UPDATE_SEEDS", ""))
        with tempfile.TemporaryDirectory() as scratch:
            folder = pathlib.Path(scratch)
            written_by = {}
            for maker, program in MAKERS.items():
                before = contents(folder)
                subprocess.run([program, folder], check=True, timeout=120)
                made = contents(folder)
                self.assertNotEqual(made.keys(), before.keys(), f"{maker} writes nothing of its own")
                self.assertEqual([name for name in before if made[name] != before[name]], [], f"{maker} writes over others'")
                written_by.update(dict.fromkeys(made.keys() - before.keys(), maker))
        if updated:
            update(CORPUS, made, written_by, updated)
        stored = contents(CORPUS)
        self.assertGreater(len(made), 200)
        wrong = [f"{name}: {written_by[name]} writes it, fuzz/corpus lacks it" for name in sorted(made.keys() - stored.keys())]
        wrong += [f"{name}: no maker writes it" for name in sorted(stored.keys() - made.keys())]
        wrong += [f"{name}: not as {written_by[name]} writes it" for name in sorted(made.keys() & stored.keys())
                  if made[name] != stored[name]]
        self.assertEqual("\n".join(wrong), "")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
