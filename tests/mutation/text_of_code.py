"""Small questions about the text of C++ code."""
import re

SKIPPED = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])+\'', re.S)


def without_comments(text):
    return SKIPPED.sub(lambda match: " " if match[0].startswith("/") else match[0], text)


def one_line(text):
    """For people and for comparison: comments and line breaks go, and what is long ends in dots."""
    text = " ".join(without_comments(text).split())
    return text if len(text) <= 90 else text[:87] + "..."


def punctuation(text, start):
    """Offsets and characters that are neither in a comment nor in a literal."""
    while start < len(text):
        # A ' between digits is a separator.
        match = SKIPPED.match(text, start)
        if match and not (text[start] == "'" and text[start - 1].isalnum()):
            start = match.end()
            continue
        yield start, text[start]
        start += 1


def closing(text, opening):
    """Where the bracket closes that opens at `opening`."""
    depth = 0
    for offset, character in punctuation(text, opening):
        depth += (character in "([{") - (character in ")]}")
        if depth == 0:
            return offset
    raise ValueError(f"no end to the bracket at {opening}")


def between_semicolons(text, opening, end):
    """The condition in the head of a `for`."""
    depth = 0
    found = []
    for offset, character in punctuation(text, opening):
        if offset >= end:
            break
        depth += (character in "([{") - (character in ")]}")
        if character == ";" and depth == 1:
            found.append(offset)
    return found[0] + 1, found[1]


def line_of(text, offset):
    return text.count("\n", 0, offset) + 1


def source_line(text, offset):
    start = text.rfind("\n", 0, offset) + 1
    end = text.find("\n", offset)
    return " ".join(text[start:end].split())


def changed_line(text, start, end, change, other):
    """A change for people and for comparison: its line as it becomes where it is within one."""
    line_start = text.rfind("\n", 0, start) + 1
    line_end = text.find("\n", end)
    line = text[line_start:line_end]
    if "\n" in line or "\n" in other:
        return change
    return " ".join(f"{text[line_start:start]}{other}{text[end:line_end]}".split())
