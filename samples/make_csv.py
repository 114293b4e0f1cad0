#!/usr/bin/env python3
"""Makes samples/soil.csv: soil samples as a field sheet, semicolons between the fields, some of them in quotes."""
import os

TEXTURES = ["loam", "clay; wet", "sand", 'silt "fine"']


def quoted(text):
    return '"' + text.replace('"', '""') + '"' if ";" in text or '"' in text else text


def main():
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "soil.csv")
    state = 11
    with open(path, "w", newline="") as out:
        out.write("Plot;Depth cm;pH;Organic %;Texture;Remark\r\n")
        for plot in range(1, 31):
            state = (state * 1103515245 + 12345) % 2**31
            ph = 5.5 + state % 200 / 100
            organic = "" if state % 7 == 0 else "%.1f" % (1 + state % 61 / 10)
            remark = '"stones,\r\nroots"' if plot % 10 == 0 else ""
            cells = ["P%02d" % plot, str(10 * (plot % 3 + 1)), "%.2f" % ph, organic, quoted(TEXTURES[plot % 4]), remark]
            out.write(";".join(cells) + "\r\n")


if __name__ == "__main__":
    main()
