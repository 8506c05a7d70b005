#!/usr/bin/env python3
"""Writes the seed corpus of every fuzz target into fuzz/corpus/<target>/.

Run it again after changing it; files that the fuzzer added (named by their
hash) are left alone. The seeds are small on purpose: valid files, files cut
at every kind of place, wrong magics and versions, and sizes that no file of
this size can satisfy.
"""

import os
import sys
import struct

HERE = os.path.dirname(os.path.abspath(__file__))


def chunk(cid, ctype, data=b""):
    return struct.pack("<HHQ", cid, ctype, len(data)) + data


def node(cid, *children):
    return chunk(cid, 0, b"".join(children))


def i32(cid, v):
    return chunk(cid, 2, struct.pack("<i", v))


def f32(cid, v):
    return chunk(cid, 4, struct.pack("<f", v))


def f64(cid, v):
    return chunk(cid, 4, struct.pack("<d", v))


def boolean(cid, v):
    return chunk(cid, 1, bytes([1 if v else 0]))


def text(cid, s):
    return chunk(cid, 6, s.encode("utf-8") + b"\0")


def blob(cid, b):
    return chunk(cid, 7, b)


def header(format_id=21, version=0, magic=b"lsdf", container_version=1):
    return magic + struct.pack("<HIH", container_version, format_id, version)


def sdf(*children, format_id=21, version=0):
    return header(format_id, version) + node(0, *children) + b"lsdf"


# ---- the pieces of a project ----

def colour(r, g, b, a=None, cid=5):
    parts = [i32(1004, r), i32(1005, g), i32(1006, b)]
    if a is not None:
        parts.append(i32(1007, a))
    return node(cid, *parts)


def point(x, y, cid=9):
    return node(cid, f32(1010, x), f32(1011, y))


def bounds(x1, y1, x2, y2):
    return node(6, f32(2002, x1), f32(2003, y1), f32(2004, x2), f32(2005, y2))


def erasers(*strokes):
    return node(19, *strokes)


def stroke():
    matrix = struct.pack("<16f", *[1 if i % 5 == 0 else 0 for i in range(16)])
    return node(20, blob(1015, matrix), f32(1008, 4.0), i32(1012, 2), colour(0, 0, 0, 255),
                node(12, i32(1000, 100), i32(1001, 80), point(1, 2), point(3, 4)))


def gradient(radial):
    parts = [boolean(2007, radial), i32(2010, 2), point(0, 0)]
    if radial:
        parts += [f32(2008, 0.2), f32(2009, 0.7)]
    else:
        parts.append(point(10, 10))
    parts.append(node(10, colour(255, 0, 0, 255), f32(2011, 0), colour(0, 0, 255, 128),
                      f32(2011, 1)))
    return node(8, *parts)


def effects():
    return [node(11, i32(2014, 4), i32(1010, 5), i32(1011, 5), i32(1012, 5)),
            node(15, i32(2024, 2)),
            node(17, f32(1014, 0.5), colour(255, 255, 0, 200)),
            node(18, f32(1014, 0.8), colour(0, 255, 255, 100))]


def rectangle():
    return node(4, text(2006, "rectangle"), colour(10, 20, 30, 255), f32(1008, 2.0),
                bounds(1, 2, 30, 40), f32(1013, 15.0), erasers(stroke()), gradient(False),
                *effects())


def polygon():
    return node(4, text(2006, "polygon"), colour(1, 2, 3, 255), f32(1008, 1.0),
                bounds(0, 0, 10, 10), f32(1013, 0.0), i32(2012, 6), erasers(),
                colour(9, 9, 9, 255, cid=7))


def line():
    return node(4, text(2006, "line"), colour(0, 0, 0, 128), f32(1008, 3.0), i32(2034, 1),
                i32(2035, 0), i32(2036, 2), point(0, 0), point(50, 60))


def pen():
    coords = node(16, *[point(i, i * 2) for i in range(6)])
    coefficients = node(14, *[node(9, f64(1010, i / 3.0), f64(1011, i / 7.0)) for i in range(4)])
    path = node(2023, f32(2026, 0.5), erasers(),
                node(12, i32(1000, 640), i32(1001, 480), coords), coefficients)
    return node(4, text(2006, "pen"), path, i32(2021, 1), f32(1008, 5.0), i32(2037, 0),
                colour(50, 60, 70, 255), gradient(True), effects()[0])


def text_element():
    return node(4, text(2006, "text"), boolean(2016, True), boolean(2018, False),
                boolean(2017, True), i32(2019, 24), text(2015, "Héllo\nworld"),
                text(2025, "Sans"), i32(2027, 1), f32(2028, 1.2), bounds(0, 0, 100, 30),
                f32(1013, 0), f32(2029, 1), f32(2030, 1), colour(0, 0, 0, 255))


