"""What every test of `loftbay` as a user meets it starts from: the samples, a report as it must look, a folder."""

import glob
import json
import os

from programs import SOURCE, ProgramTest

SURVEY = os.path.join(SOURCE, "samples", "survey.jt")
SAMPLE = sorted(glob.glob(os.path.join(SOURCE, "samples", "*.jt")))[0]

REPORT_KEYS = ["schema_version", "input", "output", "ok", "jt_version", "seconds", "peak_rss_kb", "counts",
               "skipped", "notes", "log", "outcome", "exit_code", "error", "options", "files", "unit", "bytes"]
COUNT_KEYS = ["nodes", "transforms", "shapes", "meshes", "materials", "triangles", "lines", "points",
              "vertices_read", "vertices_written"]


class CliTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.out = self.path("out.zix")

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)
        return self.path(name)

    def report(self, result):
        report = json.loads(result.stdout.decode("utf-8"))
        self.assertEqual(list(report), REPORT_KEYS)
        self.assertEqual(list(report["counts"]), COUNT_KEYS)
        self.assertEqual(report["ok"], result.returncode == 0)
        return report

    def leftovers(self):
        return sorted(set(os.listdir(self.folder)) - {"work", "out.zix"})
