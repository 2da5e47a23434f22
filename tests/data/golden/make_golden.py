#!/usr/bin/env python3
"""Writes the golden .rle, .ref and .err files of the frame writer's tests from docs/format.md.

Independent of the library on purpose: plain first fit, struct for single precision. Error files are
written only for scenes in which every code is 125: such a code image goes through JPEG unchanged, so
the records depend on nothing but the depths.
"""
import math
import pathlib
import struct

HERE = pathlib.Path(__file__).resolve().parent
NAN, INF = float("nan"), float("inf")


def single(x):
    return struct.unpack("<f", struct.pack("<f", x))[0]


def label_pixels(depths, mask):
    labels, codes, references = [], [], []
    for z, m in zip(map(single, depths), mask):
        if m < 0:
            labels.append(-1)
            codes.append(0)
            continue
        for i, r in enumerate(references):
            if abs(single(z - r)) <= 1.25:
                labels.append(i)
                scaled = single(single(1.25 + single(z - r)) * 100.0)
                codes.append(math.floor(scaled + 0.5))
                break
        else:
            labels.append(len(references))
            codes.append(125)
            references.append(z)
    return labels, codes, references


def runs_of(labels):
    runs = []
    for value in labels:
        if runs and runs[-1][1] == value and runs[-1][0] < 30000:
            runs[-1][0] += 1
        else:
            runs.append([1, value])
    return runs


def number(x):
    x = single(x)
    return "nan" if x != x else "%f" % x


def flagged(reference):
    """With code 125 everywhere: does the decoded depth, clamped to 0..255, miss its own value?"""
    if reference != reference:
        return False
    limits = [(1, 0.01), (2, 0.02), (3, 0.03), (4, 0.04)]
    tolerance = next((t for below, t in limits if reference < below), 0.05)
    return abs(reference - min(max(reference, 0.0), 255.0)) > tolerance


def write(name, width, height, depths, mask=None, camera=(525.0, 525.5, 319.5, 239.5)):
    mask = mask or [0] * (width * height)
    assert len(depths) == len(mask) == width * height, name
    labels, codes, references = label_pixels(depths, mask)
    runs = runs_of(labels)
    rle = "".join(f"{n} {v}\n" for n, v in runs)
    rle = (f"{len(runs)}\n" if runs else "") + rle + "\n"
    (HERE / f"{name}.rle").write_text(rle)
    a11, a22, cx, cy = (number(v) for v in camera)
    ref = f"nblabels {len(references)} a11 {a11} a22 {a22} cx {cx} cy {cy}\n"
    (HERE / f"{name}.ref").write_text(ref + "".join(number(r) + "\n" for r in references))
    if any(c != 125 for c, l in zip(codes, labels)) and any(l >= 0 for l in labels):
        return
    regions = [b"" for _ in range(6)]
    for i, label in enumerate(labels):
        if label >= 0 and flagged(references[label]):
            row, col = divmod(i, width)
            regions[row // 256 * 3 + col // 256] += bytes([row % 256, col % 256, 125])
    counts = b"".join(struct.pack(">H", len(r) // 3) for r in regions)
    (HERE / f"{name}.err").write_bytes(counts + b"".join(regions))


def main():
    write("flat", 640, 480, [1.0] * (640 * 480))
    write("all_zero", 16, 16, [0.0] * 256)
    write("two_references", 4, 2, [1.0, 1.0, 2.2, 2.3, 2.3, 2.25, 1.0, 1.0])
    write("first_fit", 6, 1, [1.0, 3.0, 2.2, 1.9, 3.5, 0.0])
    write("masked", 5, 3, [1.5] * 15, [-1, 0, 0, 0, -7, 0, 0, 3, 0, -1, -1, -1, 0, 0, 0])
    write("all_masked", 8, 8, [1.5] * 64, [-1] * 64)
    write("long_run", 300, 250, [2.0] * 75000)
    write("negative", 6, 5, [-3.0] * 30)
    write("rounded_references", 3, 1, [1.2345678, 3.9999999, 6.0000004],
          camera=(533.0144, 531.98765, -0.5, 1234567.0))
    write("not_finite", 3, 2, [NAN, INF, -INF, 1.0, NAN, 300.0])
    corner = [1.0] * (640 * 480)
    corner[300 * 640 + 600] = -3.0
    write("one_record", 640, 480, corner)
    regions = [1.0] * (768 * 512)
    for row in (0, 255, 256, 511):
        for col in (0, 255, 256, 511, 512, 767):
            regions[row * 768 + col] = -3.0
    write("six_regions", 768, 512, regions)


if __name__ == "__main__":
    main()
