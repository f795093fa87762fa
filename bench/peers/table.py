#!/usr/bin/python3
"""Joins what the peers and this module took for the same operations. usage: OURS.json PEERS.json [--markdown]"""
import json
import sys


def lines(file):
    with open(file, encoding="utf-8") as text:
        return [json.loads(line) for line in text if line.startswith("{")]


ours = {line["operation"]: line for line in lines(sys.argv[1])}
markdown = "--markdown" in sys.argv
rows = [["operation", "ours", "peer", "its", "its / ours", "ours ms", "its ms", "what differs"]]
behind = []
for peer in sorted(lines(sys.argv[2]), key=lambda line: line["operation"]):
    own = ours[peer["operation"]]
    its = peer["milliseconds"] / peer["memcpy_milliseconds"]
    rows.append([peer["operation"], f"{own['ratio']:.2f}", peer["peer"], f"{its:.2f}", f"{its / own['ratio']:.2f}",
                 f"{own['milliseconds']:.2f}", f"{peer['milliseconds']:.2f}", peer["note"]])
    if its < own["ratio"]:
        behind.append(rows[-1])

widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
aligned = [str.ljust, str.rjust, str.ljust, str.rjust, str.rjust, str.rjust, str.rjust, str.ljust]
for index, row in enumerate(rows):
    cells = [align(cell, width) for align, cell, width in zip(aligned, row, widths)]
    print("| " + " | ".join(cells) + " |" if markdown else "  ".join(cells).rstrip())
    if markdown and index == 0:
        print("|" + "|".join("--:" if align is str.rjust else "---" for align in aligned) + "|")
level = next(iter(ours.values()))["level"]
print(f"\nMultiples of each process's own memcpy, 64-bit, {level}, one thread. "
      f"Ahead of {len(rows) - 1 - len(behind)} of {len(rows) - 1}.")
for row in behind:
    print(f"- behind {row[2]} in {row[0]}: {row[1]} beside {row[3]}; it: {row[7]}")
