"""A scanned page, adjusted line by line: pipeline.py IN.ppm OUT.ppm

Reads a binary PPM (P6, 255, no comments) of at least 3 x 2 pixels and writes one: levels, contrast, saturation, sharpness,
half the size. No more than a few lines are in memory. pipeline.c and pipeline.cpp do the same and give the same bytes.
"""

import sys
from typing import BinaryIO

import platen


def adjust(source: BinaryIO, target: BinaryIO) -> None:
    magic, size, highest = (source.readline().split() for _ in range(3))
    width, height = (int(side) for side in size) if len(size) == 2 else (0, 0)
    if magic != [b"P6"] or highest != [b"255"] or width < 3 or height < 2:
        raise ValueError("not a binary PPM of at least 3 x 2 pixels")
    half = ((width + 1) // 2, (height + 1) // 2)
    world = platen.ToneWorld([platen.Level(20, 235, gamma=1.2), platen.BrightnessContrast(contrast=10)])
    hsv = platen.HsvFilter(saturation=15)
    sharpener = platen.Sharpener(1, (width, height))
    scaler = platen.Scaler((width, height), half)
    target.write(b"P6\n%d %d\n255\n" % half)
    for y in range(height):
        line = memoryview(source.read(3 * width))
        if len(line) < 3 * width:
            raise ValueError(f"it ends at line {y} of {height}")
        toned = world.apply(line.cast("B", (1, width, 3)))
        for sharp in sharpener.push(hsv.apply(toned, out=toned)):
            target.write(scaler.push(sharp).tobytes())


if __name__ == "__main__":
    try:
        with open(sys.argv[1], "rb") as page, open(sys.argv[2], "wb") as out:
            adjust(page, out)
    except (OSError, ValueError) as error:
        sys.exit(f"pipeline: {sys.argv[1]}: {error}")
