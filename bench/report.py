#!/usr/bin/env python3
"""Makes the one table of bench/run: what karta-bench measured, held against other people's readers.

    report.py MEASURED.json [--peers PYTHON] [--one-core] [--record]

MEASURED.json is karta-bench's own output. With --peers the readers of peers.py are measured by that Python. With
--record the table also goes into README.md, between its two marker lines, which are others for one core.
"""
import argparse
import json
import os
import platform
import re
import signal
import subprocess
import sys
import time

here = os.path.dirname(os.path.abspath(__file__))
data = os.path.join(os.path.dirname(here), "build", "bench-data")
readme = os.path.join(here, "README.md")
BEGIN = "<!-- measured by bench/run --record: begin -->"
END = "<!-- measured by bench/run --record: end -->"
BEGIN_ONE_CORE = "<!-- measured by bench/run --one-core --record: begin -->"
END_ONE_CORE = "<!-- measured by bench/run --one-core --record: end -->"

PATIENCE = 40  # seconds for one peer and one file, with its start

# Who reads a file into a table of his own.
READERS = {
    "numbers.csv": ["pandas csv", "polars csv", "pyarrow csv", "duckdb csv", "data.table"],
    "mixture.csv": ["pandas csv", "polars csv with dates", "pyarrow csv", "duckdb csv", "data.table"],
    "narrow.csv": ["pandas csv", "polars csv", "pyarrow csv", "duckdb csv", "data.table"],
    "wide.csv": ["data.table"],
    "small.csv": ["pandas csv", "polars csv", "pyarrow csv", "duckdb csv", "data.table"],
    "narrow.txt": ["pandas text", "polars text", "pyarrow text", "duckdb text", "data.table"],
    "wide.txt": ["pandas text", "polars text", "pyarrow text", "duckdb text", "data.table"],
    "small.txt": ["pandas text", "polars text", "pyarrow text", "duckdb text", "data.table"],
    "million.xlsx": ["fastexcel", "python-calamine", "polars workbook", "openpyxl", "pandas xlsx"],
    "small.xlsx": ["fastexcel", "python-calamine", "polars workbook", "openpyxl", "pandas xlsx"],
    "million.xlsb": ["fastexcel", "python-calamine", "polars workbook", "pyxlsb"],
    "small.xlsb": ["fastexcel", "python-calamine", "polars workbook", "pyxlsb"],
    "numbers.xls": ["fastexcel", "python-calamine", "polars workbook", "xlrd"],
    "small.xls": ["fastexcel", "python-calamine", "polars workbook", "xlrd"],
    "level4.mat": ["scipy mat"],
    "level5.mat": ["scipy mat"],
    "level5-compressed.mat": ["scipy mat"],
    "andi_100_files": ["netCDF4", "scipy netcdf"],
    "large.cdf": ["netCDF4", "scipy netcdf"],
    "table.nc": ["netCDF4", "scipy netcdf"],
    "floats.spc": ["spc-io"],
    "integers.spc": ["spc-io"],
    "spc_1000_files": ["spc-io"],
    "opus_5000_files": ["brukeropus", "brukeropusreader"],
    "small-difdup.dx": ["jcamp"],
    "small-affn.dx": ["jcamp"],
    "signal.ch": ["rainbow-api"],
    "spectra.uv": ["rainbow-api"],
}
# Who converts a file to CSV, from the start of his process to its end.
CONVERTERS = {
    "small.csv": ["ssconvert", "LibreOffice"],
    "small.txt": ["ssconvert", "LibreOffice"],
    "small.dif": ["ssconvert", "LibreOffice"],
    "small.xls": ["ssconvert", "LibreOffice"],
    "small.xlsx": ["ssconvert", "LibreOffice"],
    "small.xlsb": ["LibreOffice"],
    "small.wk1": ["ssconvert", "LibreOffice"],
}
# What part of the nearest peer's time ours is to be at most.
PEER_GOALS = {"million.xlsx": 0.5, "million.xlsb": 0.3, "numbers.xls": 0.2, "numbers.csv": 0.7, "mixture.csv": 1.0,
              "narrow.csv": 1.0, "narrow.txt": 0.7, "wide.txt": 0.7, "level5-compressed.mat": 0.7}
