#!/usr/bin/env python3
"""docs/look-at-it.md: every command that it shows works, and makes the file that it names; the pictures and documents that
it and the README name are there."""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ.get("LOFTBAY_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
BIN = pathlib.Path(os.environ.get("LOFTBAY_BIN_DIR", SOURCE / "build" / "bin"))
DOCUMENT = SOURCE / "docs" / "look-at-it.md"
NO_VIEWER = "scripts/build-viewer"  # what zix names where the page was not built


def commands(text):
    """What the blocks of commands hold, without what installs and builds. A block with a text over several lines is one."""
    for block in re.findall(r"^```sh\n(.*?)^```", text, flags=re.M | re.S):
        for command in [block] if "'\n" in block else block.splitlines():
            if not command.startswith(("scripts/", "export ")):
                yield command


class LookAtIt(unittest.TestCase):
    def test_every_command_works(self):
        with tempfile.TemporaryDirectory(prefix="loftbay-look-") as folder:
            for name in ("samples", "python"):
                os.symlink(SOURCE / name, os.path.join(folder, name))
            environment = dict(os.environ, PATH=f"{BIN}:{os.environ['PATH']}", TMPDIR=folder, MERIDAN_TEMP_PATH=folder,
                               PYTHONDONTWRITEBYTECODE="1")
            done = []
            for command in commands(DOCUMENT.read_text(encoding="utf-8")):
                with self.subTest(command):
                    command = re.sub(r"^zix view \S+", r"\g<0> --no-open", command.replace("./loftbay", "loftbay"))
                    run = subprocess.run(command, shell=True, cwd=folder, env=environment, capture_output=True, text=True,
                                         timeout=120)
                    if NO_VIEWER in run.stderr:
                        print(f"skipped: {command} (the page is not built)")
                        continue
                    self.assertEqual(run.returncode, 0, run.stderr)
                    for file in re.findall(r"\bengine\.\w+|\bsheet\.png", command):
                        self.assertTrue(os.path.getsize(os.path.join(folder, file)) > 0, file)
                    done.append(command)
            self.assertGreaterEqual(len(done), 8)

    def test_what_the_documents_link_to_is_there(self):
        for document in (DOCUMENT, SOURCE / "README.md"):
            links = re.findall(r"\]\(([^)#:]+)\)", document.read_text(encoding="utf-8"))
            self.assertTrue(any(link.endswith(".png") for link in links), document.name)
            self.assertEqual([link for link in links if not (document.parent / link).exists()], [], document.name)


if __name__ == "__main__":
    unittest.main()
