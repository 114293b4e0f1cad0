#!/usr/bin/env python3
"""Other people's readers of single formats, to hold ours against.

    peers.py PEER FILE

measures one read in this process, or in a program that this process starts, and prints one line of JSON: the
seconds of the fastest read, the peak memory in MB, the number of cells and the reader's version. FILE may be a
folder, whose files are then read one after the other. Exit status 3: the peer isn't installed.
"""
import csv
import importlib.metadata
import json
import os
import re
import resource
import shutil
import subprocess
import sys
import tempfile
import time

NOT_INSTALLED = 3
ENOUGH_SECONDS = 1.0
MOST_RUNS = 5

here = os.path.dirname(os.path.abspath(__file__))
build = os.path.join(os.path.dirname(here), "build")


# Python packages: each function imports its package and returns what reads one file and counts its cells.
# What they return is what the package's user gets: a table, arrays, or rows of values.

def pandas_csv(separator=","):
    import pandas

    return lambda path: pandas.read_csv(path, sep=separator, header=None).size


def polars_csv(separator=",", with_dates=False):
    import polars

    return lambda path: count_of_frame(polars.read_csv(path, separator=separator, has_header=False,
                                                       infer_schema_length=1000, try_parse_dates=with_dates))


def pyarrow_csv(separator=","):
    import pyarrow.csv

    def read(path):
        names = pyarrow.csv.ReadOptions(autogenerate_column_names=True)
        table = pyarrow.csv.read_csv(path, names, pyarrow.csv.ParseOptions(delimiter=separator))
        return table.num_rows * table.num_columns

    return read


def duckdb_csv(separator=","):
    import duckdb

    def read(path):
        table = duckdb.read_csv(path, sep=separator, header=False).to_arrow_table()
        return table.num_rows * table.num_columns

    return read


def polars_xlsx():
    import fastexcel  # what polars reads workbooks with
    import polars

    assert fastexcel
    return lambda path: count_of_frame(polars.read_excel(path, has_header=False))


def arrow_of_fastexcel():
    import fastexcel

    def read(path):
        batch = fastexcel.read_excel(path).load_sheet(0, header_row=None).to_arrow()
        return batch.num_rows * batch.num_columns

    return read


def count_of_frame(frame):
    return frame.height * frame.width


def pandas_xlsx():
    import openpyxl  # what pandas reads workbooks with
    import pandas

    assert openpyxl
    return lambda path: pandas.read_excel(path, header=None).size


def rows_of_openpyxl():
    import openpyxl

    def read(path):
        book = openpyxl.load_workbook(path, read_only=True)
        return count([list(sheet.iter_rows(values_only=True)) for sheet in book.worksheets])

    return read


def rows_of_pyxlsb():
    import pyxlsb

    def read(path):
        with pyxlsb.open_workbook(path) as book:
            sheets = []
            for name in book.sheets:
                with book.get_sheet(name) as sheet:
                    sheets.append([[cell.v for cell in row] for row in sheet.rows()])
            return count(sheets)

    return read


def rows_of_calamine():
    import python_calamine

    def read(path):
        book = python_calamine.CalamineWorkbook.from_path(path)
        return count([book.get_sheet_by_name(name).to_python() for name in book.sheet_names])

    return read


def sheets_of_xlrd():
    import xlrd

    return lambda path: sum(sheet.nrows * sheet.ncols for sheet in xlrd.open_workbook(path).sheets())


def matrices_of_scipy():
    import scipy.io

    def read(path):
        contents = scipy.io.loadmat(path)
        return sum(value.size for name, value in contents.items() if not name.startswith("__"))

    return read


def variables_of_netcdf4():
    import netCDF4

    def read(path):
        with netCDF4.Dataset(path) as file:
            return sum(variable[...].size for variable in file.variables.values())

    return read


def variables_of_scipy():
    import scipy.io

    def read(path):
        with scipy.io.netcdf_file(path, mmap=False) as file:
            return sum(variable.data.size for variable in file.variables.values())

    return read


def spectra_of_spc_io():
    import spc_io

    def read(path):
        with open(path, "rb") as stream:
            return sum(len(sub.yarray) for sub in spc_io.SPC.from_bytes_io(stream))

    return read


def blocks_of_jcamp():
    import jcamp

    # The package keeps one spectrum of a file: each block is handed to it on its own.
    def read(path):
        with open(path, encoding="latin-1", newline=None) as stream:
            blocks = stream.read().split("##END=")
        spectra = [jcamp.read(block.splitlines()) for block in blocks if "##XYDATA" in block]
        return sum(len(spectrum["y"]) for spectrum in spectra)

    return read


def spectra_of_brukeropusreader():
    import brukeropusreader

    def read(path):
        return len(brukeropusreader.read_file(path)["AB"])

    return read


def spectra_of_brukeropus():
    import brukeropus

    return lambda path: len(brukeropus.read_opus(path).a.y)


def signals_of_rainbow():
    from rainbow.agilent import chemstation

    def read(path):
        return chemstation.parse_file(path).data.size

    return read


def count(sheets):
    return sum(len(row) for rows in sheets for row in rows)


