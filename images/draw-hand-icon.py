#!/usr/bin/env python3
"""Draws hand-icon.bmp, the raised hand of the wink notice.

Writes a Windows bitmap: 128 x 128 pixels, 24 bits each, uncompressed, rows bottom-up, 4724 pixels per metre.
Usage: draw-hand-icon.py OUTPUT
"""

import math
import struct
import sys

SIZE = 128
SAMPLES = 6  # per pixel and direction, for smooth edges
OUTLINE = 4.5

WHITE = (255, 255, 255)
SKIN = (255, 178, 36)
LINE = (24, 30, 48)

# (x1, y1, x2, y2, radius) of each finger from its root to its tip, in pixels from the top left.
FINGERS = [
    (33.0, 74.0, 21.0, 42.0, 8.0),
    (46.5, 66.0, 42.5, 22.5, 8.6),
    (63.0, 64.0, 65.0, 15.5, 8.8),
    (79.5, 68.0, 87.5, 24.0, 8.4),
]
THUMB = (80.0, 99.0, 110.0, 64.0, 8.8)
# Lines that part the fingers where they meet the palm.
CREASES = [
    (37.2, 56.0, 41.4, 75.0, 2.25),
    (54.0, 48.0, 55.4, 71.5, 2.25),
    (72.6, 52.0, 70.6, 72.5, 2.25),
]
# Centre, half width, half height and corner radius.
PALM = (57.0, 90.0, 32.5, 26.5, 19.0)


def capsule(x, y, shape):
    """The distance from a point to the edge of a line with round ends, negative inside."""
    x1, y1, x2, y2, radius = shape
    dx, dy = x2 - x1, y2 - y1
    t = ((x - x1) * dx + (y - y1) * dy) / (dx * dx + dy * dy)
    t = min(1.0, max(0.0, t))
    return math.hypot(x - x1 - t * dx, y - y1 - t * dy) - radius


def rounded_box(x, y, shape):
    centre_x, centre_y, half_width, half_height, radius = shape
    dx = abs(x - centre_x) - half_width + radius
    dy = abs(y - centre_y) - half_height + radius
    return math.hypot(max(dx, 0.0), max(dy, 0.0)) + min(max(dx, dy), 0.0) - radius


def colour(x, y):
    hand = min([capsule(x, y, f) for f in FINGERS] + [capsule(x, y, THUMB), rounded_box(x, y, PALM)])
    if hand > OUTLINE:
        return WHITE
    if hand > 0 or min(capsule(x, y, c) for c in CREASES) < 0:
        return LINE
    return SKIN


def pixel(column, row):
    total = [0, 0, 0]
    for i in range(SAMPLES):
        for j in range(SAMPLES):
            part = colour(column + (i + 0.5) / SAMPLES, row + (j + 0.5) / SAMPLES)
            total = [t + p for t, p in zip(total, part)]
    red, green, blue = (round(t / SAMPLES**2) for t in total)
    return bytes((blue, green, red))


def bitmap():
    rows = [b"".join(pixel(column, row) for column in range(SIZE)) for row in range(SIZE)]
    pixels = b"".join(reversed(rows))
    file_header = struct.pack("<2sIHHI", b"BM", 54 + len(pixels), 0, 0, 54)
    info_header = struct.pack("<IiiHHIIiiII", 40, SIZE, SIZE, 1, 24, 0, len(pixels), 4724, 4724, 0, 0)
    return file_header + info_header + pixels


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    with open(sys.argv[1], "wb") as output:
        output.write(bitmap())
