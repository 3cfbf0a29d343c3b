"""`loftbay info`: what it tells, counts and prints, with `--summary`, `--properties`, `--segment` and without."""

import json
import os
import shutil
import unittest

from cli_case import SAMPLE, CliTest
from programs import HIDDEN, SOURCE, GraphFile, ProgramTest, guid

SAMPLES = os.path.join(SOURCE, "samples")
ENGINE = os.path.join(SAMPLES, "beam_engine.jt")
SURVEY = os.path.join(SAMPLES, "survey.jt")
JOINT = os.path.join(SAMPLES, "flange_joint.jt")


class InfoTest(ProgramTest):
    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)
        return self.path(name)

    def summary(self, *arguments, code=0):
        result = self.run_program("info", "--summary", "--json", *arguments)
        self.assertEqual((result.returncode, result.stderr), (code, b""))
        return json.loads(result.stdout)


def parts_by_hand(document):
    """Parts placed and unique and their triangles at level 0, counted by walking the tree that info prints."""
    tree = document["tree"]
    first = {}

    def walk(at):
        """Placed parts and triangles at and below a node, and where the next one that is no deeper stands."""
        node = tree[at]
        parts, triangles, after = 0, 0, at + 1
        if node["kind"] == "part":
            parts = 1
            triangles = sum(shape["triangles"] for shape in (node["levels"] or [[]])[0])
        while after < len(tree) and tree[after]["depth"] > node["depth"]:
            below, more, after = walk(after)
            parts += below
            triangles += more
        key = (node["kind"], node["name"])
        if node["listed_before"]:
            parts, triangles = first[key]
        else:
            first.setdefault(key, (parts, triangles))
        return parts, triangles, after

    parts, triangles, _ = walk(0)
    unique = sum(1 for node in tree if node["kind"] == "part" and not node["listed_before"])
    return parts, unique, triangles


