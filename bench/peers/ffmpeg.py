#!/usr/bin/python3
"""Times FFmpeg's 3D lookup table on the benchmark's picture: the processor time of many frames through the filter, less
that of as many through a filter that does nothing, both with one thread. The copy beside it is NumPy's, in this process.
usage: FOLDER WIDTH HEIGHT"""
import json
import resource
import subprocess
import sys
import time

import numpy

folder, width, height = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
FRAMES, RUNS = 6, 3

with open(f"{folder}/film.cube", "w", encoding="ascii") as cube:
    cube.write("LUT_3D_SIZE 16\n")
    for b in range(16):
        for g in range(16):
            for r in range(16):
                out = (14 * r + 2 * g + b, r + 15 * g + b, 0.5 * r + 2.5 * g + 13 * b)
                cube.write(" ".join(f"{value / 255:.9f}" for value in out) + "\n")


def seconds(filters):
    """Of the processor, user and system, for all frames; the least of some runs."""
    best = float("inf")
    for _ in range(RUNS):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-threads", "1", "-filter_threads", "1", "-stream_loop",
                        str(FRAMES - 1), "-f", "rawvideo", "-pixel_format", "rgba", "-video_size", f"{width}x{height}",
                        "-i", f"{folder}/photo.rgba", "-vf", filters, "-threads", "1", "-f", "null", "-"], check=True)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        best = min(best, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime)
    return best


source, target = (numpy.full(4 * width * height, value, numpy.uint8) for value in (1, 2))
copy = float("inf")
for _ in range(7):
    start = time.perf_counter()
    numpy.copyto(target, source)
    copy = min(copy, (time.perf_counter() - start) * 1e3)
frame = (seconds(f"lut3d=file={folder}/film.cube:interp=tetrahedral") - seconds("null")) / FRAMES * 1e3
print(json.dumps({"operation": "PictureLut3DKVT.Run (a photo)", "peer": "FFmpeg lut3d", "milliseconds": frame,
                  "memcpy_milliseconds": copy, "note": "tetrahedral, single precision, rounds; processor time"}))
