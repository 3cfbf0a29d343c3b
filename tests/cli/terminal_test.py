"""What a terminal and the standard streams may get from hostile files and odd callers."""

import json
import os
import shutil
import subprocess
import unittest

from programs import LOFTBAY, SOURCE, ZIX, GraphFile, ProgramTest

ENGINE = os.path.join(SOURCE, "samples", "beam_engine.jt")

# Escape sequences of 7 and 8 bits, bell, line ends, a backspace, DEL, half a surrogate pair.
HOSTILE = "x\x1b]0;owned\x07\x1b[2J\x9b31m\r\nloftbay: all is well\x08\x7f\ud83d"


def controls(output):
    """Bytes of an output that a terminal would act on, and characters that are none; line ends may stand."""
    text = output.decode("utf-8", "backslashreplace")
    return sorted({c for c in text if (ord(c) < 0x20 and c != "\n") or 0x7F <= ord(c) < 0xA0 or c == "\\udc"})


class Streams(ProgramTest):
    def run_any(self, program, *arguments, **keywords):
        return subprocess.run([program, *arguments], capture_output=True, env=self.environment(), timeout=120, **keywords)

    def assert_harmless(self, result):
        for output in (result.stdout, result.stderr):
            output.decode("utf-8")
            self.assertEqual(controls(output), [], output[:300])
            self.assertNotIn(b"\nloftbay: all is well", output)


class HostileTexts(Streams):
    def setUp(self):
        super().setUp()
        graph = GraphFile()
        # Two children keep the root from being one with the engine.
        graph.partition(0, [1, 2, 3])
        graph.partition(1, [], file_name="engine.jt")
        graph.partition(2, [], file_name="missing\x1b[2J\x07.jt")
        graph.part(3)
        graph.property(0, "JT_PROP_NAME", HOSTILE + ".asm;0;0:")
        graph.property(2, "JT_PROP_NAME", HOSTILE)
        graph.property(3, "JT_PROP_NAME", HOSTILE)
        graph.property(0, HOSTILE, HOSTILE)
        graph.property(0, "JT_PROP_MEASUREMENT_UNITS", HOSTILE)
        self.model = self.path("model\x1b[31m.jt")
        with open(self.model, "wb") as file:
            file.write(graph.bytes())
        shutil.copy(ENGINE, self.path("engine.jt"))
        self.scene = self.path("out.zix")

    def test_info(self):
        for options in ((), ("--summary",), ("--properties",)):
            result = self.run_any(LOFTBAY, "info", *options, self.model)
            self.assert_harmless(result)
            self.assertIn(rb"\x1B[31m.jt", result.stdout)
            result = self.run_any(LOFTBAY, "info", "--json", *options, self.model)
            self.assert_harmless(result)
            document = json.loads(result.stdout)
            self.assertEqual((document[0] if options == ("--summary",) else document)["input"], self.model)

    def test_convert(self):
        result = self.run_any(LOFTBAY, self.model, self.scene, "--json")
        self.assertEqual(result.returncode, 1)
        self.assert_harmless(result)
        # Told once, in one line.
        told = [line for line in result.stderr.splitlines() if b"was not found" in line]
        self.assertEqual(len(told), 1, result.stderr)
        report = json.loads(result.stdout)
        self.assertIn("missing\x1b[2J\x07.jt", report["skipped"][0]["reason"])
        self.assertTrue(os.path.exists(self.scene))

    def test_a_batch(self):
        result = self.run_any(LOFTBAY, self.model, self.path("no\x1b[2Jsuch.jt"), "--out-dir", self.path("o"), "--json")
        self.assertEqual(result.returncode, 1)
        self.assert_harmless(result)
        self.assertEqual(len(json.loads(result.stdout)), 2)

    def test_wrong_usage(self):
        self.assert_harmless(self.run_any(LOFTBAY, self.model, self.scene, "--x\x1b[2J"))
        self.assert_harmless(self.run_any(ZIX, "inf\x1b[2J", self.model))

    def test_every_command_of_zix(self):
        self.run_any(LOFTBAY, self.model, self.scene)
        odd = self.path("odd\x1b[31m.zix")
        shutil.copy(self.scene, odd)
        plain = self.path("plain.zix")
        self.run_any(LOFTBAY, ENGINE, plain)
        self.assertIn(r"\x1B", self.run_any(ZIX, "tree", odd).stdout.decode())
        for arguments in (("tree", odd), ("info", odd), ("info", "--json", odd), ("validate", odd), ("diff", odd, plain),
                          ("export", odd, self.path("o\x1b.glb")), ("render", odd, self.path("o.png"), "--view", "\x1b"),
                          ("render", odd, self.path("no/o\x1b.png")), ("info", self.path("no\x1b.zix")),
                          ("validate", self.path("no\x1b.zix"))):
            self.assert_harmless(self.run_any(ZIX, *arguments))

    def test_the_log_keeps_its_bytes(self):
        report = json.loads(self.run_any(LOFTBAY, self.model, self.scene, "--json").stdout)
        with open(report["log"], "rb") as file:
            self.assertIn(b"\x1b]0;owned\x07", file.read())