class Summary(InfoTest):
    def test_counts_what_the_tree_holds_and_a_conversion_makes(self):
        document = json.loads(self.run_program("info", ENGINE, "--json").stdout)
        parts, unique, triangles = parts_by_hand(document)
        self.assertGreater(parts, unique)
        (row,) = self.summary(ENGINE)
        self.assertEqual(row["parts"], {"placed": parts, "unique": unique})
        level = row["levels"][0]
        self.assertEqual(level["triangles_placed"], triangles)
        self.assertLess(level["triangles_unique"], triangles)
        self.assertEqual({k: v > 0 for k, v in level["shapes"].items()},
                         {"decoded": True, "tessellated": False, "stated": False, "not_counted": False})
        report = json.loads(self.run_program(ENGINE, self.path("out.zix"), "--json").stdout)
        self.assertEqual(report["counts"]["triangles"], triangles)
        self.assertLess(row["levels"][1]["triangles_placed"], triangles)
        self.assertEqual((row["version"], row["units"], row["bytes"]), ("9.5", "millimeters", os.path.getsize(ENGINE)))
        # Turned parts are boxed again on the way up: what is stated is never smaller than the scene.
        box = self.zix_info(self.path("out.zix"))["bbox"]
        for axis in range(3):
            self.assertGreaterEqual(row["size"][axis], (box[axis + 3] - box[axis]) * 0.999)
            self.assertLess(row["size"][axis], (box[axis + 3] - box[axis]) * 1.2)

    def test_the_table_has_a_line_for_each_file_in_their_order(self):
        result = self.run_program("info", "--summary", SURVEY, ENGINE, JOINT)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        heading, *rows = result.stdout.decode().splitlines()
        self.assertEqual(heading.split("  ")[0], "FILE")
        self.assertEqual([row.split()[0] for row in rows], [SURVEY, ENGINE, JOINT])
        documents = self.summary(SURVEY, ENGINE, JOINT)
        for row, document in zip(rows, documents):
            self.assertEqual(document["input"], row.split()[0])
            self.assertEqual(row[heading.index("PARTS"):].split()[0], str(document["parts"]["placed"]))
            self.assertEqual(row[heading.index("UNIQUE"):].split()[0], str(document["parts"]["unique"]))
            self.assertEqual(row[heading.index("TRIANGLES"):].split()[0],
                             str(document["levels"][0]["triangles_placed"]))
        self.assertIn("1 point set, 1 polyline set", rows[0])
        self.assertIn("(tessellated)", rows[2])

    def test_triangles_as_stated_need_no_shape(self):
        # The first shape's type id is spoilt: it cannot be decoded, but the graph still states its triangles.
        with open(ENGINE, "rb") as file:
            content = bytearray(file.read())
        content[content.find(guid("ab10dd10c82ad1119b6b0080c7bb5997"))] ^= 0xFF
        damaged = self.write("damaged.jt", content)
        (sound,) = self.summary(ENGINE)
        (stated,) = self.summary("--stated", damaged)
        self.assertEqual([level["triangles_placed"] for level in stated["levels"]],
                         [level["triangles_placed"] for level in sound["levels"]])
        for level in stated["levels"]:
            self.assertEqual((level["shapes"]["decoded"], level["shapes"]["not_counted"]), (0, 0))
            self.assertGreater(level["shapes"]["stated"], 0)
        table = self.run_program("info", "--summary", "--stated", damaged).stdout.decode()
        self.assertIn("(stated)", table)
        # Decoded, the shape is found to be damaged: told, and so is the coarser level that takes its place.
        (decoded,) = self.summary(damaged, code=1)
        reasons = [loss["reason"] for loss in decoded["cannot_be_converted"]]
        self.assertEqual(len(reasons), 2)
        self.assertIn("are not known", reasons[0])
        self.assertIn("level 1 is shown instead", reasons[1])

    def test_triangles_of_exact_geometry_are_not_guessed(self):
        (row,) = self.summary("--stated", JOINT)
        self.assertGreater(row["levels"][0]["shapes"]["not_counted"], 0)
        self.assertIn("0+", self.run_program("info", "--summary", "--stated", JOINT).stdout.decode())

    def test_one_file_that_cannot_be_read_costs_only_its_own_row(self):
        bad = self.write("bad.jt", b"nonsense")
        rows = self.summary(bad, ENGINE, code=1)
        self.assertEqual([row["loaded"] for row in rows], [False, True])
        self.assertIn("bad.jt", rows[0]["error"])
        self.assertEqual((rows[0]["parts"], rows[0]["levels"], rows[0]["size"]), ({"placed": 0, "unique": 0}, [], None))
        result = self.run_program("info", "--summary", bad, self.path("missing.jt"), ENGINE)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(len(result.stdout.splitlines()), 4)

    def test_nodes_that_share_each_other_many_levels_deep_are_counted_without_walking(self):
        for levels, placed in ((40, 2 ** 40), (80, 2 ** 64 - 1)):
            graph = GraphFile()
            for level in range(levels):
                graph.partition(level, [level + 1, level + 1])
            graph.part(levels)
            (row,) = self.summary(self.write("deep.jt", graph.bytes()))
            self.assertEqual(row["parts"], {"placed": placed, "unique": 1})

    def test_what_will_not_be_converted_is_told_by_type(self):
        (row,) = self.summary(ENGINE)
        self.assertEqual(row["not_converted"], [])
        (row,) = self.summary(SURVEY)
        self.assertEqual(row["not_converted"], [{"what": "point set", "count": 1}, {"what": "polyline set", "count": 1}])
        graph = GraphFile()
        graph.partition(0, [1])
        graph.part(1)
        graph.more_segments = 3
        (row,) = self.summary(self.write("pmi.jt", graph.bytes()))
        self.assertEqual(row["not_converted"], [{"what": "product manufacturing information", "count": 3}])
        self.assertIn(b"3 product manufacturing information",
                      self.run_program("info", "--summary", self.path("pmi.jt")).stdout)

    def test_a_segment_that_cannot_be_read_gives_exit_code_1(self):
        graph = GraphFile()
        graph.partition(0, [1])
        graph.part(1)
        graph.more_segments = 1
        content = graph.bytes()
        self.assertEqual(self.run_program("info", self.write("sound.jt", content)).returncode, 0)
        result = self.run_program("info", self.write("cut.jt", content[:-12]), "--json")
        self.assertEqual(result.returncode, 1, result.stderr)
        document = json.loads(result.stdout)
        self.assertTrue(document["loaded"])
        self.assertIn("product manufacturing information", document["unreadable_segments"][0])
        self.assertIn("the file is cut off: 1 of 2 segments", document["notes"][0])

    def test_a_hidden_part_is_left_out_and_noted(self):
        for flags, parts in ((0, 2), (HIDDEN, 1)):
            graph = GraphFile()
            graph.partition(0, [1, 2])
            graph.part(1, flags=flags)
            graph.property(1, "JT_PROP_NAME", "secret")
            graph.part(2)
            result = self.run_program("info", "--json", self.write("hidden.jt", graph.bytes()))
            document = json.loads(result.stdout)
            self.assertEqual(sum(node["kind"] == "part" for node in document["tree"]), parts)
            self.assertEqual(["\"secret\" is marked as not shown" in note for note in document["notes"]], [True] * (2 - parts))

    def test_wrong_use_is_told(self):
        for arguments in ((ENGINE, SURVEY), ("--summary", "--properties", ENGINE), ("--stated", ENGINE), ("--summary",)):
            result = self.run_program("info", *arguments)
            self.assertEqual((result.returncode, result.stdout), (2, b""), arguments)
            self.assertIn(b"loftbay info: ", result.stderr)


