"""A copy of the project in which plugin/ has mutants, and its build."""
import concurrent.futures
import filecmp
import hashlib
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

import points
import rewrite
import text_of_code as code

ROOT = pathlib.Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "mutants"
SOURCE = WORK / "source"
BUILD = WORK / "build"
JOBS = min(2, os.cpu_count() or 1)
ERROR = re.compile(r"^(/[^:\n]+):(\d+):(\d+): (?:fatal )?error: (.*)", re.M)


def say(message):
    print(f"script/mutants: {message}", file=sys.stderr, flush=True)


def copy_sources(destination, kept):
    """What git knows and what it would. Files that are the same keep their times; so do those in the folders `kept`
    that are there, since their mutants are written later."""
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "-z"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.split("\0")
    files = {pathlib.Path(file) for file in listed if file and (ROOT / file).is_file()}
    for path in destination.rglob("*"):
        if path.is_file() and path.relative_to(destination) not in files:
            path.unlink()
    for file in files:
        copy = destination / file
        if not copy.exists() or file.parts[0] not in kept and not filecmp.cmp(ROOT / file, copy, shallow=False):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / file, copy)


def configure(source, build, flags):
    """With the standard library that the tests of the hash table compare it with."""
    run_or_fail(["cmake", "-S", str(source), "-B", str(build), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Mutants",
                 "-DCMAKE_C_COMPILER=clang", "-DCMAKE_CXX_COMPILER=clang++", f"-DCMAKE_CXX_FLAGS=-stdlib=libc++ {flags}",
                 *(f"-DCMAKE_{kind}_LINKER_FLAGS=-stdlib=libc++" for kind in ("EXE", "SHARED", "MODULE"))])


def run_or_fail(command):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"{done.stdout}\nscript/mutants: {shlex.join(command)} fails")


def commands():
    """[(source, arguments)] of all that includes plugin/, its own files first."""
    with open(BUILD / "compile_commands.json") as file:
        entries = json.load(file)
    ours = [(entry["file"], shlex.split(entry["command"])) for entry in entries
            if entry["file"].startswith(str(SOURCE))]
    return sorted(ours, key=lambda entry: not entry[0].startswith(f"{SOURCE}/plugin/"))


def find_points():
    """In the project itself, since the copy has mutants."""
    finder = points.Finder(ROOT / "plugin")
    for source, arguments in commands():
        if source.startswith(f"{SOURCE}/plugin/"):
            finder.parse(source.replace(str(SOURCE), str(ROOT), 1),
                         [word.replace(str(SOURCE), str(ROOT)) for word in arguments
                          if word[:2] in ("-I", "-D") or word[:5] == "-std="])
    finder.drop_repeated()
    return finder


class Mutants:
    """All mutants of the copy, and what is written when some are left out."""

    def __init__(self, finder):
        self.texts = finder.texts
        self.all = []
        self.entries = {}  # path: [(Point, [(number, other text)])]
        self.written = {}
        for path in sorted(finder.files):
            text = self.texts[path]
            for point in finder.files[path].values():
                others = []
                for change, other in point.changes:
                    if point.form in ("expression", "condition"):
                        change = code.changed_line(text, point.start, point.end, change, other)
                    others.append((len(self.all), other))
                    self.all.append(rewrite.Mutant(len(self.all), os.path.relpath(path, ROOT),
                                                   code.line_of(text, point.start),
                                                   code.source_line(text, point.start), change))
                self.entries.setdefault(path, []).append((point, others))

    def write(self, without):
        for path, entries in self.entries.items():
            left = [(point, [other for other in others if other[0] not in without]) for point, others in entries]
            rewriter = rewrite.Rewriter(self.texts[path], [entry for entry in left if entry[1]])
            text = rewriter.written()
            copy = path.replace(str(ROOT), str(SOURCE), 1)
            self.written[copy] = rewriter
            content = text.encode("latin-1")
            if pathlib.Path(copy).read_bytes() != content:
                pathlib.Path(copy).write_bytes(content)

    def blamed(self, path, line, column):
        """The mutants that an error there is about."""
        if path not in self.written:
            return []
        return self.written[path].at(line, column)


def check(entry):
    _, arguments = entry
    output = arguments.index("-o")
    arguments = arguments[arguments[0].endswith("ccache"):output] + arguments[output + 2:]
    return subprocess.run([*arguments, "-fsyntax-only"], cwd=BUILD, capture_output=True, text=True,
                          check=False).stderr


def leave_out_what_does_not_compile(mutants):
    """The numbers of those that do not; what is written has the others."""
    kept = WORK / "left_out.json"
    identity = hashlib.sha256(repr([(m.number, m.file, m.line, m.change) for m in mutants.all]).encode()).hexdigest()
    if kept.exists():
        known = json.loads(kept.read_text())
        if known["identity"] == identity:
            mutants.write(set(known["numbers"]))
            return set(known["numbers"])
    without = set()
    pending = commands()
    while pending:
        mutants.write(without)
        with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
            errors = list(pool.map(check, pending))
        failing = [entry for entry, text in zip(pending, errors) if ERROR.search(text)]
        found = {number for text in errors for path, line, column, _ in ERROR.findall(text)
                 for number in mutants.blamed(os.path.normpath(path), int(line), int(column))}
        if failing and found <= without:
            sys.exit("\n".join(errors) + "\nscript/mutants: no mutant stands where these errors are")
        without |= found
        if failing:
            say(f"{len(without)} do not compile so far; {len(failing)} files are looked at again")
        pending = failing
    kept.write_text(json.dumps({"identity": identity, "numbers": sorted(without)}))
    return without
