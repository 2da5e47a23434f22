"""Reads a recorded frame without this library, as docs/format.md describes the files.

    python3 read_without_library.py recording/2013-04-05/14h/07mn/2013-04-05T14-07-58.000000-depth

Prints the frame's nearest and farthest reading in metres. Wants numpy and Pillow.
"""

from __future__ import annotations

import pathlib
import sys

import numpy as np
from PIL import Image

REGION = 256  # rows and columns of a region of the error file
REGIONS = [(row, column) for row in (0, REGION) for column in (0, REGION, 2 * REGION)]


def read_codes(base: str) -> np.ndarray:
    """The grey JPEG, (480, 640)."""
    return np.asarray(Image.open(base + ".jpg").convert("L")).copy()


def read_labels(base: str, pixels: int) -> np.ndarray:
    """The label of each pixel, in raster order; -1: no depth."""
    numbers = [int(text) for text in pathlib.Path(base + ".rle").read_text().split()]
    labels = np.full(pixels, -1)
    place = 0
    for length, label in zip(numbers[1::2], numbers[2::2]):
        labels[place : place + length] = label
        place += length
    return labels


def read_references(base: str) -> np.ndarray:
    """The reference depth of each label, metres."""
    first, *lines = pathlib.Path(base + ".ref").read_text().splitlines()
    count = int(first.split()[1])
    return np.array([float(line) for line in lines[:count]], dtype=np.float32)


def put_exact_codes(base: str, codes: np.ndarray) -> None:
    data = pathlib.Path(base + ".err").read_bytes()
    records = np.frombuffer(data, dtype=np.uint8, offset=12).reshape(-1, 3)
    done = 0
    for (top, left), count in zip(REGIONS, np.frombuffer(data, dtype=">u2", count=6)):
        rows, columns, exact = records[done : done + count].astype(int).T
        codes[top + rows, left + columns] = exact
        done += count


def read_depth(base: str) -> np.ndarray:
    """Metres, float32 (480, 640); 0 where there is no label."""
    codes = read_codes(base)
    put_exact_codes(base, codes)
    labels = read_labels(base, codes.size).reshape(codes.shape)
    references = np.append(read_references(base), np.float32(0))  # the last one is for label -1
    depth = codes.astype(np.float32) / np.float32(100) - np.float32(1.25) + references[labels]
    return np.where(labels < 0, np.float32(0), np.clip(depth, 0, 255))


def main() -> None:
    if len(sys.argv) != 2:
        sys.exit(f"usage: {sys.argv[0]} BASE   (a frame's files without their endings)")
    depth = read_depth(sys.argv[1])
    readings = depth[depth >= 0.05]  # nearer: a pixel without a reading can come back as 1 cm
    print(f"{readings.min():.3f} .. {readings.max():.3f} m, {readings.size} of {depth.size} pixels")


if __name__ == "__main__":
    main()
