"""What the tests of the Python package share: the samples, and files made for a test."""

import pathlib
import struct

import pytest

SAMPLES = pathlib.Path(__file__).resolve().parent.parent.parent / "samples"
# Those that one call reads by itself; the rest are companions, makers and parts of others.
READABLE = sorted(
    path
    for path in SAMPLES.iterdir()
    if path.is_file() and path.suffix not in (".py", ".cn", ".cpp") and path.name != "encrypted.kpf"
)


@pytest.fixture
def samples() -> pathlib.Path:
    return SAMPLES


def spectrum_bytes(values, first=1000.0, last=2000.0):
    """A GRAMS SPC file of one spectrum of floats on an even axis."""
    header = struct.pack(
        "<BBBbIddIBBBBi9s9sH8f30s130si",
        0, 0x4B, 0, -128, len(values), first, last, 1, 1, 2, 0, 0, 0, b"", b"", 0, *[0.0] * 8, b"", b"", 0,
    )
    header = header.ljust(512, b"\0")
    subheader = struct.pack("<Bbhfff", 0, -128, 0, 0.0, 0.0, 0.0).ljust(32, b"\0")
    return header + subheader + struct.pack(f"<{len(values)}f", *values)


@pytest.fixture
def spectra(tmp_path):
    """Makes a folder of so many spectra: spectrum i has the value i + point / 8."""

    def make(count, points=16, **axis):
        folder = tmp_path / "spectra"
        folder.mkdir(exist_ok=True)
        for i in range(count):
            values = [i + point / 8 for point in range(points)]
            (folder / f"s{i:05}.spc").write_bytes(spectrum_bytes(values, **axis))
        return folder

    return make
