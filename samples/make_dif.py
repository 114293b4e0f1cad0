#!/usr/bin/env python3
"""Makes samples/titration.dif: a titration in the Data Interchange Format, its texts in code page 850."""
import math
import os

HEADER = 'TABLE\r\n0,1\r\n"Titration"\r\nVECTORS\r\n0,%d\r\n""\r\nTUPLES\r\n0,%d\r\n""\r\nDATA\r\n0,0\r\n""\r\n'


def text(cell):
    return '1,0\r\n"%s"\r\n' % cell


def number(cell):
    return "0,%s\r\nV\r\n" % cell


def rows():
    yield [text("Zugabe ml"), text("pH"), text("Farbe"), text("gültig")]
    for step in range(0, 41):
        ml = step * 0.5
        ph = 7 + 4.2 * math.tanh((ml - 12.25) * 1.7)
        colour = "farblos" if ph < 8.2 else "rötlich"
        value = "0,0\r\nNA\r\n" if step == 17 else number("%.2f" % ph)
        yield [number("%.1f" % ml), value, text(colour), "0,1\r\nTRUE\r\n"]


def main():
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "titration.dif")
    table = list(rows())
    with open(path, "w", newline="", encoding="cp850") as out:
        out.write(HEADER % (len(table[0]), len(table)))
        for row in table:
            out.write("-1,0\r\nBOT\r\n" + "".join(row))
        out.write("-1,0\r\nEOD\r\n")


if __name__ == "__main__":
    main()
