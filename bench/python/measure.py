"""Measures the Python package, holds it against other people's readers, and prints one table; see bench/run-python.

    measure.py [--record]
    measure.py --measure WHAT PATH       one measurement, in this process: a line of JSON
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))
import files  # noqa: E402
import peers  # noqa: E402
import report  # noqa: E402

BUILD = HERE.parent.parent / "build"
DATA = BUILD / "bench-data-python"
BEGIN = "<!-- measured by bench/run-python --record: begin -->"
END = "<!-- measured by bench/run-python --record: end -->"


# What is measured: each makes, with its imports done, what reads a path.

def karta_rows():
    import karta_import

    return lambda path: len(karta_import.read(path))


def karta_table():
    import karta_import

    def read(path):
        several = sorted(os.path.join(path, name) for name in os.listdir(path)) if os.path.isdir(path) else path
        return karta_import.read(several).values.size

    return read


def karta_pandas():
    import karta_import

    return lambda path: karta_import.read(path).to_pandas().size


def karta_parquet():
    import karta_import
    import pyarrow.parquet

    assert pyarrow.parquet

    def write(path):
        with tempfile.TemporaryDirectory(dir=BUILD) as out:
            return karta_import.to_parquet(path, os.path.join(out, "spectra"), workers=2).rows

    return write


def each_file(make_reader):
    def make():
        read_one = make_reader()
        return lambda path: sum(read_one(os.path.join(path, name)) for name in sorted(os.listdir(path)))

    return make


def spectrum_of_brukeropus():
    from brukeropus import read_opus

    return lambda path: read_opus(path).a.y.size


def pandas_csv():
    import pandas

    return lambda path: pandas.read_csv(path).size


def polars_csv():
    import polars

    def read(path):
        frame = polars.read_csv(path)
        return frame.width * frame.height

    return read


def polars_csv_to_pandas():
    import polars

    return lambda path: polars.read_csv(path).to_pandas().size


MEASURED = {
    "ours": karta_table,
    "ours, rows": karta_rows,
    "ours, into pandas": karta_pandas,
    "ours, to Parquet": karta_parquet,
    "spc-io": peers.spectra_of_spc_io,
    "jcamp": peers.blocks_of_jcamp,
    "brukeropus": each_file(spectrum_of_brukeropus),
    "rainbow-api": peers.signals_of_rainbow,
    "scipy": peers.matrices_of_scipy,
    "openpyxl": peers.rows_of_openpyxl,
    "pandas": pandas_csv,
    "polars": polars_csv,
    "polars, into pandas": polars_csv_to_pandas,
}


def measure(what, path):
    """In this process: the fastest of up to five in wall time, and what it took of the processors."""
    try:
        read = MEASURED[what]()
    except ImportError as missing:
        return {"missing": str(missing)}
    best, total = None, 0.0
    for _ in range(peers.MOST_RUNS):
        start, spent = time.perf_counter(), time.process_time()
        cells = read(path)
        taken = {"seconds": time.perf_counter() - start, "processor": time.process_time() - spent, "cells": int(cells)}
        if best is None or taken["seconds"] < best["seconds"]:
            best = taken
        total += taken["seconds"]
        if total > 10:
            break
    return best


def measure_apart(what, path):
    ran = subprocess.run(
        [sys.executable, __file__, "--measure", what, path], capture_output=True, text=True, timeout=900
    )
    if ran.returncode != 0:
        return {"missing": ran.stderr.strip().splitlines()[-1]}
    return json.loads(ran.stdout.strip().splitlines()[-1])


def told(figures):
    if "missing" in figures:
        return f"none: {figures['missing']}"
    return told_of([figures["seconds"], figures["processor"]])


def told_of(taken):
    return f"{duration(taken[0])} ({duration(taken[1])} of processors)"


def duration(seconds):
    return f"{seconds * 1000:.3g} ms" if seconds < 1 else f"{seconds:.3g} s"


def row(what, goal, ours, others):
    return f"| {what} | {goal} | {ours} | {others} |"


def against(what, name, ours, others, goal):
    path = str(files.make(DATA, name))
    mine = measure_apart(ours, path)
    theirs = {peer: measure_apart(peer, path) for peer in others}
    words = []
    for peer, figures in theirs.items():
        ratio = f", {figures['seconds'] / mine['seconds']:.3g} times ours" if "seconds" in figures else ""
        words.append(f"{peer} {told(figures)}{ratio}")
    return row(what, goal, told(mine), "; ".join(words))


def parquet_rows():
    lines = []
    first = None
    for count in (10_000, 30_000, 100_000):
        path = str(files.make(DATA, f"spectra-{count}"))
        for folder, _, names in os.walk(path):  # warm
            for name in names:
                pathlib.Path(folder, name).read_bytes()
        figures = measure_apart("ours, to Parquet", path)
        first = first or figures["processor"] / count
        growth = figures["processor"] / count / first
        lines.append(row(
            f"{count:,} spectra of 1,800 points to Parquet, two workers", "2 s" if count == 10_000 else "linear",
            told(figures),
            f"{growth:.2f} times the processors' time for a spectrum among 10,000",
        ))
    return lines


def overhead_rows():
    lines = []
    for name in ("large.csv", "large.spc"):
        path = files.make(DATA, name)
        cpp, python = [], []
        # In turns, so that a busy minute meets both.
        for _ in range(5):
            ran = subprocess.run([BUILD / "release" / "karta-read-times", path, "2"], check=True, capture_output=True, text=True)
            cpp.append([float(word) for word in ran.stdout.split()])
            figures = measure_apart("ours, rows", str(path))
            python.append([figures["seconds"], figures["processor"]])
        best = {"C++": [min(column) for column in zip(*cpp)], "Python": [min(column) for column in zip(*python)]}
        share = 100 * (best["Python"][1] / best["C++"][1] - 1)  # of the processors: the clock tells of a busy machine
        megabytes = path.stat().st_size / 1e6
        lines.append(row(
            f"{name}, {megabytes:.0f} MB, by Python over C++", "5 %", f"{told_of(best['Python'])}, {share:+.1f} %",
            f"C++ {told_of(best['C++'])}",
        ))
    return lines


def versions():
    from importlib.metadata import PackageNotFoundError, version

    known = []
    for package in ("spc-io", "jcamp", "brukeropus", "rainbow-api", "scipy", "openpyxl", "pandas", "polars", "pyarrow", "numpy"):
        try:
            known.append(f"{package} {version(package)}")
        except PackageNotFoundError:
            pass
    return ", ".join(known)


def main():
    if sys.argv[1:2] == ["--measure"]:
        output = os.fdopen(os.dup(1), "w")  # some packages talk while they read
        os.dup2(os.open(os.devnull, os.O_WRONLY), 1)
        json.dump(measure(*sys.argv[2:]), output)
        return
    DATA.mkdir(parents=True, exist_ok=True)
    lines = ["| what | goal | ours | beside it |", "| --- | --- | --- | --- |"]
    size = f"{files.SPECTRA} × {files.POINTS:,}"
    for name, peer in (("spectra.spc", "spc-io"), ("spectra.dx", "jcamp"), ("spectra-opus", "brukeropus"),
                       ("spectra.uv", "rainbow-api"), ("spectra.mat", "scipy"), ("spectra.xlsx", "openpyxl")):
        lines.append(against(f"{name}, {size}", name, "ours", [peer], "ahead"))
    lines.append(against("CSV, 300,000 × 3, into pandas", "rows.csv", "ours, into pandas",
                         ["pandas", "polars, into pandas", "polars"], "ahead of pandas, beside polars"))
    lines += overhead_rows()
    lines += parquet_rows()
    text = f"{report.machine()} {versions()}.\n\n" + "\n".join(lines)
    print(text)
    if "--record" in sys.argv:
        report.record(text, BEGIN, END)


if __name__ == "__main__":
    main()
