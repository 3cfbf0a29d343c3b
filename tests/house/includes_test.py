"""Which folder may use which: the arrows that stand in CMakeLists.txt, followed include by include and library by library."""

import os
import re
import unittest

from sources import TOP, texts

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
ANYTHING = ["tests", "fuzz", "bench"]
# Rooms inside which no header includes one that leads back to it, through the sources of their names.
ONE_WAY = [*BELOW_JTTK, "zix", "diag", "host", "geometry", "scene", "convert", "app", "cli", "samples", *ANYTHING]
PUBLIC = ["jttk/interface/jttk.h", "jttk/interface/inspect.h", "jttk/interface/segments.h",
          "jttk/interface/settings.h", "zix/zix.h"]
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
    "samples": [],
}
FOR_ALL = ["diag", "host"]
# Host knows nobody; diag knows host only. The writer of samples knows nobody: what it shared with the reader, tests of
# one against the other would not see.
EXCEPT = {"host": [], "diag": ["host"], "zix": ["host"], "samples": []}


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


# Targets that give headers alone, and programs' folders: what they link stands behind the public headers.
HEADERS_OF = {"jttk_headers": "jttk/interface/jttk.h", "zix_headers": "zix/zix.h"}
IMPLEMENTATIONS = {"jttk": "jttk/interface", "zix": "zix"}
PROGRAMS = ["app", "cli"]


def may_link(here, target, there):
    """Whether a library or program of the folder `here` may link a target of the folder `there`."""
    if here in PROGRAMS and IMPLEMENTATIONS.get(target) == there:
        return True
    return allowed(here + "/x.cpp", HEADERS_OF.get(target, there + "/x.h"))


def links():
    """(file, room, target, the room that defines it) for every target that a list of the house names as linked."""
    lists = {path: re.sub(r"#.*", "", text) for path, text in texts("*CMakeLists.txt")}
    home = {}
    for path, text in lists.items():
        for name in re.findall(r"\b(?:loftbay|add)_(?:library|executable)\((\w+)", text):
            home[name] = room_of(path)
    for path, text in lists.items():
        if room_of(path) not in ALLOWED:
            continue
        for call in re.findall(r"\b(?:target_link_libraries|console_program|desktop_program)\(\S+([^)]*)\)", text):
            for target in call.split():
                if target in home:
                    yield path, room_of(path), target, home[target]


def includes():
    for source, text in texts("*.h", "*.cpp"):
        for number, line in enumerate(text.splitlines(), 1):
            found = re.match(r'\s*#\s*include\s+"([^"]+)"', line)
            if found:
                yield source, number, found.group(1)


def circles(below):
    """The arrows of a graph that are part of a circle; a header and the source of its name are one."""
    def reached(start):
        seen, waiting = set(), [start]
        while waiting:
            for next_one in below.get(waiting.pop(), ()):
                if next_one not in seen:
                    seen.add(next_one)
                    waiting.append(next_one)
        return seen
    return [f"{here} -> {there}" for here in sorted(below) for there in sorted(below[here]) if here in reached(there)]


def circles_in(rooms):
    below = {}
    for source, _, included in includes():
        here, there = os.path.splitext(source)[0], os.path.splitext(included)[0]
        if room_of(source) in rooms and room_of(included) == room_of(source) and here != there:
            below.setdefault(here, set()).add(there)
    return circles(below)


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
        self.assertFalse(allowed("samples/maker/x.cpp", "jttk/codec/lookup2.h"))
        self.assertFalse(allowed("samples/maker/x.cpp", "jttk/interface/jttk.h"))
        self.assertFalse(allowed("samples/maker/x.h", "host/portable_math.h"))
        self.assertFalse(allowed("samples/maker/pieces/x.cpp", "tests/jttk/brep/models.h"))
        self.assertTrue(allowed("samples/maker/pieces/x.cpp", "samples/maker/packet.h"))
        self.assertTrue(allowed("convert/job.cpp", "jttk/interface/jttk.h"))

    def test_inside_a_room_no_includes_form_a_circle(self):
        found = circles_in(ONE_WAY)
        self.assertEqual("\n".join(found), "")

    def test_a_circle_is_seen(self):
        below = {"jttk/brep/a": {"jttk/brep/b"}, "jttk/brep/b": {"jttk/brep/c"}, "jttk/brep/c": {"jttk/brep/a"}}
        self.assertEqual(len(circles(below)), 3)

    def test_libraries_follow_the_arrows(self):
        found = list(links())
        bad = [f"{path} links {target}" for path, here, target, there in found if not may_link(here, target, there)]
        self.assertEqual("\n".join(bad), "")
        self.assertGreater(len(found), 30)

    def test_a_folder_names_what_it_includes(self):
        linked = {(here, there) for _, here, _, there in links()}
        missing = set()
        for source, _, included in includes():
            here, there = room_of(source), room_of(included)
            if here in ALLOWED and there != here and there not in FOR_ALL and os.path.isfile(os.path.join(TOP, included)):
                missing |= {(here, there)} - linked
        self.assertEqual(missing, set())

    def test_a_forbidden_library_is_seen(self):
        self.assertFalse(may_link("geometry", "loftbay_convert", "convert"))
        self.assertFalse(may_link("geometry", "loftbay_scene", "scene"))
        self.assertFalse(may_link("convert", "jttk", "jttk/interface"))
        self.assertFalse(may_link("scene", "zix", "zix"))
        self.assertFalse(may_link("jttk/mesh", "jttk_codec", "jttk/codec"))
        self.assertFalse(may_link("samples", "jttk", "jttk/interface"))
        self.assertFalse(may_link("samples", "brep_models", "tests"))
        self.assertTrue(may_link("convert", "jttk_headers", "jttk/interface"))
        self.assertTrue(may_link("cli", "jttk", "jttk/interface"))


if __name__ == "__main__":
    unittest.main()
