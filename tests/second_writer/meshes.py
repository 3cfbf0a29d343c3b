"""Random meshes: (points, polygons, groups). Points differ, polygons are flat before quantisation."""

import math


def circle(n):
    return [(math.cos(2 * math.pi * i / n), math.sin(2 * math.pi * i / n)) for i in range(n)]


def sphere(rng, around=None, along=None):
    """Two poles, each with as many triangles around it as asked for."""
    around, along = around or rng.randint(3, 20), along or rng.randint(1, 4)
    points = [(0.0, 0.0, 1.0)]
    for j in range(along):
        a = math.pi * (j + 1) / (along + 1)
        points += [(math.sin(a) * x, math.sin(a) * y, math.cos(a)) for x, y in circle(around)]
    points.append((0.0, 0.0, -1.0))
    polygons = []
    for i in range(around):
        k = (i + 1) % around
        polygons += [[0, 1 + i, 1 + k], [len(points) - 1, 1 + (along - 1) * around + k, 1 + (along - 1) * around + i]]
        for j in range(along - 1):
            a, b = 1 + j * around, 1 + (j + 1) * around
            polygons += [[a + i, b + i, b + k], [a + i, b + k, a + k]]
    return points, polygons


def torus(rng):
    """No boundary and a hole through the body; closing it splits the coder's walk."""
    m, n = rng.randint(3, 12), rng.randint(3, 9)
    points = [((3 + a) * x, (3 + a) * y, b) for x, y in circle(m) for a, b in circle(n)]
    polygons = []
    for i in range(m):
        for j in range(n):
            a, b = i * n + j, (i + 1) % m * n + j
            c, d = (i + 1) % m * n + (j + 1) % n, i * n + (j + 1) % n
            polygons += [[a, b, c], [a, c, d]]
    return points, polygons


def sheet(rng):
    """An open grid with some of its triangles missing: holes, notches, and holes that meet in a point."""
    m, n, rough = rng.randint(1, 10), rng.randint(1, 10), rng.choice((0.0, 0.3))
    points = [(float(i), float(j), rng.uniform(-rough, rough)) for i in range(m + 1) for j in range(n + 1)]
    polygons = []
    for i in range(m):
        for j in range(n):
            a = i * (n + 1) + j
            b, c, d = a + n + 1, a + n + 2, a + 1
            polygons += [[a, b, c], [a, c, d]] if rng.random() < 0.5 else [[a, b, d], [b, c, d]]
    missing = rng.choice((0.0, 0.1, 0.4))
    return points, [p for p in polygons if rng.random() >= missing] or polygons


def soup(rng):
    """Triangles between random points: edges of three and more triangles, both windings, anything."""
    n = rng.randint(3, 25)
    points = [tuple(rng.uniform(-5, 5) for _ in range(3)) for _ in range(n)]
    triangles = {tuple(sorted(rng.sample(range(n), 3))) for _ in range(rng.randint(1, 60))}
    return points, [list(t) if rng.random() < 0.5 else list(t[::-1]) for t in sorted(triangles)]


def fan(rng):
    """One point in the middle of many triangles, open or closed around it."""
    n = rng.choice((5, 30, 62, 63, 64, 65, 66, 97, 200))
    points = [(0.0, 0.0, 0.5)] + [(x, y, 0.01 * (i % 7)) for i, (x, y) in enumerate(circle(n))]
    return points, [[0, 1 + i, 1 + (i + 1) % n] for i in range(n - rng.randrange(2))]


def prism(rng):
    """Polygons with more than three corners: a base that may be concave, sides of four corners, one end maybe open."""
    n = rng.randint(3, 15)
    concave = n > 4 and rng.random() < 0.4
    radius = [rng.uniform(0.5, 1.5) if concave else 1.0 for _ in range(n)]
    ring = [(r * x, r * y) for r, (x, y) in zip(radius, circle(n))]
    points = [(x, y, 0.0) for x, y in ring] + [(x, y, 2.0) for x, y in ring]
    polygons = [[i, (i + 1) % n, n + (i + 1) % n, n + i] for i in range(n)]
    polygons.append(list(range(n - 1, -1, -1)))
    if rng.random() < 0.6:
        polygons.append(list(range(n, 2 * n)))
    return points, polygons


def quads(rng):
    """A closed or open tube of quads."""
    m, n = rng.randint(1, 6), rng.randint(3, 10)
    points = [(x, y, float(i)) for i in range(m + 1) for x, y in circle(n)]
    return points, [[i * n + j, i * n + (j + 1) % n, (i + 1) * n + (j + 1) % n, (i + 1) * n + j]
                    for i in range(m) for j in range(n) if rng.random() < 0.9 or j == 0]


def plates(rng):
    """Squares with a hole: polygons that go to the hole and back along one edge, so that two corners are met twice."""
    n, number, polygons = rng.randint(1, 3), {}, []
    for i in range(n):
        for j in range(n):
            corners = [(0, 0), (6, 0), (6, 6), (0, 6), (0, 0), (2, 2), (2, 4), (4, 4), (4, 2), (2, 2)]
            polygons.append([number.setdefault((6.0 * i + x, 6.0 * j + y, 0.0), len(number)) for x, y in corners])
    return list(number), polygons


TRIANGLES = (sphere, torus, sheet, sheet, soup, fan)
POLYGONS = (prism, prism, quads, plates)


def _used(points, polygons):
    """Only points that a polygon has."""
    used = sorted({c for p in polygons for c in p})
    number = {old: new for new, old in enumerate(used)}
    return [points[i] for i in used], [[number[c] for c in p] for p in polygons]


def random_mesh(rng, polygon_set):
    """One or more of the kinds above, side by side, turned, in one of a few sizes."""
    kinds = POLYGONS if polygon_set else TRIANGLES
    points, polygons = [], []
    for k in range(rng.choice((1, 1, 1, 2, 3))):
        more, faces = _used(*rng.choice(kinds)(rng))
        a, b = rng.choice(((0.0, 0.0), (rng.uniform(0, 6), rng.uniform(0, 6))))
        for x, y, z in more:
            x, y = x * math.cos(a) - y * math.sin(a), x * math.sin(a) + y * math.cos(a)
            y, z = y * math.cos(b) - z * math.sin(b), y * math.sin(b) + z * math.cos(b)
            points.append((x + 20 * k, y, z))
        first = len(points) - len(more)
        polygons += [[first + c for c in p] for p in faces]
    size = rng.choice((0.001, 1.0, 1.0, 250.0))
    points = [tuple(c * size for c in p) for p in points]
    groups = rng.choice((lambda i: 0, lambda i: i, lambda i: i * 5 // len(polygons), lambda i: rng.randrange(3)))
    polygons = [p[i:] + p[:i] for p in polygons for i in [rng.randrange(len(p))]]
    return points, polygons, [groups(i) for i in range(len(polygons))]
