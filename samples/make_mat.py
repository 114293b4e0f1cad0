#!/usr/bin/env python3
"""Makes samples/wheat.mat and samples/wheat-5.mat: near-infrared spectra of 12 wheat samples, as MAT-files.

wheat.mat is of level 4: the absorbances as DATA, the sample names as OBSID1, the protein contents as OBSID2 and the
wavelengths as VARID1. wheat-5.mat is of level 5: the absorbances alone, compressed. Standard library only; the same
bytes every time.
"""
import math
import os
import struct
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
SAMPLES = 12
WAVELENGTHS = [1100 + 20 * i for i in range(50)]
BANDS = [(1200, 40, 0.12), (1450, 60, 0.35), (1730, 50, 0.10), (1930, 55, 0.55)]


def protein(sample):
    return round(9.5 + 4.0 * ((sample * 37) % 12) / 11, 2)


def absorbance(sample, wavelength):
    offset = 0.25 + 0.01 * ((sample * 29) % 7)
    bands = sum(h * math.exp(-(((wavelength - c) / w) ** 2)) for c, w, h in BANDS)
    band_of_protein = 0.012 * protein(sample) * math.exp(-(((wavelength - 2060) / 45) ** 2))
    return round(offset + 0.0002 * (wavelength - 1100) + bands + band_of_protein, 5)


def matrix(kind, rows, columns, name, elements):
    """A matrix of a level 4 file; kind 0 is numbers, 1 text. Elements go column by column."""
    name = name.encode() + b"\0"
    head = struct.pack("<5i", kind, rows, columns, 0, len(name)) + name
    return head + struct.pack("<%dd" % len(elements), *elements)


def characters(texts):
    """Texts of one length as a text matrix has them: the first character of each, then the second, and so on."""
    return [ord(text[i]) for i in range(len(texts[0])) for text in texts]


def element(kind, data):
    """A data element of a level 5 file."""
    return struct.pack("<2I", kind, len(data)) + data + bytes(-len(data) % 8)


spectra = [absorbance(s, w) for w in WAVELENGTHS for s in range(SAMPLES)]
names = ["wheat %02d" % (s + 1) for s in range(SAMPLES)]
with open(os.path.join(HERE, "wheat.mat"), "wb") as file:
    file.write(matrix(0, SAMPLES, len(WAVELENGTHS), "DATA", spectra))
    file.write(matrix(1, SAMPLES, len(names[0]), "OBSID1", characters(names)))
    file.write(matrix(0, SAMPLES, 1, "OBSID2", [protein(s) for s in range(SAMPLES)]))
    file.write(matrix(0, len(WAVELENGTHS), 1, "VARID1", WAVELENGTHS))

array = (
    element(6, struct.pack("<2I", 6, 0))
    + element(5, struct.pack("<2i", SAMPLES, len(WAVELENGTHS)))
    + element(1, b"absorbance")
    + element(9, struct.pack("<%dd" % len(spectra), *spectra))
)
payload = zlib.compress(struct.pack("<2I", 14, len(array)) + array, 9)
with open(os.path.join(HERE, "wheat-5.mat"), "wb") as file:
    file.write(b"MATLAB 5.0 MAT-file, Platform: sample".ljust(116) + bytes(8) + b"\0\1IM")
    file.write(struct.pack("<2I", 15, len(payload)) + payload)
