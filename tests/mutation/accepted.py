"""Reads survivors.txt: the mutants that may survive, each with the reason.

A block is a source line with its file, the changes of it, and the reason:

    plugin/frame/owned.h: if (object_ != nullptr) REALUnlockObject(object_);
    - if ((object_) == (nullptr)) REALUnlockObject(object_);
    equivalent: why

They are told by text, so that lines may move.
"""
import sys


def read(path):
    """{(file, source line, change): reason}"""
    accepted = {}
    with open(path) as file:
        blocks = file.read().split("\n\n")
    for block in blocks:
        lines = [line for line in block.splitlines() if not line.startswith("#")]
        if not lines:
            continue
        changes = [line[2:] for line in lines[1:] if line.startswith("- ")]
        reason = " ".join(line.strip() for line in lines[1:] if not line.startswith("- "))
        name, colon, source = lines[0].partition(": ")
        if not colon or not changes or not reason.startswith(("equivalent: ", "not worth a test: ")):
            sys.exit(f"{path}: a block needs a file with a source line, changes and a reason:\n{block}")
        for change in changes:
            accepted[name, source, change] = reason
    return accepted
