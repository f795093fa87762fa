#!/usr/bin/env python3
"""Writes byte strings with every header field at its limits, as seeds of the byte string target.
usage: byte_string_seeds.py FOLDER"""

import itertools
import pathlib
import struct
import sys

WIDTH, HEIGHT = 3, 2
HEADER = 40
LENGTH = HEADER + WIDTH * HEIGHT * 3
FIELDS = {"length": 4, "width": 8, "height": 12, "depth": 16, "offset": 20, "reserved": 24}
LIMITS = [0, 1, 2, 24, HEADER - 1, HEADER, HEADER + 1, LENGTH - 1, LENGTH, LENGTH + 1, 0x7FFF, 0x8000, 0x10000,
          0x55555556, 0x7FFFFFFF, 0x80000000, 0xFFFFFFD8, 0xFFFFFFFF]


def whole():
    header = struct.pack(">4s5I", b"PPIC", LENGTH, WIDTH, HEIGHT, 32, HEADER)
    return bytearray(header.ljust(HEADER, b"\0") + bytes(range(LENGTH - HEADER)))


def seeds():
    yield "whole", whole()
    yield "empty", b""
    for length in (3, 4, 8, 20, 23, 24, HEADER, LENGTH - 1):
        cut = whole()[:length]
        yield f"cut-{length}", bytes(cut)
        if length >= 8:
            struct.pack_into(">I", cut, 4, length)
            yield f"short-{length}", cut
    for (name, at), limit in itertools.product(FIELDS.items(), LIMITS):
        seed = whole()
        struct.pack_into(">I", seed, at, limit)
        yield f"{name}-{limit}", seed


folder = pathlib.Path(sys.argv[1])
folder.mkdir(parents=True, exist_ok=True)
for name, seed in seeds():
    (folder / name).write_bytes(seed)