def richtext():
    segment = node(2038, boolean(2016, False), boolean(2018, True), boolean(2017, False),
                   i32(2019, 12), text(2025, "Serif"), colour(1, 2, 3), bounds(0, 0, 5, 5),
                   text(2015, "rich"))
    return node(4, text(2006, "richtext"), i32(2027, 0), f32(2028, 1.0), bounds(0, 0, 50, 20),
                f32(1013, 0), f32(2029, 1), f32(2030, 1), segment, segment)


def image_element():
    png = b"\x89PNG\r\n\x1a\n" + bytes(range(40))
    simple = node(4, colour(0, 0, 0, 255), i32(1000, 10), i32(1001, 10),
                  node(13, point(1, 1), point(2, 2)))
    return node(4, text(2006, "image"), blob(2022, png), i32(1010, 0), i32(1011, 0),
                i32(1000, 10), i32(1001, 10), f32(1013, 0), boolean(2033, True), i32(2032, 128),
                erasers(), node(2031, simple), bounds(0, 0, 10, 10))


def layer(name, *elements):
    return node(3, boolean(2000, True), text(1003, name), *elements)


def project():
    image = node(2, i32(1000, 1024), i32(1001, 768), i32(1002, 72), text(1003, "Drawing"),
                 i32(2039, 3), colour(255, 255, 255, 255),
                 layer("Background", rectangle(), polygon(), line()),
                 layer("Strokes", pen(), text_element(), richtext(), image_element()))
    return node(1, image)


def with_unknowns():
    """Unknown ids at several levels, containers among them."""
    unknown = node(777, i32(1, 5), node(778, text(2, "deep")), blob(3, b"xyz"))
    image = node(2, i32(1000, 10), unknown, i32(1001, 10), chunk(4242, 9, b"odd type"),
                 layer("L", node(4, text(2006, "rectangle"), unknown, bounds(0, 0, 1, 1))))
    return sdf(unknown, node(1, unknown, image), unknown)