PACKAGES = {
    "pandas csv": ("pandas", pandas_csv),
    "pandas text": ("pandas", lambda: pandas_csv("\t")),
    "pandas xlsx": ("pandas", pandas_xlsx),
    "polars csv": ("polars", polars_csv),
    "polars csv with dates": ("polars", lambda: polars_csv(with_dates=True)),
    "polars text": ("polars", lambda: polars_csv("\t")),
    "polars workbook": ("polars", polars_xlsx),
    "pyarrow csv": ("pyarrow", pyarrow_csv),
    "pyarrow text": ("pyarrow", lambda: pyarrow_csv("\t")),
    "duckdb csv": ("duckdb", duckdb_csv),
    "duckdb text": ("duckdb", lambda: duckdb_csv("\t")),
    "openpyxl": ("openpyxl", rows_of_openpyxl),
    "pyxlsb": ("pyxlsb", rows_of_pyxlsb),
    "python-calamine": ("python-calamine", rows_of_calamine),
    "xlrd": ("xlrd", sheets_of_xlrd),
    "scipy mat": ("scipy", matrices_of_scipy),
    "scipy netcdf": ("scipy", variables_of_scipy),
    "netCDF4": ("netCDF4", variables_of_netcdf4),
    "spc-io": ("spc-io", spectra_of_spc_io),
    "jcamp": ("jcamp", blocks_of_jcamp),
    "fastexcel": ("fastexcel", arrow_of_fastexcel),
    "brukeropus": ("brukeropus", spectra_of_brukeropus),
    "brukeropusreader": ("brukeropusreader", spectra_of_brukeropusreader),
    "rainbow-api": ("rainbow-api", signals_of_rainbow),
}


def measure(read):
    """The fastest of a few runs, of one when that takes long, and the peak memory of the first."""
    best = None
    peak = 0
    total = 0
    for run in range(MOST_RUNS):
        start = time.perf_counter()
        cells = read()
        seconds = time.perf_counter() - start
        total += seconds
        best = seconds if best is None else min(best, seconds)
        if run == 0:
            peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
        if total > ENOUGH_SECONDS:
            break
    return best, peak, cells


def read_with_package(peer, files):
    distribution, make_reader = PACKAGES[peer]
    try:
        read = make_reader()
        version = importlib.metadata.version(distribution)
    except ImportError:
        sys.exit(NOT_INSTALLED)
    best, peak, cells = measure(lambda: sum(read(path) for path in files))
    return best, peak, cells, f"{distribution} {version}"


# Programs: the whole process, from the start to the written CSV file.

def our_command(source, target):
    program = os.path.join(build, "release", "karta-import")
    return [program, "convert", source, "-o", target], [program, "--version"]


def ssconvert_command(source, target):
    return ["ssconvert", source, target], ["ssconvert", "--version"]


def office_command(source, target):
    profile = os.path.join(build, "bench-peers", "office-profile")
    command = ["soffice", f"-env:UserInstallation=file://{profile}", "--headless"]
    if source.endswith(".txt"):
        command.append("--infilter=Text - txt - csv (StarCalc):9,34,76,1")  # tabs, quotes, UTF-8, from line 1
    command += ["--convert-to", "csv:Text - txt - csv (StarCalc):44,34,76,1", "--outdir", os.path.dirname(target), source]
    return command, ["soffice", "--version"]


PROGRAMS = {"karta-import": our_command, "ssconvert": ssconvert_command, "LibreOffice": office_command}


def run(command):
    return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          check=True, text=True).stdout


def version_of(text):
    return re.search(r"\d+(\.\d+)+", text).group()


def read_with_program(peer, files):
    source, = files
    with tempfile.TemporaryDirectory(dir=build) as folder:
        target = os.path.join(folder, os.path.splitext(os.path.basename(source))[0] + ".csv")
        command, version_command = PROGRAMS[peer](source, target)
        if not shutil.which(command[0]):
            sys.exit(NOT_INSTALLED)
        version = version_of(run(version_command))
        if peer == "LibreOffice":
            run(command)  # the first start makes the user's profile
        best, _, _ = measure(lambda: run(command))
        peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
        with open(target, encoding="utf-8", newline="") as stream:
            cells = sum(len(row) - row.count("") for row in csv.reader(stream))
    return best, peak, cells, f"{peer} {version}"


# R's data.table measures itself, so that the start of R doesn't count, as that of Python doesn't.

FREAD = """
suppressMessages(library(data.table))
path <- commandArgs(TRUE)[1]
best <- Inf
total <- 0
while (total <= 1) {
    seconds <- system.time(table <- fread(path, header = FALSE, showProgress = FALSE))[["elapsed"]]
    best <- min(best, seconds)
    total <- total + max(seconds, 0.2)
}
cat(best, as.numeric(nrow(table)) * ncol(table), as.character(packageVersion("data.table")), "\\n")
"""


def read_with_r(files):
    path, = files
    if not shutil.which("Rscript"):
        sys.exit(NOT_INSTALLED)
    if subprocess.run(["Rscript", "--vanilla", "-e", "library(data.table)"], capture_output=True).returncode:
        sys.exit(NOT_INSTALLED)
    seconds, cells, version = run(["Rscript", "--vanilla", "-e", FREAD, path]).split()
    peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
    return float(seconds), peak, int(float(cells)), f"data.table {version}"


def main():
    peer, path = sys.argv[1:]
    path = os.path.abspath(path)
    files = [os.path.join(path, name) for name in sorted(os.listdir(path))] if os.path.isdir(path) else [path]
    # Some packages talk while they read.
    result = os.fdopen(os.dup(1), "w")
    os.dup2(os.open(os.devnull, os.O_WRONLY), 1)
    if peer == "data.table":
        seconds, peak, cells, version = read_with_r(files)
    elif peer in PROGRAMS:
        seconds, peak, cells, version = read_with_program(peer, files)
    else:
        seconds, peak, cells, version = read_with_package(peer, files)
    json.dump({"seconds": seconds, "peak_MB": peak * 1024 / 1e6, "cells": int(cells), "version": version}, result)


if __name__ == "__main__":
    main()
