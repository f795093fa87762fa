#!/usr/bin/python3
"""Writes small picture files of every kind that the readers meet, whole ones and broken ones, as seeds of the fuzz
targets and for the test that compares with Pillow. Needs Pillow, jpegtran and tiffcp. usage: picture_seeds.py FOLDER"""
import io
import os
import struct
import subprocess
import sys
import tempfile
import zlib

from PIL import Image, ImageCms

W, H = 23, 17
folder = sys.argv[1]


def save(kind, name, content):
    os.makedirs(f"{folder}/{kind}", exist_ok=True)
    with open(f"{folder}/{kind}/{name}", "wb") as file:
        file.write(content)
    return content


def saved(image, **options):
    file = io.BytesIO()
    image.save(file, **options)
    return file.getvalue()


def passed_through(content, *command):
    with tempfile.TemporaryDirectory() as place:
        with open(f"{place}/in", "wb") as file:
            file.write(content)
        subprocess.run([*command[:1], *command[1:], f"{place}/in", f"{place}/out"]
                       if command[0] == "tiffcp" else [*command, "-outfile", f"{place}/out", f"{place}/in"], check=True)
        with open(f"{place}/out", "rb") as file:
            return file.read()


rgba = Image.new("RGBA", (W, H))
rgba.putdata([(x * 11 % 256, y * 15 % 256, (x * y * 3 + 40) % 256, 0 if x < 3 else 255 if x > 18 else x * 13)
              for y in range(H) for x in range(W)])
rgb = Image.new("RGB", (W, H))
rgb.putdata([pixel[:3] for pixel in rgba.getdata()])
gray = rgb.convert("L")
palette = rgb.quantize(16)
cmyk = Image.merge("CMYK", [*rgb.split(), gray.point(lambda level: level // 3)])
profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()


def exif(orientation):
    block = Image.Exif()
    block[0x112] = orientation
    return block.tobytes()


# PNG, by hand: Pillow writes few of them.


def chunk(kind, content):
    return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))


CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}
PASSES = ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2))


