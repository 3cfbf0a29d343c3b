"""The topology coder: a mesh of polygons becomes the symbols from which a reader builds it again.

Words: a poly is a polygon of the mesh, a vert a vertex with a closed ring of polys around it, counter-clockwise.
A cover is a poly that closes a hole and is not drawn.
"""


class Rings:
    """Polys with covers over all their holes, and verts whose rings are whole.

    `polys[p]` lists the verts of a poly, `slot[p][i]` is where corner i stands in its vert's ring, `rings[v]` lists
    the (poly, corner) around a vert, `place[v]` is the number of its point: one point becomes several verts where the
    mesh is not a manifold. `source[p]` is the number of the mesh's polygon, None for a cover.
    """

    def __init__(self, polygons, rng, pinch=False):
        self.rng = rng
        self.source = list(range(len(polygons)))
        self._corners = [list(p) for p in polygons]
        self._twin = {}
        self._pair_edges()
        self._add_covers(pinch)
        self._make_rings()

    def _pair_edges(self):
        waiting = {}
        for p, corners in enumerate(self._corners):
            for i, a in enumerate(corners):
                b = corners[(i + 1) % len(corners)]
                other = waiting.get((b, a))
                if other:
                    self._join((p, i), other.pop())
                else:
                    waiting.setdefault((a, b), []).append((p, i))
        self._open = sorted(h for halves in waiting.values() for h in halves)

    def _join(self, h, g):
        self._twin[h], self._twin[g] = g, h

    def _add_covers(self, pinch):
        """Walks around every hole; with `pinch`, holes that meet in a position are joined there, or cut apart."""
        follows, at_position = {}, {}
        for h in self._open:
            p, i = h
            x = (p, (i - 1) % len(self._corners[p]))
            while x in self._twin:
                q, j = self._twin[x]
                x = (q, (j - 1) % len(self._corners[q]))
            # The cover's edge along h ends where h begins; there its edge along x goes on.
            follows[h] = x
            at_position.setdefault(self._corners[p][i], []).append(h)
        if pinch:
            for halves in at_position.values():
                for h, g in zip(halves, halves[1:]):
                    follows[h], follows[g] = follows[g], follows[h]
        todo = set(self._open)
        for h in self._open:
            if h not in todo:
                continue
            loop, x = [], h
            while x in todo:
                todo.discard(x)
                loop.append(x)
                x = follows[x]
            self._cover(loop)

    def _cover(self, loop):
        # Cover corner i is where the edge along loop[i] begins: at the end of that half-edge.
        positions = [self._corners[p][(i + 1) % len(self._corners[p])] for p, i in loop]
        n = len(loop)
        cut = None
        if n >= 4 and len(set(positions)) == n and self.rng.random() < 0.3:
            cut = self.rng.randrange(2, n - 1)
        if cut is None:
            c = self._new_poly(positions)
            for i, h in enumerate(loop):
                self._join((c, i), h)
            return
        c = self._new_poly(positions[:cut + 1])
        d = self._new_poly([positions[0]] + positions[cut:])
        for i in range(cut):
            self._join((c, i), loop[i])
        for i in range(cut, n):
            self._join((d, i - cut + 1), loop[i])
        self._join((c, cut), (d, 0))

    def _new_poly(self, positions):
        self._corners.append(positions)
        self.source.append(None)
        return len(self._corners) - 1

    def _make_rings(self):
        self.polys = [[None] * len(c) for c in self._corners]
        self.slot = [[None] * len(c) for c in self._corners]
        self.rings, self.place = [], []
        for p, corners in enumerate(self._corners):
            for i in range(len(corners)):
                if self.polys[p][i] is not None:
                    continue
                ring, at = [], (p, i)
                while self.polys[at[0]][at[1]] is None:
                    self.polys[at[0]][at[1]] = len(self.rings)
                    self.slot[at[0]][at[1]] = len(ring)
                    ring.append(at)
                    at = self._twin[(at[0], (at[1] - 1) % len(self._corners[at[0]]))]
                self.rings.append(ring)
                self.place.append(corners[i])


class Symbols:
    """The arrays of symbols, and in which order a reader meets verts and attribute records."""

    def __init__(self):
        self.degrees = [[] for _ in range(8)]
        self.valences, self.groups, self.flags = [], [], []
        self.masks = [[] for _ in range(8)]
        self.high_masks = []
        self.split_offsets, self.split_positions = [], []
        self.verts = []
        self.records = []


