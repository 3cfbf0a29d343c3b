#!/usr/bin/env python3
"""What becomes of JT files by a second writer, which was made without a look at the reader or at the samples' maker.

A writer and a reader by one hand can share one mistake. Here 200 random models, half in version 9.5 and half in 10.0,
are written, converted in one batch, and the scenes must hold exactly the models: the bits of every triangle's corners
and their sense, placements, names and materials.
"""

import collections
import json
import math
import os
import pathlib
import random
import struct
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parents[1] / "python")]
import numpy
import zixscene
from models import Model, transformed

BIN = pathlib.Path(os.environ.get("LOFTBAY_BIN_DIR", HERE.parents[1] / "build" / "bin"))
COUNT, SEED = 200, 20260
# Every codec, and what meshes have only now and then, must have had its share.
SPECIAL = {**dict.fromkeys(("null", "fixed", "variable", "arithmetic", "chopper", "front"), 1000),
           **{"degree context %d" % i: 100 for i in range(8)}, "split": 1000, "cover": 1000, "high degree": 100,
           "upper mask": 10, "moved below its part": 50, "cover that meets itself": 10,
           "position of several verts": 100, "recoloured": 2}
FIELDS = ("ambient", "diffuse", "specular", "emission")


def make_model(number):
    return Model(10.0 if number % 2 else 9.5, random.Random(SEED + number))


def turned(corners):
    """The same triangle from its smallest corner on; the sense stays."""
    i = min(range(3), key=lambda k: corners[k:] + corners[:k])
    return tuple(corners[i:] + corners[:i])


def own_name(name):
    """Without the number that the converter gives to names that it met before."""
    return name.split("_orb_")[0]


class Found:
    """A mesh of the scene in the same terms as a model's Placed."""

    def __init__(self, placed):
        points = [tuple(p) for p in placed.mesh.points.tolist()]
        self.triangles = [[points[i] for i in e] for e in placed.mesh.triangles().tolist()]
        self.world, self.material = placed.matrix, placed.material
        # The scene's root carries the file's name.
        self.path = [own_name(name) for name in placed.path.node_names][1:]
        self.name = own_name(placed.path.last.name)


def scene_meshes(path):
    return [Found(placed) for placed in zixscene.load(path, verify="all").placed_meshes()]


def boundary(loops):
    """What is left of the directed edges when those that run both ways are taken away in pairs."""
    edges = collections.Counter()
    for corners in loops:
        for a, b in zip(corners, corners[1:] + corners[:1]):
            if edges[b, a] > 0:
                edges[b, a] -= 1
            else:
                edges[a, b] += 1
    return +edges


def mesh_difference(points, polygons, triangles):
    """None, or what tells the triangles from the polygons."""
    wanted = collections.Counter(turned([points[i] for i in p]) for p in polygons if len(p) == 3)
    larger = [[points[i] for i in p] for p in polygons if len(p) > 3]
    rest = []
    for t in triangles:
        key = turned(t)
        if wanted[key] > 0:
            wanted[key] -= 1
        else:
            rest.append(t)
    if +wanted:
        return "missing %s" % (+wanted).most_common(1)
    return polygons_difference(larger, rest)


def polygons_difference(polygons, triangles):
    """Every polygon must be cut into triangles that have its corners and, together, its boundary."""
    by_edge = collections.defaultdict(list)
    for number, p in enumerate(polygons):
        for a in p:
            by_edge[a].append(number)
    pieces = [[] for _ in polygons]
    for t in triangles:
        owners = set(by_edge[t[0]]) & set(by_edge[t[1]]) & set(by_edge[t[2]])
        if len(owners) != 1:
            return "triangle %s belongs to %d polygons" % (t, len(owners))
        pieces[owners.pop()].append(t)
    for p, cut in zip(polygons, pieces):
        if len(cut) != len(p) - 2 or boundary(cut) != boundary([p]):
            return "polygon %s became %s" % (p, cut)
        if math.dist(area_vector([p]), [0, 0, 0]) * 1.001 < sum(math.dist(area_vector([t]), [0, 0, 0]) for t in cut):
            return "polygon %s was cut into overlapping %s" % (p, cut)
    return None


def area_vector(loops):
    x = y = z = 0.0
    for p in loops:
        for a, b in zip(p, p[1:] + p[:1]):
            a, b = [c - d for c, d in zip(a, p[0])], [c - d for c, d in zip(b, p[0])]
            x, y, z = x + a[1] * b[2] - a[2] * b[1], y + a[2] * b[0] - a[0] * b[2], z + a[0] * b[1] - a[1] * b[0]
    return x, y, z


def zero_difference(placed, triangles):
    """Everything else compares numbers, for which the two zeros are one."""
    if not placed.exact:
        return None
    def bits(points):
        return {struct.pack("<3f", *p) for p in points}
    wanted = bits(placed.points[i] for p in placed.polygons for i in p)
    return None if wanted == bits(p for t in triangles for p in t) else "a zero has another sign"


def material_difference(wanted, found):
    *colours, shininess = wanted
    for name, colour in zip(FIELDS, colours):
        # The scene has opacity where the file has transparency; only the diffuse colour keeps it.
        expected = (*colour[:3], 1 - colour[3] if name == "diffuse" else 1.0)
        if expected != getattr(found, name):
            return "%s: %s became %s" % (name, expected, getattr(found, name))
    return None if found.ambient_intensity == shininess else "shininess %s" % found.ambient_intensity


def world_difference(placed, found):
    m = placed.matrix
    places = zixscene.transform_points(found.world, numpy.array(placed.points).reshape(-1, 3)).tolist()
    for p, got in zip(placed.points, places, strict=True):
        wanted = transformed(p, m)
        if math.dist(wanted, got) > 1e-5 * (1 + max(map(abs, wanted)) + max(map(abs, m))):
            return "point %s is at %s instead of %s" % (p, got, wanted)
    return None