def write(target, name, data):
    folder = os.path.join(HERE, "corpus", target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


def reader_corpus():
    t = "sdf_reader"
    whole = sdf(project())
    write(t, "empty.kvp", sdf())
    write(t, "project.kvp", whole)
    write(t, "unknown-ids.kvp", with_unknowns())
    write(t, "clipboard-elements.kvp", sdf(node(2, rectangle(), pen())))
    write(t, "clipboard-effects.kvp", sdf(node(21, gradient(False), *effects())))
    write(t, "format-version-7.kvp", sdf(project(), version=7))

    # Cut inside the file header, the root header, a chunk header, a chunk's
    # data, and just before the trailer.
    for at in (5, 18, 24 + 12 + 12 + 5, len(whole) // 2, len(whole) - 4, len(whole) - 1):
        write(t, "cut-at-%d.kvp" % at, whole[:at])

    root = node(0)
    write(t, "bad-magic-reversed.kvp", header(magic=b"fdsl") + root + b"lsdf")
    write(t, "bad-container-version.kvp", header(container_version=2) + root + b"lsdf")
    write(t, "bad-format-id.kvp", sdf(format_id=22))
    write(t, "bad-root-id.kvp", header() + node(1) + b"lsdf")
    write(t, "bad-trailer.kvp", header() + root + b"fdsl")
    write(t, "extra-after-root.kvp", header() + root + b"\0lsdf")

    def raw(cid, ctype, size, payload=b""):
        return struct.pack("<HHQ", cid, ctype, size) + payload

    huge = [
        ("huge-string", raw(1, 0, 2**64 - 1, raw(2, 0, 60, node(3, layer("x")) +
                                                  raw(1003, 6, 2**40, b"abc")))),
        ("huge-blob", node(1, node(2, node(3, raw(4, 0, 2**63, raw(2022, 7, 2**63 + 5, b"x")))))),
        ("huge-blob-upper-bits", node(1, node(2, node(3, node(4, raw(2022, 7, 2**32 + 3,
                                                                      b"abc")))))),
        ("huge-unknown", raw(99, 7, 2**64 - 1, b"data") + node(1)),
        ("huge-root", None),
        ("negative-looking-size", node(1, raw(2, 0, 2**63, i32(1000, 5)))),
    ]
    for name, body in huge:
        if body is None:
            data = header() + raw(0, 0, 2**64 - 12, node(1)) + b"lsdf"
        else:
            data = header() + node(0, body) + b"lsdf"
        write(t, name + ".kvp", data)

    long_name = node(4, chunk(2006, 6, b"r" * 300 + b"\0"), chunk(2025, 6, b"no terminator"))
    write(t, "long-fields.kvp", sdf(node(1, node(2, layer("x", long_name)))))
    # Scalars of the wrong width put the walk on a false header.
    write(t, "wrong-widths.kvp", sdf(node(1, node(2, chunk(1000, 2, b"\1\2"), i32(1001, 3),
                                                   chunk(1003, 6, b"")))))


def stream_corpus():
    t = "stream_reader"

    def seed(length, ops, fill=b"\x01\x23\x45\x67\x89\xab\xcd\xef"):
        script = b"".join(struct.pack("<BH", op, arg) for op, arg in ops)
        assert len(ops) < 256
        return struct.pack("<HB", length, len(ops)) + script + fill

    read, peek, seek, seek_start, typed, remaining = range(6)
    write(t, "small-reads.bin", seed(20000, [(read, 1), (read, 2)] +
                                     [(typed, i) for i in range(12)] + [(remaining, 0)]))
    write(t, "across-the-buffer.bin", seed(30000, [(read, 0x8000 | 8190), (typed, 3), (typed, 10),
                                                   (read, 255), (read, 257), (read, 0x8000 | 300),
                                                   (peek, 0x8000 | 9000), (read, 5),
                                                   (seek, 1000), (read, 12), (remaining, 0)]))
    write(t, "seeks.bin", seed(17000, [(seek_start, 4000), (read, 4), (seek, 100), (peek, 100),
                                       (seek_start, 1), (read, 1), (seek, 0xFFFF), (read, 4),
                                       (seek_start, 2), (typed, 5)]))
    write(t, "at-the-end.bin", seed(10, [(read, 9), (typed, 1), (read, 1), (read, 1),
                                         (seek_start, 0), (typed, 7), (remaining, 0)]))
    write(t, "empty.bin", seed(0, [(read, 4), (peek, 4), (seek, 4), (typed, 0), (remaining, 0)]))


def writer_corpus():
    t = "sdf_writer"

    def ops(buffer, *steps):
        return bytes([buffer]) + b"".join(steps)

    def start(cid):
        return struct.pack("<BH", 0, cid)

    def end():
        return struct.pack("<BH", 1, 0)

    def wint(cid, v):
        return struct.pack("<BHI", 2, cid, v & 0xFFFFFFFF)

    def wbool(cid, v):
        return struct.pack("<BHB", 3, cid, v)

    def wfloat(cid, v):
        return struct.pack("<BHf", 4, cid, v)

    def wstring(cid, n):
        return struct.pack("<BHH", 5, cid, n)

    def wblob(cid, n5):
        return struct.pack("<BHH", 6, cid, n5)

    write(t, "every-type.bin", ops(3, start(1), start(2), wint(1000, -5), wbool(2000, 1),
                                   wfloat(1008, 1.5), wstring(1003, 12), wblob(2022, 3), end(),
                                   start(3), end(), end()))
    write(t, "small-buffer-large-blob.bin", ops(0, start(1), wblob(2022, 30000), start(2),
                                                wint(1, 1), wblob(7, 20), end(), end()))
    write(t, "deep.bin", ops(1, *([start(i) for i in range(30)] + [wint(5, 5)] +
                                  [end() for _ in range(10)] + [wstring(6, 1999)])))
    write(t, "many-small.bin", ops(2, start(1), *[wfloat(1010 + i % 2, i) for i in range(200)]))
    write(t, "empty.bin", ops(3))


def pillow():
    """Pillow's Image and the codec tests' tool around it."""
    sys.path.insert(0, os.path.join(HERE, "..", "tests", "imaging"))
    import pillow_tool
    from PIL import Image
    return pillow_tool, Image


def pic(mode, w, h, fn):
    from PIL import Image
    im = Image.new(mode, (w, h))
    im.putdata([fn(x, y) for y in range(h) for x in range(w)])
    return im


def saved(im, fmt, **options):
    import io
    out = io.BytesIO()
    im.save(out, fmt, **options)
    return out.getvalue()


def image_corpus():
    """Small pictures of each kind the platform readers take, and copies cut
    short or damaged. Needs Pillow (python3-pil) and the hand-made PNG and DNG
    writers of the codec tests."""
    tool, Image = pillow()

    def variants(target, name, data):
        write(target, name, data)
        write(target, "cut-" + name, data[:len(data) * 2 // 3])
        damaged = bytearray(data)
        for at in range(len(data) // 3, len(data) - 4, max(1, len(data) // 7)):
            damaged[at] ^= 0x5A
        write(target, "damaged-" + name, bytes(damaged))

    rgb = pic("RGB", 12, 9, lambda x, y: (x * 20, y * 28, (x * y * 9) % 256))
    rgba = pic("RGBA", 12, 9, lambda x, y: (x * 20, y * 28, 90, (x * 31 + y * 7) % 256))
    grey = pic("L", 12, 9, lambda x, y: (x * 23 + y * 41) % 256)
    grey16 = pic("I;16", 12, 9, lambda x, y: (x * 5000 + y * 300) % 65536)
    pal = grey.convert("P")
    cmyk = pic("CMYK", 12, 9, lambda x, y: (x * 20, y * 28, 40, 10))

    variants("image_png", "rgb.png", saved(rgb, "PNG"))
    variants("image_png", "rgba.png", saved(rgba, "PNG"))
    write("image_png", "grey16.png", saved(grey16, "PNG"))
    write("image_png", "palette-alpha.png", saved(pal, "PNG", transparency=5))
    folder = os.path.join(HERE, "corpus", "image_png")
    rows16 = [[(x * 5000, y * 7000, 123, (x + y) * 4000) for x in range(10)] for y in range(7)]
    tool.write_png(os.path.join(folder, "rgba16-interlaced.png"), 10, 7, 16, 6, rows16, True)
    rows2 = [[((x + y) % 4,) for x in range(11)] for y in range(5)]
    tool.write_png(os.path.join(folder, "grey2.png"), 11, 5, 2, 0, rows2, False)

    variants("image_jpeg", "rgb.jpg", saved(rgb, "JPEG", quality=90))
    write("image_jpeg", "grey.jpg", saved(grey, "JPEG"))
    write("image_jpeg", "progressive.jpg", saved(rgb, "JPEG", progressive=True))
    write("image_jpeg", "cmyk.jpg", saved(cmyk, "JPEG"))

    variants("image_tiff", "rgb-lzw.tif", saved(rgb, "TIFF", compression="tiff_lzw"))
    variants("image_tiff", "rgba.tif", saved(rgba, "TIFF"))
    write("image_tiff", "grey16.tif", saved(grey16, "TIFF"))
    write("image_tiff", "palette.tif", saved(pal, "TIFF"))
    write("image_tiff", "cmyk-deflate.tif", saved(cmyk, "TIFF", compression="tiff_adobe_deflate"))
    write("image_tiff", "packbits.tif", saved(grey, "TIFF", compression="packbits"))

    variants("image_jpeg2000", "rgba.jp2", saved(rgba, "JPEG2000"))
    write("image_jpeg2000", "grey-lossy.jp2",
          saved(grey, "JPEG2000", quality_mode="rates", quality_layers=[8]))
    variants("image_jpeg2000", "rgb.j2k", saved(rgb, "JPEG2000", no_jp2=True))

    dng = os.path.join(HERE, "corpus", "image_camraw", "linear.dng")
    os.makedirs(os.path.dirname(dng), exist_ok=True)
    tool.write_dng(dng)
    with open(dng, "rb") as f:
        data = f.read()
    write("image_camraw", "cut-linear.dng", data[:len(data) // 2])
    write("image_camraw", "header-only.dng", data[:300])


def tiff_by_hand(width, height, bits, samples, photometric, sample, extra=None, tile=None,
                 planar=False, sample_format=1, orientation=1):
    """An uncompressed little-endian TIFF in layouts Pillow does not write:
    tiles, planes, depths other than 8 and 16, inks at 16 bits. sample(x, y,
    s) gives the integer (or, with sample_format 3, float) value."""
    planes = samples if planar else 1
    per_pixel = 1 if planar else samples
    block_w, block_h = (tile, tile) if tile else (width, height)

    def pack(values):
        if sample_format == 3:
            return struct.pack("<%df" % len(values), *values)
        if bits in (8, 16, 32):
            return struct.pack("<%d%s" % (len(values), {8: "B", 16: "H", 32: "I"}[bits]), *values)
        text = "".join(format(v, "0%db" % bits) for v in values)
        text += "0" * (-len(text) % 8)
        return bytes(int(text[i:i + 8], 2) for i in range(0, len(text), 8))

    blocks = []
    for plane in range(planes):
        for by in range(0, height, block_h):
            for bx in range(0, width, block_w):
                rows = block_h if tile else min(block_h, height - by)
                data = b""
                for y in range(by, by + rows):
                    values = []
                    for x in range(bx, bx + block_w):
                        for s in range(per_pixel):
                            inside = x < width and y < height
                            values.append(sample(x, y, plane if planar else s) if inside else 0)
                    data += pack(values)
                blocks.append(data)

    tags = [(256, 4, [width]), (257, 4, [height]), (258, 3, [bits] * samples), (259, 3, [1]),
            (262, 3, [photometric]), (274, 3, [orientation]), (277, 3, [samples]),
            (284, 3, [2 if planar else 1]), (339, 3, [sample_format] * samples)]
    if extra is not None:
        tags.append((338, 3, [extra]))
    offsets_tag, counts_tag = (324, 325) if tile else (273, 279)
    if tile:
        tags += [(322, 4, [tile]), (323, 4, [tile])]
    else:
        tags.append((278, 4, [height]))
    tags += [(offsets_tag, 4, [0] * len(blocks)), (counts_tag, 4, [len(b) for b in blocks])]
    tags.sort()

    # Header, the blocks, the values that do not fit an entry, the directory.
    out = bytearray(b"II*\0\0\0\0\0")
    offsets = []
    for b in blocks:
        offsets.append(len(out))
        out += b + b"\0" * (len(b) % 2)
    entries = []
    for code, kind, values in tags:
        if code == offsets_tag:
            values = offsets
        payload = b"".join(struct.pack("<H" if kind == 3 else "<I", v) for v in values)
        if len(payload) > 4:
            at = len(out)
            out += payload
            payload = struct.pack("<I", at)
        entries.append(struct.pack("<HHI", code, kind, len(values)) + payload.ljust(4, b"\0"))
    ifd = len(out)
    out += struct.pack("<H", len(entries)) + b"".join(entries) + struct.pack("<I", 0)
    out[4:8] = struct.pack("<I", ifd)
    return bytes(out)


def wild_image_corpus():
    """Pictures as cameras and other programs leave them: extra samples of
    each kind, tiles, planes, deep and float samples, inks at 16 bits,
    orientation tags, damaged Exif blocks and files named as another
    format."""
    tool, Image = pillow()

    rgb = pic("RGB", 11, 7, lambda x, y: (x * 20, y * 28, (x * y * 9) % 256))
    t = "image_tiff"
    write(t, "grey-straight-alpha.tif",
          saved(pic("LA", 9, 6, lambda x, y: (x * 25, (x + y) * 20)), "TIFF"))
    write(t, "rgb-unspecified-extra.tif", saved(rgb.convert("RGBX"), "TIFF"))
    write(t, "float.tif", saved(pic("F", 9, 6, lambda x, y: x * 0.15 - y * 0.05), "TIFF"))
    write(t, "orientation6.tif", saved(rgb, "TIFF", tiffinfo={274: 6}))
    level = lambda bits: lambda x, y, s: ((x * 37 + y * 11 + s * 71) % 256) * ((1 << bits) - 1) // 255
    write(t, "tiled-uncompressed.tif", tiff_by_hand(19, 18, 8, 3, 2, level(8), tile=16))
    write(t, "rgb16-planes-tiled.tif",
          tiff_by_hand(17, 5, 16, 3, 2, level(16), tile=16, planar=True, orientation=8))
    write(t, "cmyk16-alpha.tif", tiff_by_hand(7, 5, 16, 5, 5, level(16), extra=1))
    write(t, "rgb12-planes.tif", tiff_by_hand(9, 4, 12, 3, 2, level(12), planar=True))
    write(t, "grey32.tif", tiff_by_hand(6, 4, 32, 1, 1, level(32), orientation=5))
    write(t, "grey4-white-is-zero.tif", tiff_by_hand(13, 3, 4, 1, 0, level(4)))
    write(t, "float-rgb-alpha.tif",
          tiff_by_hand(5, 4, 32, 4, 2, lambda x, y, s: x * 0.3 - s * 0.1, extra=1, sample_format=3))

    j = "image_jpeg"
    for n in (3, 6, 7):
        write(j, "orientation%d.jpg" % n, saved(rgb, "JPEG", quality=80, exif=tool.exif_block(n)))
    write(j, "cut-exif.jpg", saved(rgb, "JPEG", quality=80, exif=tool.exif_block(6, cut=True)))
    motorola = (b"Exif\0\0MM\0*" + struct.pack(">IH", 8, 1) + struct.pack(">HHIHH", 274, 3, 1, 8, 0)
                + struct.pack(">I", 0))
    write(j, "exif-big-endian.jpg", saved(rgb, "JPEG", quality=80, exif=motorola))
    write(j, "png-content.jpg", saved(rgb, "PNG"))
    write(j, "tiff-content.jpg", saved(rgb, "TIFF"))


if __name__ == "__main__":
    reader_corpus()
    stream_corpus()
    writer_corpus()
    image_corpus()
    wild_image_corpus()
