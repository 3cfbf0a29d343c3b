"""What every test of the console programs starts from: where they are, a folder, and how they are run."""

import json
import os
import shutil
import subprocess
import tempfile
import unittest

SOURCE = os.environ["LOFTBAY_SOURCE_DIR"]
LOFTBAY = os.path.join(os.environ["LOFTBAY_BIN_DIR"], "loftbay")
ZIX = os.path.join(os.environ["LOFTBAY_BIN_DIR"], "zix")


class ProgramTest(unittest.TestCase):
    """A folder of its own, which holds the logs too; nothing that the user of the tests has set reaches a program."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="loftbay-cli-")
        self.addCleanup(shutil.rmtree, self.folder, True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def environment(self, more=None):
        kept = {k: v for k, v in os.environ.items()
                if not k.startswith("MERIDAN_") and k not in ("TEMP", "TMP", "USERPROFILE")}
        return {**kept, "MERIDAN_TEMP_PATH": self.path("work"), **(more or {})}

    def run_program(self, *arguments, environment=None, timeout=120, **keywords):
        return subprocess.run([LOFTBAY, *arguments], capture_output=True, env=self.environment(environment),
                              timeout=timeout, **keywords)

    def zix_info(self, scene):
        return json.loads(subprocess.run([ZIX, "info", scene, "--json"], capture_output=True).stdout)

    def assert_valid(self, scene):
        validated = subprocess.run([ZIX, "validate", scene], capture_output=True)
        self.assertEqual(validated.returncode, 0, validated.stdout)