class Coder:
    """Walks over the mesh exactly as a reader does, and notes what the reader has to be told.

    `group_of(poly)` is the face group of a drawn poly; `record_of(poly, corner)` gives the attributes of a drawn corner
    as (key, value), or None where the mesh has none. Neighbours in a ring whose keys are equal share a record.
    """

    def __init__(self, rings, group_of, record_of, rng):
        self.rings, self.group_of, self.record_of, self.rng = rings, group_of, record_of, rng
        self.symbols = Symbols()
        self.first_slot = {}
        self.filled = {}
        self.empty = {}
        self.removed = set()
        self.active = []
        self.met = set()
        self.turn = {}

    def run(self):
        order = list(range(len(self.rings.polys)))
        self.rng.shuffle(order)
        for p in order:
            if p in self.met:
                continue
            self._meet(p, self.rng.randrange(len(self.rings.polys[p])))
            known = []
            for i in self._corners_from(p):
                self._activate(p, i, known)
            while (v := self._next_active()) is not None:
                self._complete_vert(v)
        return self.symbols

    def _corners_from(self, p):
        n = len(self.rings.polys[p])
        return [(self.turn[p] + k) % n for k in range(n)]

    def _meet(self, p, first_corner):
        self.met.add(p)
        self.turn[p] = first_corner
        s = self.symbols
        cover = self.rings.source[p] is None
        s.valences.append(len(self.rings.polys[p]))
        s.groups.append(-1 if cover else self.group_of(self.rings.source[p]))
        s.flags.append(int(cover))

    def _ring_slot(self, p, i):
        """The slot of a corner, counted as the reader counts: from where the vert was first met."""
        v = self.rings.polys[p][i]
        return (self.rings.slot[p][i] - self.first_slot[v]) % len(self.rings.rings[v])

    def _is_known(self, p, i):
        v = self.rings.polys[p][i]
        return v in self.first_slot and self._ring_slot(p, i) in self.filled[v]

    def _fill(self, p, i):
        v, slot = self.rings.polys[p][i], self._ring_slot(p, i)
        assert slot not in self.filled[v]
        self.filled[v].add(slot)
        self.empty[v] -= 1

    def _context(self, p, known):
        n, t = len(known), sum(len(self.rings.rings[v]) for v in known)
        valence = len(self.rings.polys[p])
        if valence in (3, 4):
            mean = 6 if valence == 3 else 4
            return (0 if valence == 3 else 3) + (0 if t < mean * n else 1 if t == mean * n else 2)
        return 6 if valence == 5 else 7

    def _activate(self, p, i, known):
        v, s = self.rings.polys[p][i], self.symbols
        degrees = s.degrees[self._context(p, known)]
        if v in self.first_slot:
            degrees.append(0)
            s.split_offsets.append(len(self.active) - self.active.index(v))
            s.split_positions.append(self._ring_slot(p, i))
        else:
            degree = len(self.rings.rings[v])
            degrees.append(degree)
            self.first_slot[v] = self.rings.slot[p][i]
            self.filled[v], self.empty[v] = set(), degree
            s.verts.append(v)
            self._mask(v, degree)
            self.active.append(v)
        self._fill(p, i)
        known.append(v)

    def _mask(self, v, degree):
        """A set bit begins a record at its slot; covers need none and go with the slot before."""
        ring = self.rings.rings[v]
        names = []
        for k in range(degree):
            p, i = ring[(self.first_slot[v] + k) % degree]
            names.append(None if self.rings.source[p] is None else self.record_of(self.rings.source[p], i))
        drawn = [k for k in range(degree) if names[k] is not None]
        bits = set()
        if drawn:
            before = drawn[-1]
            for k in drawn:
                if names[k][0] != names[before][0] or self.rng.random() < 0.02:
                    bits.add(k)
                before = k
            if not bits:
                bits.add(self.rng.randrange(degree))
        for k in sorted(bits):
            self.symbols.records.append(next(names[(k + j) % degree] for j in range(degree)
                                             if names[(k + j) % degree] is not None))
        mask = sum(1 << k for k in bits)
        if degree > 64:
            for word in range(-(-degree // 32)):
                self.symbols.high_masks.append(mask >> 32 * word & 0xffffffff)
        else:
            self.symbols.masks[min(7, max(0, degree - 2))].append(mask)

    def _next_active(self):
        active = self.active
        while active and active[-1] in self.removed:
            active.pop()
        best = None
        i = len(active) - 1
        while i >= max(0, len(active) - 16):
            if active[i] in self.removed:
                del active[i]
            elif best is None or self.empty[active[i]] < self.empty[best]:
                best = active[i]
            i -= 1
        return best

    def _complete_vert(self, v):
        ring = self.rings.rings[v]
        for slot in range(len(ring)):
            if slot in self.filled[v]:
                continue
            p, i = ring[(self.first_slot[v] + slot) % len(ring)]
            self._meet(p, i)
            self._fill(p, i)
            self._complete_poly(p)
        self.removed.add(v)

    def _complete_poly(self, p):
        corners = self._corners_from(p)
        n = len(corners)
        ahead = self._walk(p, corners, 1, n - 1)
        back = self._walk(p, [corners[0]] + corners[:0:-1], -1, n - 1 - ahead)
        known = [self.rings.polys[p][corners[k]] for k in [*range(ahead + 1), *range(n - back, n)]]
        for k in range(ahead + 1, n - back):
            self._activate(p, corners[k], known)

    def _walk(self, p, corners, step, limit):
        """Corners that the reader finds by itself, across edges to polys that it has already; answers how many."""
        r = self.rings
        found = 0
        while found < limit:
            here, after = corners[found], corners[found + 1]
            v = r.polys[p][here]
            ring = r.rings[v]
            slot = (self._ring_slot(p, here) - step) % len(ring)
            if slot not in self.filled[v]:
                break
            # The poly across the edge can be this one, and not know yet which vert is at the edge's other end.
            q, j = ring[(self.first_slot[v] + slot) % len(ring)]
            if not self._is_known(q, (j - step) % len(r.polys[q])):
                break
            self._fill(p, after)
            found += 1
        return found
