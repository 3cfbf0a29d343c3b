"""A product that has nothing but exact geometry, converted by the program: the whole log for each form of
MERIDAN_JT_ULP_TESS_TOLERANCE, and what the setting does to the scene.

samples/flange_joint.jt: two instances of a flange (triangles are offered as level 0 of the part), and a seal that the
walk visits itself (tessellated on load). Lengths are metres, so the minimum edge length is 0.02 m unless it is set."""

import json
import os
import re
import unittest

from programs import SOURCE, ProgramTest

JOINT = os.path.join(SOURCE, "samples", "flange_joint.jt")
VARIABLE = "MERIDAN_JT_ULP_TESS_TOLERANCE"

MEMORY = "Memory Usage: # Kb\t\tPeak Memory Usage :# Kb\t"


def material(diffuse):
    return ["obJt2Zix::WriteMaterial():Start",
            "obJt2Zix::WriteMaterial():diffuseColor : " + diffuse,
            "obJt2Zix::WriteMaterial():ambientColor : 0.2 0.2 0.2",
            "obJt2Zix::WriteMaterial():emissionColor: 0 0 0",
            "obJt2Zix::WriteMaterial():specularColor: 0.3 0.3 0.3",
            "obJt2Zix::WriteMaterial():shinniness   : 20",
            "obJt2Zix::WriteMaterial():Transparency : 0",
            "obJt2Zix::WriteMaterial():End"]


def flange(name, matrix, placement):
    return (["obJt2Zix::ReadJtInstance():Start",
             "obJt2Zix::ReadJtInstance(): Name : " + name,
             "obJt2Zix::ReadJtInstance():Instance has got Transformation",
             "obJt2Zix::SetZixTransformation(): Transformation Matrix"]
            + ["obJt2Zix::SetZixTransformation(): " + row for row in matrix]
            + ["obJt2Zix::SetZixTransformation():General Transformation case"]
            + ["obJt2Zix::SetZixTransformation():" + line for line in placement]
            + ["obJt2Zix::ReadJtInstance():Instance Type = JtkEntity::JtkPART",
               "obJt2Zix::WriteShape():Start",
               "obJt2Zix::WriteShape(): Shape  Name = " + name,
               "obJt2Zix::WriteShape(): No of Prims = #",
               "obJt2Zix::WriteShape():b4 constructing ZIX Shape:" + MEMORY,
               "obJt2Zix::WriteShape():Extracting Coord,Normal,Color is done",
               "obJt2Zix::WriteShape():connectivity is done",
               "obJt2Zix::WriteShape():Polylength is done",
               "obJt2Zix::WriteShape():Optimize option enabled",
               "obJt2Zix::WriteShape():RemoveDuplicateVertices completed",
               "obJt2Zix::WriteShape(): Coord Size = #",
               "obJt2Zix::WriteShape(): Coord Size after RDV = #",
               "obJt2Zix::WriteShape(): Color Size = 0",
               "obJt2Zix::WriteShape(): Color Size after RDV = 0",
               "obJt2Zix::WriteShape():ZIX Geometry is constructed"]
            + material("0.62 0.66 0.7")
            + ["obJt2Zix::WriteShape():ZIX material is set",
               "obJt2Zix::WriteShape():after constructing ZIX Shape:" + MEMORY,
               "obJt2Zix::WriteShape():End",
               "obJt2Zix::ReadJtInstance():End"])


