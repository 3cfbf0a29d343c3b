"""Test programs under sanitizers run the production code's own inline functions, not the copies of the tests' sources.

The tests' sources are compiled without sanitizers. An inline function that both use is in the program once: which, the
order of the linker's arguments decides (cmake/test-objects.cmake).
"""

import os
import subprocess
import unittest

PROGRAM = os.path.join(os.environ["LOFTBAY_BIN_DIR"], "jttk_codec_test")
# Functions of headers that the decoders and their tests use, and that are too large to vanish in each of their callers.
SHARED = {
    "BitReader::refill": "_ZN4jttk9BitReader6refillEv",
    "NormalDecoder::decode": "_ZNK4jttk13NormalDecoder6decodeEjjjjPf",
}


class Sanitized(unittest.TestCase):
    def test_inline_functions_of_decoders_are_checked(self):
        seen = 0
        for name, symbol in SHARED.items():
            code = subprocess.run(["objdump", "-d", f"--disassemble={symbol}", PROGRAM], capture_output=True, text=True, check=True).stdout
            if f"<{symbol}>:" not in code:
                continue  # inlined everywhere
            seen += 1
            self.assertIn("__asan_report", code, name)
        self.assertGreater(seen, 0)


if __name__ == "__main__":
    unittest.main()
