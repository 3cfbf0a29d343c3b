"""`loftbay info --segment`: which segments a file has, and what is in one of them."""

import json
import os
import re
import struct
import unittest

from programs import SOURCE, ProgramTest

ENGINE = os.path.join(SOURCE, "samples", "beam_engine.jt")
JOINT = os.path.join(SOURCE, "samples", "flange_joint.jt")


class SegmentTest(ProgramTest):
    def segments(self, model):
        result = self.run_program("info", model, "--segment", "list", "--json")
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return json.loads(result.stdout)["segments"]

    def one(self, model, identity, *options):
        result = self.run_program("info", model, "--segment", identity, "--json", *options)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return json.loads(result.stdout)["segment"]

    def first(self, model, kind):
        return next(segment for segment in self.segments(model) if segment["type"].startswith(kind))

    def test_the_list_is_the_table_of_contents(self):
        segments = self.segments(ENGINE)
        self.assertEqual(sum(s["type"] == "scene graph" for s in segments), 1)
        size = os.path.getsize(ENGINE)
        with open(ENGINE, "rb") as file:
            data = file.read()
        for segment in segments:
            self.assertLessEqual(segment["offset"] + segment["bytes"], size)
            # A segment begins with its id, whose first field is stored in the file's byte order.
            self.assertEqual(struct.unpack_from("<I", data, segment["offset"])[0], int(segment["id"][:8], 16))
        text = self.run_program("info", ENGINE, "--segment", "list").stdout.decode().splitlines()
        self.assertEqual(len(text), len(segments) + 1)

    def test_a_shape_tells_its_elements_and_what_it_decodes_to(self):
        shape = self.one(ENGINE, self.first(ENGINE, "shape")["id"])
        self.assertEqual(shape["elements"][0]["type"], "tri-strip set")
        self.assertEqual(shape["elements"][0]["offset"], 0)
        self.assertLessEqual(shape["elements"][0]["bytes"], shape["unpacked_bytes"])
        self.assertRegex(shape["shape"]["primitives"], r"^\d+ (polygons|triangle strips)$")
        self.assertGreater(int(shape["shape"]["corners"]), 2)
        self.assertIsNone(shape["failure"])

    def test_a_scene_graph_has_two_sequences_of_elements(self):
        graph = self.one(ENGINE, self.first(ENGINE, "scene graph")["id"])
        types = [element["type"] for element in graph["elements"]]
        self.assertEqual(types.count("end of elements"), 2)
        self.assertIn("partition node", types)
        self.assertIn("string property", types)
        self.assertEqual(types[-1], "end of elements")

    def test_the_beginning_of_an_id_will_do_if_only_one_has_it(self):
        identity = self.first(ENGINE, "scene graph")["id"]
        others = [s["id"] for s in self.segments(ENGINE) if s["id"] != identity]
        length = next(n for n in range(1, 37) if not any(o.startswith(identity[:n]) for o in others))
        self.assertEqual(self.one(ENGINE, identity[:length].upper())["id"], identity)
        for bad, count in ((identity[:length - 1], r"\d+"), ("zz", "no")):
            if not bad:
                continue
            result = self.run_program("info", ENGINE, "--segment", bad)
            self.assertEqual(result.returncode, 1)
            self.assertRegex(result.stderr.decode(), f"beam_engine.jt: {count} segments have an id that begins")

    def test_raw_writes_the_unpacked_bytes(self):
        entry = self.first(JOINT, "XT")
        out = self.path("segment.bin")
        segment = self.one(JOINT, entry["id"], "--raw", out)
        with open(out, "rb") as file:
            data = file.read()
        self.assertEqual(len(data), segment["unpacked_bytes"])
        # The element: its length, then its id.
        self.assertEqual(struct.unpack_from("<I", data, 4)[0], 0x873a70e0)

    def test_a_damaged_segment_says_so(self):
        entry = self.first(ENGINE, "scene graph")  # which is packed
        with open(ENGINE, "rb") as file:
            data = bytearray(file.read())
        middle = entry["offset"] + entry["bytes"] // 2
        data[middle:middle + 8] = bytes(8)
        bad = self.path("bad.jt")
        with open(bad, "wb") as file:
            file.write(data)
        result = self.run_program("info", bad, "--segment", entry["id"])
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr.decode(), "bad.jt: segment " + entry["id"])
        missing = self.run_program("info", self.path("none.jt"), "--segment", "list")
        self.assertEqual(missing.returncode, 1)
        self.assertRegex(missing.stderr.decode(), "none.jt: ")

    def test_wrong_usage(self):
        copy = self.path("copy.jt")
        with open(ENGINE, "rb") as file, open(copy, "wb") as to:
            to.write(file.read())
        identity = self.first(ENGINE, "scene graph")["id"]
        for options in (["--segment", identity, "--summary"], ["--raw", self.path("x")], ["--segment", ""],
                        ["--segment", "list", "--raw", self.path("x")], ["--segment", identity, "--raw", copy]):
            result = self.run_program("info", copy, *options)
            self.assertEqual(result.returncode, 2, options)
            self.assertTrue(re.match(rb"loftbay info: ", result.stderr), result.stderr)
        with open(ENGINE, "rb") as file, open(copy, "rb") as to:
            self.assertEqual(file.read(), to.read())


if __name__ == "__main__":
    unittest.main()