class Segments(InfoTest):
    def test_an_unreadable_segment_that_no_part_needs_is_in_the_line(self):
        graph = GraphFile()
        graph.partition(0, [])
        graph.more_segments = 1
        path = self.write("cut.jt", graph.bytes()[:-5])
        result = self.run_program("info", "--summary", path)
        self.assertEqual(result.returncode, 1)
        self.assertIn(b"1 unreadable segment", result.stdout)


class Properties(InfoTest):
    def test_every_text_of_the_graph_by_node(self):
        graph = GraphFile()
        graph.partition(0, [1])
        graph.partition(1, [])
        texts = [("JT_PROP_NAME", "W\u00e4lzlager \u8ef8\u53d7 \U0001f527.asm;0;0:"), ("Werkstoff::", "C45"), ("Werkstoff::", "S355")]
        for key, text in texts:
            graph.property(0, key, text)
        graph.property(1, "empty", "")
        model = self.write("w.jt", graph.bytes())
        result = self.run_program("info", "--properties", "--json", model)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        document = json.loads(result.stdout.decode("utf-8"))
        self.assertEqual((document["input"], document["loaded"]), (model, True))
        nodes = document["nodes"]
        self.assertEqual([(node["file"], node["id"], node["kind"]) for node in nodes],
                         [(model, 0, "partition"), (model, 1, "partition")])
        self.assertEqual([(entry["key"], entry["text"]) for entry in nodes[0]["properties"]], texts)
        self.assertEqual(nodes[0]["name"], "W\u00e4lzlager \u8ef8\u53d7 \U0001f527")
        self.assertEqual(nodes[1]["properties"], [{"key": "empty", "text": ""}])
        text = self.run_program("info", "--properties", model).stdout.decode("utf-8")
        self.assertIn("    Werkstoff:: = C45\n    Werkstoff:: = S355\n", text)
        self.assertIn("  partition 0 \"W\u00e4lzlager \u8ef8\u53d7 \U0001f527\"\n", text)

    def test_the_files_that_a_model_refers_to_are_listed_too(self):
        document = json.loads(self.run_program("info", "--properties", "--json", ENGINE).stdout)
        names = {entry["text"] for node in document["nodes"] for entry in node["properties"]}
        self.assertTrue(any(text.startswith("Flywheel") for text in names))
        # A file whose root is a reference to the engine.
        shutil.copy(ENGINE, self.path("engine.jt"))
        graph = GraphFile()
        graph.partition(0, [1])
        graph.partition(1, [], file_name="engine.jt")
        graph.property(0, "own", "text")
        model = self.write("top.jt", graph.bytes())
        above = json.loads(self.run_program("info", "--properties", "--json", model).stdout)["nodes"]
        self.assertEqual(above[0]["properties"], [{"key": "own", "text": "text"}])
        self.assertEqual(len(above), 1 + len(document["nodes"]))
        self.assertEqual({node["file"] for node in above[1:]}, {self.path("engine.jt")})

    def test_a_file_that_cannot_be_read_gives_1_and_a_document_all_the_same(self):
        bad = self.write("bad.jt", b"nonsense")
        result = self.run_program("info", "--properties", "--json", bad)
        document = json.loads(result.stdout)
        self.assertEqual((result.returncode, document["loaded"], document["nodes"]), (1, False, []))
        self.assertIn("bad.jt", document["error"])

    def test_what_is_not_read_of_a_file_is_told_beside_its_properties(self):
        graph = GraphFile()
        graph.partition(0, [1])
        graph.part(1)
        graph.more_segments = 1
        cut = self.write("cut.jt", graph.bytes()[:-12])
        for options in ((), ("--json",)):
            result = self.run_program("info", "--properties", *options, cut)
            self.assertEqual(result.returncode, 1)
            self.assertRegex(result.stderr, rb"cut.jt: segment .*product manufacturing information")


