#!/usr/bin/python3
"""Compares what kvt makes of each seed of the fuzz targets with Pillow's decoding, pixel by pixel, and has each broken
one refused, with a reason and in little memory. usage: picture_seeds_test.py KVT FOLDER_OF_SEEDS"""
import io
import pathlib
import resource
import subprocess
import sys
import tempfile

from PIL import Image, ImageOps, ImageSequence

kvt, seeds = sys.argv[1], pathlib.Path(sys.argv[2])
MOST_MEMORY = 40_000  # KB of a process that refuses one of these files; an empty kvt takes about 10,000
failed = []


def expected(path):
    """What a desktop host's picture keeps: colors as they are premultiplied and restored."""
    image = Image.open(path)
    if image.format == "TIFF":
        image.load()  # which turns it
    else:
        image = ImageOps.exif_transpose(image)
    if image.mode.startswith("I"):  # 16 bits
        image = Image.frombytes("L", image.size, bytes(level >> 8 for level in image.getdata()))
    has_alpha = image.mode in ("RGBA", "LA", "PA") or "transparency" in image.info
    if path.parent.name == "webp" and path.name.startswith("animated"):
        image = next(iter(ImageSequence.Iterator(image)))
    image = image.convert("RGBA" if has_alpha else "RGB")

    def kept(color, alpha):
        premultiplied = (color * alpha + 127) // 255
        return min(255, (premultiplied * 255 + alpha // 2) // alpha) if alpha else 0

    if has_alpha:
        image.putdata([(*(kept(color, pixel[3]) for color in pixel[:3]), pixel[3]) for pixel in image.getdata()])
    return image


def run(path):
    before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
    done = subprocess.run([kvt, "apply", path, "-o", "-"], capture_output=True, check=False)
    return done, max(before, resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)


whole = broken = 0
files = sorted(seeds.glob("*/*"), key=lambda path: not path.name.startswith("broken"))  # the largest of all so far counts
for path in (path for path in files if path.parent.name in ("png", "jpeg", "webp", "tiff", "bmp")):
    done, memory = run(path)
    messages = done.stderr.decode()
    if path.name.startswith("broken"):
        broken += 1
        if done.returncode != 2 or done.stdout or len(messages) < len(str(path)) + 15:
            failed.append(f"{path}: not refused: {done.returncode} {messages}")
        if memory > MOST_MEMORY:
            failed.append(f"{path}: refused with {memory} KB")
            MOST_MEMORY = memory
        continue
    whole += 1
    if done.returncode != 0:
        failed.append(f"{path}: {messages}")
        continue
    found, wanted = Image.open(io.BytesIO(done.stdout)), expected(path)
    if (found.size, found.mode) != (wanted.size, wanted.mode):
        failed.append(f"{path}: {found.mode} {found.size}, not {wanted.mode} {wanted.size}")
    elif found.tobytes() != wanted.tobytes():
        differ = [pair for pair in zip(found.getdata(), wanted.getdata()) if pair[0] != pair[1]]
        failed.append(f"{path}: {len(differ)} pixels differ, such as {differ[0]}")

# A picture that is written in several bands at once is the one that libjpeg-turbo writes in one go.
with tempfile.TemporaryDirectory() as place:
    for kind in ("bmp", "jpg"):
        subprocess.run([kvt, "sample", f"{place}/large.{kind}", "--opaque", "--size", "1501x999"], check=True)
    reference = io.BytesIO()
    Image.open(f"{place}/large.bmp").save(reference, format="JPEG", quality=92)
    if Image.open(f"{place}/large.jpg").tobytes() != Image.open(reference).tobytes():
        failed.append("a JPEG file of several bands differs")

print(*failed, sep="\n")
print(f"{whole} files as Pillow reads them, {broken} refused" if not failed else f"{len(failed)} failed")
sys.exit(bool(failed) or whole < 50 or broken < 25)