def png(color, depth, interlaced=False, before=b"", after=b"", data=None):
    def sample(x, y, channel):
        red, green, blue, alpha = rgba.getpixel((x, y))
        level = {0: (green,), 2: (red, green, blue), 3: (x + y,), 4: (green, alpha), 6: (red, green, blue, alpha)}
        value = level[color][channel]
        return value % (1 << depth) if color == 3 else value * 257 + x if depth == 16 and value < 255 else \
            value * 257 if depth == 16 else value >> (8 - depth)

    def rows(x0, y0, dx, dy):
        lines, last = b"", None
        for number, y in enumerate(range(y0, H, dy)):
            bits = "".join(format(sample(x, y, channel), f"0{depth}b") for x in range(x0, W, dx)
                           for channel in range(CHANNELS[color]))
            bits += "0" * (-len(bits) % 8)
            line = bytes(int(bits[at:at + 8], 2) for at in range(0, len(bits), 8))
            last, width = last or bytes(len(line)), max(1, CHANNELS[color] * depth // 8)
            left = bytes(width) + line[:len(line) - width]
            upper_left = bytes(width) + last[:len(line) - width]
            filters = number % 5 if depth >= 8 and color != 3 else 0

            def predicted(a, b, c):
                p = a + b - c
                paeth = min((abs(p - a), 0, a), (abs(p - b), 1, b), (abs(p - c), 2, c))[2]
                return (0, a, b, (a + b) // 2, paeth)[filters]

            lines += bytes([filters]) + bytes((v - predicted(*around)) % 256 for v, *around in
                                              zip(line, left, last, upper_left))
            last = line
        return lines

    raw = b"".join(rows(*step) for step in (PASSES if interlaced else ((0, 0, 1, 1),)) if step[0] < W and step[1] < H)
    header = struct.pack(">IIBBBBB", W, H, depth, color, 0, 0, interlaced)
    table = chunk(b"PLTE", bytes(rgb.tobytes()[:3 << depth])) if color == 3 else b""
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + before + table + after +
            chunk(b"IDAT", zlib.compress(raw) if data is None else data(raw)) + chunk(b"IEND", b""))


for color, depths in ((0, (1, 2, 4, 8, 16)), (2, (8, 16)), (3, (1, 2, 4, 8)), (4, (8, 16)), (6, (8, 16))):
    for depth in depths:
        save("png", f"color{color}-{depth}", png(color, depth))
for color, depth in ((0, 1), (2, 8), (3, 4), (6, 16)):
    save("png", f"interlaced{color}-{depth}", png(color, depth, True))
save("png", "clear-gray", png(0, 8, after=chunk(b"tRNS", b"\0\x5a")))
save("png", "clear-color", png(2, 8, after=chunk(b"tRNS", b"\0\x0b\0\0\0\x28")))
save("png", "clear-palette", png(3, 4, after=chunk(b"tRNS", b"\0\x50\xff\x80")))
save("png", "turned", png(2, 8, before=chunk(b"eXIf", exif(6)[6:])))
save("png", "animated", png(2, 8, before=chunk(b"acTL", b"\0\0\0\2\0\0\0\0")))
whole = save("png", "profile", png(2, 8, before=chunk(b"iCCP", b"sRGB\0\0" + zlib.compress(profile)) +
                                   chunk(b"pHYs", struct.pack(">IIB", 11811, 11811, 1))))
at = whole.index(b"IDAT") + 60
save("png", "broken-bits", whole[:at] + bytes([whole[at] ^ 1]) + whole[at + 1:])
save("png", "broken-crc", whole[:-13] + bytes([whole[-13] ^ 1]) + whole[-12:])
save("png", "broken-end", whole[:-12])
save("png", "broken-half", whole[:at])
save("png", "broken-adler", png(2, 8, data=lambda raw: zlib.compress(raw)[:-1] + b"\0"))
save("png", "broken-short", png(2, 8, data=lambda raw: zlib.compress(raw[:len(raw) // 2])))
save("png", "broken-filter", png(2, 8, data=lambda raw: zlib.compress(b"\7" + raw[1:])))
save("png", "broken-palette", png(3, 8, data=None).replace(b"PLTE", b"PLTA"))
for name, size in (("size", (16000, 16000)), ("empty", (0, 5)), ("wide", (70000, 1))):
    header = chunk(b"IHDR", struct.pack(">IIBBBBB", *size, 8, 2, 0, 0, 0))
    save("png", f"broken-{name}", whole[:8] + header + whole[33:])

# JPEG
for name, image, options in (
        ("444", rgb, {"subsampling": 0}), ("422", rgb, {"subsampling": 1}), ("420", rgb, {"subsampling": 2}),
        ("gray", gray, {}), ("cmyk", cmyk, {}), ("progressive", rgb, {"progressive": True}),
        ("profile", rgb, {"icc_profile": profile, "dpi": (300, 300)}),
        *((f"turned{turn}", rgb, {"exif": exif(turn)}) for turn in range(1, 9))):
    save("jpeg", name, saved(image, format="JPEG", quality=85, **options))
whole = saved(rgb, format="JPEG", quality=85)
save("jpeg", "restarts", passed_through(whole, "jpegtran", "-restart", "1B"))
save("jpeg", "arithmetic", passed_through(whole, "jpegtran", "-arithmetic"))
save("jpeg", "stray-bytes", whole[:-2] + b"\0" * 40 + whole[-2:])
progressive = saved(rgb, format="JPEG", quality=85, progressive=True)
save("jpeg", "broken-half", whole[:len(whole) * 4 // 5])
save("jpeg", "broken-end", whole[:-2])
save("jpeg", "broken-scans", progressive[:len(progressive) * 9 // 10])
save("jpeg", "broken-header", whole[:200])
save("jpeg", "broken-code", whole[:-60] + b"\xff\xd5" + whole[-58:])
at = whole.index(b"\xff\xc0") + 5
save("jpeg", "broken-size", whole[:at] + struct.pack(">HH", 16000, 16000) + whole[at + 4:])
save("jpeg", "broken-empty", whole[:at] + struct.pack(">HH", 0, 20) + whole[at + 4:])

# WebP
for name, image, options in (
        ("lossy", rgb, {}), ("lossy-alpha", rgba, {}), ("lossless", rgb, {"lossless": True}),
        ("lossless-alpha", rgba, {"lossless": True, "exact": True}), ("turned", rgb, {"lossless": True, "exif": exif(8)}),
        ("profile", rgb, {"lossless": True, "icc_profile": profile}),
        ("animated", rgba, {"lossless": True, "save_all": True, "append_images": [rgba.rotate(180)]})):
    whole = save("webp", name, saved(image, format="WEBP", **options))
    save("webp", f"broken-{name}", whole[:len(whole) * 2 // 3])
save("webp", "broken-bits", saved(rgb, format="WEBP", lossless=True)[:30] + b"\xff" * 40)

# TIFF


def tiff16(pixels, channels):
    """Little-endian, one strip, 16 bits a channel."""
    strip = struct.pack(f"<{len(pixels)}H", *pixels)
    bits_at, strip_at = 8, 8 + 2 * channels
    entries = ((256, 3, 1, W), (257, 3, 1, H), (258, 3, channels, 16 if channels == 1 else bits_at), (259, 3, 1, 1),
               (262, 3, 1, 1 if channels == 1 else 2), (273, 4, 1, strip_at), (277, 3, 1, channels), (278, 3, 1, H),
               (279, 4, 1, len(strip)))
    table = struct.pack("<H", len(entries)) + b"".join(struct.pack("<HHII", *entry) for entry in entries) + bytes(4)
    return struct.pack("<2sHI", b"II", 42, strip_at + len(strip)) + struct.pack("<H", 16) * channels + strip + table


raw = saved(rgb, format="TIFF", dpi=(300, 300), icc_profile=profile)
for name, image, options in (
        ("lzw", rgb, {"compression": "tiff_lzw"}), ("deflate", rgb, {"compression": "tiff_adobe_deflate"}),
        ("packbits", rgb, {"compression": "packbits"}), ("jpeg", rgb, {"compression": "jpeg"}),
        ("fax", gray.convert("1"), {"compression": "group4"}), ("bits", gray.convert("1"), {}), ("gray", gray, {}),
        ("palette", palette, {}), ("cmyk", cmyk, {}), ("alpha", rgba, {"compression": "tiff_lzw"}),
        ("turned", rgb, {"tiffinfo": {274: 6}}), ("pages", rgb, {"save_all": True, "append_images": [gray]})):
    save("tiff", name, saved(image, format="TIFF", **options))
save("tiff", "strips", passed_through(raw, "tiffcp", "-r", "4"))
save("tiff", "tiles", passed_through(raw, "tiffcp", "-t", "-w", "16", "-l", "16", "-c", "zip"))
save("tiff", "planes", passed_through(raw, "tiffcp", "-p", "separate", "-c", "lzw"))
save("tiff", "big-endian", passed_through(raw, "tiffcp", "-B", "-c", "none"))
save("tiff", "big-file", passed_through(raw, "tiffcp", "-8", "-c", "none"))
save("tiff", "color-16", tiff16([value * 257 - (value > 0) * 3 for value in rgb.tobytes()], 3))
save("tiff", "gray-16", tiff16([value * 257 - (value > 0) * 3 for value in gray.tobytes()], 1))
save("tiff", "broken-half", tiff16([0] * (W * H * 3), 3)[:700])
strips = passed_through(raw, "tiffcp", "-r", "4", "-c", "zip")
save("tiff", "broken-deflate", strips[:40] + b"\xff" * 40 + strips[80:])
save("tiff", "broken-strip", tiff16([0] * W * H, 1).replace(struct.pack("<HHII", 273, 4, 1, 10),
                                                           struct.pack("<HHII", 273, 4, 1, 100000)))
save("tiff", "broken-size", tiff16([0] * W * H, 1).replace(struct.pack("<HHII", 256, 3, 1, W),
                                                          struct.pack("<HHII", 256, 3, 1, 30000)))

# BMP
for name, image in (("bits", gray.convert("1")), ("palette", palette), ("gray", gray), ("color", rgb)):
    whole = save("bmp", name, saved(image, format="BMP", dpi=(300, 300)))
    save("bmp", f"broken-{name}", whole[:len(whole) // 2])
save("bmp", "alpha", saved(rgba, format="BMP"))
rows = [whole[54 + y * 72:54 + (y + 1) * 72] for y in range(H)]
save("bmp", "from-top", whole[:22] + struct.pack("<i", -H) + whole[26:54] + b"".join(rows[::-1]))
save("bmp", "broken-size", whole[:18] + struct.pack("<ii", 16000, 16000) + whole[26:])
save("bmp", "broken-wide", whole[:18] + struct.pack("<ii", 70000, 1) + whole[26:])
