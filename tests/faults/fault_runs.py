"""Runs the console programs with one fault, and judges what they made of it.

A fault is a call of the system that fails, or an input that becomes shorter while it is read. Each run has a folder
of its own with copies of the inputs, and one in which the output may already be an old file. Afterwards
- the program has ended by itself, with one of its own codes;
- code 0 means that nothing is missing: the same output and the same text as without the fault;
- every other code comes with a message; where memory ran out it says so, otherwise it names the file;
- at the output stands no file, the old one or the complete one; a conversion may also give a valid scene that lacks
  what its report names (and its path check removes the old file before the scene is written);
- nothing else is in the folder.
"""

import concurrent.futures
import errno
import json
import os
import shutil
import subprocess
import sys
import tempfile

for folder in (("samples", "maker"), ("tests", "cli")):
    sys.path.insert(0, os.path.join(os.environ["LOFTBAY_SOURCE_DIR"], *folder))
import graph_file  # noqa: E402  found by the lines before

BIN = os.environ["LOFTBAY_BIN_DIR"]
SAMPLES = os.path.join(os.environ["LOFTBAY_SOURCE_DIR"], "samples")
LOFTBAY, ZIX = os.path.join(BIN, "loftbay"), os.path.join(BIN, "zix")
SHIM = os.path.join(BIN, "libfault_shim.so")
OLD = b"old" * 100
NEVER = 1 << 40
SECONDS = 300
FILE_CALLS = ("open", "read", "write", "sync", "rename", "close", "stat", "lock", "map")
NO_MEMORY_TO_OPEN = "nomem"  # an opening, or following a path, fails with ENOMEM
CUTS = ("halve", "empty")  # the input is cut to half its size, or to nothing, before one of its reads
KINDS = (*FILE_CALLS, NO_MEMORY_TO_OPEN, *CUTS, "memory")
VOLATILE = ("seconds", "peak_rss_kb", "log")


class Command:
    """A program, its arguments before the files, its inputs and the suffix of its output, if it has one.

    The input that is cut is `part`, a file that the input refers to, or else the first one.
    """

    def __init__(self, program, words, inputs, suffix=None, part=None):
        self.program, self.words, self.inputs, self.suffix = program, words, inputs, suffix
        self.files = sorted({*inputs, *([part] if part else [])})
        self.cut = os.path.basename(part or inputs[0])
        names = [os.path.basename(path) for path in inputs]
        self.name = " ".join([os.path.basename(program), *words, *names, *(["*" + suffix] if suffix else [])])
        self.converts = "convert" in words
        self.expected = None


class Run:
    def __init__(self, command, call, number, lasting=False, with_old=False, preparation=None):
        """`preparation` is called in the process before the program starts."""
        self.command, self.call, self.number, self.lasting, self.with_old = command, call, number, lasting, with_old
        folder = os.path.realpath(tempfile.mkdtemp(prefix="loftbay-fault-"))
        try:
            self._run(folder, preparation)
        finally:
            shutil.rmtree(folder, True)

    def _run(self, top, preparation):
        folder, given = os.path.join(top, "out"), os.path.join(top, "in")
        os.mkdir(folder)
        os.mkdir(given)
        for path in self.command.files:
            shutil.copy(path, given)
        output = os.path.join(folder, "result" + (self.command.suffix or ""))
        if self.with_old and self.command.suffix:
            with open(output, "wb") as file:
                file.write(OLD)
        arguments = [self.command.program, *self.command.words]
        arguments += [os.path.join(given, os.path.basename(path)) for path in self.command.inputs]
        if self.command.suffix:
            arguments.append(output)
        environment = {k: v for k, v in os.environ.items()
                       if not k.startswith(("MERIDAN_", "LOFTBAY_FAULT_")) and k not in ("TEMP", "TMP", "USERPROFILE")}
        environment.update(LD_PRELOAD=SHIM, LOFTBAY_FAULT_CALL="open" if self.call == NO_MEMORY_TO_OPEN else self.call,
                           LOFTBAY_FAULT_NUMBER=str(self.number), LOFTBAY_FAULT_FILE=os.path.join(given, self.command.cut),
                           LOFTBAY_FAULT_REPORT=os.path.join(top, "calls"), LC_ALL="C",
                           MERIDAN_TEMP_PATH=os.path.join(top, "work"))
        if self.lasting:
            environment["LOFTBAY_FAULT_LASTING"] = "1"
        if self.call == NO_MEMORY_TO_OPEN:
            environment["LOFTBAY_FAULT_ERROR"] = str(errno.ENOMEM)
        done = subprocess.run(arguments, capture_output=True, env=environment, timeout=SECONDS, preexec_fn=preparation)
        self.code, self.out, self.err = done.returncode, done.stdout, done.stderr.decode(errors="replace")
        self.out = self.out.replace(folder.encode(), b"").replace(top.encode(), b"")
        self.calls = 0
        if os.path.exists(os.path.join(top, "calls")):
            with open(os.path.join(top, "calls")) as file:
                self.calls = int(file.read() or 0)
        self.others = sorted(set(os.listdir(folder)) - {os.path.basename(output)})
        self.output = None
        if os.path.exists(output):
            with open(output, "rb") as file:
                self.output = file.read()
        self.valid = self.output not in (None, OLD) and self.command.converts and subprocess.run(
            [ZIX, "validate", output], capture_output=True).returncode == 0

    def report(self):
        """The JSON that a conversion printed, without what differs from run to run."""
        try:
            document = json.loads(self.out)
        except ValueError:
            return None
        return {k: v for k, v in document.items() if k not in VOLATILE}

    def text(self):
        """What it printed. How many bytes the scene has of what kind is left out where it could not be opened again."""
        report = self.report()
        if report is None or not self.command.converts:
            return self.out
        return {k: v for k, v in report.items() if v is not None or k != "bytes"}

    def says_the_same_as(self, other):
        mine, others = self.text(), other.text()
        if isinstance(mine, dict) and "bytes" not in mine and isinstance(others, dict):
            others.pop("bytes", None)
        return mine == others

    def wrong(self):
        """What is wrong with the run; empty when nothing is."""
        expected, faults = self.command.expected, []
        refuses = self.command.program == LOFTBAY and self.call not in CUTS
        if self.code not in ((0, 1, 3) if refuses else (0, 1)):
            return [f"ended with {self.code}"]
        if self.others:
            faults.append(f"left {self.others}")
        if self.code == 0:
            if self.output != expected.output:
                faults.append("code 0 and not the whole output")
            if not self.says_the_same_as(expected):
                faults.append("code 0 and another text")
            return faults
        report = self.report() or {}
        # The findings of `validate` are its result, on standard output.
        said = self.err + json.dumps(report.get("skipped", [])) + ("" if report else self.out.decode(errors="replace"))
        if self.call in ("memory", NO_MEMORY_TO_OPEN):
            if "memory" not in said:
                faults.append("no word of memory")
        elif self.code == 1 and not any(os.path.basename(name) in said for name in (*self.command.files, "result.")):
            faults.append("no file is named")
        if not said.strip("[]").strip():
            faults.append("no message")
        allowed = [None, expected.output] + ([OLD] if self.with_old else [])
        lacks_what_it_names = self.valid and report.get("skipped")
        if self.output not in allowed and not lacks_what_it_names:
            faults.append("a damaged output")
        if not self.command.converts and self.with_old and self.command.suffix and self.output is None:
            faults.append("the old output is gone")
        return faults

    def __str__(self):
        return (f"{self.command.name}: {self.call} {self.number}{' and later' if self.lasting else ''}"
                f"{' over an old file' if self.with_old else ''}: code {self.code}: {self.err.strip()[:300]}")


