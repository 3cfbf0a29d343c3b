#!/usr/bin/env python3
"""Normals and colours of the second writer's meshes, as the toolkit hands them out: each polygon has its own."""

import colorsys
import math
import os
import pathlib
import random
import subprocess
import tempfile
import unittest

from container import SHAPE, Figures, File
from meshes import random_mesh
from packets import Packets
from shape import PSI_MAX, Options, ShapeWriter, colour_of, facet_normals, float32, normal_codes

BIN = pathlib.Path(os.environ["LOFTBAY_BIN_DIR"])
COLOURS = (None, (3, 8, 0), (4, 6, 0), (3, 0, 0), (4, 0, 0), (4, 8, 1))


def decoded_normal(sextant, octant, theta, psi, bits):
    top = 1 << bits
    b = PSI_MAX * psi / top
    a = math.asin(min(1, math.tan(PSI_MAX * (top - theta - (sextant & 1)) / top)))
    x, y, z = math.cos(a) * math.cos(b), math.sin(b), math.sin(a) * math.cos(b)
    turned = ((x, y, z), (z, y, x), (y, z, x), (y, x, z), (z, x, y), (x, z, y))[sextant]
    return tuple(c if octant & bit else -c for c, bit in zip(turned, (4, 2, 1)))


def one_shape(version, rng, options):
    """A file with one shape; its bytes, points and polygons. No two polygons have the same corners."""
    while True:
        points, polygons, groups = random_mesh(rng, False)
        points = [tuple(map(float32, p)) for p in points]
        if len({frozenset(points[i] for i in p) for p in polygons}) == len(polygons):
            break
    file = File(version, rng)
    root, part, shape = file.new_id(), file.new_id(), file.new_id()
    data = ShapeWriter(Packets(rng, version), rng, version).write(points, polygons, groups, options)
    file.shape(shape, [], file.add_shape(data, SHAPE), options, Figures())
    file.part(part, [shape], [])
    file.partition(root, [part], [], "shape.jt", Figures())
    return file.save(), points, polygons


class Attributes(unittest.TestCase):
    def read(self, data):
        """Corners as lists of three points, normals and, if there are any, colours."""
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "shape.jt"
            path.write_bytes(data)
            run = subprocess.run([str(BIN / "shape_dump"), str(path)], capture_output=True, text=True, timeout=60)
        self.assertEqual(run.returncode, 0, run.stderr)
        numbers = [list(map(float.fromhex, line.split())) for line in run.stdout.splitlines()]
        return [[tuple(row[i:i + 3]) for i in range(0, len(row), 3)] for row in numbers]

    def check(self, version, normal_bits, colour):
        rng = random.Random(str((version, normal_bits, colour)))
        options = Options(normal_bits=normal_bits, colour=colour, flat=True)
        data, points, polygons = one_shape(version, rng, options)
        corners = self.read(data)
        self.assertEqual(len(corners), 3 * len(polygons))
        number = {frozenset(points[i] for i in p): n for n, p in enumerate(polygons)}
        normals = facet_normals(points, polygons)
        for at in range(0, len(corners), 3):
            polygon = number[frozenset(c[0] for c in corners[at:at + 3])]
            wanted = normals[polygon]
            if normal_bits:
                codes = normal_codes(wanted, normal_bits)
                wanted = decoded_normal(*codes, normal_bits)
                self.assertLess(math.dist(wanted, normals[polygon]), 1.2 / (1 << normal_bits))
            for corner in corners[at:at + 3]:
                self.assertLess(math.dist(corner[1], wanted), 1e-6)
                self.assertEqual(len(corner), 2 if colour is None else 3)
                if colour:
                    self.check_colour(colour_of(polygon)[:3], colour, corner[2])

    def check_colour(self, wanted, colour, found):
        _, bits, hsv = colour
        step = 1 / ((1 << bits) - 1) if bits else 1e-6
        if hsv:
            wanted = colorsys.hsv_to_rgb(*(round(c / step) * step for c in wanted))
            step = 1e-5
        self.assertLess(max(abs(a - b) for a, b in zip(wanted, found)), step)

    def test_every_polygon_has_its_own(self):
        for version in (9.5, 10.0):
            for normal_bits in (0, 4, 8, 13):
                for colour in COLOURS:
                    with self.subTest(version=version, normal_bits=normal_bits, colour=colour):
                        self.check(version, normal_bits, colour)


if __name__ == "__main__":
    unittest.main()
