"""Makes samples/design.mip: a PLANO project with the worksheet of a small factorial design."""
import pathlib

from compound_file import compound_file

HEAD = ["Run", "Order", "Temperature", "Time", "Catalyst", "Yield"]
LEVELS = {"Temperature": (60, 80), "Time": (10, 30), "Catalyst": (0.5, 1.5)}
ORDER = [5, 2, 8, 1, 11, 4, 7, 10, 3, 9, 6]


def runs():
    for i in range(8):
        signs = [i & 1, i >> 1 & 1, i >> 2 & 1]
        values = [LEVELS[name][sign] for name, sign in zip(LEVELS, signs)]
        yield values, 54.2 + 11.3 * signs[0] + 4.9 * signs[1] + 2.4 * signs[2] - 3.1 * signs[0] * signs[1]
    for repeat in (0.0, 0.6, -0.4):
        yield [70, 20, 1], 62.7 + repeat


def worksheet():
    lines = ["\t".join(HEAD)]
    for number, (values, measured) in enumerate(runs(), 1):
        cells = ["N%d" % number, ORDER[number - 1], *values, "%.1f" % measured]
        lines.append("\t".join(str(cell) for cell in cells))
    return ("\r\n".join(lines) + "\r\n").encode()


def main():
    streams = {"Design": b"\x01\0\0\0full factorial, 3 centre points", "Worksheet.dat": worksheet(),
               "Notes": b"Pilot plant, weeks 12 and 13."}
    pathlib.Path(__file__).with_name("design.mip").write_bytes(compound_file(streams))


if __name__ == "__main__":
    main()
