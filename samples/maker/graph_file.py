"""Scene graphs of JT 9.5 for tests in Python: the small part of the maker that works without being built."""

import struct


def guid(text):
    """The bytes of a type id in a little-endian file."""
    return bytes.fromhex(text)


PARTITION = guid("3e10dd10c82ad1119b6b0080c7bb5997")
PART = guid("447235cefb38d111a506006097bdc6e1")
INSTANCE = guid("2a10dd10c82ad1119b6b0080c7bb5997")
END = b"\xff" * 16
TEXT_ATOM = guid("6e10dd10c82ad1119b6b0080c7bb5997")
HIDDEN = 1  # flag of a node: it and all below it are not shown


class GraphFile:
    """A JT 9.5 file that holds nothing but a scene graph. Shapes in Python: tests/second_writer/models.py; in files that a
    program writes: GraphBuilder and write_jt in this folder.
    """

    def __init__(self):
        self.nodes = b""
        self.atoms = b""
        self.table = {}
        self.next_id = 1000
        self.more_segments = 0  # of product manufacturing information, all in one place

    @staticmethod
    def element(kind, base, number, body):
        element = kind + bytes([base]) + struct.pack("<i", number) + body
        return struct.pack("<I", len(element)) + element

    @staticmethod
    def group(children, flags=0):
        return struct.pack("<hII", 1, flags, 0) + struct.pack("<hI", 1, len(children)) + struct.pack(
            f"<{len(children)}i", *children)

    def partition(self, number, children, box=(0,) * 6, file_name="", flags=0):
        name = file_name.encode("utf-16-le")
        body = self.group(children, flags) + struct.pack("<II", 0, len(name) // 2) + name
        body += struct.pack("<6f", *box) + bytes(4 + 6 * 4)
        self.nodes += self.element(PARTITION, 1, number, body)

    def instance(self, number, target, flags=0):
        body = struct.pack("<hII", 1, flags, 0) + struct.pack("<hi", 1, target)
        self.nodes += self.element(INSTANCE, 0, number, body)

    def part(self, number, flags=0):
        body = self.group([], flags) + struct.pack("<hhi", 1, 1, 0)
        self.nodes += self.element(PART, 1, number, body)

    def text(self, text):
        """An atom; its id."""
        number = self.next_id
        self.next_id += 1
        units = text.encode("utf-16-le", "surrogatepass")
        body = struct.pack("<hIhI", 1, 0, 1, len(units) // 2) + units
        self.atoms += self.element(TEXT_ATOM, 5, number, body)
        return number

    def property(self, node, key, text):
        self.table.setdefault(node, []).append((self.text(key), self.text(text)))

    def bytes(self):
        end = struct.pack("<I", 16) + END
        graph = self.nodes + end + self.atoms + end
        graph += struct.pack("<hI", 1, len(self.table))
        for node, pairs in self.table.items():
            graph += struct.pack("<i", node)
            graph += b"".join(struct.pack("<ii", *pair) for pair in pairs) + struct.pack("<i", 0)
        data = struct.pack("<IIB", 0, len(graph) + 1, 1) + graph  # stored plainly
        segment_id = bytes(range(16))
        segment = segment_id + struct.pack("<II", 1, 24 + len(data)) + data
        header = b"Version 9.5 JT".ljust(79) + b"\n" + bytes(5) + struct.pack("<I", 105) + segment_id
        count = 1 + self.more_segments
        place = 105 + 4 + 28 * count
        contents = struct.pack("<I", count) + segment_id + struct.pack("<III", place, len(segment), 1 << 24)
        more = b""
        for number in range(self.more_segments):
            other_id = bytes([number + 1] * 16)
            other = other_id + struct.pack("<IIIIB", 3, 24 + 9, 0, 1, 1)  # nothing, stored plainly
            contents += other_id + struct.pack("<III", place + len(segment) + len(more), len(other), 3 << 24)
            more += other
        return header + contents + segment + more


def assembly_file(references):
    """A JT file whose root refers to other files by name, and holds nothing else."""
    graph = GraphFile()
    graph.partition(0, list(range(1, len(references) + 1)), file_name="assembly.jt")
    for number, reference in enumerate(references, 1):
        graph.partition(number, [], file_name=reference)
    return graph.bytes()
