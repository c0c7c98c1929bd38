"""What cannot stand behind a switch, since the compiler evaluates it: each of samples.txt in a build of its own.

A block there is a file, a line "- " with a text that the file has once, and a line "+ " with what stands there instead.
"""
import pathlib
import subprocess
import sys

import accepted
import project
import tests as suites
from project import JOBS, ROOT, WORK, say

SOURCE = WORK / "samples" / "source"
BUILD = WORK / "samples" / "build"
LIST = ROOT / "tests" / "mutation" / "samples.txt"
LIMIT = 60  # seconds of processor time for a test program


def read():
    found = []
    line_number = 1
    for block in LIST.read_text().split("\n\n"):
        lines = [line for line in block.strip().splitlines() if not line.startswith("#")]
        if lines:
            if len(lines) != 3 or lines[1][:2] != "- " or lines[2][:2] != "+ ":
                sys.exit(f"{LIST}:{line_number}: a sample is a file, a line with - and a line with +")
            file, old, new = lines[0], lines[1][2:], lines[2][2:]
            if (ROOT / file).read_text().count(old) != 1:
                sys.exit(f"{LIST}:{line_number}: {file} does not have this text once: {old}")
            found.append((file, old, new))
        line_number += block.count("\n") + 2
    return found


def build():
    return subprocess.run(["cmake", "--build", str(BUILD), "-j", str(JOBS)], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, check=False)


def caught_by(runner):
    if build().returncode != 0:
        return "the compiler"
    programs = {test.program: test for test in suites.discover(BUILD)}
    # The slowest is the largest.
    for program, test in sorted(programs.items(), key=lambda entry: "differential" in entry[0]):
        wrong, _ = runner.start(program, ["*"] if test.name else [], test.folder, suites.SHORT, LIMIT)
        if wrong:
            return pathlib.Path(program.split('"')[1] if program[0] == "[" else program).name
    return None


def run(runner, chosen):
    samples = [sample for sample in read() if chosen in sample[0]]
    may_survive = accepted.read(ROOT / "tests" / "mutation" / "survivors.txt")
    project.copy_sources(SOURCE, set())
    project.configure(SOURCE, BUILD, "-O0 -w")
    say("building what samples are compared with")
    built = build()
    if built.returncode != 0:
        sys.exit(built.stdout)
    survived = 0
    for file, old, new in samples:
        original = (SOURCE / file).read_text()
        try:
            (SOURCE / file).write_text(original.replace(old, new))
            by = caught_by(runner)
        finally:
            (SOURCE / file).write_text(original)
        reason = may_survive.get((file, old, new))
        survived += by is None and reason is None
        print(f"{file}: {old} -> {new}: {'caught by ' + by if by else reason or 'SURVIVED'}", flush=True)
    print(f"{len(samples)} samples, {survived} survived that may not")
    return not survived
