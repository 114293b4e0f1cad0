"""Data for the scripts beside: spectra with known moistures, chromatograms of an extract, the log of an etcher. Made
up from fixed sequences, so that the same files come out every time."""

import math
import pathlib
import random
import struct
import subprocess
import sys

SAMPLES = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(SAMPLES))
from make_netcdf import FLOAT, netcdf  # noqa: E402


def band(x, centre, height, width):
    return height * math.exp(-(((x - centre) / width) ** 2))


def spc(first, last, values):
    """A GRAMS SPC file of one spectrum of absorbances over nanometres."""
    head = struct.pack("<BBBbiddi4B", 0, 0x4B, 5, -128, len(values), first, last, 1, 3, 2, 0, 0)
    return head.ljust(512, b"\0") + struct.pack("<Bbh", 0, -128, 0).ljust(32, b"\0") + struct.pack(f"<{len(values)}f", *values)


def flour_spectra(folder, count=60):
    """So many near-infrared spectra of flour, a file each, and reference.csv with the moisture of each. Every
    third was measured by an instrument with a coarser axis; particles scatter, so that levels and slopes differ;
    one file was never written to its end."""
    rng = random.Random(1881)
    lines = ["file,moisture"]
    for i in range(count):
        moisture = rng.uniform(9.0, 16.0)
        protein = rng.uniform(8.0, 14.0)
        scatter, level, slope = rng.uniform(0.85, 1.15), rng.uniform(0.0, 0.2), rng.uniform(-0.02, 0.05)
        step = 4 if i % 3 == 2 else 2
        values = []
        for x in range(1100, 2501, step):
            pure = (band(x, 1940, 0.055 * moisture, 55) + band(x, 1450, 0.022 * moisture, 70)
                    + band(x, 2180, 0.02 * protein, 40) + band(x, 2310, 0.35, 45))
            values.append(level + slope * (x - 1100) / 1000 + scatter * pure + rng.gauss(0, 0.001))
        (folder / f"flour-{i + 1:03}.spc").write_bytes(spc(1100, 2500, values))
        lines.append(f"flour-{i + 1:03}.spc,{moisture + rng.gauss(0, 0.05):.2f}")
    (folder / "reference.csv").write_text("\n".join(lines) + "\n")
    unfinished = folder / "flour-007.spc"
    unfinished.write_bytes(unfinished.read_bytes()[:400])


def orange_chromatograms(folder):
    """A standard and two batches of an extract by gas chromatography, ANDI files. The batches came a little
    later from the column, on a baseline that drifts; the second one has less of the third substance, and a
    substance more."""
    substances = [(45.0, 120.0, 3.0), (88.0, 340.0, 4.0), (140.0, 75.0, 5.0), (231.0, 210.0, 6.0)]
    batches = [
        ("standard", 0.0, 0.0, [1.0, 1.0, 1.0, 1.0], []),
        ("batch-1", 2.5, 8.0, [1.02, 0.97, 1.01, 0.99], []),
        ("batch-2", 4.0, 15.0, [0.98, 1.03, 0.40, 1.01], [(185.0, 40.0, 5.0)]),
    ]
    rng = random.Random(1906)
    for name, delay, drift, shares, others in batches:
        peaks = [(place, height * share, width) for (place, height, width), share in zip(substances, shares)]
        seconds = [i * 0.5 for i in range(600)]
        trace = [
            0.4 + drift * t / 300 + rng.gauss(0, 0.15)
            + sum(band(t - delay, place, height, width) for place, height, width in peaks + others)
            for t in seconds
        ]
        (folder / f"{name}.cdf").write_bytes(netcdf(
            [("point_number", len(trace))],
            [("dataset_completeness", "C1"), ("aia_template_revision", "1.0.1"), ("languages", "English"),
             ("sample_name", f"Orange peel extract, {name}"), ("detector_name", "FID"), ("detector_unit", "mV"),
             ("retention_unit", "seconds")],
            [("actual_run_time_length", [], FLOAT, [seconds[-1]], []),
             ("actual_sampling_interval", [], FLOAT, [0.5], []),
             ("actual_delay_time", [], FLOAT, [0.0], []),
             ("ordinate_values", ["point_number"], FLOAT, trace, [("uniform_sampling_flag", "Y")])]))


def etcher_log(folder):
    """The log of a lot of wafers in a plasma etcher, by the maker of the samples: some of its sensors drop out. Here
    four readings of the power are spikes besides. Returns the log's path."""
    made = [sys.executable, str(SAMPLES / "make_brookside.py"), str(folder), "--lines", "12"]
    subprocess.run(made, check=True)
    data = folder / "L0417-1.dat"
    lines = data.read_text().splitlines()
    for line in (40, 97, 203, 377):
        fields = lines[line].split("\t")
        fields[2] = "1999.90"
        lines[line] = "\t".join(fields)
    data.write_text("\r\n".join(lines) + "\r\n")
    return folder / "L0417.trn"
