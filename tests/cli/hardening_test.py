"""What compiler and linker were to build into the programs against attacks, read from the built files."""

import os
import platform
import struct
import unittest

FOLDER = os.environ["LOFTBAY_BIN_DIR"]
SANITIZED = os.environ.get("LOFTBAY_SANITIZE", "").upper() in ("ON", "1", "TRUE")

LOAD, DYNAMIC, GNU_STACK, GNU_RELRO = 1, 2, 0x6474E551, 0x6474E552  # program headers
SYMBOLS = 2  # a section
FLAGS, FLAGS_1 = 30, 0x6FFFFFFB                            # entries of the dynamic section


class Elf:
    """The headers of a 64-bit little-endian ELF file."""

    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        if self.data[:6] != b"\x7fELF\x02\x01":
            raise ValueError(path)
        self.type = struct.unpack_from("<H", self.data, 16)[0]
        start, = struct.unpack_from("<Q", self.data, 32)
        size, count = struct.unpack_from("<HH", self.data, 54)
        # Type: flags, place in the file, size in the file.
        self.headers = {}
        self.loaded = []  # address, place in the file, size in the file
        for i in range(count):
            kind, flags, place, address, _, length = struct.unpack_from("<IIQQQQ", self.data, start + i * size)
            self.headers[kind] = (flags, place, length)
            if kind == LOAD:
                self.loaded.append((address, place, length))
        start, = struct.unpack_from("<Q", self.data, 40)
        size, count = struct.unpack_from("<HH", self.data, 58)
        # Type, flags, address, place in the file, size in the file, index of a related section.
        self.sections = [struct.unpack_from("<IQQQQI", self.data, start + i * size + 4) for i in range(count)]

    def dynamic(self, tag):
        _, place, length = self.headers[DYNAMIC]
        return dict(struct.iter_unpack("<QQ", self.data[place:place + length])).get(tag, 0)

    def code_of(self, function):
        """The first bytes of a function."""
        for kind, _, _, place, length, names in self.sections:
            if kind != SYMBOLS:
                continue
            for name, _, _, _, address, _ in struct.iter_unpack("<IBBHQQ", self.data[place:place + length]):
                first = self.sections[names][3] + name
                if self.data[first:first + len(function) + 1] != function + b"\0":
                    continue
                for start, begin, size in self.loaded:
                    if start <= address < start + size:
                        return self.data[begin + address - start:][:16]
        raise ValueError(f"no function {function}")


class Linux(unittest.TestCase):
    def programs(self):
        for name in ("loftbay", "zix"):
            yield Elf(os.path.join(FOLDER, name))

    def test_the_programs_lie_anywhere_in_memory(self):
        for elf in self.programs():
            self.assertEqual(elf.type, 3)  # ET_DYN
            self.assertTrue(elf.dynamic(FLAGS_1) & 0x08000000)  # DF_1_PIE

    def test_the_table_of_library_functions_is_read_only_from_the_start(self):
        for elf in self.programs():
            self.assertIn(GNU_RELRO, elf.headers)
            self.assertTrue(elf.dynamic(FLAGS) & 8 or elf.dynamic(FLAGS_1) & 1)  # bound immediately

    def test_nothing_on_the_stack_is_run(self):
        for elf in self.programs():
            self.assertEqual(elf.headers[GNU_STACK][0] & 1, 0)

    def test_the_stack_is_guarded(self):
        for elf in self.programs():
            self.assertIn(b"\0__stack_chk_fail\0", elf.data)

    @unittest.skipIf(SANITIZED, "builds with sanitizers check these calls themselves")
    def test_calls_of_the_c_library_are_fortified(self):
        for elf in self.programs():
            self.assertRegex(elf.data, rb"\0__(memcpy|vsnprintf|snprintf|fprintf|printf|memmove|read|strcpy)_chk\0")

    @unittest.skipIf(SANITIZED, "the compiler of the sanitized build marks fewer places")
    @unittest.skipUnless(platform.machine() == "x86_64", "only known of x86-64")
    def test_jumps_lead_only_to_marked_places(self):
        for elf in self.programs():
            self.assertTrue(elf.code_of(b"main").startswith(b"\xf3\x0f\x1e\xfa"))  # ENDBR64


class Windows(unittest.TestCase):
    """Run by scripts/check-windows, when its programs have been built."""

    def programs(self):
        for name in ("loftbay.exe", "zix.exe", os.path.join("..", "bin-desktop", "Loftbay.exe")):
            with open(os.path.join(FOLDER, name), "rb") as file:
                data = file.read()
            header, = struct.unpack_from("<I", data, 0x3C)
            self.assertEqual(data[header:header + 4], b"PE\0\0")
            yield data, header

    def test_memory_is_not_run_and_the_program_lies_anywhere(self):
        for data, header in self.programs():
            flags, = struct.unpack_from("<H", data, header + 24 + 70)
            for name, bit in (("high entropy", 0x20), ("dynamic base", 0x40), ("nx compatible", 0x100)):
                self.assertTrue(flags & bit, name)
            # Without a table of relocations it could not be moved.
            characteristics, = struct.unpack_from("<H", data, header + 22)
            self.assertEqual(characteristics & 1, 0)
            place, size = struct.unpack_from("<II", data, header + 24 + 112 + 5 * 8)
            self.assertGreater(place * size, 0)

    def test_the_stack_is_guarded(self):
        for data, _ in self.programs():
            self.assertIn(b"stack smashing detected", data)


if __name__ == "__main__":
    unittest.main()
