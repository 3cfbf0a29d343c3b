"""Which folder may include which: the arrows of docs/architecture.md, followed include by include."""

import os
import re
import subprocess
import unittest

TOP = os.environ["LOFTBAY_SOURCE_DIR"]

# What a folder may include besides itself. Folders of the toolkit are named with it.
BELOW_JTTK = {
    "jttk/interface": ["jttk/model", "jttk/graph", "jttk/codec", "jttk/brep", "jttk/mesh", "jttk/file"],
    "jttk/model": ["jttk/graph", "jttk/codec", "jttk/brep", "jttk/mesh", "jttk/file"],
    "jttk/graph": ["jttk/mesh", "jttk/file"],
    "jttk/codec": ["jttk/mesh", "jttk/file"],
    "jttk/brep": ["jttk/mesh", "jttk/file"],
    "jttk/mesh": ["jttk/file"],
    "jttk/file": [],
}
PUBLIC = ["jttk/interface/jttk.h", "jttk/interface/inspect.h", "jttk/interface/settings.h", "zix/zix.h"]
ALLOWED = {
    **BELOW_JTTK,
    "zix": [],
    "diag": [],
    "host": [],
    "geometry": ["jttk/interface/jttk.h", "zix/zix.h"],
    "scene": ["jttk/interface/jttk.h", "zix/zix.h"],
    "convert": ["geometry", "scene", *PUBLIC],
    "app": ["convert", "geometry", "scene", *PUBLIC],
    "cli": ["convert", "geometry", "scene", "zix", *PUBLIC],
}
FOR_ALL = ["diag", "host"]
# Host knows nobody; diag knows host only.
EXCEPT = {"host": [], "diag": ["host"], "zix": ["host"]}
ANYTHING = ["tests", "fuzz", "bench", "samples"]


def room_of(path):
    parts = path.split("/")
    return "/".join(parts[:2]) if parts[0] == "jttk" else parts[0]


def allowed(source, included):
    """Whether a file may include another; both are paths from the top."""
    here, there = room_of(source), room_of(included)
    if here in ANYTHING or here == there:
        return True
    general = EXCEPT.get(here, FOR_ALL)
    return there in general or there in ALLOWED[here] or included in ALLOWED[here]


def includes():
    files = subprocess.run(["git", "-C", TOP, "ls-files", "*.h", "*.cpp"], capture_output=True, text=True, check=True)
    for source in files.stdout.split():
        with open(os.path.join(TOP, source), encoding="utf-8") as file:
            for number, line in enumerate(file, 1):
                found = re.match(r'\s*#\s*include\s+"([^"]+)"', line)
                if found:
                    yield source, number, found.group(1)


class Includes(unittest.TestCase):
    def test_all_follow_the_arrows(self):
        bad, seen = [], 0
        for source, number, included in includes():
            if not os.path.isfile(os.path.join(TOP, included)):
                continue  # made by the build, or beside the source
            seen += 1
            if not allowed(source, included):
                bad.append(f"{source}:{number} includes {included}")
        self.assertEqual("\n".join(bad), "")
        self.assertGreater(seen, 1000)

    def test_a_forbidden_arrow_is_seen(self):
        self.assertFalse(allowed("jttk/codec/x.cpp", "jttk/model/model.h"))
        self.assertFalse(allowed("jttk/mesh/x.h", "jttk/graph/scene_graph.h"))
        self.assertFalse(allowed("geometry/x.cpp", "convert/job.h"))
        self.assertFalse(allowed("convert/job.cpp", "jttk/model/model.h"))
        self.assertFalse(allowed("zix/x.cpp", "convert/job.h"))
        self.assertTrue(allowed("convert/job.cpp", "jttk/interface/jttk.h"))


if __name__ == "__main__":
    unittest.main()
