#!/usr/bin/python3
"""Keeps what the benchmarks measured, and compares it.

figures.py quiet                                    waits until the machine does nothing else, or refuses; says its load
figures.py collect OUT.json MODE LOAD MEASURED.json...
                                                    merges the programs' files into one, with machine, date and commit,
                                                    and the load before and after
figures.py compare BEFORE.json AFTER.json           prints every figure that is ours, before and after
"""
import datetime
import json
import os
import pathlib
import platform
import subprocess
import sys
import time

OURS = ("registered", "case-sensitive", "case-insensitive", "insensitive", "OrderedTree", "HashTable")


def command_output(*command):
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def machine():
    lines = command_output("lscpu").splitlines()
    facts = {key.strip(): value.strip() for key, value in (line.split(":", 1) for line in lines if ":" in line)}
    return {
        "processor": facts.get("Model name", platform.processor()),
        "cores": os.cpu_count(),
        "caches": ", ".join(f"{level} {facts[level + ' cache']}" for level in ("L1d", "L2", "L3")
                            if level + " cache" in facts),
        "system": f"{platform.system()} {platform.release()}",
    }


def wait_until_quiet(minutes=10, most=0.5):
    """A load average trails what it measures: it takes some minutes to fall after a build."""
    for _ in range(minutes * 6):
        load = os.getloadavg()[0]
        if load < most:
            print(f"{load:.2f}")
            return
        time.sleep(10)
    sys.exit(f"figures.py: the load is still {load:.2f} after {minutes} minutes, not below {most}; something else runs")


def rounded(value):
    """Four digits are more than a measurement is good for."""
    return float(f"{value:.4g}")


def collect(out, mode, load, parts):
    measured = [json.loads(pathlib.Path(part).read_text()) for part in parts]
    head = {key: measured[0][key] for key in ("compiler", "library", "build")}
    head |= {"mode": mode, "date": datetime.datetime.now(datetime.timezone.utc).date().isoformat(),
             "commit": command_output("git", "describe", "--always", "--dirty"), "machine": machine(),
             "load": {"before": float(load), "after": round(os.getloadavg()[0], 2)}}
    blocks = []
    for part in measured:
        for block in part["blocks"]:
            for subjects in block["figures"].values():
                subjects |= {subject: rounded(value) for subject, value in subjects.items()}
            blocks.append(json.dumps(block))
    body = json.dumps(head, indent=1)[:-2]
    path = pathlib.Path(out)
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(body + ',\n "blocks": [\n' + ",\n".join(blocks) + "\n]}\n")


class Results:
    """The figures of one build: figure(group, keys, size, operation, subject), in the block's unit."""

    def __init__(self, path):
        self.head = json.loads(pathlib.Path(path).read_text())
        self.blocks = self.head.pop("blocks")
        self.by_name = {(b["suite"], b["group"], b["keys"], b["size"], b["unit"]): b for b in self.blocks}

    def block(self, suite, group, keys, size, unit="ns"):
        return self.by_name.get((suite, group, keys, size, unit), {"figures": {}})["figures"]

    def figure(self, suite, group, keys, size, operation, subject, unit="ns"):
        return self.block(suite, group, keys, size, unit).get(operation, {}).get(subject)


def compare(before, after):
    old, new = Results(before), Results(after)
    for block in new.blocks:
        name = [block[key] for key in ("suite", "group", "keys", "size", "unit")]
        for operation, subjects in block["figures"].items():
            for subject, value in subjects.items():
                was = old.figure(*name[:4], operation, subject, name[4])
                if subject in OURS and was:
                    others = "".join(f"  {value / other:6.2f} of {rival}" for rival, other in subjects.items()
                                     if rival not in OURS and other)
                    print(f"{block['group']}, {block['keys']}, {block['size']:,}: {operation}, {subject}: {was:g} -> "
                          f"{value:g} {block['unit']}  {value / was:6.2f} of before{others}")


if __name__ == "__main__":
    if sys.argv[1:] == ["quiet"]:
        wait_until_quiet()
    elif sys.argv[1:2] == ["collect"] and len(sys.argv) > 5:
        collect(*sys.argv[2:5], sys.argv[5:])
    elif sys.argv[1:2] == ["compare"] and len(sys.argv) == 4:
        compare(*sys.argv[2:])
    else:
        sys.exit(__doc__)
