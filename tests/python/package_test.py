#!/usr/bin/env python3
"""The package around zixscene: its document's examples, the example script, types, and that pip installs it."""

import csv
import importlib.util
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ.get("LOFTBAY_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
BIN = pathlib.Path(os.environ.get("LOFTBAY_BIN_DIR", SOURCE / "build" / "bin"))
PACKAGE = SOURCE / "python"
sys.path[:0] = [str(PACKAGE), str(SOURCE / "tests" / "format_reader")]
import zix_builder as build
import zixscene
from zixscene.layout import NONE, SHAPE

# Two opposite corners of a box of 2 x 3 x 4, and the twelve triangles between its eight corners.
BOX = [(x, y, z) for z in (0, 4) for y in (0, 3) for x in (0, 2)]
SIDES = [0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4, 2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5]


def boxes():
    """root > whole (moved and mirrored), open (twice as large, without its last triangle)."""
    b = build.Builder()
    b.version, b.properties = (1, 1), [(NONE, b"unit", b"inch")]
    b.root = b.node(b"root")
    points = b.coordinates(3, [v for p in BOX for v in p])
    whole = b.node(b"whole", b.root, placement=b.transform((1e6, 0, 0), scale=(-1, 1, 1)))
    b.mesh(b.add(SHAPE, b"s", whole), 0, points, b.indices(SIDES), b.indices([3] * 12))
    larger = b.node(b"open", b.root, placement=b.transform(scale=(2, 2, 2)))
    b.mesh(b.add(SHAPE, b"s", larger), 0, points, b.indices(SIDES[:33]), b.indices([3] * 11))
    b.mesh(b.add(SHAPE, b"s", b.root), 1, points, b.indices([0, 1]), b.indices([2]))
    return b.bytes()


class Package(unittest.TestCase):
    def setUp(self):
        temp = tempfile.TemporaryDirectory()
        self.addCleanup(temp.cleanup)
        self.folder = pathlib.Path(temp.name)

    def run_python(self, *arguments, code=0, path=PACKAGE, **options):
        run = subprocess.run([sys.executable, *map(str, arguments)], capture_output=True, text=True, timeout=300,
                             cwd=self.folder, env=dict(os.environ, PYTHONPATH=str(path), PYTHONDONTWRITEBYTECODE="1"), **options)
        self.assertEqual(run.returncode, code, run.stdout + run.stderr)
        return run

    def model(self):
        """A folder with model.zix in it, as the document speaks of."""
        run = subprocess.run([str(BIN / "loftbay"), str(SOURCE / "samples" / "beam_engine.jt"), str(self.folder / "model.zix")],
                             capture_output=True, timeout=120, env=dict(os.environ, MERIDAN_TEMP_PATH=str(self.folder)))
        self.assertEqual(run.returncode, 0, run.stderr)

    def test_the_examples_of_the_document_run(self):
        self.model()
        blocks = re.findall(r"```python\n(.*?)```", (PACKAGE / "README.md").read_text(encoding="utf-8"), re.S)
        self.assertEqual(len(blocks), 4)
        printed = self.run_python("-W", "error", "-c", "\n".join(blocks)).stdout
        for part in ("with ", "Base plate", " triangles ", "Shape Base plate"):
            self.assertIn(part, printed)

    def test_the_document_names_what_is_there(self):
        text = (PACKAGE / "README.md").read_text(encoding="utf-8")
        table = text[text.index("## What is there"):text.index("The docstrings tell")]
        classes = (zixscene, *(getattr(zixscene, name) for name in zixscene.__all__))
        names = {name for words in re.findall(r"`([^`]+)`", table) for name in re.findall(r"(?:^|\.)([a-z]\w+)(?=\(|$)", words)}
        own = {"application", "version", "model", "tables"}     # set by Scene.__init__
        self.assertGreater(len(names), 35)
        self.assertEqual(sorted(n for n in names - own if not any(hasattr(c, n) for c in classes)), [])

    def test_the_example_gives_area_and_volume_of_each_part(self):
        (self.folder / "model.zix").write_bytes(boxes())
        rows = list(csv.reader(self.run_python(PACKAGE / "examples" / "part_volumes.py", "model.zix").stdout.splitlines()))
        self.assertEqual(rows, [["part", "triangles", "area", "volume", "unit"], ["root/whole", "12", "52", "24", "inch"],
                                ["root/open", "11", "184", "", "inch"]])

    def test_the_example_tells_what_is_wrong(self):
        (self.folder / "model.zix").write_bytes(boxes()[:-1])
        run = self.run_python(PACKAGE / "examples" / "part_volumes.py", "model.zix", code=1)
        self.assertRegex(run.stderr, r"^part_volumes\.py: TRUNCATED: .*\n$")

    def test_the_check_is_a_program_too(self):
        good = boxes()
        (self.folder / "good.zix").write_bytes(good)
        (self.folder / "bad.zix").write_bytes(good[:-1])
        self.assertEqual(self.run_python("-m", "zixscene.check", "good.zix").stdout, "")
        run = self.run_python("-m", "zixscene.check", "good.zix", "bad.zix", code=1)
        self.assertRegex(run.stdout, r"^bad\.zix: error TRUNCATED at \d+: .*\n$")
        self.run_python("-m", "zixscene.check", code=2)

    def test_pip_installs_it_without_a_network(self):
        if any(importlib.util.find_spec(name) is None for name in ("pip", "setuptools", "wheel")):
            self.skipTest("skipped: installing by pip (python3-pip, python3-setuptools or python3-wheel is missing)")
        shutil.copytree(PACKAGE, self.folder / "source")    # setuptools writes into the folder
        target = self.folder / "installed"
        self.run_python("-m", "pip", "install", "--quiet", "--no-index", "--no-deps", "--no-build-isolation",
                        "--disable-pip-version-check", "--target", target, self.folder / "source")
        program = ("import importlib.metadata as m, zixscene; print(zixscene.__file__, m.version('zixscene'), "
                   "zixscene.__version__)")
        file, version, stated = self.run_python("-c", program, path=target).stdout.split()
        self.assertTrue(file.startswith(str(target)), file)
        self.assertEqual((version, stated), (zixscene.__version__, zixscene.__version__))
        self.assertTrue((target / "zixscene" / "py.typed").exists())

    def test_the_types_are_right(self):
        if importlib.util.find_spec("mypy") is None:
            self.skipTest("skipped: types of the package (mypy is not installed)")
        arguments = ("-m", "mypy", "--strict", "--cache-dir", BIN.parent / "mypy-cache")
        self.run_python(*arguments, "-p", "zixscene")
        user = self.folder / "user.py"
        user.write_text("import zixscene\nfor path, m, mesh, material in zixscene.load('x').placed_meshes():\n"
                        "    reveal_type(mesh.points)\n    print(material.diffuse)\n")
        told = self.run_python(*arguments, user, code=1).stdout
        self.assertIn("floating[numpy._typing._32Bit]", told)
        self.assertIn('Item "None" of "Optional[Material]" has no attribute "diffuse"', told)


if __name__ == "__main__":
    unittest.main()
