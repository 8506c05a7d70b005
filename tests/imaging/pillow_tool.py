#!/usr/bin/env python3
"""An independent reader and writer of pictures for the codec tests.

  pillow_tool.py make FOLDER    writes the pictures the tests load
  pillow_tool.py read FILE OUT  decodes FILE and writes OUT: a line
                                "WIDTH HEIGHT MODE\\n", then the pixels as
                                straight red, green, blue, alpha bytes, turned
                                upright by the file's orientation; floating
                                point samples count from 0 to 1

The pixel rules here are mirrored in codec_pictures.h; keep the two alike.
"""

import struct
import sys
import warnings
import zlib

from PIL import Image, ImageOps

W, H = 37, 23


def colour(x, y):
    return ((x * 37 + y * 11) % 256, (x * 13 + y * 71) % 256, (x * 91 + y * 29 + 7) % 256)


def alpha(x, y):
    return (x * 5 + y * 17) % 256


def grey(x, y):
    return (x * 23 + y * 41) % 256


def palette_entry(i):
    return (i, 255 - i, (i * 7) % 256)


def palette_alpha(i):
    return (i * 3) % 256


def cmyk(x, y):
    # Four flat quarters, so that JPEG's losses stay small.
    q = (x >= W // 2) + 2 * (y >= H // 2)
    return [(0, 0, 0, 0), (200, 30, 90, 10), (20, 160, 40, 60), (90, 90, 200, 120)][q]


def picture(mode, fn):
    im = Image.new(mode, (W, H))
    im.putdata([fn(x, y) for y in range(H) for x in range(W)])
    return im


def palette_picture():
    im = Image.new("P", (W, H))
    flat = []
    for i in range(256):
        flat.extend(palette_entry(i))
    im.putpalette(flat)
    im.putdata([grey(x, y) for y in range(H) for x in range(W)])
    return im


def png_chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def write_png(path, width, height, depth, colour_type, rows, interlaced):
    """A PNG written by hand, for what Pillow does not write: Adam7
    interlacing and 16-bit colour. rows[y] is a list of sample tuples."""
    channels = {0: 1, 2: 3, 4: 2, 6: 4}[colour_type]

    def pack(samples):
        if depth == 16:
            return b"".join(struct.pack(">H", s) for px in samples for s in px)
        if depth == 8:
            return bytes(s for px in samples for s in px)
        bits = "".join(format(px[0], "0%db" % depth) for px in samples)
        bits += "0" * (-len(bits) % 8)
        return bytes(int(bits[i:i + 8], 2) for i in range(0, len(bits), 8))

    raw = b""
    if interlaced:
        passes = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4),
                  (1, 0, 2, 2), (0, 1, 1, 2)]
        for x0, y0, dx, dy in passes:
            xs = list(range(x0, width, dx))
            if not xs:
                continue
            for y in range(y0, height, dy):
                raw += b"\0" + pack([rows[y][x] for x in xs])
    else:
        for y in range(height):
            raw += b"\0" + pack(rows[y])
    del channels
    ihdr = struct.pack(">IIBBBBB", width, height, depth, colour_type, 0, 0, 1 if interlaced else 0)
    with open(path, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n" + png_chunk(b"IHDR", ihdr) +
                png_chunk(b"IDAT", zlib.compress(raw, 9)) + png_chunk(b"IEND", b""))


def write_dng(path):
    """A small linear (already demosaicked) DNG, 16 bits per sample."""
    width, height = 32, 24
    pixels = b"".join(struct.pack("<HHH", (x * 4000) % 65536, (y * 5000) % 65536, 30000)
                      for y in range(height) for x in range(width))
    entries = []

    def tag(code, kind, values):
        entries.append((code, kind, values))

    make, model = b"Korvane\0", b"Test Camera\0"
    tag(254, 4, [0])
    tag(256, 4, [width])
    tag(257, 4, [height])
    tag(258, 3, [16, 16, 16])
    tag(259, 3, [1])
    tag(262, 3, [34892])  # linear raw
    tag(271, 2, make)
    tag(272, 2, model)
    tag(273, 4, [0])  # strip offset, filled in below
    tag(274, 3, [1])
    tag(277, 3, [3])
    tag(278, 4, [height])
    tag(279, 4, [len(pixels)])
    tag(284, 3, [1])
    tag(50706, 1, [1, 4, 0, 0])  # DNG version
    tag(50707, 1, [1, 1, 0, 0])
    tag(50708, 2, b"Korvane Test Camera\0")
    tag(50717, 3, [65535])  # white level
    tag(50721, 10, [(1, 1), (0, 1), (0, 1), (0, 1), (1, 1), (0, 1), (0, 1), (0, 1), (1, 1)])
    tag(50728, 5, [(1, 1), (1, 1), (1, 1)])  # as-shot neutral
    tag(50778, 3, [21])  # D65

    sizes = {1: 1, 2: 1, 3: 2, 4: 4, 5: 8, 10: 8}
    entries.sort()
    ifd_at = 8
    data_at = ifd_at + 2 + 12 * len(entries) + 4
    blobs = b""
    body = b""
    strip_entry = None
    for code, kind, values in entries:
        count = len(values)
        if kind in (1, 2):
            payload = bytes(values)
        elif kind == 3:
            payload = b"".join(struct.pack("<H", v) for v in values)
        elif kind == 4:
            payload = b"".join(struct.pack("<I", v) for v in values)
        else:
            fmt = "<II" if kind == 5 else "<ii"
            payload = b"".join(struct.pack(fmt, *v) for v in values)
        if code == 273:
            strip_entry = len(body)
        if len(payload) <= 4:
            body += struct.pack("<HHI", code, kind, count) + payload.ljust(4, b"\0")
        else:
            body += struct.pack("<HHII", code, kind, count, data_at + len(blobs))
            blobs += payload
            if len(blobs) % 2:
                blobs += b"\0"
        assert sizes[kind] * count == len(payload)
    strip_at = data_at + len(blobs)
    body = body[:strip_entry + 8] + struct.pack("<I", strip_at) + body[strip_entry + 12:]
    with open(path, "wb") as f:
        f.write(b"II*\0" + struct.pack("<I", ifd_at) + struct.pack("<H", len(entries)) + body +
                struct.pack("<I", 0) + blobs + pixels)


