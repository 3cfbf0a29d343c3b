"""Named pipes and devices where files are expected: refused at once, and nothing is done to them."""

import os
import shutil
import stat
import subprocess
import unittest

from programs import LOFTBAY, SOURCE, ZIX, GraphFile, ProgramTest

ENGINE = os.path.join(SOURCE, "samples", "beam_engine.jt")
SECONDS = 60  # a program that waits for the other end of a pipe waits for ever


class SpecialFiles(ProgramTest):
    def run_any(self, *arguments):
        return subprocess.run(arguments, capture_output=True, env=self.environment(), timeout=SECONDS)

    def special(self, name):
        """Paths that end in `name`: a pipe, a link to one, links to devices."""
        os.mkfifo(self.path("pipe-" + name))
        yield self.path("pipe-" + name)
        os.symlink(self.path("pipe-" + name), self.path("link-" + name))
        yield self.path("link-" + name)
        for device in ("zero", "null", "full"):
            os.symlink("/dev/" + device, self.path(device + "-" + name))
            yield self.path(device + "-" + name)

    def assert_still_special(self, path):
        self.assertFalse(stat.S_ISREG(os.stat(path).st_mode), path)

    def test_as_input_of_a_conversion(self):
        for path in self.special("in.jt"):
            result = self.run_any(LOFTBAY, path, self.path("out.zix"))
            self.assertEqual((result.returncode, result.stderr),
                             (3, path.encode() + b": Error:Input file is not found.\n"))
            self.assertFalse(os.path.exists(self.path("out.zix")))

    def test_as_output_of_a_conversion(self):
        for path in self.special("out.zix"):
            result = self.run_any(LOFTBAY, ENGINE, path)
            self.assertEqual(result.returncode, 3, path)
            self.assertIn(b"Permission denied for writing the ZIX file.", result.stderr)
            self.assert_still_special(path)

    def test_as_output_while_somebody_reads_the_pipe(self):
        os.mkfifo(self.path("out.zix"))
        reader = os.open(self.path("out.zix"), os.O_RDONLY | os.O_NONBLOCK)
        self.addCleanup(os.close, reader)
        self.assertEqual(self.run_any(LOFTBAY, ENGINE, self.path("out.zix")).returncode, 3)
        self.assertEqual(os.read(reader, 100), b"")
        self.assert_still_special(self.path("out.zix"))

    def test_in_a_batch_the_other_files_convert(self):
        os.mkfifo(self.path("pipe.jt"))
        result = self.run_any(LOFTBAY, self.path("pipe.jt"), ENGINE, "--out-dir", self.path("o"))
        self.assertEqual(result.returncode, 1)
        self.assertEqual(os.listdir(self.path("o")), ["beam_engine.zix"])

    def test_as_a_file_that_a_model_refers_to(self):
        graph = GraphFile()
        graph.partition(0, [1, 2])
        graph.partition(1, [], file_name="engine.jt")
        graph.partition(2, [], file_name="pipe.jt")
        with open(self.path("model.jt"), "wb") as file:
            file.write(graph.bytes())
        shutil.copy(ENGINE, self.path("engine.jt"))
        os.mkfifo(self.path("pipe.jt"))
        result = self.run_any(LOFTBAY, self.path("model.jt"), self.path("out.zix"))
        self.assertEqual(result.returncode, 1)
        self.assertIn(b"pipe.jt: cannot be opened: Not a regular file", result.stderr)
        self.assertGreater(self.zix_info(self.path("out.zix"))["totals"]["triangles"], 0)

    def test_info(self):
        for path in self.special("in.jt"):
            for options in ((), ("--summary",), ("--properties",)):
                result = self.run_any(LOFTBAY, "info", *options, path)
                self.assertEqual(result.returncode, 1, path)
                self.assertIn(b"Not a regular file", result.stdout + result.stderr)

    def test_every_command_of_zix(self):
        scene = self.path("scene.zix")
        self.assertEqual(self.run_any(LOFTBAY, ENGINE, scene).returncode, 0)
        for path in self.special("in.zix"):
            for arguments in (("info", path), ("tree", path), ("validate", path), ("diff", path, scene), ("diff", scene, path),
                              ("export", path, self.path("o.glb")), ("render", path, self.path("o.png"))):
                result = self.run_any(ZIX, *arguments)
                self.assertEqual(result.returncode, 1, arguments)
                self.assertIn(b"egular file", result.stdout + result.stderr, arguments)
        for command, ending in (("export", "o.glb"), ("export", "o.stl"), ("export", "o.obj"), ("render", "o.png")):
            for path in self.special(ending):
                result = self.run_any(ZIX, command, scene, path)
                self.assertEqual(result.returncode, 1, path)
                self.assertIn(b"regular file", result.stderr)
                self.assert_still_special(path)


if __name__ == "__main__":
    unittest.main()
