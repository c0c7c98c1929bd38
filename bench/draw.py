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
from matplotlib.ticker import FuncFormatter, NullFormatter, NullLocator  # noqa: E402

from figures import Results  # noqa: E402

INK = "#123456"  # stands for the reader's text colour, light or dark
COLOURS = {"ours": "#e5484d", "insensitive": "#d98200", "std": "#3b82f6", "absl": "#2a9d6f"}
ORDERED, HASH = "IntegerToIntegerOrderedMapQZR", "IntegerToIntegerHashMapQZR"
RIVALS = {ORDERED: ("std::map", "absl::btree_map"), HASH: ("std::unordered_map", "absl::flat_hash_map")}
LIBRARIES = (("clang", "libc++"), ("release", "libstdc++"))

plot.rcParams.update({
    "svg.fonttype": "none", "svg.hashsalt": "vornik", "font.family": "sans-serif", "font.size": 10,
    "text.color": INK, "axes.edgecolor": INK, "axes.labelcolor": INK, "axes.titlecolor": INK, "xtick.color": INK,
    "ytick.color": INK, "axes.titlesize": 10, "axes.spines.top": False, "axes.spines.right": False, "axes.grid": True,
    "grid.color": "#808080", "grid.alpha": 0.3, "legend.frameon": False, "lines.linewidth": 1.8,
})


def colour(subject):
    if "insensitive" in subject:
        return COLOURS["insensitive"]
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
    style = ("<style>.chart{color:#1f2328}@media(prefers-color-scheme:dark){.chart{color:#e6edf3}}</style>"
             f"<title>{title}</title>")
    svg = re.sub(r"(<svg )([^>]*>)", lambda m: f'{m[1]}class="chart" role="img" {m[2]}{style}', svg, count=1)
    path.write_text("\n".join(line.rstrip() for line in svg.splitlines()) + "\n")


def legend_above(figure, axes):
    handles, labels = axes.get_legend_handles_labels()
    figure.legend(handles, labels, loc="lower center", bbox_to_anchor=(0.5, 1.0), ncols=len(labels))


def lines_by_size(axes, results, suite, group, keys, operation, subjects, sizes, unit="ns"):
    for subject, label in subjects:
        points = [(size, results.figure(suite, group, keys, size, operation, subject, unit)) for size in sizes]
        points = [point for point in points if point[1]]
        if points:
            axes.plot(*zip(*points), marker="o", markersize=4, color=colour(subject), label=label,
                      linestyle="-" if subject == "registered" or "::" not in subject else "--")
    axes.set_xscale("log")
    axes.xaxis.set_major_formatter(FuncFormatter(lambda value, _: short(value)))
    if unit == "ns":
        axes.set_yscale("log")
        axes.yaxis.set_major_formatter(FuncFormatter(lambda value, _: duration(value)))
    else:
        axes.set_ylim(bottom=0)
    for axis in (axes.xaxis, axes.yaxis):
        axis.set_minor_formatter(NullFormatter())
        axis.set_minor_locator(NullLocator())