def snapped(triangles, points):
    """Corners that are next to one of the points become that point."""
    limit = 2e-6 * max(abs(c) for p in points for c in p)
    found = {p: min(points, key=lambda q: math.dist(p, q)) for p in {p for t in triangles for p in t}}
    found = {p: q if math.dist(p, q) <= limit else p for p, q in found.items()}
    return [[found[p] for p in t] for t in triangles]


def difference(placed, found):
    if placed.path != found.path or placed.name != found.name:
        return "names %s %s became %s %s" % (placed.path, placed.name, found.path, found.name)
    if found.material is None:
        return "no material"
    triangles = found.triangles if placed.exact else snapped(found.triangles, placed.points)
    return (mesh_difference(placed.points, placed.polygons, triangles) or zero_difference(placed, triangles)
            or world_difference(placed, found)
            or material_difference(placed.material, found.material))


def model_difference(model, meshes):
    if len(model.placed) != len(meshes):
        return "%d meshes became %d" % (len(model.placed), len(meshes))
    for number, (placed, found) in enumerate(zip(model.placed, meshes)):
        if what := difference(placed, found):
            return "mesh %d: %s" % (number, what)
    return None


def recoloured_notes(names):
    """What is told of parts that got the material of another place: nothing where materials above differ in vain."""
    if not names:
        return []
    bears = "part bears" if len(names) == 1 else "parts bear"
    shown = list(dict.fromkeys(names))[:5]
    return ["%d %s the name of an earlier part and got its geometry and material: %s%s" % (
        len(names), bears, ", ".join(shown), ", …" if len(shown) == 5 and len(names) > 5 else "")]


class SecondWriter(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        temp = tempfile.TemporaryDirectory(prefix="loftbay-second-writer-")
        cls.addClassCleanup(temp.cleanup)
        cls.folder = pathlib.Path(temp.name)

    def convert(self, files, scenes):
        """The batch's exit code and its reports by file name."""
        kept = {k: v for k, v in os.environ.items() if not k.startswith("MERIDAN_")}
        run = subprocess.run([str(BIN / "loftbay"), "convert", *map(str, files), "--out-dir", str(scenes), "--json",
                              "--no-optimize", "--quiet"], capture_output=True, timeout=300,
                             env={**kept, "MERIDAN_TEMP_PATH": str(self.folder)})
        return run.returncode, {pathlib.Path(r["input"]).name: r for r in json.loads(run.stdout)}

    def test_scenes_hold_what_was_written(self):
        models, files, seen = {}, [], collections.Counter()
        for number in range(COUNT):
            model = make_model(number)
            path = self.folder / ("model%03d.jt" % number)
            path.write_bytes(model.data)
            models[path.stem] = model
            files.append(path)
            seen.update(model.seen)
            seen["moved below its part"] += sum(not p.exact for p in model.placed)
            seen["recoloured"] += len(model.recoloured)
        for what, least in SPECIAL.items():
            self.assertGreater(seen[what], least, what)
        code, reports = self.convert(files, self.folder / "scenes")
        for name, report in reports.items():
            self.assertEqual(report["skipped"], [], name)
            # Colours of vertices have no place in a scene.
            notes = [n for n in report["notes"] if "vertex colours" not in n]
            self.assertEqual(notes, recoloured_notes(models[pathlib.Path(name).stem].recoloured), name)
        self.assertEqual(code, 0)
        for name, model in models.items():
            self.assertIsNone(model_difference(model, scene_meshes(self.folder / "scenes" / (name + ".zix"))), name)

    def test_the_comparison_sees_one_wrong_thing(self):
        """Of a model that a scene holds, one thing is changed afterwards."""
        for number in range(6):
            path = self.folder / ("changed%d.jt" % number)
            path.write_bytes(make_model(number).data)
            self.assertEqual(self.convert([path], self.folder / "scenes")[0], 0)
            meshes = scene_meshes(self.folder / "scenes" / (path.stem + ".zix"))
            self.assertIsNone(model_difference(make_model(number), meshes))
            for change, what in (("point", "missing|belongs|polygon"), ("sense", "missing|belongs|polygon"),
                                 ("left out", "belongs|polygon"), ("placement", "instead of"), ("material", "diffuse"),
                                 ("shininess", "shininess"), ("name", "names")):
                model = make_model(number)
                self.change(model.placed[-1], change)
                self.assertRegex(str(model_difference(model, meshes)), what, change)

    @staticmethod
    def change(placed, change):
        points, polygons = placed.points[:], placed.polygons[:]
        if change == "point":
            x, y, z = points[polygons[0][0]]
            # One bit; where the reader has moved the point, more than rounding can do.
            size = max(abs(c) for p in points for c in p)
            points[polygons[0][0]] = (math.nextafter(x, math.inf) if placed.exact else x + size / 1e4, y, z)
        elif change == "sense":
            polygons[-1] = polygons[-1][::-1]
        elif change == "left out":
            del polygons[-1]
        placed.points, placed.polygons = points, polygons
        if change == "placement":
            placed.matrix = placed.matrix[:]
            placed.matrix[12] += 0.01 * (1 + abs(placed.matrix[12]))
        elif change == "material":
            ambient, (red, *rest), *others = placed.material
            placed.material = ambient, (red + 1 / 256, *rest), *others
        elif change == "shininess":
            *colours, shininess = placed.material
            placed.material = *colours, shininess + 1
        elif change == "name":
            placed.name += "x"


if __name__ == "__main__":
    unittest.main()