def commands(folder):
    """A conversion with lines and exact geometry, `info`, and every command of `zix`. Writes a scene for these."""
    small, two, survey = os.path.join(folder, "small.jt"), os.path.join(folder, "two.jt"), os.path.join(SAMPLES, "survey.jt")
    subprocess.run([os.path.join(BIN, "make_small_model"), small], check=True)
    graph = graph_file.GraphFile()
    graph.partition(0, [1])
    graph.partition(1, [], file_name="small.jt")
    with open(two, "wb") as file:
        file.write(graph.bytes())
    convert = ["convert", "--json", "--lines", "--exact-geometry", "--quiet"]
    scene = os.path.join(folder, "scene.zix")
    subprocess.run([LOFTBAY, *convert, small, scene], check=True, capture_output=True,
                   env={**os.environ, "MERIDAN_TEMP_PATH": os.path.join(folder, "work")})
    return [Command(LOFTBAY, convert, [small], ".zix"), Command(LOFTBAY, convert, [two], ".zix", part=small),
            Command(LOFTBAY, ["info"], [small]), Command(LOFTBAY, ["info", "--summary"], [small]),
            Command(LOFTBAY, ["info", "--properties"], [small]),
            Command(ZIX, ["info"], [scene]), Command(ZIX, ["tree"], [scene]), Command(ZIX, ["validate"], [scene]),
            Command(ZIX, ["diff"], [scene, scene]), Command(ZIX, ["export"], [scene], ".glb"),
            Command(ZIX, ["export"], [scene], ".obj"), Command(ZIX, ["export"], [scene], ".stl"),
            Command(ZIX, ["render", "--size", "64x48"], [scene], ".png"), Command(LOFTBAY, convert, [survey], ".zix")]


class Row:
    """All runs of one command with one kind of call."""

    def __init__(self, command, call):
        self.command, self.call, self.calls = command, call, 0
        self.runs, self.unharmed, self.told, self.wrong = 0, 0, 0, []

    def add(self, run):
        self.runs += 1
        faults = run.wrong()
        if faults:
            self.wrong.append(f"{run}: {'; '.join(faults)}")
        elif run.code == 0:
            self.unharmed += 1
        else:
            self.told += 1


def chosen(count, most):
    """At most about `most` of the numbers below `count`, the first ones among them."""
    if count <= most:
        return list(range(count))
    first = most // 3
    return sorted({*range(first), *(first + i * (count - first) // (most - first) for i in range(most - first))})


def measure(command, calls, most, jobs):
    """Yields one row for each kind of call, with at most about `most` runs of each kind."""
    command.expected = Run(command, "", NEVER)
    assert command.expected.code == 0, str(command.expected)
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for call in calls:
            row = Row(command, call)
            row.calls = Run(command, call, NEVER).calls
            tasks = []
            for number in chosen(row.calls, most):
                odd = number % 2 == 1
                tasks.append(pool.submit(Run, command, call, number, False, odd))
                if most >= row.calls:  # all of them: for good, too, and the other way round
                    tasks.append(pool.submit(Run, command, call, number, True, not odd))
            for task in tasks:
                row.add(task.result())
            yield row