OTHER_FIGURES = {"ratio": ("ratio_target", "times unpacking the parts"),
                 "times_inflation": ("times_target", "times zlib's own inflation"),
                 "files/s": (None, "files/s")}

HEADING = """| format | file | read into | MB | million cells | million cells/s | MB/s | M | peak MB \
| of nearest peer's time | peers, other figures |
| --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- |"""


class Peers:
    """Runs peers.py, each read in a process of its own, and remembers who took part."""

    def __init__(self, python):
        self.python = python
        self.versions = set()
        self.absent = set()

    def measure(self, peer, file_name):
        """The peer's figures, or a word on why there are none; None when it isn't installed."""
        if not self.python or peer in self.absent:
            return None
        command = [self.python, os.path.join(here, "peers.py"), peer, os.path.join(data, file_name)]
        child = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                 start_new_session=True)
        try:
            output, errors = child.communicate(timeout=PATIENCE)
        except subprocess.TimeoutExpired:
            os.killpg(child.pid, signal.SIGKILL)
            child.communicate()
            return f"took more than {PATIENCE} s"
        if child.returncode == 3:
            self.absent.add(peer)
            print(f"{peer}: not installed, skipped", file=sys.stderr)
            return None
        if child.returncode != 0:
            print(f"{peer}, {file_name}: {errors.strip().splitlines()[-1:]}", file=sys.stderr)
            return "could not read it"
        figures = json.loads(output)
        self.versions.add(figures["version"])
        return figures

    def hold_against(self, ours, cells, names, file_name):
        """Our time as a part of the nearest peer's, and a word on each peer."""
        times = []
        words = []
        for peer in names:
            figures = self.measure(peer, file_name)
            if figures is None:
                continue
            if isinstance(figures, str):
                words.append(f"{peer} {figures}")
                continue
            times.append(figures["seconds"])
            word = f"{peer} {number(figures['seconds'])} s, {figures['peak_MB']:.0f} MB"
            if cells and not 0.9 < figures["cells"] / cells < 1.1:
                word += f" ({number(figures['cells'] / 1e6)} million values)"
            words.append(word)
        return number(ours / min(times)) if times else "", "; ".join(words)


def number(value):
    if value >= 100:
        return f"{value:.0f}"
    return f"{value:.2g}" if value < 1 else f"{value:.3g}"


def line(*cells):
    return "| " + " | ".join(cells) + " |"


def figure(row, name, factor=1.0):
    return number(row[name] * factor) if name in row else ""


def of_at_most(row, name, target):
    if name not in row:
        return ""
    return number(row[name]) + (f" of {row[target]:g}" if target in row else "")


def other_figures(row):
    return [f"{of_at_most(row, name, target)} {words}" for name, (target, words) in OTHER_FIGURES.items()
            if name in row]


SINKS = {"complete": "counting, complete", "karta_table": "karta::Table"}


def reading_line(row, peers, formats_with_peers, held):
    file_format, file_name = row["label"].split(": ")
    name = row["name"].split("/")[1]
    sink = SINKS.get(name, name.replace("_", " "))
    ratio, words = "", []
    if held.get(row["label"]) is row:
        ratio, of_peers = peers.hold_against(row["s"], row.get("cells"), READERS.get(file_name, []), file_name)
        words = [of_peers] if of_peers else []
        if ratio and file_name in PEER_GOALS:
            ratio += f" of {PEER_GOALS[file_name]:g}"
        if not words and file_name not in CONVERTERS:
            words = ["with a smaller file"]
    if file_format not in formats_with_peers:
        words = ["none"]
    return line(file_format, file_name, sink, figure(row, "file_MB"), figure(row, "cells", 1e-6),
                figure(row, "cells/s", 1e-6), figure(row, "MB/s"), of_at_most(row, "M", "M_target"),
                figure(row, "peak_MB"), ratio, "; ".join(words + other_figures(row)))


