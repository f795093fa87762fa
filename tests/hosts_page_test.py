#!/usr/bin/env python3
"""docs/hosts.md as a host's author uses it: its records and prototypes compile as C in the build's width, fields lie where
it says, and it has a prototype for each entry that the module asks for, and no other.
usage: hosts_page_test.py SOURCE_FOLDER BITS COMPILER..."""

import pathlib
import re
import subprocess
import sys

source, bits, compiler = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3:]
page = (source / "docs/hosts.md").read_text()
blocks = [block for block in re.findall(r"```c\n(.*?)```", page, re.S) if "dlopen" not in block]
prototypes = re.findall(r"^\| `([^`]*?(\w+)\([^`]*)` \|", page, re.M)

code = "\n".join(blocks + [prototype + ";" for prototype, _ in prototypes])
column = 0 if bits == "32" else 1
checked = 0
for body, record in re.findall(r"typedef struct \{(.*?)\} (\w+);", code, re.S):
    for field, *offsets in re.findall(r"(\w+)(?:\[\d+\])?; +/\* +(\d+) +(\d+)", body):
        code += f"\n_Static_assert(offsetof({record}, {field}) == {offsets[column]}, \"{record}.{field}\");"
        checked += 1
for record, *sizes in re.findall(r"\} (\w+); +/\* +(\d+) +(\d+) +bytes", code):
    code += f"\n_Static_assert(sizeof({record}) == {sizes[column]}, \"size of {record}\");"
    checked += 1
if checked < 40:
    sys.exit(f"only {checked} offsets and sizes were found on the page")
subprocess.run([*compiler, "-Wall", "-Wextra", "-Werror", "-fsyntax-only", "-x", "c", "-"], input=code, text=True, check=True)

asked = set()
for file in ("host/entries.h", "support/strings.cpp"):
    asked.update(re.findall(r'\{\s*"(\w+)"[,}]', (source / "src" / file).read_text()))
told = {name for _, name in prototypes}
if asked != told:
    sys.exit(f"entries without a prototype: {sorted(asked - told)}; prototypes that nobody asks for: {sorted(told - asked)}")