class Info(CliTest):
    def test_tells_version_tree_and_shapes_as_text(self):
        result = self.run_program("info", SAMPLE)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertIn(b"9.5", result.stdout)
        self.assertIn(b"part", result.stdout)

    def test_the_same_as_one_json_document(self):
        result = self.run_program("info", SAMPLE, "--json")
        self.assertEqual(result.returncode, 0)
        document = json.loads(result.stdout)
        self.assertEqual(document["version"], "9.5")
        self.assertGreater(sum(document["segments"].values()), 0)

    def test_the_document_holds_container_tree_levels_and_counts(self):
        document = json.loads(self.run_program("info", SAMPLE, "--json").stdout)
        self.assertEqual((document["loaded"], document["byte_order"], document["units"]), (True, "little", "millimeters"))
        self.assertEqual(document["segments"]["scene graph"], 1)
        self.assertGreater(document["segments"]["shape, level 0"], 0)
        self.assertIn("zlib", document["compression"])
        self.assertEqual((document["cannot_be_converted"], document["tree_is_cut"]), ([], False))
        kinds = {node["kind"] for node in document["tree"]}
        self.assertEqual(kinds, {"assembly", "part", "instance"})
        parts = [node for node in document["tree"] if node["kind"] == "part" and not node["listed_before"]]
        self.assertTrue(any(len(part["levels"]) > 1 for part in parts))
        for part in parts:
            for level in part["levels"]:
                for shape in level:
                    self.assertEqual(shape["kind"], "tri-strip set")
                    self.assertGreater(shape["triangles"], 0)
        # The text tells the same.
        text = self.run_program("info", SAMPLE).stdout.decode()
        for word in ("JT 9.5, little-endian, units millimeters", "scene graph (zlib)", "level 0: ", "level 1: ",
                     "tri-strip set", " triangles"):
            self.assertIn(word, text)

    def test_what_cannot_be_converted_is_named_with_its_reason(self):
        with open(SAMPLE, "rb") as file:
            content = bytearray(file.read())
        # The segments of shapes: 24 bytes of header, an element's length, then the GUID that says what it is.
        strips = bytes.fromhex("ab10dd10c82ad1119b6b0080c7bb5997")
        first = content.find(strips)
        self.assertGreater(first, 0)
        content[first] ^= 0xFF
        model = self.write("damaged.jt", content)
        result = self.run_program("info", model, "--json")
        self.assertEqual(result.returncode, 1)
        losses = json.loads(result.stdout)["cannot_be_converted"]
        self.assertEqual(len(losses), 2)
        self.assertIn("are not known", losses[0]["reason"])
        self.assertIn("level of detail 0 cannot be read; level 1 is shown instead", losses[1]["reason"])
        text = self.run_program("info", model)
        self.assertEqual(text.returncode, 1)
        self.assertIn(b"Cannot be converted:", text.stdout)
        self.assertIn(losses[0]["part"].encode(), text.stdout)
        # The conversion names the same, where it is of a level that is converted, and keeps the rest.
        report = json.loads(self.run_program(model, self.out, "--json").stdout)
        self.assertGreater(report["counts"]["triangles"], 0)

    def test_a_file_that_cannot_be_read_gives_1_and_a_json_document_all_the_same(self):
        result = self.run_program("info", self.write("bad.jt", b"nonsense"), "--json")
        self.assertEqual(result.returncode, 1)
        self.assertIn("error", json.loads(result.stdout))


if __name__ == "__main__":
    unittest.main()
