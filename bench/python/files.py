"""The files that the Python package and its peers are measured with, the same bytes every time."""

import math
import pathlib
import random
import struct
import sys

SAMPLES = pathlib.Path(__file__).resolve().parent.parent.parent / "samples"
sys.path.insert(0, str(SAMPLES))
sys.dont_write_bytecode = True

SPECTRA, POINTS = 273, 1027


def values_of(number, points, scale=1.0):
    return [scale * (1 + math.sin(0.01 * i + 0.1 * number) + 0.01 * ((i * 7919 + number) % 101)) for i in range(points)]


def spc_header(points, spectra, flags=0):
    return struct.pack("<BBBbiddi4B", flags, 0x4B, 5, -128, points, 1000.0, 2000.0, spectra, 3, 2, 0, 0).ljust(512, b"\0")


def spc_spectrum(number, values):
    return struct.pack("<Bbhff", 0, -128, number, number, number + 1).ljust(32, b"\0") + struct.pack(f"<{len(values)}f", *values)


def write_spc(path):
    spectra = b"".join(spc_spectrum(i, values_of(i, POINTS)) for i in range(SPECTRA))
    path.write_bytes(spc_header(POINTS, SPECTRA, flags=4) + spectra)


def write_jcamp(path):
    lines = ["##TITLE= many", "##JCAMP-DX= 5.01", "##DATA TYPE= LINK", f"##BLOCKS= {SPECTRA}"]
    for number in range(SPECTRA):
        values = [round(value) for value in values_of(number, POINTS, 10000)]
        lines += [f"##TITLE= {number}", "##JCAMP-DX= 5.01", "##DATA TYPE= INFRARED SPECTRUM", "##XUNITS= 1/CM",
                  "##YUNITS= ABSORBANCE", "##XFACTOR= 1", "##YFACTOR= 0.0001", "##FIRSTX= 1000", f"##LASTX= {999 + POINTS}",
                  f"##NPOINTS= {POINTS}", "##XYDATA= (X++(Y..Y))"]
        lines += [" ".join(map(str, [1000 + i, *values[i : i + 10]])) for i in range(0, POINTS, 10)]
        lines.append("##END=")
    path.write_text("\n".join([*lines, "##END="]) + "\n")


def write_opus(folder):
    """A file holds one spectrum: so many files."""
    import make_opus

    make_opus.POINTS = POINTS
    make_opus.spectrum = lambda first, last, clay: values_of(clay, POINTS)
    folder.mkdir()
    for number in range(SPECTRA):
        (folder / f"soil-{number:03}.0").write_bytes(make_opus.opus_file(f"plot {number}", 0.0, number, "09:12:44.100"))


def write_chemstation(path):
    from make_chemstation import Header

    header = Header("31")
    header.number(">i", 0x108, 2)  # behind the header's first half, where alone the peer looks
    header.text(0xDA, "DAD1")
    header.number(">i", 0x116, SPECTRA)
    header.number(">d", 0x13E, 0.01)
    header.text(0x146, "mAU")
    data, running = bytearray(), 0
    for number in range(SPECTRA):
        packed = bytearray()
        for i, value in enumerate(round(v) for v in values_of(number, POINTS, 1000)):
            packed += struct.pack("<Hi", 0x8000, value) if i == 0 else struct.pack("<h", value - running)
            running = value
        data += struct.pack("<BBhihhhhh", ord("C"), 0, 18 + 4 + len(packed), number * 4000, 3800, 3800 + 20 * (POINTS - 1), 20, 0, 4)
        data += b"\0\0\0\0" + packed
    path.write_bytes(bytes(header.bytes[:0x200]) + bytes(data))


def write_mat(path):
    import numpy
    import scipy.io

    matrix = numpy.array([values_of(i, POINTS) for i in range(SPECTRA)])
    scipy.io.savemat(path, {"spectra": matrix})


def write_xlsx(path):
    import openpyxl

    book = openpyxl.Workbook(write_only=True)
    sheet = book.create_sheet("spectra")
    sheet.append([f"p{i}" for i in range(POINTS)])
    for number in range(SPECTRA):
        sheet.append(values_of(number, POINTS))
    book.save(path)


def write_csv(path, rows=300_000):
    rng = random.Random(7)
    lines = (f"{i},{rng.uniform(0, 100):.4f},{rng.gauss(0, 1):.6f}" for i in range(rows))
    path.write_text("n,temperature,deviation\n" + "\n".join(lines) + "\n")


def write_large_csv(path):
    write_csv(path, 4_000_000)


def write_large_spc(path):
    spectrum = spc_spectrum(0, values_of(1, 5000))
    path.write_bytes(spc_header(5000, 5000, flags=4) + spectrum * 5000)


def spectra_writer(count, points=1800):
    def write(folder):
        folder.mkdir()
        header = spc_header(points, 1)
        whole = [values_of(number, points) for number in range(100)]
        for number in range(count):
            # No two files are alike, so that Parquet has something to pack.
            values = [value + number for value in whole[number % 100]]
            (folder / f"s{number:06}.spc").write_bytes(header + spc_spectrum(0, values))

    return write


FILES = {
    "spectra.spc": write_spc,
    "spectra.dx": write_jcamp,
    "spectra-opus": write_opus,
    "spectra.uv": write_chemstation,
    "spectra.mat": write_mat,
    "spectra.xlsx": write_xlsx,
    "rows.csv": write_csv,
    "large.csv": write_large_csv,
    "large.spc": write_large_spc,
    "spectra-10000": spectra_writer(10_000),
    "spectra-30000": spectra_writer(30_000),
    "spectra-100000": spectra_writer(100_000),
}


def make(folder, name):
    """The path of the file, made where it isn't there yet."""
    path = folder / name
    if not path.exists():
        unfinished = folder / f"unfinished-{name}"
        FILES[name](unfinished)
        unfinished.rename(path)
    return path
