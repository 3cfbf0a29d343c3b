"""What the programs tell of their own options: help, the table, the manual page, completion in shells."""

import json
import os
import re
import shutil
import subprocess
import unittest

from programs import LOFTBAY, ZIX, ProgramTest

PROGRAMS = {"loftbay": LOFTBAY, "zix": ZIX}
SHELLS = ("bash", "zsh", "fish")


def output(*command):
    return subprocess.run(command, capture_output=True, check=True).stdout.decode()


def describe(program, form):
    return output(PROGRAMS[program], "--describe", form)


def table(program):
    return json.loads(describe(program, "options"))

# They decide what comes out, and a batch refuses them.
FOR_ONE_FILE = ("--preview", "--export")


class Description(ProgramTest):
    def each_shown(self):
        """Each option that people are told of, with each command that takes it."""
        for program in PROGRAMS:
            for option in table(program):
                for command in [] if option["unlisted"] else option["commands"]:
                    yield program, command, option

    def test_every_option_has_a_name_and_a_place(self):
        self.assertGreater(len(list(self.each_shown())), 30)
        for program, command, option in self.each_shown():
            self.assertTrue(option["name"].startswith("--") and option["help"] and option["group"], option)
            self.assertEqual(option["kind"] == "flag", option["argument"] == "", option)
            self.assertIn(option["kind"], ("flag", "number", "text", "path", "choice"))
            self.assertEqual(option["kind"] == "choice", bool(option["choices"]))
            if option["name"] not in FOR_ONE_FILE:
                self.assertLessEqual(option["reported"], option["passed_on"])

    def test_the_help_of_a_command_has_its_options_and_no_others(self):
        for program, command, option in self.each_shown():
            text = output(PROGRAMS[program], command, "--help")
            self.assertIn(option["help"], text)
            self.assertIn(option["default"], text)
            known = {o["name"] for o in table(program) if command in o["commands"] and not o["unlisted"]}
            self.assertEqual(set(re.findall(r"^  (?:-\w, )?(--[a-z-]+)", text, re.MULTILINE)), known)

    def test_every_option_is_in_the_manual_page_and_known_to_every_shell(self):
        pages = {program: describe(program, "man").replace("\\-", "-") for program in PROGRAMS}
        scripts = {program: [describe(program, shell) for shell in SHELLS] for program in PROGRAMS}
        for program, _, option in self.each_shown():
            self.assertIn(f"\\fB{option['name']}\\fR", pages[program])
            self.assertIn(option["help"].replace("\\", "\\e"), pages[program])
            bash, zsh, fish = scripts[program]
            self.assertRegex(bash, rf"[ ']{option['name']}[ ')]")
            self.assertRegex(zsh, rf"'\*?{option['name']}=?\[")
            self.assertRegex(fish, rf" -l {option['name'][2:]} ")

    def test_what_is_unlisted_is_shown_nowhere(self):
        for program in PROGRAMS:
            shown = [describe(program, form) for form in ("man",) + SHELLS] + [output(PROGRAMS[program], "--help")]
            for option in table(program):
                if option["unlisted"]:
                    self.assertFalse(any(option["name"][2:] in text.replace("\\-", "-") for text in shown), option)

    @unittest.skipUnless(shutil.which("man"), "there is no man here")
    def test_the_manual_page_is_sound(self):
        for program in PROGRAMS:
            path = self.path(program + ".1")
            with open(path, "w", encoding="utf-8") as file:
                file.write(describe(program, "man"))
            result = subprocess.run(["man", "--warnings", "-l", path], capture_output=True,
                                    env={**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "100"})
            self.assertEqual((result.returncode, result.stderr), (0, b""))
            self.assertIn(b"SYNOPSIS", re.sub(rb".\x08", b"", result.stdout))

    def complete(self, program, *words):
        """What bash offers for the last of the words."""
        script = describe(program, "bash") + 'COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMPREPLY=()\n' + \
            f'_{program}; printf "%s\\n" "${{COMPREPLY[@]}}"\n'
        result = subprocess.run(["bash", "-c", script, "bash", program, *words], capture_output=True, cwd=self.folder,
                                check=True)
        self.assertEqual(result.stderr, b"")
        return result.stdout.decode().split()

    @unittest.skipUnless(shutil.which("bash"), "there is no bash here")
    def test_bash_completes_options_values_files_and_commands(self):
        with open(self.path("model.jt"), "wb"):
            pass
        self.assertEqual(self.complete("loftbay", "--ex"), ["--exact-geometry", "--export"])
        beginning = [o["name"] for o in table("loftbay") if "info" in o["commands"] and o["name"].startswith("--s")]
        self.assertGreater(len(beginning), 2)
        self.assertEqual(self.complete("loftbay", "info", "--s"), beginning)
        self.assertEqual(self.complete("loftbay", "model.jt", "--lod", "c"), ["coarsest"])
        self.assertEqual(self.complete("loftbay", "--jobs", ""), [])
        self.assertEqual(self.complete("loftbay", "mod"), ["model.jt"])
        self.assertEqual(self.complete("loftbay", "--out-dir", "mod"), ["model.jt"])
        self.assertEqual(self.complete("zix", "re"), ["render"])
        self.assertEqual(self.complete("zix", "render", "--view", "t"), ["top"])

    def test_help_is_given_whatever_else_is_wrong(self):
        for command in ([LOFTBAY, "--no-such", "--help"], [LOFTBAY, "info", "-h", "--lod"], [ZIX, "diff", "--help", "a"],
                        [ZIX, "--no-such", "--help"], [ZIX, "-h"]):
            result = subprocess.run(command, capture_output=True)
            self.assertEqual((result.returncode, result.stderr), (0, b""), command)
            self.assertIn(b"Usage:", result.stdout)

    def test_an_unknown_form_is_wrong_usage(self):
        for program in PROGRAMS.values():
            result = subprocess.run([program, "--describe", "html"], capture_output=True)
            self.assertEqual((result.returncode, result.stdout), (2, b""))
            self.assertIn(b"'html' is not options, man, bash, zsh or fish", result.stderr)

    def test_an_option_with_choices_refuses_others_and_names_the_nearest(self):
        for program, quote in (("loftbay", ""), ("zix", "'")):
            choosing = [o for o in table(program) if o["kind"] == "choice" and not o["other_values"]]
            self.assertIn("--describe", [option["name"] for option in choosing])
            for option in choosing:
                *first, last = option["choices"]
                typed = last + last[-1]
                result = subprocess.run([PROGRAMS[program], option["commands"][0], f"{option['name']}={typed}"],
                                        capture_output=True)
                self.assertEqual((result.returncode, result.stdout), (2, b""))
                self.assertIn(f"'{typed}' is not {', '.join(first)} or {last}; did you mean {quote}{last}{quote}?",
                              result.stderr.decode())
                self.assertEqual(option["valid"], f"{', '.join(first)} or {last}")

    def test_an_option_whose_choices_are_not_all_says_so(self):
        taking = {o["name"] for program in PROGRAMS for o in table(program) if o["other_values"]}
        self.assertEqual(taking, {"--lod", "--view"})
        result = subprocess.run([LOFTBAY, "a.jt", "b.zix", "--lod=coarse"], capture_output=True)
        self.assertIn(b"'coarse' is not finest, coarsest or a number from 0; did you mean coarsest?", result.stderr)


if __name__ == "__main__":
    unittest.main()
