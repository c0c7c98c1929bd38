#!/usr/bin/python3
"""Draws the charts and writes the tables of the documents: draw.py RESULTS_FOLDER DOCS_FOLDER

The same results give the same bytes. What was not measured is left out.
"""
import pathlib
import re
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plot  # noqa: E402
from matplotlib.ticker import FixedLocator, FuncFormatter, NullLocator  # noqa: E402

from figures import Results  # noqa: E402

INK = "#123456"  # stands for the reader's text colour, light or dark
COLOURS = {"ours": "#e5484d", "std": "#3b82f6", "absl": "#2a9d6f"}
ORDERED, HASH = "IntegerToIntegerOrderedMapQZR", "IntegerToIntegerHashMapQZR"
RIVALS = {ORDERED: ("std::map", "absl::btree_map"), HASH: ("std::unordered_map", "absl::flat_hash_map")}
LIBRARIES = (("clang", "libc++"), ("release", "libstdc++"))
WIDTH = 5.2  # inches: what a telephone still shows in letters that can be read
PIXELS = 1.7  # of a point, where there is space
NOTES = {
    "miss beyond": "miss beyond: keys greater than all that are there.",
    "first walk": "first walk: makes the positions of the entries on its way.",
    "second walk": "second walk: finds the positions that the first one made.",
    "remove middle third": "remove middle third: a range, for each entry removed.",
}

plot.rcParams.update({
    "svg.fonttype": "none", "svg.hashsalt": "vornik", "font.family": "sans-serif", "font.size": 11,
    "text.color": INK, "axes.edgecolor": INK, "axes.labelcolor": INK, "axes.titlecolor": INK, "xtick.color": INK,
    "ytick.color": INK, "axes.titlesize": 11, "axes.spines.top": False, "axes.spines.right": False, "axes.grid": True,
    "grid.color": "#808080", "grid.alpha": 0.3, "legend.frameon": False, "legend.columnspacing": 1.2,
    "lines.linewidth": 1.8,
})


def colour(subject):
    return COLOURS[next((prefix for prefix in ("std", "absl") if subject.startswith(prefix)), "ours")]


def short(number):
    if number >= 1e6:
        return f"{number / 1e6:g} M"
    return f"{number / 1e3:g} k" if number >= 1e3 else f"{number:g}"


def duration(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:g} {unit}"
    return f"{nanoseconds:g} ns"


def save(figure, folder, name, title):
    """Text takes the reader's colour, and assistive technology finds a title."""
    path = folder / f"{name}.svg"
    figure.savefig(path, transparent=True, bbox_inches="tight", metadata={"Date": None, "Creator": None})
    plot.close(figure)
    svg = path.read_text().replace(INK, "currentColor")
    svg = re.sub(r'(width|height)="([0-9.]+)pt"', lambda m: f'{m[1]}="{float(m[2]) * PIXELS:.0f}"', svg, count=2)
    style = ("<style>.chart{color:#1f2328}@media(prefers-color-scheme:dark){.chart{color:#e6edf3}}</style>"
             f"<title>{title}</title>")
    svg = re.sub(r"(<svg )([^>]*>)", lambda m: f'{m[1]}class="chart" role="img" {m[2]}{style}', svg, count=1)
    path.write_text("\n".join(line.rstrip() for line in svg.splitlines()) + "\n")


def legend_above(figure, handles, labels, columns):
    figure.legend(handles, labels, loc="lower center", bbox_to_anchor=(0.5, 1.0), ncols=columns)


def label_several(axis, low, high, text, most):
    """Labels on a logarithmic axis: as many round numbers as there is space for."""
    def between(steps):
        return [step * 10.0**power for power in range(-3, 12) for step in steps if low <= step * 10.0**power <= high]
    fitting = [values for steps in ((1, 1.5, 2, 3, 5, 7), (1, 2, 5), (1, 3), (1,))
               if len(values := between(steps)) <= most]
    values = fitting[0] if fitting else between((1,))[::2]
    axis.set_major_locator(FixedLocator(values))
    axis.set_major_formatter(FuncFormatter(lambda value, _: text(round(value, 6))))
    axis.set_minor_locator(NullLocator())