def whole_log(set_line, minimum_edge):
    return (["obJt2Zix::ULP : MERIDAN_JT_ULP_TESS_TOLERANCE is set."] * set_line
            + ["obJt2Zix::Start conversion...",
               "obJt2Zix::Convert():Start",
               "obJt2Zix::InitializeJt():Start",
               "obJt2Zix::InitializeJt():End",
               "obJt2Zix::InitializeZixScene():Start",
               "obJt2Zix::InitializeZixScene():End",
               "obJt2Zix::SetTessParams():Start...",
               "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : " + minimum_edge,
               "obJt2Zix::SetTessParams():End",
               "obJt2Zix::ReadJt():Start",
               "obJt2Zix::ReadJt(): JT File Version: 9.5",
               "obJt2Zix::ReadJtAssembly():Start",
               "obJt2Zix::ReadJtAssembly(): Name : Flange joint",
               "obJt2Zix::ReadJtAssembly():End"]
            + flange("Upper flange", ["1\t0\t0\t0", "0\t1\t0\t0", "0\t0\t1\t0.01", "0\t0\t0\t1"],
                     ["Translation: 0 0 0.01", "Rotation: 1 0 0 0", "Scale: 1 1 1"])
            + flange("Lower flange", ["1\t0\t0\t0", "0\t-1\t0\t0", "0\t0\t-1\t-0.01", "0\t0\t0\t1"],
                     ["Translation: 0 0 -0.01", "Rotation: 1 0 0 3.14159", "Scale: 1 1 1"])
            + ["obJt2Zix::ReadJtPart():Start",
               "obJt2Zix::ReadJtPart(): Name : Seal",
               "obJt2Zix::ReadJtPart(): ULP - Start",
               "obJt2Zix::ReadJtPart(): ULP - Tessellation done",
               "obJt2Zix::WriteShape():ZIX Geometry is constructed"]
            + material("0.75 0.22 0.12")
            + ["obJt2Zix::WriteShape():ZIX material is set",
               "obJt2Zix::WriteShape():End",
               "obJt2Zix::ReadJtPart(): ULP - End",
               "obJt2Zix::ReadJtPart():End",
               "obJt2Zix::ReadJt():End",
               "obJt2Zix::WriteZix():Start",
               "obJt2Zix::WriteZix():b4 Writing ZIX:" + MEMORY,
               "obJt2Zix::WriteZix():after Writing ZIX:" + MEMORY,
               "obJt2Zix::WriteZix():End",
               "obJt2Zix::CloseJt():Start",
               "obJt2Zix::CloseJt():End",
               "obJt2Zix::Conversion completed."])


class ExactGeometryOnly(ProgramTest):
    maxDiff = None

    def setUp(self):
        super().setUp()
        self.scene = self.path("joint.zix")

    def convert(self, tolerance, *options):
        result = self.run_program(JOINT, self.scene, "--json", *options,
                                  environment={} if tolerance is None else {VARIABLE: tolerance})
        self.assertEqual(result.returncode, 0, result.stderr)
        report = json.loads(result.stdout)
        self.assertEqual(report["skipped"], [])
        with open(report["log"], encoding="utf-8") as file:
            lines = [line.rstrip("\n") for line in file]
        return report, [re.sub(r"^.*?\] ", "", line) for line in lines]

    def triangles_by_shape(self):
        return sorted(mesh["elements"] for mesh in self.zix_info(self.scene)["meshes"])

    def plain(self, lines):
        lines = [re.sub(r"\d+ Kb", "# Kb", line) for line in lines]
        lines = [re.sub(r"No of Prims = \d+", "No of Prims = #", line) for line in lines]
        return [re.sub(r"(Coord Size.*) = \d+", r"\1 = #", line) for line in lines]

    def test_the_log_has_the_documented_lines_in_their_order_for_each_setting(self):
        for tolerance, edge in ((None, "0.02"), ("0.005", "0.005"), ("fine", "0")):
            with self.subTest(tolerance=tolerance):
                _, lines = self.convert(tolerance)
                self.assertEqual(self.plain(lines), whole_log(tolerance is not None, edge))

    def test_a_shorter_minimum_edge_gives_more_triangles_in_every_part(self):
        found = []
        for tolerance in (None, "0.005", "fine"):
            report, _ = self.convert(tolerance)
            shapes = self.triangles_by_shape()
            self.assertEqual(len(shapes), 3)
            self.assertEqual(sum(shapes), report["counts"]["triangles"])
            found.append(shapes)
        for coarse, fine in zip(found, found[1:]):
            for a, b in zip(coarse, fine):
                self.assertLess(a, b)

    def test_a_setting_that_is_no_number_is_no_minimum(self):
        triangles = []
        for tolerance in ("fine", "0", "-1"):
            report, _ = self.convert(tolerance)
            triangles.append(report["counts"]["triangles"])
        self.assertEqual(len(set(triangles)), 1)

    def test_the_option_for_exact_geometry_changes_nothing_where_there_is_nothing_else(self):
        def bytes_of_scene():
            with open(self.scene, "rb") as file:
                return file.read()

        self.convert(None)
        without = bytes_of_scene()
        self.convert(None, "--exact-geometry")
        self.assertEqual(bytes_of_scene(), without)


if __name__ == "__main__":
    unittest.main()
