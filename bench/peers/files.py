#!/usr/bin/python3
"""Times whole processes that invert picture files: kvt, and what a user would pick instead, in turn, the best of several
runs. usage: files.py KVT FOLDER [--markdown]     FOLDER is for the pictures"""
import os
import subprocess
import sys
import time

from PIL import Image, ImageChops

PILLOW = ("import sys; from PIL import Image, ImageChops; image = Image.open(sys.argv[1]); "
          "ImageChops.invert(image).save(sys.argv[2], **({'quality': 92} if sys.argv[2].endswith('jpg') else {}))")
RUNS = 3


def measured(command):
    """Seconds, and KB of memory at the peak."""
    start = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    if status:
        sys.exit(f"{' '.join(map(str, command))}: status {status}")
    return time.monotonic() - start, usage.ru_maxrss


def make_photo(kvt, name, width, height):
    """The sample's scene with grain, as a PNG and a JPEG file."""
    if os.path.exists(f"{name}.jpg"):
        return
    subprocess.run([kvt, "sample", f"{name}-plain.png", "--opaque", "--size", f"{width}x{height}"], check=True)
    scene = Image.open(f"{name}-plain.png")
    grain = Image.merge("RGB", [Image.effect_noise(scene.size, 6) for _ in range(3)])
    photo = ImageChops.add(scene, grain, 1, -128)
    photo.save(f"{name}.png")
    photo.save(f"{name}.jpg", quality=92)
    os.remove(f"{name}-plain.png")


kvt, folder = os.path.abspath(sys.argv[1]), sys.argv[2]
os.makedirs(folder, exist_ok=True)
os.chdir(folder)
if os.fork() == 0: # for a process's peak begins with its parent's
    make_photo(kvt, "large", 6000, 4000)
    make_photo(kvt, "small", 1200, 834)
    os._exit(0)
if os.wait()[1]:
    sys.exit("the pictures cannot be made")
os.makedirs("many", exist_ok=True)
for i in range(100):
    if not os.path.exists(f"many/{i}.jpg"):
        os.link("small.jpg", f"many/{i}.jpg")
with open("numbers", "w", encoding="ascii") as numbers:
    numbers.writelines(f"{i}\n" for i in range(100))


def peers(source, target, runs):
    quality = "[Q=92]" if target.endswith("jpg") else ""
    commands = {"kvt": [kvt, "apply", source, "InvertKVT", "-o", f"kvt-{target}"],
                "libvips": ["vips", "invert", source, f"vips-{target}{quality}"],
                "ImageMagick": ["convert", source, "-negate", "-quality", "92", f"magick-{target}"],
                "Pillow": ["/usr/bin/python3", "-c", PILLOW, source, f"pillow-{target}"]}
    if target.endswith("png"):
        commands["ImageMagick"][3:5] = []
    best = {}
    for _ in range(runs):
        for name, command in commands.items():
            seconds, memory = measured(command)
            best[name] = min(best.get(name, (1e9, 0, 0)), (seconds, memory, 0))
    prefix = {"libvips": "vips", "ImageMagick": "magick", "Pillow": "pillow", "kvt": "kvt"}
    return {name: (seconds, memory, os.path.getsize(f"{prefix[name]}-{target}"))
            for name, (seconds, memory, _) in best.items()}


def many(runs):
    """A hundred files, two at a time; of the peers, a process each."""
    files = [f"many/{i}.jpg" for i in range(100)]
    os.makedirs("out", exist_ok=True)
    commands = {"kvt": [kvt, "apply", *files, "InvertKVT", "-j", "2", "-o", "out/{name}.jpg"],
                "libvips": ["vips", "invert", "many/{}.jpg", "out/vips-{}.jpg[Q=92]"],
                "ImageMagick": ["convert", "many/{}.jpg", "-negate", "-quality", "92", "out/magick-{}.jpg"]}
    best = {}
    for _ in range(runs):
        for name, command in commands.items():
            if name != "kvt":
                command = ["xargs", "-a", "numbers", "-P", "2", "-I{}", *command]
            best[name] = min(best.get(name, (1e9, 0, 0)), (*measured(command), 0))
    return best


tables = [(f"{source} to {target}", peers(source, target, runs)) for source, target, runs in
          (("large.jpg", "large.jpg", RUNS), ("large.png", "large.jpg", RUNS), ("large.jpg", "large.bmp", RUNS),
           ("small.jpg", "small.jpg", RUNS), ("small.png", "small.png", RUNS), ("large.png", "large.png", 1))]
tables.append(("100 small.jpg to jpg, two at a time", many(1)))
if "--markdown" in sys.argv:
    print("| | | seconds | to kvt's | peak memory, MB | file, MB |\n|---|---|---|---|---|---|")
for what, row in tables:
    for name, (seconds, memory, size) in row.items():
        cells = (what, name, f"{seconds:.2f}", f"{seconds / row['kvt'][0]:.2f}", f"{memory * 1.024 / 1000:.0f}",
                 f"{size / 1e6:.2f}" if size else "")
        print("| " + " | ".join(cells) + " |" if "--markdown" in sys.argv else
              "{:36} {:12} {:>7} s {:>6} x {:>5} MB {:>7} MB".format(*cells))