def lines_by_size(axes, results, suite, group, keys, operation, subjects, sizes, unit="ns"):
    drawn = []
    for subject, label in subjects:
        points = [(size, results.figure(suite, group, keys, size, operation, subject, unit)) for size in sizes]
        points = [point for point in points if point[1]]
        drawn += points
        if points:
            raw, open_marker = "::" in subject, subject == "case-insensitive"
            axes.plot(*zip(*points), marker="o", markersize=4.5, color=colour(subject), label=label,
                      markerfacecolor="none" if open_marker else colour(subject),
                      linestyle="--" if raw else ":" if open_marker else "-")
    if not drawn:
        return
    axes.set_xscale("log")
    xs = sorted({size for size, _ in drawn})
    axes.xaxis.set_major_locator(FixedLocator(xs if len(xs) <= 4 else xs[::2]))
    axes.xaxis.set_major_formatter(FuncFormatter(lambda value, _: short(value)))
    axes.xaxis.set_minor_locator(NullLocator())
    if unit == "ns":
        axes.set_yscale("log")
        label_several(axes.yaxis, *axes.get_ylim(), duration, 5)
    else:
        axes.set_ylim(bottom=0)


def panels(results, folder, name, title, rows, height=1.75):
    """Small charts over the number of entries, two in a row; `rows` has (title, suite, group, keys, operation, subjects,
    sizes)."""
    lines = -(-len(rows) // 2)
    figure, grid = plot.subplots(lines, 2, squeeze=False, layout="constrained", figsize=(WIDTH, height * lines))
    for axes, (heading, *line) in zip(grid.flat, rows):
        lines_by_size(axes, results, *line)
        axes.set_title(heading)
    for axes in grid[-1, :]:
        axes.set_xlabel("entries")
    handles, labels = grid.flat[0].get_legend_handles_labels()
    legend_above(figure, handles, labels, 2 if len(labels) == 4 or max(map(len, labels)) > 24 else len(labels))
    save(figure, folder, name, title)


def integer_charts(results, folder):
    for group, name in ((ORDERED, "integer-ordered"), (HASH, "integer-hash")):
        subjects = [("registered", group)] + [(rival, rival) for rival in RIVALS[group]]
        operations = ("set", "get", "miss", "remove", "copy", "second walk")
        sizes = (10**3, 10**5, 10**6, 10**7)
        panels(results, folder, name, f"Nanoseconds an operation of {group}, random keys",
               [("second walk: positions\nare there from the first" if operation == "second walk" else operation,
                 "integer-bench", group, "random", operation, subjects, sizes) for operation in operations])


def named_rows(axes, rows):
    """Labels of rows; those that are a heading stand for no row of their own."""
    axes.set_yticks(range(len(rows)), [row[0] for row in rows])
    for label, row in zip(axes.get_yticklabels(), rows):
        if len(row) == 1:
            label.set_fontweight("bold")
    axes.tick_params(axis="y", length=0)
    axes.set_ylim(len(rows) - 0.4, -0.6)


def ratio_chart(results, folder, name, title, rows, note):
    """`rows` has (heading,) or (label, suite, group, keys, operation, rivals, ours); a dot for every size and rival."""
    figure, axes = plot.subplots(figsize=(WIDTH, 0.27 * len(rows) + 0.8), layout="constrained")
    markers = {10**3: "o", 10**5: "s", 10**6: "D"}
    for at, row in enumerate(rows):
        if len(row) == 1:
            continue
        _, suite, group, keys, operation, rivals, subject = row
        for rival in rivals:
            for size, marker in markers.items():
                ours = results.figure(suite, group, keys, size, operation, subject)
                theirs = results.figure(suite, group, keys, size, operation, rival)
                if ours and theirs:
                    axes.plot(ours / theirs, at, marker=marker, markersize=6, color=colour(rival), linestyle="none",
                              markerfacecolor="none" if rival.startswith("absl") else colour(rival))
    axes.axvline(1, color=INK, linewidth=1)
    axes.set_xscale("log")
    label_several(axes.xaxis, *axes.get_xlim(), lambda value: f"{value:g}", 7)
    named_rows(axes, rows)
    axes.set_xlabel("time, theirs being 1: left of the line, ours is faster" + "".join("\n" + line for line in note),
                    loc="right", multialignment="left")
    keys = [plot.Line2D([], [], marker=marker, linestyle="none", color=INK) for marker in markers.values()]
    keys += [plot.Line2D([], [], marker="o", linestyle="none", color=COLOURS["std"]),
             plot.Line2D([], [], marker="o", linestyle="none", color=COLOURS["absl"], markerfacecolor="none")]
    labels = [f"{short(size)} entries" for size in markers] + ["to the standard library", "to Abseil"]
    legend_above(figure, keys, labels, 2)
    save(figure, folder, name, title)


def ratio_charts(results, folder):
    operations = ("set", "get", "miss", "miss beyond", "remove", "copy", "first walk", "second walk", "remove middle third")
    rows = []
    for group, kind in ((ORDERED, "Ordered"), (HASH, "Hash")):
        rows.append((kind,))
        rows += [(operation, "integer-bench", group, "random", operation, RIVALS[group], "registered")
                 for operation in operations if (group, operation) != (HASH, "miss beyond")]
    ratio_chart(results, folder, "integer-ratios", "Integer maps beside the maps of C++, random keys", rows,
                [NOTES[operation] for operation in operations if operation in NOTES])
    rows = []
    for kind, rivals in (("Ordered", RIVALS[ORDERED]), ("Hash", RIVALS[HASH])):
        for keys in ("customer N", "URLs"):
            rows.append((f"{kind}, {keys}",))
            rows += [(operation + suffix, "text-bench", f"StringToString{kind}MapQZR", keys, operation, rivals, subject)
                     for subject, suffix, operations in (("registered", "", ("set", "get", "miss", "remove")),
                                                         ("case-insensitive", ", any case", ("set", "get")))
                     for operation in operations]
    ratio_chart(results, folder, "string-ratios", "String maps beside the maps of C++", rows,
                ["any case: a case-insensitive map of ours beside the", "same maps of C++, which tell letter case apart"])


def rival_names(group):
    return [(rival, "the standard library's" if rival.startswith("std") else "Abseil's") for rival in RIVALS[group]]


def string_chart(results, folder):
    rows = []
    for keys in ("customer N", "URLs"):
        for operation in ("set", "get"):
            for kind, group in (("Ordered", ORDERED), ("Hash", HASH)):
                subjects = [("registered", "ours, case-sensitive"), ("case-insensitive", "ours, any case"), *rival_names(group)]
                rows.append((f"{kind}, {keys}: {operation}", "text-bench", f"StringToString{kind}MapQZR", keys, operation,
                             subjects, (10**3, 10**5, 10**6)))
    panels(results, folder, "string-keys", "Nanoseconds an operation of maps with String keys", rows)


def bars(folder, name, title, rows, xlabel, legend=()):
    """`rows` has (heading,) or (label, [(value, colour, opacity)...]); bars of one row lie one under the other."""
    figure, axes = plot.subplots(figsize=(WIDTH, 0.33 * len(rows) + 0.8), layout="constrained")
    for at, row in enumerate(rows):
        if len(row) == 1:
            continue
        height = 0.84 / len(row[1])
        for number, (value, bar_colour, opacity) in enumerate(row[1]):
            drawn = axes.barh(at + (number - (len(row[1]) - 1) / 2) * height, value, height * 0.9, color=bar_colour,
                              alpha=opacity)
            axes.bar_label(drawn, [f"{value:.1f}"], padding=3, color=INK, fontsize=9.5)
    named_rows(axes, rows)
    axes.grid(axis="y", visible=False)
    axes.margins(x=0.12)
    axes.set_xlabel(xlabel, loc="right", multialignment="left")
    if legend:
        handles = [plot.Rectangle((0, 0), 1, 1, color=bar_colour, alpha=opacity) for _, bar_colour, opacity in legend]
        legend_above(figure, handles, [label for label, *_ in legend], len(legend))
    save(figure, folder, name, title)


def merged(labels):
    """The labels in one, in lines of moderate length; "8, 24 bytes" of "8 bytes in common" and "24 bytes in common"."""
    sizes = [label.split()[0] for label in labels if label.endswith(" bytes in common")]
    others = [label for label in labels if not label.endswith(" bytes in common")]
    lines = []
    for label in others + ([", ".join(sizes) + " bytes"] if sizes else []):
        if lines and len(lines[-1]) + len(label) < 20:
            lines[-1] += ", " + label
        else:
            lines.append(label)
    return ",\n".join(lines)


def merged_rows(found):
    """Of (label, values): one row for all that agree to a tenth, in the order of the first."""
    rows = {}
    for label, values in found:
        rows.setdefault(tuple(round(value, 1) for value in values), []).append(label)
    return [(merged(labels), values) for values, labels in rows.items()]


def memory_chart(results, folder):
    rows = []
    operations = {"random load": "filled", "walked": "walked", "nine tenths removed": "nine tenths removed",
                  "cleared": "cleared"}
    for group in (ORDERED, HASH):
        for subject in ("registered", *RIVALS[group]):
            found = [(label, results.figure("memory-bench", group, "random", 10**6, operation, subject, "bytes"))
                     for operation, label in operations.items()]
            rows.append((subject if "::" in subject else group.removesuffix("QZR"),))
            rows += [(label, [(values[0], colour(subject), 1)])
                     for label, values in merged_rows((label, (value,)) for label, value in found if value is not None)]
    bars(folder, "memory", "Bytes an entry of a million Integers to Integers", rows,
         "allocated bytes for each of 1,000,000 entries")


def host_calls_chart(results, folder):
    shapes = ("nothing in common", "customer 000017", "URLs", "paths", "8 bytes in common", "24 bytes in common",
              "40 bytes in common", "100 bytes in common")
    rows, ours = [], COLOURS["ours"]
    for heading, group, of, size in (
            ("String keys", "StringToStringOrderedMapQZR, String", shapes, 50_000),
            ("Variants of text", "VariantToVariantOrderedMapQZR, text Variant", shapes, 50_000),
            ("Variants of Int64, 100,000", "VariantToVariantOrderedMapQZR, Int64 Variant", ("random",), 100_000)):
        found = [(shape, [results.figure("host-calls", group, shape, size, "hit", subject, "calls")
                          for subject in ("case-sensitive", "insensitive")]) for shape in of]
        rows.append((heading,))
        rows += [(label, [(values[0], ours, 1), (values[1], ours, 0.45)])
                 for label, values in merged_rows((shape, values) for shape, values in found if None not in values)]
    bars(folder, "host-calls", "Host calls of a lookup in ordered maps", rows,
         "host calls of a lookup that hits, among 50,000 keys;\nN bytes: so many in common at the start of all keys",
         [("case-sensitive", ours, 1), ("any case", ours, 0.45)])


def growth_chart(results, folder):
    sizes = [10**power for power in range(3, 8)]
    rows = []
    for operation, unit, heading in (("set", "ns", "an insertion"), ("longest set", "ns", "the longest insertion"),
                                     ("get", "ns", "a lookup"), ("allocated", "bytes", "bytes an entry")):
        for group, kind in ((ORDERED, "ordered"), (HASH, "hash")):
            rows.append((f"{kind}: {heading}", "memory-bench", f"{group}, growth", "random", operation,
                         [("registered", "ours"), *rival_names(group)], sizes, unit))
    panels(results, folder, "growth", "Growth to ten million entries, random Integer keys", rows)


def number(value):
    if value is None:
        return "-"
    if value >= 1000:
        return f"{value:,.0f}"
    return f"{value:.1f}" if value < 100 else f"{value:.0f}"


def table(head, rows):
    align = ["---" if index < head.index(None) else "--:" for index in range(len(head))] if None in head else None
    head = [cell for cell in head if cell is not None]
    align = align or ["---"] * len(head)
    lines = ["| " + " | ".join(head) + " |", "|" + "|".join(align[:len(head)]) + "|"]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def time_table(builds, suite, group, rivals, ours="registered"):
    """All keys, sizes and operations of a group; for both libraries ours, theirs and the ratios."""
    head = ["keys", "size", "operation", None]
    for _, library in LIBRARIES:
        head += [f"{library}: ours"] + [cell for rival in rivals for cell in (rival, "ratio")]
    rows = []
    for block in builds["clang"].blocks:
        if (block["suite"], block["group"], block["unit"]) != (suite, group, "ns"):
            continue
        for operation in block["figures"]:
            row = [block["keys"], f"{block['size']:,}", operation]
            for preset, _ in LIBRARIES:
                figures = builds[preset].block(suite, group, block["keys"], block["size"]).get(operation, {})
                mine = figures.get(ours)
                row.append(number(mine))
                for rival in rivals:
                    theirs = figures.get(rival)
                    row += [number(theirs), f"{mine / theirs:.2f}" if mine and theirs else "-"]
            rows.append(row)
    return table(head, rows)


def plain_table(results, suite, unit, groups=None):
    """Blocks one under the other: a line for every operation, a column for every subject."""
    lines = []
    for group in groups or dict.fromkeys(b["group"] for b in results.blocks if (b["suite"], b["unit"]) == (suite, unit)):
        blocks = [b for b in results.blocks if (b["suite"], b["group"], b["unit"]) == (suite, group, unit)]
        if not blocks:
            continue
        subjects = list(dict.fromkeys(s for b in blocks for f in b["figures"].values() for s in f))
        rows = [[b["keys"], f"{b['size']:,}", operation, *(number(figures.get(s)) for s in subjects)]
                for b in blocks for operation, figures in b["figures"].items()]
        lines += [f"**{group}**", "", table(["keys", "size", unit, None, *subjects], rows), ""]
    return "\n".join(lines).rstrip()


def measured_on(builds):
    heads = [builds[preset].head for preset, _ in LIBRARIES]
    facts = heads[0]["machine"]
    compilers = " and ".join(f"{head['compiler']} with {head['library']}" for head in heads)
    return (f"Measured on {heads[0]['date']} at commit `{heads[0]['commit']}`, build type {heads[0]['build']}: "
            f"{compilers}, {facts['processor']} with {facts['cores']} cores ({facts['caches']}), {facts['system']}; "
            f"load average {heads[0]['load']['before']} before and {heads[-1]['load']['after']} after.")


def documents(builds, docs):
    shipped = builds["clang"]
    sections = {"measured on": measured_on(builds)}
    for group, name in ((ORDERED, "integer ordered"), (HASH, "integer hash")):
        sections[name] = time_table(builds, "integer-bench", group, RIVALS[group])
    for name, group, rivals in (("tree", "OrderedTree", RIVALS[ORDERED]), ("table", "HashTable", RIVALS[HASH])):
        sections[name] = time_table(builds, "structure-bench", group, rivals, ours=group)
    for base in ("String", "Variant"):
        for kind, group in (("Ordered", ORDERED), ("Hash", HASH)):
            sections[f"{base} {kind}".lower()] = time_table(
                builds, "text-bench", f"{base}To{base}{kind}MapQZR", RIVALS[group])
    sections["index access"] = plain_table(
        shipped, "integer-bench", "ns", [f"{group}, index access, {way}" for group in (ORDERED, HASH)
                                         for way in ("direct", "the host's procedures")])
    sections["insensitive"] = insensitive_table(shipped)
    sections["bytes"] = plain_table(shipped, "memory-bench", "bytes")
    sections["growth"] = plain_table(shipped, "memory-bench", "ns")
    sections["host calls"] = plain_table(builds["release"], "host-calls", "calls")
    for page in sorted(docs.glob("performance*.md")):
        text = page.read_text()
        for name, body in sections.items():
            text = re.sub(rf"(<!-- figures: {name} -->\n).*?(<!-- end of figures -->)",
                          lambda m, body=body: f"{m[1]}\n{body}\n\n{m[2]}", text, flags=re.DOTALL)
        page.write_text(text)


def insensitive_table(results):
    rows = []
    for block in results.blocks:
        for operation, figures in block["figures"].items():
            if block["suite"] == "text-bench" and "case-insensitive" in figures:
                rows.append([block["group"], block["keys"], f"{block['size']:,}", operation,
                             number(figures["registered"]), number(figures["case-insensitive"])])
    return table(["class", "keys", "size", "operation", None, "case-sensitive", "case-insensitive"], rows)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    folder, docs = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    builds = {preset: Results(folder / f"{preset}.json") for preset, _ in LIBRARIES}
    charts = docs / "charts"
    charts.mkdir(exist_ok=True)
    shipped = builds["clang"]
    for draw in (integer_charts, ratio_charts, string_chart, memory_chart, growth_chart):
        draw(shipped, charts)
    host_calls_chart(builds["release"], charts)
    documents(builds, docs)


if __name__ == "__main__":
    main()
