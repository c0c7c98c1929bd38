"""The tests of the build, one by one: what each reaches, how long it takes, and running some of them together."""
import collections
import dataclasses
import json
import os
import pathlib
import re
import signal
import subprocess
import time

# Random runs are as short as still finds nearly everything.
SHORT = {"VORNIK_OPERATIONS": "20000", "VORNIK_STEPS": "20000"}
MEMORY = 3 << 30  # bytes of address space
STARTED = re.compile(r"^\[ RUN      \] (.*)$", re.M)
FAILED = re.compile(r"^\[  FAILED  \] ([^\s,]*\.[^\s,]+)", re.M)


@dataclasses.dataclass
class Test:
    program: str  # or the whole command, where it is no GoogleTest
    name: str  # for GoogleTest; otherwise empty
    folder: str
    seconds: float = 0.0
    reached: frozenset = frozenset()

    @property
    def key(self):
        return self.program + " " + self.name


def discover(build):
    """What ctest would run, each once."""
    listed = subprocess.run(["ctest", "--show-only=json-v1"], cwd=build, check=True, capture_output=True, text=True)
    tests, programs = [], {}
    for entry in json.loads(listed.stdout)["tests"]:
        command = entry["command"]
        folder = {item["name"]: item["value"] for item in entry["properties"]}["WORKING_DIRECTORY"]
        if any(word.startswith("--gtest") for word in command):
            programs[command[0]] = folder
        else:
            tests.append(Test(json.dumps(command), "", folder))
    for program, folder in programs.items():
        suite = ""
        for line in subprocess.run([program, "--gtest_list_tests"], check=True, capture_output=True,
                                   text=True).stdout.splitlines()[1:]:
            name = line.split("#")[0].rstrip()
            if line.startswith(" "):
                tests.append(Test(program, suite + name.strip(), folder))
            else:
                suite = name
    return tests


def parts(tests):
    """Some seconds each, so that a mutant that loops is soon told."""
    part, seconds = [], 0.0
    for test in sorted(tests, key=lambda test: test.seconds):
        if part and seconds + test.seconds > 2:
            yield part
            part, seconds = [], 0.0
        part.append(test)
        seconds += test.seconds
    yield part


class Runner:
    def __init__(self, work):
        self.temporary = pathlib.Path(work) / "tmp"
        self.temporary.mkdir(exist_ok=True)
        self.kills = collections.defaultdict(collections.Counter)  # file: {test: how often it caught something there}

    def start(self, program, names, folder, environment, seconds):
        """(how it went wrong or None, output). Processor time counts, so that a busy machine makes no difference."""
        command = [program, "--gtest_fail_fast", "--gtest_filter=" + ":".join(names)] if names else json.loads(program)
        limited = ["prlimit", f"--cpu={int(seconds)}", f"--as={MEMORY}", "--core=0", *command]
        process = subprocess.Popen(limited, cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, start_new_session=True,
                                   env={**os.environ, "TMPDIR": str(self.temporary), **environment})
        try:
            output = process.communicate(timeout=60 + 20 * seconds)[0].decode(errors="replace")
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            return "stands still", process.communicate()[0].decode(errors="replace")
        if process.returncode == 0:
            return None, output
        return f"exit {process.returncode}", output

    def record(self, test, count):
        """Runs a test with no mutant, and notes what it reaches and how long that takes."""
        marks = self.temporary / f"reached-{os.getpid()}-{id(test)}"
        marks.write_bytes(bytes(count))
        begun = time.monotonic()
        wrong, output = self.start(test.program, [test.name] if test.name else [], test.folder,
                                   {**SHORT, "VORNIK_MUTANTS_REACHED": str(marks)}, 300)
        test.seconds = time.monotonic() - begun
        test.reached = frozenset(number for number, mark in enumerate(marks.read_bytes()) if mark)
        marks.unlink()
        if wrong:
            raise RuntimeError(f"{test.key} fails without a mutant: {wrong}\n{output}")

    def batches(self, tests, file):
        """Tests of one program each: first those that catch most in the file, then the quick, then the slow."""
        kills = self.kills[file]
        best = sorted((test for test in tests if kills[test.key]), key=lambda test: kills[test.key], reverse=True)[:3]
        tried = {test.key for test in best}
        for test in best:
            yield [test]
        rest = [test for test in tests if test.key not in tried]
        programs = collections.defaultdict(list)
        for test in rest:
            programs[test.program].append(test)
        some = [part for tests_of_one in programs.values() for part in parts(tests_of_one)]
        yield from sorted(some, key=lambda part: sum(test.seconds for test in part))

    def catch(self, number, file, tests, environment=None):
        """What caught the mutant, or None when it survives all the tests."""
        if environment is None:
            environment = SHORT
        for batch in self.batches(tests, file):
            names = [test.name for test in batch if test.name]
            seconds = 2 + 4 * sum(test.seconds for test in batch)
            wrong, output = self.start(batch[0].program, names, batch[0].folder,
                                       {**environment, "VORNIK_MUTANT": str(number)}, seconds)
            if wrong:
                last = FAILED.findall(output) or STARTED.findall(output) or [""]
                caught = next((test for test in batch if test.name == last[0 if wrong == "exit 1" else -1]), batch[0])
                self.kills[file][caught.key] += 1
                return f"{wrong}: {caught.name or caught.program}"
        return None
