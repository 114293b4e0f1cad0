#!/usr/bin/env python3
"""Makes samples/wine.txt: a small table as a laboratory keeps it, tab-separated, names in the first row."""
import os

VARIABLES = ["Alcohol", "Malic acid", "Ash", "Magnesium", "Phenols", "Hue"]
START = [13.0, 2.3, 2.4, 100.0, 2.3, 0.96]
STEP = [0.83, 1.11, 0.27, 14.0, 0.62, 0.23]


def rows():
    state = 7
    for wine in range(1, 25):
        cells = ["W%03d" % wine, "ABC"[(wine - 1) // 8]]
        for start, step in zip(START, STEP):
            state = (state * 1103515245 + 12345) % 2**31
            value = start + step * (state / 2**30 - 1)
            cells.append("" if state % 31 == 0 else "%.2f" % value)
        yield cells


def main():
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "wine.txt")
    with open(path, "w", newline="") as out:
        out.write("\t".join(["Sample", "Class"] + VARIABLES) + "\n")
        for cells in rows():
            out.write("\t".join(cells) + "\n")


if __name__ == "__main__":
    main()