def make(folder):
    rgb = picture("RGB", colour)
    rgba = picture("RGBA", lambda x, y: colour(x, y) + (alpha(x, y),))
    grey8 = picture("L", grey)
    grey16 = picture("I;16", lambda x, y: grey(x, y) * 257)
    pal = palette_picture()
    pal_trns = palette_picture()
    cmyk_picture = picture("CMYK", cmyk)

    rgb.save(folder + "/rgb.png")
    rgba.save(folder + "/rgba.png")
    grey8.save(folder + "/grey.png")
    grey16.save(folder + "/grey16.png")
    pal.save(folder + "/palette.png")
    pal_trns.save(folder + "/palette_alpha.png",
                  transparency=bytes(palette_alpha(i) for i in range(256)))
    rows16 = [[tuple(c * 257 for c in colour(x, y)) + (alpha(x, y) * 257,) for x in range(W)]
              for y in range(H)]
    write_png(folder + "/rgba16_interlaced.png", W, H, 16, 6, rows16, True)
    rows1 = [[(1 if grey(x, y) >= 128 else 0,) for x in range(W)] for y in range(H)]
    write_png(folder + "/grey1.png", W, H, 1, 0, rows1, False)

    rgb.save(folder + "/rgb.tif", compression="tiff_lzw")
    rgba.save(folder + "/rgba.tif")
    grey8.save(folder + "/grey.tif")
    grey16.save(folder + "/grey16.tif")
    pal.save(folder + "/palette.tif")
    cmyk_picture.save(folder + "/cmyk.tif")
    # Two pages: only the first one is read.
    rgb.save(folder + "/two_pages.tif", save_all=True, append_images=[grey8.convert("RGB")])

    rgb.save(folder + "/rgb.jpg", quality=95)
    grey8.save(folder + "/grey.jpg", quality=95)
    cmyk_picture.save(folder + "/cmyk.jpg", quality=100)

    rgb.save(folder + "/rgb.jp2")
    rgba.save(folder + "/rgba.jp2")
    grey8.save(folder + "/grey.jp2")
    rgb.save(folder + "/codestream.j2k")

    write_dng(folder + "/linear.dng")

    # Pictures as cameras leave them: upright only through their orientation.
    wide = picture("RGB", lambda x, y: colour(x, y) if x > 3 or y > 2 else (255, 0, 0))
    for n in range(1, 9):
        wide.save(folder + "/orientation%d.jpg" % n, quality=95, exif=exif_block(n))
    rgb.save(folder + "/orientation6.png", exif=exif_block(6))
    wide.save(folder + "/cut_exif.jpg", quality=95, exif=exif_block(6, cut=True))


def exif_block(orientation, cut=False):
    """An Exif block with the orientation and a description. Cut, its
    directory claims more entries than it holds and the description points
    past its end, as a block shortened by a careless editor does."""
    text = b"a picture from the wild\0"
    count = 20 if cut else 2
    ifd = struct.pack("<H", count)
    ifd += struct.pack("<HHIHH", 274, 3, 1, orientation, 0)
    ifd += struct.pack("<HHII", 270, 2, len(text), 4000 if cut else 8 + 2 + 2 * 12 + 4)
    if not cut:
        ifd += struct.pack("<I", 0) + text
    return b"Exif\0\0II*\0" + struct.pack("<I", 8) + ifd


def read(path, out):
    # Damaged metadata is part of what is tested; the reader's warnings
    # about it are noise.
    warnings.simplefilter("ignore")
    im = Image.open(path)
    mode = im.mode
    im.load()
    # Pillow turns a TIFF upright as it loads it; other formats are turned
    # here by their Exif block.
    if im.format != "TIFF":
        im = ImageOps.exif_transpose(im)
    if im.mode == "F":
        im = im.point(lambda v: v * 255)
    im = im.convert("RGBA")
    with open(out, "wb") as f:
        f.write(b"%d %d %s\n" % (im.width, im.height, mode.encode()))
        f.write(im.tobytes())


if __name__ == "__main__":
    if len(sys.argv) == 3 and sys.argv[1] == "make":
        make(sys.argv[2])
    elif len(sys.argv) == 4 and sys.argv[1] == "read":
        read(sys.argv[2], sys.argv[3])
    else:
        sys.exit(__doc__)