class MissingStreams(Streams):
    def run_closed(self, closed, *arguments):
        """With descriptors closed by a shell."""
        return self.run_any("/bin/sh", "-c", '"$@" ' + " ".join(f"{n}>&-" for n in closed), "sh", *arguments)

    def test_messages_do_not_land_in_the_scene(self):
        # A missing reference makes messages while the scene is being written.
        graph = GraphFile()
        graph.partition(0, [1, 2])
        graph.partition(1, [], file_name="engine.jt")
        graph.partition(2, [], file_name="missing.jt")
        model = self.path("model.jt")
        with open(model, "wb") as file:
            file.write(graph.bytes())
        shutil.copy(ENGINE, self.path("engine.jt"))
        expected = self.path("expected.zix")
        self.assertEqual(self.run_any(LOFTBAY, model, expected).returncode, 1)
        with open(expected, "rb") as file:
            wanted = file.read()
        for closed in ((2,), (0, 2), (1, 2), (0, 1, 2)):
            scene = self.path("out.zix")
            result = self.run_closed(closed, LOFTBAY, model, scene)
            self.assertEqual(result.returncode, 1)
            with open(scene, "rb") as file:
                self.assertTrue(file.read() == wanted, closed)
            os.remove(scene)
            for name in os.listdir(self.path("work")):
                for log in os.listdir(self.path(os.path.join("work", name))):
                    with open(self.path(os.path.join("work", name, log)), "rb") as file:
                        self.assertNotIn(b"missing.jt\" was not found", file.read())

    def test_exports_and_pictures_hold_no_messages(self):
        scene = self.path("scene.zix")
        self.run_any(LOFTBAY, ENGINE, scene)
        for name, command in (("o.glb", "export"), ("o.stl", "export"), ("o.png", "render")):
            self.assertEqual(self.run_any(ZIX, command, scene, self.path(name)).returncode, 0)
            with open(self.path(name), "rb") as file:
                wanted = file.read()
            os.remove(self.path(name))
            self.assertEqual(self.run_closed((0, 1, 2), ZIX, command, scene, self.path(name)).returncode, 0)
            with open(self.path(name), "rb") as file:
                self.assertTrue(file.read() == wanted)

    def test_lost_standard_output_is_still_noticed(self):
        self.assertEqual(self.run_closed((1,), LOFTBAY, "info", ENGINE).returncode, 1)

    def unwritable(self):
        """Standard errors that cannot be written: name and descriptor."""
        full = os.open("/dev/full", os.O_WRONLY)
        self.addCleanup(os.close, full)
        yield "full", full
        reader, writer = os.pipe()
        os.close(reader)
        self.addCleanup(os.close, writer)
        yield "broken pipe", writer
        read_only = os.open("/dev/null", os.O_RDONLY)
        self.addCleanup(os.close, read_only)
        yield "read only", read_only

    def run_with(self, standard_error, *arguments):
        return subprocess.run([LOFTBAY, *arguments], stdout=subprocess.PIPE, stderr=standard_error,
                              env=self.environment(), timeout=120)

    def test_a_standard_error_that_cannot_be_written_costs_nothing_else(self):
        bad = self.path("bad.jt")
        with open(bad, "wb") as file:
            file.write(b"nonsense")

        def masked(result):
            documents = json.loads(result.stdout)
            for document in documents if isinstance(documents, list) else [documents]:
                for varying in ("seconds", "peak_rss_kb", "log"):
                    document.pop(varying)
            return result.returncode, documents

        for arguments, code in (((ENGINE, self.path("a.zix"), "--json"), 0), ((bad, self.path("b.zix"), "--json"), 1),
                                ((ENGINE, self.path("no/c.zix"), "--json"), 3),
                                ((ENGINE, bad, "--out-dir", self.path("o"), "--json"), 1)):
            expected = masked(self.run_with(subprocess.PIPE, *arguments))
            self.assertEqual(expected[0], code)
            for name, descriptor in self.unwritable():
                self.assertEqual(masked(self.run_with(descriptor, *arguments)), expected, (name, arguments))
            closed = self.run_closed((2,), LOFTBAY, *arguments)
            self.assertEqual(masked(closed), expected, arguments)

    def test_a_reader_that_goes_away_ends_the_program_with_1(self):
        scene = self.path("scene.zix")
        self.run_any(LOFTBAY, ENGINE, scene)
        for arguments in ((LOFTBAY, "info", ENGINE), (ZIX, "tree", scene)):
            reader, writer = os.pipe()
            os.close(reader)
            result = subprocess.run(arguments, stdout=writer, stderr=subprocess.PIPE, env=self.environment(), timeout=120)
            os.close(writer)
            self.assertEqual((result.returncode, result.stderr), (1, b""))


if __name__ == "__main__":
    unittest.main()
