"""What every test of the console programs starts from: where they are, a folder, and how they are run."""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

import schema

SOURCE = os.environ["LOFTBAY_SOURCE_DIR"]
sys.path.insert(0, os.path.join(SOURCE, "samples", "maker"))
from graph_file import HIDDEN, GraphFile, assembly_file, guid  # noqa: E402,F401  handed on to the tests
LOFTBAY = os.path.join(os.environ["LOFTBAY_BIN_DIR"], "loftbay")
ZIX = os.path.join(os.environ["LOFTBAY_BIN_DIR"], "zix")

with open(os.path.join(SOURCE, "docs", "report.schema.json"), encoding="utf-8") as file:
    REPORT_SCHEMA = json.load(file)


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
        result = subprocess.run([LOFTBAY, *arguments], capture_output=True, env=self.environment(environment),
                                timeout=timeout, **keywords)
        if "--json" in arguments and arguments[0] != "info" and result.stdout:
            self.check_reports(result.stdout)
        return result

    def check_reports(self, output):
        """The one document on standard output is as its schema says; its reports, one or several, as a list."""
        document = json.loads(output.decode("utf-8"))
        self.assertEqual(schema.faults(document, REPORT_SCHEMA), [])
        reports = document if isinstance(document, list) else [document]
        for report in reports:
            codes = {"ok": (0,), "partial": (1,), "failed": (1,), "refused": (3,), "interrupted": (130,),
                     "timeout": (1,)}
            self.assertIn(report["exit_code"], codes[report["outcome"]])
            self.assertEqual(report["ok"], report["exit_code"] == 0)
            self.assertEqual(report["error"] is None, report["outcome"] in ("ok", "partial"))
            if report["bytes"] is not None:
                self.assertEqual(report["bytes"]["arrays"] + report["bytes"]["records"], report["bytes"]["total"])
        return reports

    def children_of(self, pid):
        """Children that run their program. Before, one shares its memory with the parent, who waits for it."""
        def command(process):
            with open(f"/proc/{process}/cmdline", "rb") as file:
                return file.read()

        found = []
        for entry in os.listdir("/proc"):
            if not entry.isdigit():
                continue
            try:
                with open(f"/proc/{entry}/stat") as file:
                    # The name in brackets may hold blanks; the parent is the second field behind it.
                    is_child = int(file.read().rsplit(")", 1)[1].split()[1]) == pid
                if is_child and command(entry) != command(pid):
                    found.append(int(entry))
            except OSError:
                pass  # it has ended meanwhile
        return found

    def zix_info(self, scene):
        return json.loads(subprocess.run([ZIX, "info", scene, "--json"], capture_output=True).stdout)

    def assert_valid(self, scene):
        validated = subprocess.run([ZIX, "validate", scene], capture_output=True)
        self.assertEqual(validated.returncode, 0, validated.stdout)
