#!/usr/bin/env python3
"""Makes the samples of three small near-infrared formats from the same six flour spectra.

flour.uns (The Unscrambler's text), flour.dat (Brimrose), flour.da with its companion flour.cn (NSAS). Standard library
only; the same bytes every time.
"""
import math
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))
START, STEP, POINTS = 1100, 10, 45
NAMES = ["rye", "spelt", "wheat 405", "wheat 550", "wheat 812", "durum"]
PROTEIN = [8.9, 12.75, 10.1, 11.2, 12.05, 13.4]
MOISTURE = [13.2, 12.9, 14.05, 13.8, 13.55, 12.4]
FIRST_SCAN = 1238753472  # 2009-04-03 10:11:12 UTC


def absorbance(sample, wavelength):
    water = 0.03 * MOISTURE[sample] * math.exp(-(((wavelength - 1450) / 55) ** 2))
    starch = 0.12 * math.exp(-(((wavelength - 1200) / 40) ** 2))
    return round(0.2 + 0.012 * PROTEIN[sample] + 0.0003 * (wavelength - START) + water + starch, 4)


def spectrum(sample):
    return [absorbance(sample, START + STEP * i) for i in range(POINTS)]


def write(name, content):
    with open(os.path.join(HERE, name), "wb") as file:
        file.write(content)


def unscrambler():
    lines = ["%%%d %d NIR of flours" % (len(NAMES), POINTS)]
    for sample in range(len(NAMES)):
        values = ["%g" % value for value in spectrum(sample)]
        if sample == 3:
            values[7] = "m"
        lines += [" ".join(values[i : i + 15]) for i in range(0, POINTS, 15)]
    lines.append("#L " + " ".join(name.replace(" ", "_") for name in NAMES))
    columns = ["X%d" % (START + STEP * i) for i in range(POINTS)]
    lines += ["#C"] + [" ".join(columns[i : i + 15]) for i in range(0, POINTS, 15)]
    lines.append("%%%d 2 Reference" % len(NAMES))
    lines += ["%g %g" % pair for pair in zip(PROTEIN, MOISTURE)]
    lines.append("#C Protein Moisture")
    return "".join(line + "\n" for line in lines).encode()


def brimrose():
    header = bytearray(512)
    struct.pack_into("<I", header, 0, 0x0D0C10FF)
    struct.pack_into("<3f", header, 29, START, START + STEP * (POINTS - 1), STEP)
    struct.pack_into("<H", header, 41, POINTS)
    struct.pack_into("<H", header, 45, len(NAMES))
    content = bytes(header)
    for sample, name in enumerate(NAMES):
        content += struct.pack("<I", FIRST_SCAN + 95 * sample) + name.encode().ljust(124, b"\0")
        content += struct.pack("<%df" % POINTS, *spectrum(sample))
    return content


def nsas():
    content = b""
    for sample, name in enumerate(NAMES):
        header = bytearray(128)
        struct.pack_into("<2h10s3h", header, 0, 6500, sample + 1, name.ljust(10).encode(), POINTS, START, START + STEP * POINTS)
        struct.pack_into("<h", header, 30, 2)
        struct.pack_into("<6h", header, 64, 91, 4, 3, 10, 11 + sample, 12)
        values = struct.pack("<%df" % POINTS, *spectrum(sample))
        content += bytes(header) + values + bytes(-len(values) % 128)
    return content


def constituents():
    content = b"Protein".ljust(10) + b"Moisture".ljust(10)
    content = content.ljust(384, b"\0")
    for pair in zip(PROTEIN, MOISTURE):
        content += struct.pack("<2f", *pair).ljust(128, b"\0")
    return content


write("flour.uns", unscrambler())
write("flour.dat", brimrose())
write("flour.da", nsas())
write("flour.cn", constituents())
