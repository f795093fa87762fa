#!/usr/bin/env python3
"""Tells which lines and branches of the module ran, from what the compiler's counters left behind.
usage: coverage_report.py BUILD_FOLDER [--lines [FILE...]]
--lines also lists the lines that never ran, of all files or of those whose path contains one of the names."""

import collections
import json
import pathlib
import subprocess
import sys


def counted(build):
    """Each file's lines as {number: times run}, and its branches as {(line, index): times taken}. A template or an
    inline function is counted once for all that was made of it."""
    lines = collections.defaultdict(collections.Counter)
    branches = collections.defaultdict(collections.Counter)
    root = pathlib.Path(__file__).resolve().parent.parent / "src"
    # Sources whose objects never ran leave notes without counts; gcov reads these as zeros.
    for notes in sorted(build.rglob("*.gcno")):
        told = subprocess.run(["gcov", "--json-format", "--stdout", "--branch-probabilities", str(notes)],
                              check=True, capture_output=True, text=True).stdout
        for document in map(json.loads, told.splitlines()):
            for file in document["files"]:
                path = (pathlib.Path(document["current_working_directory"]) / file["file"]).resolve()
                if root not in path.parents:
                    continue
                name = str(path.relative_to(root.parent))
                for line in file["lines"]:
                    lines[name][line["line_number"]] += line["count"]
                    for index, branch in enumerate(line["branches"]):
                        branches[name][line["line_number"], index] += branch["count"]
    return lines, branches


def share(counts):
    ran = sum(count > 0 for count in counts)
    return f"{ran:6} of {len(counts):5} {100 * ran / len(counts) if counts else 100:6.1f} %"


def ranges(numbers):
    """[3, 4, 5, 9] as "3-5, 9"."""
    runs = []
    for number in numbers:
        if runs and number == runs[-1][1] + 1:
            runs[-1][1] = number
        else:
            runs.append([number, number])
    return ", ".join(str(first) if first == last else f"{first}-{last}" for first, last in runs)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    lists = "--lines" in sys.argv
    wanted = sys.argv[sys.argv.index("--lines") + 1:] if lists else []
    lines, branches = counted(build)
    if not lines:
        sys.exit("nothing was counted")
    print(f"{'':38} {'lines':>23} {'branches':>23}")
    for name in sorted(lines):
        print(f"{name:38} {share(lines[name].values())} {share(branches[name].values())}")
    every = [[count for file in counts.values() for count in file.values()] for counts in (lines, branches)]
    print(f"{'all of src/':38} {share(every[0])} {share(every[1])}")
    for name in sorted(lines) if lists else []:
        missed = sorted(number for number, count in lines[name].items() if count == 0)
        if missed and (not wanted or any(part in name for part in wanted)):
            print(f"{name} never ran: {ranges(missed)}")


main()
