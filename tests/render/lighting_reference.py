#!/usr/bin/env python3
"""The bevel's lighting written out again from its formula, independently of
the C++ code: a distant white light at azimuth and elevation 45 degrees, a
viewer straight above, Sobel slopes of the alpha with their own kernels at
the borders, a specular exponent of 16 and a depth of -3.

Usage: lighting_reference.py WIDTH HEIGHT ALPHA_IN BGRA_OUT
ALPHA_IN holds one alpha byte a pixel, row by row, unblurred (the caller
asks for no blur); BGRA_OUT receives the lit picture, premultiplied.
The vector arithmetic is single precision, as the renderer's is."""

import math
import sys

import numpy as np

f32 = np.float32


def sobel(width, height):
    """The full 3 by 3 kernels and factors for each border case: the inner
    kernel with the rows or columns past the edge dropped, and the missing
    weight made up by the factor."""
    inner = np.array([[-1, 0, 1], [-2, 0, 2], [-1, 0, 1]], dtype=np.float32)
    kernels = np.zeros((3, 3, 3, 3), dtype=np.float32)
    for cy in range(3):
        for cx in range(3):
            k = inner.copy()
            if cy == 0:
                k[0, :] = 0
            if cy == 2:
                k[2, :] = 0
            # At the first column the slope is taken forward, at the last
            # backward: the missing side is replaced by the centre.
            if cx == 0:
                k[:, 1] += k[:, 0]
                k[:, 0] = 0
            if cx == 2:
                k[:, 1] += k[:, 2]
                k[:, 2] = 0
            kernels[cy, cx] = k
    rows = [f32(2) / f32(3), f32(1) / f32(2), f32(2) / f32(3)]
    factors = np.array([[rows[cy] / (f32(1) if cx != 1 else f32(2)) for cx in range(3)]
                        for cy in range(3)], dtype=np.float32)
    return kernels, factors


def light(width, height, alpha):
    kernels, factors = sobel(width, height)
    degrees = f32(3.1415927) / f32(180)
    az, el = f32(45) * degrees, f32(45) * degrees
    lx = f32(f32(math.cos(az)) * f32(math.cos(el)))
    ly = f32(f32(math.sin(az)) * f32(math.cos(el)))
    lz = f32(math.sin(el))
    hx, hy, hz = lx, ly, f32(lz + f32(1))
    length = f32(math.sqrt(f32(f32(hx * hx + hy * hy) + hz * hz)))
    hx, hy, hz = hx / length, hy / length, hz / length
    k = -(f32(-3.0) / f32(255))

    def cls(i, n):
        return 0 if i == 0 else (2 if i == n - 1 else 1)

    padded = np.zeros((height + 2, width + 2), dtype=np.float32)
    padded[1:-1, 1:-1] = alpha
    out = np.zeros((height, width, 4), dtype=np.uint8)
    for y in range(height):
        cy = cls(y, height)
        for x in range(width):
            cx = cls(x, width)
            window = padded[y:y + 3, x:x + 3]
            gx = f32(np.sum(kernels[cy, cx] * window, dtype=np.float32))
            gy = f32(np.sum(kernels[cx, cy].T * window, dtype=np.float32))
            nx = f32(f32(gx * k) * factors[cy, cx]) / f32(1)
            ny = f32(f32(gy * k) * factors[cx, cy]) / f32(1)
            nz = f32(1)
            n = f32(math.sqrt(f32(f32(nx * nx + ny * ny) + nz * nz)))
            nx, ny, nz = nx / n, ny / n, nz / n
            d = f32(f32(nx * hx + ny * hy) + nz * hz)
            spec = float(d) ** 16 if d > 0 else 0.0
            c = min(max(int(spec * 255.0), 0), 255)
            cover = int(alpha[y, x])
            v = c * cover // 255
            out[y, x] = (v, v, v, v)
    return out


def main():
    width, height = int(sys.argv[1]), int(sys.argv[2])
    alpha = np.fromfile(sys.argv[3], dtype=np.uint8).reshape(height, width)
    light(width, height, alpha).tofile(sys.argv[4])


if __name__ == "__main__":
    main()
