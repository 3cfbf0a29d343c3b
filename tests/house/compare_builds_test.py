"""scripts/compare-builds says which sets of options it does not compare, and compares the others."""

import os
import pathlib
import subprocess
import tempfile
import unittest

TOP = pathlib.Path(os.environ["LOFTBAY_SOURCE_DIR"])

# A build whose conversions take the given options, and give the same nothing each time.
LOFTBAY = """#!/bin/sh
if [ "$*" = "convert --help" ]; then echo "  {options}"; else echo "{{}}"; fi
"""


class CompareBuilds(unittest.TestCase):
    def build(self, folder, name, options):
        programs = folder / name / "bin"
        programs.mkdir(parents=True)
        for program, text in (("loftbay", LOFTBAY.format(options=options)), ("zix", "#!/bin/sh\n")):
            (programs / program).write_text(text)
            (programs / program).chmod(0o755)
        return folder / name

    def test_options_that_one_build_does_not_know_are_named(self):
        with tempfile.TemporaryDirectory() as scratch:
            folder = pathlib.Path(scratch)
            old = self.build(folder, "old", "--lines")
            new = self.build(folder, "new", "--lines, --points")
            model = folder / "model.jt"
            model.touch()
            result = subprocess.run([TOP / "scripts" / "compare-builds", old, new, model], capture_output=True, text=True,
                                    timeout=60)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("1 models, 2 conversions with each build, 0 differ", result.stdout)
        self.assertIn(f"not compared: --points ({old} cannot convert with it)\n", result.stderr)
        self.assertIn(f"not compared: --no-optimize ({old} and {new} cannot convert with it)\n", result.stderr)
        self.assertNotIn("not compared: --lines (", result.stderr)


if __name__ == "__main__":
    unittest.main()
