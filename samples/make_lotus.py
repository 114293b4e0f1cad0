#!/usr/bin/env python3
"""Makes samples/yields.wk1: a Lotus 1-2-3 worksheet of 1987, with labels, integers, numbers and a formula."""
import os
import struct

PLOTS = ["North", "East", "South", "West"]


def record(kind, body):
    return struct.pack("<hh", kind, len(body)) + body


def place(col, row):
    return b"\xff" + struct.pack("<hh", col, row)


def label(col, row, text):
    return record(15, place(col, row) + b"'" + text.encode("cp850") + b"\0")


def integer(col, row, value):
    return record(13, place(col, row) + struct.pack("<h", value))


def number(col, row, value):
    return record(14, place(col, row) + struct.pack("<d", value))


def formula(col, row, result):
    return record(16, place(col, row) + struct.pack("<dH", result, 1) + b"\x03")


def cells():
    for col, name in enumerate(["Plot", "Year", "Yield t/ha", "Per cent"]):
        yield label(col, 0, name)
    row = 1
    for plot in PLOTS:
        for year in range(1980, 1987):
            value = 5.2 + (row * 37 % 23) / 10
            yield label(0, row, plot)
            yield integer(1, row, year)
            yield number(2, row, value)
            yield formula(3, row, value / 7.5 * 100)
            row += 1


def main():
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "yields.wk1")
    rows = 1 + len(PLOTS) * 7
    with open(path, "wb") as out:
        out.write(record(0, struct.pack("<H", 0x0406)))
        out.write(record(6, struct.pack("<4h", 0, 0, 3, rows - 1)))
        out.write(b"".join(cells()))
        out.write(record(1, b""))


if __name__ == "__main__":
    main()