def panels(results, folder, name, title, rows, columns, height=2.4):
    """Small charts over the number of entries; `rows` has (title, suite, group, keys, operation, subjects, sizes)."""
    figure, grid = plot.subplots(-(-len(rows) // columns), columns, squeeze=False, layout="constrained",
                                 figsize=(3.0 * columns, height * -(-len(rows) // columns)))
    for axes, (heading, *line) in zip(grid.flat, rows):
        lines_by_size(axes, results, *line)
        axes.set_title(heading)
    for axes in grid[-1, :]:
        axes.set_xlabel("entries")
    legend_above(figure, grid.flat[0])
    save(figure, folder, name, title)


def integer_charts(results, folder):
    for group, name in ((ORDERED, "integer-ordered"), (HASH, "integer-hash")):
        subjects = [("registered", f"{group}, called as the host calls it")] + [(rival, rival) for rival in RIVALS[group]]
        operations = ("set", "get", "miss", "remove", "copy", "second walk")
        sizes = (10**3, 10**5, 10**6, 10**7)
        panels(results, folder, name, f"Nanoseconds an operation of {group}, random keys",
               [(operation, "integer-bench", group, "random", operation, subjects, sizes) for operation in operations], 3)


def ratio_chart(results, folder, name, title, rows):
    """`rows` has (label, suite, group, keys, operation, rivals); a dot for every size and rival."""
    figure, axes = plot.subplots(figsize=(8, 0.34 * len(rows) + 1), layout="constrained")
    markers = {10**3: "o", 10**5: "s", 10**6: "D"}
    for at, (_, suite, group, keys, operation, rivals) in enumerate(rows):
        for rival in rivals:
            for size, marker in markers.items():
                ours = results.figure(suite, group, keys, size, operation, "registered")
                theirs = results.figure(suite, group, keys, size, operation, rival)
                if ours and theirs:
                    axes.plot(ours / theirs, at, marker=marker, markersize=6, color=colour(rival), linestyle="none",
                              markerfacecolor="none" if rival.startswith("absl") else colour(rival))
    axes.axvline(1, color=INK, linewidth=1)
    axes.set_xscale("log")
    low, high = axes.get_xlim()
    ticks = [tick for tick in (0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 50, 100, 200) if low <= tick <= high]
    axes.set_xticks(ticks, [f"{tick:g}" for tick in ticks])
    axes.xaxis.set_minor_locator(NullLocator())
    axes.set_yticks(range(len(rows)), [row[0] for row in rows])
    axes.invert_yaxis()
    axes.set_xlabel("time of the registered function, theirs being 1: left of the line is faster")
    keys = [plot.Line2D([], [], marker=marker, linestyle="none", color=INK, label=f"{short(size)} entries")
            for size, marker in markers.items()]
    keys += [plot.Line2D([], [], marker="o", linestyle="none", color=COLOURS["std"], label="to the standard library's"),
             plot.Line2D([], [], marker="o", linestyle="none", color=COLOURS["absl"], markerfacecolor="none",
                         label="to Abseil's")]
    figure.legend(handles=keys, loc="lower center", bbox_to_anchor=(0.5, 1.0), ncols=3)
    save(figure, folder, name, title)


def ratio_charts(results, folder):
    operations = ("set", "get", "miss", "miss beyond", "remove", "copy", "first walk", "second walk", "remove middle third")
    rows = [(f"{kind}: {operation}", "integer-bench", group, "random", operation, RIVALS[group])
            for group, kind in ((ORDERED, "ordered"), (HASH, "hash")) for operation in operations
            if (group, operation) != (HASH, "miss beyond")]
    ratio_chart(results, folder, "integer-ratios", "Integer maps beside the maps of C++, random keys", rows)
    rows = [(f"{kind}, {keys}: {operation}", "text-bench", f"StringToString{kind}MapQZR", keys, operation, rivals)
            for kind, rivals in (("Ordered", RIVALS[ORDERED]), ("Hash", RIVALS[HASH]))
            for keys in ("customer N", "URLs") for operation in ("set", "get", "miss", "remove")]
    ratio_chart(results, folder, "string-ratios", "Case-sensitive String maps beside the maps of C++", rows)


def string_chart(results, folder):
    rows = []
    for kind, group in (("Ordered", ORDERED), ("Hash", HASH)):
        subjects = [("registered", "case-sensitive"), ("case-insensitive", "case-insensitive")]
        subjects += [(rival, "the standard library's" if rival.startswith("std") else "Abseil's")
                     for rival in RIVALS[group]]
        rows += [(f"{kind}, {keys}: {operation}", "text-bench", f"StringToString{kind}MapQZR", keys, operation, subjects,
                  (10**3, 10**5, 10**6)) for keys in ("customer N", "URLs") for operation in ("set", "get")]
    panels(results, folder, "string-keys", "Nanoseconds an operation of maps with String keys", rows, 4)


def bars(results, folder, name, title, suite, rows, series, unit, xlabel):
    """`rows` has (label, group, keys, size, operation-or-subject...); `series` tells the bars of a row."""
    figure, axes = plot.subplots(figsize=(8, 0.26 * len(rows) * len(series) + 1.0), layout="constrained")
    height = 0.8 / len(series)
    for number, (label, bar_colour, value_of) in enumerate(series):
        measured = [value_of(results, suite, row, unit) for row in rows]
        values = [value or 0 for value in measured]
        positions = [at + (number - (len(series) - 1) / 2) * height for at in range(len(rows))]
        drawn = axes.barh(positions, values, height * 0.9, color=bar_colour, label=label)
        axes.bar_label(drawn, ["" if value is None else f"{value:.1f}" for value in measured], padding=3, color=INK, fontsize=8)
    axes.set_yticks(range(len(rows)), [row[0] for row in rows])
    axes.invert_yaxis()
    axes.grid(axis="y", visible=False)
    axes.set_xlabel(xlabel)
    if len(series) > 1:
        legend_above(figure, axes)
    save(figure, folder, name, title)


def memory_chart(results, folder):
    rows = [(subject if "::" in subject else group, group, subject)
            for group in (ORDERED, HASH) for subject in ("registered", *RIVALS[group])]
    shades = {"random load": "#e5484d", "walked": "#d98200", "nine tenths removed": "#3b82f6", "cleared": "#2a9d6f"}
    series = [(operation, shade, lambda results, suite, row, unit, operation=operation:
               results.figure(suite, row[1], "random", 10**6, operation, row[2], unit))
              for operation, shade in shades.items()]
    bars(results, folder, "memory", "Bytes an entry of a million Integers to Integers", "memory-bench", rows, series,
         "bytes", "allocated bytes for each entry of the full map, 1,000,000 entries")


def host_calls_chart(results, folder):
    shapes = ("nothing in common", "customer 000017", "URLs", "paths", "8 bytes in common", "24 bytes in common",
              "40 bytes in common", "100 bytes in common")
    rows = [(f"{kind}: {shape}", f"{base}To{base}OrderedMapQZR, {kind}", shape)
            for base, kind in (("String", "String"), ("Variant", "text Variant")) for shape in shapes]
    rows.append(("Int64 Variant", "VariantToVariantOrderedMapQZR, Int64 Variant", "random"))
    series = [(subject, colour(subject), lambda results, suite, row, unit, subject=subject:
               results.figure(suite, row[1], row[2], 50_000, "hit", subject, unit))
              for subject in ("case-sensitive", "insensitive")]
    bars(results, folder, "host-calls", "Host calls of a lookup in ordered maps", "host-calls", rows, series, "calls",
         "host calls of a lookup that hits, among 50,000 keys")


def growth_chart(results, folder):
    sizes = [10**power for power in range(3, 8)]
    rows = []
    for group, kind in ((ORDERED, "ordered"), (HASH, "hash")):
        subjects = [("registered", "ours")]
        subjects += [(rival, "the standard library's" if rival.startswith("std") else "Abseil's")
                     for rival in RIVALS[group]]
        for operation, unit in (("set", "ns"), ("longest set", "ns"), ("get", "ns"), ("allocated", "bytes")):
            heading = {"set": "an insertion", "longest set": "the longest insertion", "get": "a lookup",
                       "allocated": "bytes an entry"}[operation]
            rows.append((f"{kind}: {heading}", "memory-bench", f"{group}, growth", "random", operation, subjects, sizes,
                         unit))
    panels(results, folder, "growth", "Growth to ten million entries, random Integer keys", rows, 4)


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
