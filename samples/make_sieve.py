#!/usr/bin/env python3
"""Makes samples/frames.txt: a report of Thermo SIEVE, 40 frames of two groups of three samples."""
import os

FIXED = ["FrameID", "MZStart", "MZStop", "TimeStart", "TimeStop", "pValue", "Ratio", "UpperBound", "LowerBound",
         "FOM1", "Charge", "PRElement"]
SAMPLES = ["control1", "control2", "control3", "treated1", "treated2", "treated3"]


def main():
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "frames.txt")
    state = 23
    with open(path, "w", newline="") as out:
        out.write("\t".join(FIXED + ["Intensity_" + sample for sample in SAMPLES]) + "\n")
        for frame in range(1, 41):
            state = (state * 1103515245 + 12345) % 2**31
            mz = 300 + state % 90000 / 100
            time = 5 + state % 5000 / 100
            ratio = 0.5 + state % 300 / 100
            base = 10000 + state % 90000
            intensities = [base + 37 * n if n < 3 else int((base + 53 * n) * ratio) for n in range(6)]
            cells = [str(frame), "%.4f" % mz, "%.4f" % (mz + 0.02), "%.3f" % time, "%.3f" % (time + 1.5),
                     "%.6f" % (state % 1000 / 20000), "%.3f" % ratio, "%.3f" % (ratio * 1.2), "%.3f" % (ratio * 0.8),
                     "%.3f" % (state % 97 / 97), str(1 + frame % 4), "PRE%03d" % frame]
            out.write("\t".join(cells + [str(value) for value in intensities]) + "\n")


if __name__ == "__main__":
    main()
