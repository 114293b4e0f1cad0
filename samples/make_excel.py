"""Makes samples/moisture.xls: an Excel 97 workbook (BIFF8) of near-infrared calibration samples."""
import pathlib
import struct

from compound_file import compound_file

BIFF8, GLOBALS, SHEET = 0x0600, 5, 0x10
DATE_FORMAT = 14
STYLES = {"general": 0, "date": 1, "stamp": 2}


def record(identifier, data=b""):
    return struct.pack("<HH", identifier, len(data)) + data


def bof(kind):
    return record(0x0809, struct.pack("<HHHHII", BIFF8, kind, 0x0DBB, 0x07CC, 0, 6))


def text(value):
    return struct.pack("<HB", len(value), 0) + value.encode("latin-1")


def rk(value):
    return struct.pack("<i", value << 2 | 2)


class Sheet:
    def __init__(self, name, state=0):
        self.name, self.state, self.cells = name, state, []
        self.rows = self.cols = 0

    def put(self, row, col, style, identifier, data):
        self.cells.append(record(identifier, struct.pack("<HHH", row, col, STYLES[style]) + data))
        self.rows, self.cols = max(self.rows, row + 1), max(self.cols, col + 1)

    def number(self, row, col, value, style="general"):
        if isinstance(value, int):
            self.put(row, col, style, 0x027E, rk(value))
        else:
            self.put(row, col, style, 0x0203, struct.pack("<d", value))

    def shared(self, row, col, index):
        self.put(row, col, "general", 0x00FD, struct.pack("<I", index))

    def formula(self, row, col, value):
        self.put(row, col, "general", 0x0006, struct.pack("<dHIH", value, 0, 0, 0))

    def error(self, row, col, code):
        self.put(row, col, "general", 0x0205, struct.pack("<BB", code, 1))

    def records(self):
        size = struct.pack("<IIHHH", 0, self.rows, 0, self.cols, 0)
        return bof(SHEET) + record(0x0200, size) + b"".join(self.cells) + record(0x000A)


class Workbook:
    def __init__(self):
        self.strings, self.sheets = [], []

    def index(self, value):
        if value not in self.strings:
            self.strings.append(value)
        return self.strings.index(value)

    def stream(self):
        style = b"".join(record(0x00E0, struct.pack("<HH", 0, number) + b"\0" * 16) for number in (0, DATE_FORMAT, 164))
        head = bof(GLOBALS) + record(0x041E, struct.pack("<H", 164) + text("yyyy-mm-dd hh:mm")) + style
        table = struct.pack("<II", len(self.strings), len(self.strings)) + b"".join(map(text, self.strings))
        tail = record(0x00FC, table) + record(0x000A)
        entries = [struct.pack("<BBBB", s.state, 0, len(s.name), 0) + s.name.encode("ascii") for s in self.sheets]
        offset = len(head) + sum(8 + len(e) for e in entries) + len(tail)
        for sheet, e in zip(self.sheets, entries):
            head += record(0x0085, struct.pack("<I", offset) + e)
            offset += len(sheet.records())
        return head + tail + b"".join(s.records() for s in self.sheets)


def samples_sheet(book):
    sheet = Sheet("Samples")
    for col, name in enumerate(["Sample", "Origin", "Sampled", "Measured", "Moisture %", "Protein %", "Sum"]):
        sheet.shared(0, col, book.index(name))
    origins = ["North field", "South field", "River bank"]
    for i in range(24):
        moisture, protein = 11.2 + 0.35 * (i * 7 % 11), 9.8 + 0.2 * (i * 5 % 13)
        sheet.shared(i + 1, 0, book.index("W-%03d" % (101 + i)))
        sheet.shared(i + 1, 1, book.index(origins[i % 3]))
        sheet.number(i + 1, 2, 39569 + i // 4, "date")
        sheet.number(i + 1, 3, 39570 + i // 4 + 0.375 + i % 4 / 24, "stamp")
        sheet.number(i + 1, 4, round(moisture, 2))
        if i == 17:
            sheet.error(i + 1, 5, 0x2A)
            sheet.error(i + 1, 6, 0x2A)
        else:
            sheet.number(i + 1, 5, round(protein, 2))
            sheet.formula(i + 1, 6, round(moisture, 2) + round(protein, 2))
    return sheet


def spectra_sheet(book):
    sheet = Sheet("Absorbance")
    sheet.shared(0, 0, book.index("Sample"))
    lines = range(1100, 2500, 100)
    for col, line in enumerate(lines, 1):
        sheet.number(0, col, line)
    for i in range(24):
        sheet.shared(i + 1, 0, book.index("W-%03d" % (101 + i)))
        for col, line in enumerate(lines, 1):
            sheet.number(i + 1, col, round(0.42 + 0.0001 * line + 0.01 * (i * 7 % 11) / (1 + abs(line - 1900) / 100), 5))
    return sheet


def main():
    book = Workbook()
    book.sheets = [samples_sheet(book), spectra_sheet(book), Sheet("Lookup", state=1)]
    book.sheets[2].shared(0, 0, book.index("North field"))
    book.sheets[2].number(0, 1, 3)
    pathlib.Path(__file__).with_name("moisture.xls").write_bytes(compound_file({"Workbook": book.stream()}))


if __name__ == "__main__":
    main()
