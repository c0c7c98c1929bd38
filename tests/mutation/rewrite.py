"""Writes code in which every mutant stands beside what it changes, behind the switch of mutant.h."""
import dataclasses


@dataclasses.dataclass
class Mutant:
    number: int
    file: str  # from the root of the project
    line: int
    source: str  # its line
    change: str


class Rewriter:
    """Only one mutant is ever chosen, so other text is put in as it was written, with no mutants in it."""

    def __init__(self, text, points):
        """`points`: (Point, [(number, other text)]), outer ones first where ranges are the same."""
        self.source = text
        self.points = sorted(points, key=lambda entry: (entry[0].start, -entry[0].end))
        self.out = []
        self.length = 0
        self.spans = []  # (start, end, numbers) in what is written: a mutant's own text, and that of all at a point

    def written(self):
        self.next = 0
        self.copy(0, len(self.source))
        return "".join(self.out)

    def put(self, text):
        self.out.append(text)
        self.length += len(text)

    def copy(self, start, end):
        while self.next < len(self.points) and self.points[self.next][0].start < end or \
                self.next < len(self.points) and self.points[self.next][0].start == start == end:
            point, others = self.points[self.next]
            self.next += 1
            self.put(self.source[start:point.start])
            self.point(point, others)
            start = point.end
        self.put(self.source[start:end])

    def point(self, point, others):
        begin = self.length
        switch = f"::vornik::mutant({others[0][0]})"
        if point.form == "statement":
            self.put(f"{{ if (!{switch}) {{ ")
            self.copy(point.start, point.end)
            self.put(" } }")
        elif point.form == "declared":
            self.put(f"; {switch} ? !{others[0][1]} : !!{others[0][1]}")
        else:
            self.put("(")
            for number, other in others:
                own = self.length
                self.put(f"::vornik::mutant({number}) ? ({other}) : ")
                self.spans.append((own, self.length - 3, [number]))
            self.put("!!(" if point.form == "condition" else "(")
            self.copy(point.start, point.end)
            self.put("))")
        self.spans.append((begin, self.length, [number for number, _ in others]))

    def at(self, line, column):
        """The numbers of the mutants that stand nearest around a place in what was written, or else in its line."""
        text = "".join(self.out)
        start = 0
        for _ in range(line - 1):
            start = text.index("\n", start) + 1
        offset, end = start + column - 1, text.find("\n", start)
        around = [span for span in self.spans if span[0] <= offset < span[1]]
        if around:
            return min(around, key=lambda span: span[1] - span[0])[2]
        return [number for first, _, numbers in self.spans if start <= first < end for number in numbers]