def converting_line(row, peers):
    """The whole of karta-import on a file against the whole of another program."""
    file_format, file_name = row["label"].split(": ")
    ours = peers.measure("karta-import", file_name)
    if not isinstance(ours, dict):
        return None
    ratio, words = peers.hold_against(ours["seconds"], ours["cells"], CONVERTERS[file_name], file_name)
    return line(file_format, file_name, "CSV, whole process", figure(row, "file_MB"), number(ours["cells"] / 1e6),
                number(ours["cells"] / 1e6 / ours["seconds"]), number(row["file_MB"] / ours["seconds"]), "",
                number(ours["peak_MB"]), ratio, words)


def lines_of(measured, peers):
    rows = [row for row in measured["benchmarks"] if "label" in row and not row.get("error_occurred")]
    files = set(READERS) | set(CONVERTERS)
    formats_with_peers = {row["label"].split(": ")[0] for row in rows if row["label"].split(": ")[1] in files}
    # What peers are held against: our table in columns, where it is measured, else the table of cells.
    held = {row["label"]: row for name in ("table", "karta_table") for row in rows
            if row["name"].split("/")[1] == name}
    for row in rows:
        if row["name"].split("/")[1] == "table" and held[row["label"]] is not row:
            held[row["label"]].setdefault("cells", row["cells"])
    for row in sorted(rows, key=lambda row: row["label"].split(": ")[0].lower()):
        yield reading_line(row, peers, formats_with_peers, held)
        if row["name"].split("/")[1] == "table" and row["label"].split(": ")[1] in CONVERTERS and peers.python:
            converted = converting_line(row, peers)
            if converted:
                yield converted


def machine():
    context = {}
    for path, separator in (("/etc/os-release", "="), ("/proc/cpuinfo", ":")):
        with open(path, encoding="utf-8") as stream:
            for text in stream:
                key, found, value = text.partition(separator)
                if found:
                    context.setdefault(key.strip(), value.strip().strip('"'))
    mhz = float(context.get("cpu MHz", 0)) / 1000
    compiler = subprocess.run(["g++", "-dumpfullversion"], capture_output=True, text=True).stdout.strip()
    load = os.getloadavg()[2]
    return (f"{time.strftime('%Y-%m-%d')}, {os.cpu_count()} cores at {mhz:.1f} GHz, "
            f"{context.get('PRETTY_NAME', platform.system())}, g++ {compiler}, load of the last 15 minutes {load:.1f}.")


def record(text, begin=BEGIN, end=END):
    with open(readme, encoding="utf-8") as stream:
        page = stream.read()
    pattern = re.escape(begin) + ".*" + re.escape(end)
    if not re.search(pattern, page, flags=re.DOTALL):
        sys.exit("bench/README.md has no marker lines")
    with open(readme, "w", encoding="utf-8") as stream:
        stream.write(re.sub(pattern, lambda match: f"{begin}\n\n{text}\n\n{end}", page, flags=re.DOTALL))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("measured")
    parser.add_argument("--peers", metavar="PYTHON")
    parser.add_argument("--one-core", action="store_true")
    parser.add_argument("--record", action="store_true")
    arguments = parser.parse_args()
    with open(arguments.measured, encoding="utf-8") as stream:
        measured = json.load(stream)
    peers = Peers(arguments.peers)
    heading = machine()
    table = "\n".join([HEADING, *lines_of(measured, peers)])
    taking_part = ", ".join(sorted(version for version in peers.versions if not version.startswith("karta")))
    text = heading + (f" Peers: {taking_part}." if taking_part else " No peers.") + "\n\n" + table
    if peers.absent:
        text += f"\n\nNot installed, skipped: {', '.join(sorted(peers.absent))}."
    print(text)
    if arguments.record and arguments.one_core:
        record(text, BEGIN_ONE_CORE, END_ONE_CORE)
    elif arguments.record:
        record(text)


if __name__ == "__main__":
    main()
