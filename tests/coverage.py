#!/usr/bin/python3
"""Line and branch coverage of each file, and what is not covered, from what llvm-cov exports.

usage: coverage.py ROOT FOLDER LINES.lcov BRANCHES.json

A template's instantiations count together: a line or a branch is covered when one of them reaches it. A branch that the
compiler decides counts nowhere.
"""
import collections
import itertools
import json
import os
import sys


def read_lines(path, name):
    """{file: {line: count}}"""
    files = collections.defaultdict(collections.Counter)
    with open(path) as source:
        for row in source:
            kind, _, rest = row.strip().partition(":")
            if kind == "SF":
                current = files[name(rest)]
            elif kind == "DA":
                line, count = rest.split(",")[:2]
                current[int(line)] += int(count)
    return files


def read_branches(path, name, lines):
    """{file: {(line, column, way): count}}"""
    files = collections.defaultdict(collections.Counter)
    with open(path) as source:
        exported = json.load(source)["data"][0]["files"]
    for file in exported:
        for line, column, _, _, taken, not_taken, *_ in file["branches"]:
            files[name(file["filename"])][line, column, True] += taken
            files[name(file["filename"])][line, column, False] += not_taken
    for file, counts in files.items():
        for line, column, way in list(counts):
            if way and lines[file][line] and counts[line, column, True] == counts[line, column, False] == 0:
                del counts[line, column, True], counts[line, column, False]
    return files


def ranges(numbers):
    """1, 2, 3, 7 as "1-3", "7"."""
    for _, group in itertools.groupby(enumerate(sorted(numbers)), lambda pair: pair[1] - pair[0]):
        run = [number for _, number in group]
        yield str(run[0]) if len(run) == 1 else f"{run[0]}-{run[-1]}"


def share(counts):
    covered = sum(1 for count in counts.values() if count)
    percent = f"{100 * covered / len(counts):6.2f} %" if counts else "       -"
    return f"{covered:5}/{len(counts):<5}{percent}"


def main(root, folder, lines_path, branches_path):
    def name(path):
        return os.path.relpath(path, root)

    lines = read_lines(lines_path, name)
    branches = read_branches(branches_path, name, lines)
    files = sorted(file for file in lines if file.startswith(folder + os.sep))
    print(f"{'':48}{'lines':^20}   {'branches':^20}")
    for file in files:
        print(f"{file:48}{share(lines[file])}   {share(branches[file])}")
    whole = [{(file, at): count for file in files for at, count in table[file].items()} for table in (lines, branches)]
    print(f"{'all':48}{share(whole[0])}   {share(whole[1])}")

    print("\nNot covered:")
    for file in files:
        for run in ranges(line for line, count in lines[file].items() if not count):
            print(f"{file}:{run}")
        for (line, column, way), count in sorted(branches[file].items()):
            if not count and lines[file][line]:
                print(f"{file}:{line}:{column}: never {'true' if way else 'false'}")


if __name__ == "__main__":
    main(*sys.argv[1:])
