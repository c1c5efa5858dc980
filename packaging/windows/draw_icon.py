#!/usr/bin/env python3
"""Draws the icon of the Windows programs: draw_icon.py FILE.ico

A crate on a blue ground with an arrow out of it: what one machine holds moves to another. The shapes
are given in a square of 256 units and drawn anew for each size, so that small ones stay sharp.
"""

import struct
import sys
import zlib
from pathlib import Path
from typing import List, Tuple

Colour = Tuple[int, int, int, int]  # red, green, blue, opacity
Shape = Tuple[Colour, List[Tuple[float, float]]]

SIZES = (16, 24, 32, 48, 256)
SAMPLES = 4  # in each direction of a pixel
CLEAR: Colour = (0, 0, 0, 0)
GROUND: Colour = (24, 78, 119, 255)
CRATE: Colour = (236, 200, 120, 255)
BOARDS: Colour = (176, 128, 56, 255)
ARROW: Colour = (255, 255, 255, 255)


def box(left: float, top: float, right: float, bottom: float) -> List[Tuple[float, float]]:
    return [(left, top), (right, top), (right, bottom), (left, bottom)]


# From the back to the front.
SHAPES: List[Shape] = [
    (GROUND, [(40, 8), (216, 8), (248, 40), (248, 216), (216, 248), (40, 248), (8, 216), (8, 40)]),
    (CRATE, box(32, 120, 144, 224)),
    (BOARDS, box(32, 150, 144, 160)),
    (BOARDS, box(32, 184, 144, 194)),
    (ARROW, [(76, 136), (76, 60), (164, 60), (164, 28), (228, 80), (164, 132), (164, 100),
             (116, 100), (116, 136)]),
]


def is_inside(x: float, y: float, corners: List[Tuple[float, float]]) -> bool:
    inside = False
    for (x1, y1), (x2, y2) in zip(corners, corners[1:] + corners[:1]):
        if (y1 > y) != (y2 > y) and x < x1 + (x2 - x1) * (y - y1) / (y2 - y1):
            inside = not inside
    return inside


def colour_at(x: float, y: float) -> Colour:
    for colour, corners in reversed(SHAPES):
        if is_inside(x, y, corners):
            return colour
    return CLEAR


def pixel(column: int, row: int, scale: float) -> Colour:
    """The mean of the samples, each colour weighed by its opacity."""
    sums = [0, 0, 0, 0]
    for i in range(SAMPLES * SAMPLES):
        x = (column + (i % SAMPLES + 0.5) / SAMPLES) * scale
        y = (row + (i // SAMPLES + 0.5) / SAMPLES) * scale
        colour = colour_at(x, y)
        for channel in range(3):
            sums[channel] += colour[channel] * colour[3]
        sums[3] += colour[3]
    if sums[3] == 0:
        return CLEAR
    red, green, blue = (total // sums[3] for total in sums[:3])
    return (red, green, blue, sums[3] // (SAMPLES * SAMPLES))


def draw(size: int) -> List[List[Colour]]:
    return [[pixel(column, row, 256 / size) for column in range(size)] for row in range(size)]


def bitmap(rows: List[List[Colour]]) -> bytes:
    """A bitmap of 32 bits a pixel, lowest row first, and the mask that old systems look at."""
    size = len(rows)
    header = struct.pack('<IiiHHIIiiII', 40, size, size * 2, 1, 32, 0, 0, 0, 0, 0, 0)
    pixels = b''.join(bytes((blue, green, red, opacity))
                      for row in reversed(rows) for red, green, blue, opacity in row)
    mask = b''.join(mask_row(row) for row in reversed(rows))
    return header + pixels + mask


def mask_row(row: List[Colour]) -> bytes:
    bits = ''.join('1' if colour[3] < 128 else '0' for colour in row)
    bits += '0' * (-len(bits) % 32)
    return int(bits, 2).to_bytes(len(bits) // 8, 'big')


def png(rows: List[List[Colour]]) -> bytes:
    size = len(rows)
    lines = b''.join(b'\0' + b''.join(map(bytes, row)) for row in rows)
    chunks = ((b'IHDR', struct.pack('>IIBBBBB', size, size, 8, 6, 0, 0, 0)),
              (b'IDAT', zlib.compress(lines, 9)), (b'IEND', b''))
    return b'\x89PNG\r\n\x1a\n' + b''.join(
        struct.pack('>I', len(data)) + name + data + struct.pack('>I', zlib.crc32(name + data))
        for name, data in chunks)


def icon() -> bytes:
    images = [png(draw(size)) if size == 256 else bitmap(draw(size)) for size in SIZES]
    entries = b''
    offset = 6 + 16 * len(SIZES)
    for size, image in zip(SIZES, images):
        edge = size % 256  # 256 doesn't fit the byte and is told by 0
        entries += struct.pack('<BBBBHHII', edge, edge, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    return struct.pack('<HHH', 0, 1, len(SIZES)) + entries + b''.join(images)


def main() -> int:
    if len(sys.argv) != 2 or sys.argv[1].startswith('-'):
        print(__doc__.strip())
        return 0 if sys.argv[1:] == ['--help'] else 2
    Path(sys.argv[1]).write_bytes(icon())
    return 0


if __name__ == '__main__':
    sys.exit(main())
