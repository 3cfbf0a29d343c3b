"""Compressed packets of 32-bit integers, as JT 9.5 and 10 store them, in every codec, and the arrays' hash."""

import struct

MASK = 0xffffffff
NULL, LAG1 = "null", "lag1"


def signed(value):
    """The 32-bit pattern of `value` as a signed number."""
    value &= MASK
    return value - (1 << 32) if value >> 31 else value


def signed_width(value):
    """Bits of the shortest two's complement number that holds `value`, at least 1."""
    return (value if value >= 0 else ~value).bit_length() + 1


class BitWriter:
    """Bits, the most significant one first."""

    def __init__(self, bits=()):
        self.bits = list(bits)

    def put(self, value, width):
        if width:
            self.bits.append(format(value & (1 << width) - 1, "0%db" % width))

    def to_bytes(self):
        text = "".join(self.bits)
        size = -(-len(text) // 8)
        return int(text.ljust(8 * size, "0") or "0", 2).to_bytes(size, "big")

    def code_text(self):
        """The length in bits, then whole words in the file's byte order."""
        data = self.to_bytes()
        data += bytes(-len(data) % 4)
        words = struct.unpack(">%dI" % (len(data) // 4), data)
        return struct.pack("<i%dI" % len(words), sum(map(len, self.bits)), *words)


def put_nibbles(out, value):
    """A signed number in groups of four bits, the lowest first, each followed by a bit that says whether more come."""
    groups = -(-signed_width(value) // 4)
    for i in range(groups):
        out.put(value >> 4 * i & 15, 4)
        out.put(int(i + 1 < groups), 1)


def residuals(values, predictor):
    if predictor == NULL:
        return [signed(v) for v in values]
    return [signed(v if i < 4 else v - values[i - 1]) for i, v in enumerate(values)]


class Packets:
    """Writes packets for one file version; the codec of each is drawn, and every use is counted in `used`."""

    def __init__(self, rng, version):
        self.rng, self.version, self.used = rng, version, {}

    def packet(self, values, predictor=NULL, depth=0):
        return self._packet(residuals(list(values), predictor), depth)

    def _packet(self, values, depth=0):
        if not values:
            return struct.pack("<i", 0)
        choices = ["null", "fixed", "variable", "arithmetic", "arithmetic"]
        if depth < 3:
            choices += ["chopper"] + (["front"] if self.version >= 10 else [])
        codec = self.rng.choice(choices)
        body = getattr(self, "_" + codec)(values, depth)
        if body is None:
            codec, body = "fixed", self._fixed(values, depth)
        self.used[codec] = self.used.get(codec, 0) + 1
        return struct.pack("<i", len(values)) + body

    def _null(self, values, depth):
        length = len(values) * self.rng.choice((1, 4))
        return struct.pack("<Bi%di" % len(values), 0, length, *values)

    def _fixed(self, values, depth):
        low, high = min(values), max(values)
        out = BitWriter()
        out.put(0, 1)
        if self.version >= 10:
            put_nibbles(out, low)
            put_nibbles(out, high)
        else:
            widths = signed_width(low), signed_width(high)
            out.put(widths[0], 6)
            out.put(widths[1], 6)
            out.put(low, widths[0])
            out.put(high, widths[1])
        width = (high - low).bit_length()
        for v in values:
            out.put(v - low, width)
        return b"\1" + out.code_text()

    def _variable(self, values, depth):
        mean = self.rng.choice((0, signed(sum(values) // len(values)), self.rng.choice(values)))
        delta_bits, run_bits = (4, 4) if self.version >= 10 else (self.rng.randint(2, 7), self.rng.randint(1, 7))
        out = BitWriter()
        out.put(1, 1)
        if self.version >= 10:
            put_nibbles(out, mean)
        else:
            out.put(mean, 32)
            out.put(delta_bits, 3)
            out.put(run_bits, 3)
        deltas = [signed(v - mean) for v in values]
        widths = [0 if d == 0 else signed_width(d) for d in deltas]
        width, at = 0, 0
        while at < len(values):
            end = at + 1
            limit = at + (1 << run_bits) - 1
            need = widths[at]
            while end < min(len(values), limit) and abs(widths[end] - need) <= 2:
                need = max(need, widths[end])
                end += 1
            self._change_width(out, need - width, delta_bits)
            width = need
            if self.rng.random() < 0.02:
                # An empty run.
                out.put(0, run_bits)
                self._change_width(out, 0, delta_bits)
            out.put(end - at, run_bits)
            for d in deltas[at:end]:
                out.put(d, width)
            at = end
        return b"\1" + out.code_text()

    @staticmethod
    def _change_width(out, change, bits):
        """Steps of the largest size say that another step follows."""
        low, high = -(1 << bits - 1), (1 << bits - 1) - 1
        while change >= high or change <= low:
            step = high if change > 0 else low
            out.put(step, bits)
            change -= step
        out.put(change, bits)

    def _arithmetic(self, values, depth):
        counts = {}
        for v in values:
            counts[v] = counts.get(v, 0) + 1
        inside = sorted(counts, key=lambda v: (-counts[v], v))
        # What is rare goes out of band; with few values the table is sometimes kept whole.
        kept = len(inside)
        if kept > 4 and (kept > 300 or self.rng.random() < 0.7):
            kept = min(300, self.rng.randrange(kept))
        inside, outside = inside[:kept], set(inside[kept:])
        self.rng.shuffle(inside)
        entries = [[v, counts[v]] for v in inside]
        out_of_band = [v for v in values if v in outside]
        # An escape may be listed that never occurs.
        escape = bool(out_of_band) or self.rng.random() < 0.1
        if escape:
            entries.insert(self.rng.randrange(len(entries) + 1), [None, max(1, len(out_of_band))])
        total = sum(n for _, n in entries)
        if total > 8000:
            for entry in entries:
                entry[1] = max(1, entry[1] * 8000 // total)
        rest = b""
        if self.version < 10 or escape:
            rest = self._packet(out_of_band, depth + 1)
        return b"\3" + self._arithmetic_code(values, entries) + self._contexts(entries) + rest

    def _contexts(self, entries):
        known = [v for v, _ in entries if v is not None]
        low = min(known) if known else 0
        value_bits = max([(v - low).bit_length() for v in known], default=0)
        count_bits = max(n for _, n in entries).bit_length()
        out = BitWriter()
        out.put(len(entries), 16)
        if self.version < 10:
            symbol_bits = (len(entries) + 1).bit_length()
            for width in (symbol_bits, count_bits, value_bits):
                out.put(width, 6)
        else:
            out.put(count_bits, 6)
            out.put(value_bits, 7)
        out.put(low, 32)
        for symbol, (v, n) in enumerate(entries):
            if self.version < 10:
                out.put(0 if v is None else symbol + 2, symbol_bits)
            else:
                out.put(int(v is None), 1)
            out.put(n, count_bits)
            out.put(0 if v is None else v - low, value_bits)
        return out.to_bytes()

    @staticmethod
    def _arithmetic_code(values, entries):
        ranges, total = {}, 0
        for v, n in entries:
            ranges[v] = (total, total + n)
            total += n
        out, low, high, pending = [], 0, 0xffff, 0
        for v in values:
            first, last = ranges[v] if v in ranges else ranges[None]
            span = high - low + 1
            high = low + span * last // total - 1
            low = low + span * first // total
            while True:
                if (low ^ high) & 0x8000 == 0:
                    first, others = "10" if low >> 15 else "01"
                    out.append(first + others * pending)
                    pending = 0
                elif low & 0x4000 and not high & 0x4000:
                    pending += 1
                    low &= 0x3fff
                    high |= 0x4000
                else:
                    break
                low = low << 1 & 0xffff
                high = high << 1 & 0xffff | 1
        # The decoder is 16 bits ahead of what it has decoded; two bits tell the last range from its neighbours.
        first, others = "10" if low & 0x4000 else "01"
        out.append(first + others * (pending + 1) + "0" * 16)
        return BitWriter(out).code_text()

    def _chopper(self, values, depth):
        if self.rng.random() < 0.2:
            return b"\4\0" + self._packet(values, depth + 1)
        bias = min(values)
        span = (max(values) - bias).bit_length()
        if span < 1:
            return None
        chop = self.rng.randint(1, span)
        low_bits = span - chop
        lsb = [signed(v - bias & (1 << low_bits) - 1) for v in values]
        msb = [signed(v - bias >> low_bits) for v in values]
        return (struct.pack("<BBiB", 4, chop, bias, span) + self._packet(msb, depth + 1)
                + self._packet(lsb, depth + 1))

    def _front(self, values, depth):
        window, news, offsets = [], [], []
        for v in values:
            if v in window:
                at = window.index(v)
                offsets.append(at)
                del window[at]
            else:
                offsets.append(-1)
                news.append(v)
            window.insert(0, v)
            del window[16:]
        return b"\5" + self._packet(news, depth + 1) + self._packet(offsets, depth + 1)


def _mix(a, b, c):
    for first, second, third in ((13, 8, 13), (12, 16, 5), (3, 10, 15)):
        a = (a - b - c & MASK) ^ c >> first
        b = (b - c - a & MASK) ^ (a << second & MASK)
        c = (c - a - b & MASK) ^ b >> third
    return a, b, c


def hash32(values, seed):
    """The public-domain hash "lookup2" over 32-bit words."""
    a = b = 0x9e3779b9
    c = seed
    words = [v & MASK for v in values]
    whole = len(words) // 3 * 3
    for i in range(0, whole, 3):
        a, b, c = _mix(a + words[i] & MASK, b + words[i + 1] & MASK, c + words[i + 2] & MASK)
    rest = words[whole:] + [0, 0]
    return _mix(a + rest[0] & MASK, b + rest[1] & MASK, c + len(words) & MASK)[2]


def hash16(values, seed):
    """The same over 16-bit items, in pairs, the low half first."""
    a = b = 0x9e3779b9
    c = seed
    k = [v & 0xffff for v in values]
    whole = len(k) // 6 * 6
    for i in range(0, whole, 6):
        a, b, c = _mix(a + k[i] + (k[i + 1] << 16) & MASK, b + k[i + 2] + (k[i + 3] << 16) & MASK,
                       c + k[i + 4] + (k[i + 5] << 16) & MASK)
    r = k[whole:] + [0] * 6
    return _mix(a + r[0] + (r[1] << 16) & MASK, b + r[2] + (r[3] << 16) & MASK, c + len(k) + (r[4] << 16) & MASK)[2]
