#!/usr/bin/python3
"""Changes one thing at a time in plugin/ and says what no test notices; see script/mutants."""
import argparse
import collections
import concurrent.futures
import hashlib
import json
import pickle
import subprocess
import sys
import threading
import time

import accepted
import project
import samples
import tests as suites
from project import BUILD, JOBS, ROOT, SOURCE, WORK, say


def build():
    say("building; see build/mutants/build.log")
    with open(WORK / "build.log", "w") as log:
        if subprocess.run(["cmake", "--build", str(BUILD), "-j", str(JOBS)], stdout=log, stderr=log,
                          check=False).returncode != 0:
            sys.exit(f"{(WORK / 'build.log').read_text()[-8000:]}\nscript/mutants: the mutants cannot be built")


def recorded(runner, count):
    """The tests with what they reach, from the last time where nothing was built since."""
    kept = WORK / "tests.pickle"
    programs = sorted(path for path in BUILD.rglob("*") if path.is_file() and path.stat().st_mode & 0o100)
    identity = [(str(path), path.stat().st_mtime_ns) for path in programs]
    if kept.exists():
        known_identity, known = pickle.loads(kept.read_bytes())
        if known_identity == identity:
            return known
    found = suites.discover(BUILD)
    say(f"looking at what each of {len(found)} tests reaches")
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        list(pool.map(lambda test: runner.record(test, count), found))
    kept.write_bytes(pickle.dumps((identity, found)))
    return found


class Results:
    """Who caught what; kept at once, so that a run can be stopped and go on. Holds as long as plugin/ is the same."""

    def __init__(self, mutants, anew):
        identity = hashlib.sha256(repr([(m.file, m.line, m.change) for m in mutants.all]).encode()).hexdigest()
        self.path = WORK / "results.jsonl"
        self.caught = {}  # number: by what, None for a survivor
        self.lock = threading.Lock()
        if not anew and self.path.exists():
            first, *rows = self.path.read_text().splitlines()
            if first == identity:
                for row in rows:
                    number, by = json.loads(row)
                    self.caught[number] = by
        self.file = open(self.path, "a" if self.caught else "w")
        if not self.caught:
            print(identity, file=self.file, flush=True)

    def add(self, number, by):
        with self.lock:
            self.caught[number] = by
            print(json.dumps([number, by]), file=self.file, flush=True)


def run(mutants, chosen, results, runner, tests, full):
    reaching = collections.defaultdict(list)
    for test in tests:
        for number in test.reached:
            reaching[number].append(test)
    begun, done = time.monotonic(), 0

    def one(mutant):
        nonlocal done
        by = runner.catch(mutant.number, mutant.file, reaching[mutant.number], {} if full else None)
        results.add(mutant.number, by)
        done += 1
        if done % 50 == 0:
            say(f"{done} of {len(chosen)}, {(time.monotonic() - begun) / done:.2f} s each")

    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        for future in [pool.submit(one, mutant) for mutant in chosen]:
            future.result()
    return reaching


def report(mutants, chosen, without, results, reached, may_survive):
    """Prints it, and returns whether nothing survived that may not."""
    table = collections.defaultdict(collections.Counter)
    survivors, listed = [], set()
    for mutant in chosen:
        row = table[mutant.file]
        row["generated"] += 1
        key = (mutant.file, mutant.source, mutant.change)
        if mutant.number in without:
            row["not compiling"] += 1
        elif results.get(mutant.number) is not None:
            row["caught"] += 1
        elif key in may_survive:
            row["equivalent" if may_survive[key].startswith("equivalent") else "accepted"] += 1
            listed.add(key)
        else:
            row["survived"] += 1
            survivors.append(mutant)
    columns = ("generated", "not compiling", "caught", "equivalent", "accepted", "survived")
    print(f"{'':48}" + "".join(f"{column:>15}" for column in columns))
    for file in sorted(table):
        print(f"{file:48}" + "".join(f"{table[file][column]:15}" for column in columns))
    whole = sum(table.values(), collections.Counter())
    print(f"{'all':48}" + "".join(f"{whole[column]:15}" for column in columns))
    different = whole["generated"] - whole["not compiling"] - whole["equivalent"]
    if different:
        print(f"{100 * whole['caught'] / different:.1f} % of those that are not equivalent are caught")
    files = {mutant.file for mutant in chosen}
    for file, source, change in sorted(set(may_survive) - listed):
        if file in files:
            print(f"no longer survives, or is not there: {file}: {source}\n    {change}")
    for mutant in survivors:
        note = "" if mutant.number in reached else "  (no test reaches it)"
        print(f"{mutant.file}:{mutant.line}: {mutant.source}\n    {mutant.change}{note}")
    return not survivors


def main():
    options = argparse.ArgumentParser(prog="script/mutants", description="Changes one thing at a time in plugin/ and "
                                      "says what no test notices. A run that was stopped goes on.")
    options.add_argument("filter", nargs="?", default="", help="a part of the names of the files to change")
    options.add_argument("--anew", action="store_true", help="forget what was found before")
    options.add_argument("--survivors", action="store_true", help="try the survivors again, with random runs in full")
    options.add_argument("--samples", action="store_true", help="try instead what needs a build each (samples.txt)")
    chosen_options = options.parse_args()
    WORK.mkdir(parents=True, exist_ok=True)
    runner = suites.Runner(WORK)
    if chosen_options.samples:
        return samples.run(runner, chosen_options.filter)

    project.copy_sources(SOURCE, {"plugin"})
    project.configure(SOURCE, BUILD, f"-O1 -w -Wno-narrowing -ferror-limit=0 -include {SOURCE}/tests/mutation/mutant.h")
    mutants = project.Mutants(project.find_points())
    without = project.leave_out_what_does_not_compile(mutants)
    build()
    tests = recorded(runner, len(mutants.all))
    results = Results(mutants, chosen_options.anew)
    chosen = [mutant for mutant in mutants.all if chosen_options.filter in mutant.file]
    again = chosen_options.survivors
    pending = [mutant for mutant in chosen if mutant.number not in without and
               (again and results.caught.get(mutant.number, "") is None or mutant.number not in results.caught)]
    say(f"{len(pending)} mutants to run")
    reached = run(mutants, pending, results, runner, tests, again)
    may_survive = accepted.read(ROOT / "tests" / "mutation" / "survivors.txt")
    return report(mutants, chosen, without, results.caught, reached, may_survive)


if __name__ == "__main__":
    sys.exit(0 if main() else 1)
