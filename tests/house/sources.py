"""The sources that the tests of the house look at: what git knows of."""

import os
import subprocess

TOP = os.environ["LOFTBAY_SOURCE_DIR"]


def texts(*patterns):
    """(path, text) of each file; `*` matches `/` too."""
    files = subprocess.run(["git", "-C", TOP, "ls-files", *patterns], capture_output=True, text=True, check=True)
    for path in files.stdout.split():
        with open(os.path.join(TOP, path), encoding="utf-8") as file:
            yield path, file.read()
