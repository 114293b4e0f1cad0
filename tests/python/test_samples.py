"""The worked scripts of samples/python find what was put into their data."""

import os
import pathlib
import re
import subprocess
import sys

import pytest

import karta_import

SCRIPTS = pathlib.Path(__file__).resolve().parent.parent.parent / "samples" / "python"
PACKAGES = os.path.dirname(os.path.dirname(os.path.abspath(karta_import.__file__)))


def run(name, folder):
    pytest.importorskip("matplotlib")
    picture = folder / "picture.png"
    ran = subprocess.run(
        [sys.executable, SCRIPTS / name, "--plot", picture],
        cwd=folder, env=os.environ | {"PYTHONPATH": PACKAGES, "PYTHONDONTWRITEBYTECODE": "1"}, capture_output=True, text=True,
    )
    assert ran.returncode == 0, ran.stderr
    assert picture.read_bytes().startswith(b"\x89PNG")
    return ran.stdout


def test_moisture_is_calibrated(tmp_path):
    pytest.importorskip("sklearn")
    pytest.importorskip("pandas")
    told = run("calibrate.py", tmp_path)
    assert "59 spectra of 701 points, 1100 to 2500 nm" in told
    assert "left out: flour-007.spc" in told
    error, r2 = re.search(r"RMSECV ([0-9.]+) % moisture, R2 ([0-9.]+)", told).groups()
    assert float(error) < 0.3 and float(r2) > 0.97


def test_chromatograms_are_compared(tmp_path):
    told = run("chromatograms.py", tmp_path)
    assert "batch-1 is 2.5 s late" in told and "batch-2 is 4 s late" in told
    remarks = dict(re.findall(r"^ +([0-9.]+)(?: +-?\d+){3} *(.*)$", told, re.M))
    assert remarks == {
        "45.0": "", "88.0": "", "140.0": "batch-2 differs", "185.0": "batch-2 has it, the standard has not", "231.0": "",
    }


def test_a_process_log_is_cleaned(tmp_path):
    pytest.importorskip("pandas")
    told = run("process_log.py", tmp_path)
    assert "4 spikes" in told
    assert "72 of 75 phases have data" in told
    before, behind = map(int, re.search(r"(\d+) missing before, (\d+) behind", told).groups())
    assert behind < before
