#!/usr/bin/env python3
"""Area and volume of each part of a Zix scene, as CSV: python3 part_volumes.py model.zix > parts.csv

A part is a node that holds shapes. Lengths are those of the scene (the column `unit` names them, if the scene says).
A volume is given for parts whose triangles close: every edge is met once in each sense.
"""

import csv
import sys

import numpy as np
import zixscene


def area_and_volume(corners):
    """Of triangles (n, 3, 3): the sum of their areas, and the volume inside if they close, else None."""
    corners = corners - corners.reshape(-1, 3).mean(axis=0)     # far from the origin the volume would lose digits
    a, b, c = corners.transpose(1, 0, 2)
    area = np.linalg.norm(np.cross(b - a, c - a), axis=1).sum() / 2
    volume = (a * np.cross(b, c)).sum() / 6
    return area, volume if closes(corners) else None


def closes(corners):
    """Whether as many edges run one way as the other between every two points. Points are joined by their position."""
    _, numbers = np.unique(corners.reshape(-1, 3), axis=0, return_inverse=True)
    triangles = numbers.reshape(-1, 3)
    edges = np.concatenate([triangles[:, [0, 1]], triangles[:, [1, 2]], triangles[:, [2, 0]]])
    there, back = (np.sort(e[:, 0] * (numbers.max() + 1) + e[:, 1]) for e in (edges, edges[:, ::-1]))
    return bool((there == back).all())


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: part_volumes.py MODEL.zix")
    scene = zixscene.load(sys.argv[1], verify="all")
    parts = {}      # the node above the shape -> its name and corners in the world
    for placed in scene.placed_meshes():
        if placed.mesh.kind == "triangles":
            corners = placed.points()[placed.triangles()]
            part = placed.path.above
            parts.setdefault(part.last, (str(part), []))[1].append(corners)
    out = csv.writer(sys.stdout, lineterminator="\n")
    out.writerow(["part", "triangles", "area", "volume", "unit"])
    for name, pieces in parts.values():
        corners = np.concatenate(pieces)
        if len(corners):
            area, volume = area_and_volume(corners)
            out.writerow([name, len(corners), f"{area:.6g}", "" if volume is None else f"{volume:.6g}", scene.unit or ""])


try:
    main()
except zixscene.ZixError as error:
    sys.exit(f"part_volumes.py: {error}")
