"""The files that cost most for their bytes, made by hand: a maker each."""
import dataclasses
import pathlib
import struct
import sys
from collections.abc import Callable

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent.parent / "samples"))
sys.path.insert(0, str(HERE))
from compound_file import SECTOR, compound_file  # noqa: E402
from packing import packed_zip, zlib_stream  # noqa: E402


@dataclasses.dataclass
class WorstFile:
    name: str
    what: str
    make: Callable  # of a folder; gives the path of the file that it made there
    options: tuple = ()  # that lead to its reader
    quick: bool = False  # made and measured in a moment, in the ordinary tests too


WORST_FILES = []


def worst(name, what, *options, quick=False):
    """Registers a maker that gives the bytes of the file, or writes it by itself to the path that it is given."""
    def enter(maker):
        def make(folder):
            path = pathlib.Path(folder, name)
            data = maker(path)
            if data is not None:
                path.write_bytes(data if isinstance(data, bytes) else data.encode())
            return path
        WORST_FILES.append(WorstFile(name, what, make, options, quick))
        return maker
    return enter


# --- MATLAB ---------------------------------------------------------------------------------------------------------

def mat4(kind, rows, cols, name, body):
    return struct.pack("<5i", kind, rows, cols, 0, len(name) + 1) + name + b"\0" + body


@worst("mat4-sparse.mat", "MATLAB 4, sparse 100,000,000 x 1", quick=True)
def mat4_sparse(_):
    return mat4(2, 2, 3, b"A", struct.pack("<6d", 1, 1e8, 1, 1, 1, 0))


@worst("mat4-text.mat", "MATLAB 4, a text matrix of 2,000,000,000 rows", quick=True)
def mat4_text(_):
    return mat4(1, 2000000000, 1, b"A", b"\0" * 16)


@worst("mat4-many.mat", "MATLAB 4, 100,000 matrices of one number")
def mat4_many(_):
    return b"".join(mat4(0, 1, 1, b"M%d" % i, struct.pack("<d", i)) for i in range(100000))


@worst("mat4-wide-sparse.mat", "MATLAB 4, sparse 30,000 x 30,000 with a number in each row's last column")
def mat4_wide_sparse(_):
    count = 30000
    columns = [struct.pack(f"<{count}d", *range(1, count + 1)), struct.pack("<d", count) * count,
               struct.pack("<d", 1.5) * count]
    return mat4(2, count, 3, b"A", b"".join(columns))


def element(kind, data):
    return struct.pack("<II", kind, len(data)) + data + b"\0" * (-len(data) % 8)


MAT5_HEAD = b"MATLAB 5.0 MAT-file".ljust(116) + b"\0" * 8 + struct.pack("<H", 0x0100) + b"IM"


def mat5(*matrices):
    return MAT5_HEAD + b"".join(element(14, m) for m in matrices)


def matrix_head(kind, rows, cols, name=b"A", most=0):
    return element(6, struct.pack("<II", kind, most)) + element(5, struct.pack("<ii", rows, cols)) + element(1, name)


def sparse5(rows, cols, row_indices, col_starts, values, name=b"A"):
    return (matrix_head(5, rows, cols, name, max(len(values), 1)) +
            element(5, struct.pack(f"<{len(row_indices)}i", *row_indices)) +
            element(5, struct.pack(f"<{len(col_starts)}i", *col_starts)) +
            element(9, struct.pack(f"<{len(values)}d", *values)))


@worst("mat5-sparse.mat", "MATLAB 5, sparse 2^27 x 1", quick=True)
def mat5_sparse(_):
    return mat5(sparse5(1 << 27, 1, [5], [0, 1], [1.0]))


@worst("mat5-empty-rows.mat", "MATLAB 5, 2,000,000,000 rows of 0 columns", quick=True)
def mat5_empty(_):
    return mat5(matrix_head(6, 2000000000, 0) + element(9, b""))


@worst("mat5-inflate.mat", "MATLAB 5, a compressed matrix of 800 MB of zeros")
def mat5_inflate(_):
    count = 100_000_000
    head = matrix_head(6, count, 1) + struct.pack("<II", 9, 8 * count)
    packed = zlib_stream([struct.pack("<II", 14, len(head) + 8 * count) + head, (b"\0" * 1_000_000, 800)])
    return MAT5_HEAD + struct.pack("<II", 15, len(packed)) + packed


@worst("mat5-nested.mat", "MATLAB 5, cells in cells, 20,000 deep")
def mat5_nested(_):
    inner = matrix_head(6, 1, 1, b"") + element(9, struct.pack("<d", 1.0))
    heads = []
    length = len(inner)
    for _ in range(20000):
        heads.append(matrix_head(1, 1, 1, b"") + struct.pack("<II", 14, length))
        length += len(heads[-1])
    return MAT5_HEAD + struct.pack("<II", 14, length) + b"".join(reversed(heads)) + inner


@worst("mat5-empty-cells.mat", "MATLAB 5, a cell array of 1,000,000 empty cells")
def mat5_cells(_):
    return mat5(matrix_head(1, 1000000, 1) + struct.pack("<II", 14, 0) * 1000000)


@worst("mat5-struct.mat", "MATLAB 5, a struct of 5,000 fields and 5,000 elements without content", quick=True)
def mat5_struct(_):
    names = b"".join((b"f%d" % i).ljust(8, b"\0") for i in range(5000))
    return mat5(matrix_head(2, 5000, 1) + struct.pack("<HHi", 5, 4, 8) + element(1, names))


# --- workbooks ------------------------------------------------------------------------------------------------------

TYPES = ('<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
         '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
         '<Default Extension="xml" ContentType="application/xml"/><Override PartName="/xl/workbook.xml" ContentType='
         '"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/></Types>')
ROOT = ('<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Id="rId1" '
        'Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" '
        'Target="xl/workbook.xml"/></Relationships>')
MAIN = 'xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"'
RELATIONS = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"


def xlsx(path, sheet, strings=None, sheets=1):
    """sheet and strings: pieces of their part's text, some with how often they come."""
    names = "".join(f'<sheet name="S{i}" sheetId="{i}" r:id="rId1"/>' for i in range(1, sheets + 1))
    parts = {
        "[Content_Types].xml": TYPES,
        "_rels/.rels": ROOT,
        "xl/workbook.xml": f'<workbook {MAIN} xmlns:r="{RELATIONS}"><sheets>{names}</sheets></workbook>',
        "xl/_rels/workbook.xml.rels": '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
        f'<Relationship Id="rId1" Type="{RELATIONS}/worksheet" Target="worksheets/sheet1.xml"/>'
        f'<Relationship Id="rId2" Type="{RELATIONS}/sharedStrings" Target="sharedStrings.xml"/></Relationships>'}
    if strings is not None:
        parts["xl/sharedStrings.xml"] = strings
    parts["xl/worksheets/sheet1.xml"] = [
        f'<?xml version="1.0" encoding="UTF-8"?><worksheet {MAIN}><sheetData>'.encode(), *sheet, b"</sheetData></worksheet>"]
    packed_zip(path, parts)


@worst("xlsx-far-column.xlsx", ".xlsx, a cell in column XFD of 100,000 rows")
def xlsx_far(path):
    rows = "".join(f'<row r="{r}"><c r="XFD{r}"><v>1</v></c></row>' for r in range(1, 100001))
    xlsx(path, [rows.encode()])


@worst("xlsx-empty-cells.xlsx", ".xlsx, 197 million <c/>")
def xlsx_cells(path):
    xlsx(path, [(b"<row>" + b"<c/>" * 10000 + b"</row>", 19700)])


@worst("xlsx-long-text.xlsx", ".xlsx, one text of 500 MB")
def xlsx_text(path):
    xlsx(path, [b'<row r="1"><c r="A1" t="str"><v>', (b"x" * 1_000_000, 500), b"</v></c></row>"])


@worst("xlsx-shared-text.xlsx", ".xlsx, one text of 1 MB in 12,000 cells")
def xlsx_shared(path):
    rows = "".join(f'<row r="{r}"><c r="A{r}" t="s"><v>0</v></c></row>' for r in range(1, 12001))
    xlsx(path, [rows.encode()], [f"<sst {MAIN}><si><t>".encode(), (b"x" * 100_000, 10), b"</t></si></sst>"])


@worst("xlsx-many-strings.xlsx", ".xlsx, 60 million empty shared strings")
def xlsx_strings(path):
    xlsx(path, [b'<row r="1"><c r="A1" t="s"><v>0</v></c></row>'],
         [f"<sst {MAIN}>".encode(), (b"<si><t/></si>" * 10000, 6000), b"</sst>"])


@worst("xlsx-many-sheets.xlsx", ".xlsx, 8,000 sheet names on one part")
def xlsx_sheets(path):
    rows = "".join(f'<row r="{r}"><c r="A{r}"><v>1</v></c></row>' for r in range(1, 2001))
    xlsx(path, [rows.encode()], sheets=8000)


@worst("xlsx-attributes.xlsx", ".xlsx, a cell of 300,000 attributes")
def xlsx_attributes(path):
    names = " ".join(f'a{i}=""' for i in range(300000))
    xlsx(path, [f'<row r="1"><c r="A1" {names}><v>1</v></c></row>'.encode()])


@worst("xlsx-nested.xlsx", ".xlsx, elements 1,000,000 deep")
def xlsx_nested(path):
    xlsx(path, [b'<row r="1"><c r="A1">', (b"<x>" * 10000, 100), (b"</x>" * 10000, 100), b"<v>1</v></c></row>"])


def varint(value):
    out = b""
    while value > 127:
        out += bytes([value & 127 | 128])
        value >>= 7
    return out + bytes([value])


def biff12(kind, data=b""):
    number = bytes([kind]) if kind < 128 else bytes([kind & 127 | 128, kind >> 7])
    return number + varint(len(data)) + data


def wide(text):
    return struct.pack("<I", len(text)) + text.encode("utf-16-le")


def xlsb(path, sheet, rows=1000000, columns=16384):
    types = TYPES.replace("workbook.xml", "workbook.bin").replace(
        "openxmlformats-officedocument.spreadsheetml.sheet.main+xml", "ms-excel.sheet.binary.macroEnabled.main")
    bundle = biff12(156, struct.pack("<II", 0, 1) + wide("rId1") + wide("S1"))
    packed_zip(path, {
        "[Content_Types].xml": types,
        "_rels/.rels": ROOT.replace("workbook.xml", "workbook.bin"),
        "xl/workbook.bin": biff12(131) + biff12(143) + bundle + biff12(144) + biff12(132),
        "xl/_rels/workbook.bin.rels": '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
        f'<Relationship Id="rId1" Type="{RELATIONS}/worksheet" Target="worksheets/sheet1.bin"/></Relationships>',
        "xl/worksheets/sheet1.bin": [biff12(129) + biff12(148, struct.pack("<4I", 0, rows - 1, 0, columns - 1)) + biff12(145),
                                     *sheet, biff12(146) + biff12(130)]})


def row12(row):
    return biff12(0, struct.pack("<IIH", row, 0, 300) + b"\0" * 7)


@worst("xlsb-long-texts.xlsb", ".xlsb, a text of 8,000 letters in 60,000 cells")
def xlsb_texts(path):
    cells = b"".join(biff12(6, struct.pack("<II", c, 0) + wide("y" * 8000)) for c in range(10))
    xlsb(path, [piece for r in range(6000) for piece in (row12(r), cells)])


@worst("xlsb-far-column.xlsb", ".xlsb, column 16384 in 60,000 rows")
def xlsb_far(path):
    cell = biff12(5, struct.pack("<IId", 16383, 0, 1.5))
    xlsb(path, [b"".join(row12(r) + cell for r in range(60000))])


def biff(identifier, data=b""):
    return struct.pack("<HH", identifier, len(data)) + data


def biff_book(sheet, strings=b"", sheets=1, sector=SECTOR):
    """A workbook of one sheet, under so many names."""
    def bof(kind):
        return biff(0x809, struct.pack("<HHHHII", 0x600, kind, 0x0DBB, 0x07CC, 0, 6))
    names = [b"S%d" % i for i in range(sheets)]
    offset = len(bof(5)) + sum(12 + len(name) for name in names) + len(strings) + 4
    list_of_sheets = b"".join(biff(0x85, struct.pack("<IBBBB", offset, 0, 0, len(name), 0) + name) for name in names)
    return compound_file({"Workbook": bof(5) + list_of_sheets + strings + biff(0x0A) + bof(0x10) + sheet + biff(0x0A)}, sector=sector)


def shared_text(flag, count, data, uses):
    strings = biff(0xFC, struct.pack("<IIHB", uses, 1, count, flag) + data[:8000])
    for at in range(8000, len(data), 8000):
        strings += biff(0x3C, bytes([flag]) + data[at:at + 8000])
    cells = b"".join(biff(0xFD, struct.pack("<HHHI", r, 0, 0, 0)) for r in range(uses))
    return biff_book(biff(0x200, struct.pack("<IIHHH", 0, uses, 0, 1, 0)) + cells, strings)


@worst("xls-shared-text.xls", ".xls, a text of 65,535 letters in 55,000 cells")
def xls_shared(_):
    return shared_text(0, 65535, b"z" * 65535, 55000)


@worst("xls-shared-wide-text.xls", ".xls, the same of three-byte characters")
def xls_wide(_):
    return shared_text(1, 65535, "\u20ac".encode("utf-16-le") * 65535, 55000)


@worst("xls-far-cells.xls", ".xls, the last column of 65,536 rows")
def xls_far(_):
    return biff_book(b"".join(biff(0x203, struct.pack("<HHHd", r, 255, 0, 1.5)) for r in range(65536)))


@worst("xls-many-sheets.xls", ".xls, 20,000 sheet names on one sheet")
def xls_sheets(_):
    return biff_book(b"".join(biff(0x203, struct.pack("<HHHd", r, 0, 0, 1.5)) for r in range(5000)), sheets=20000)


@worst("xls-many-strings.xls", ".xls, 1,890,000 empty shared strings")
def xls_strings(_):
    strings = biff(0xFC, struct.pack("<II", 1890000, 1890000) + b"\0\0\0" * 2700)
    strings += biff(0x3C, b"\0\0\0" * 2700) * 699
    return biff_book(biff(0xFD, struct.pack("<HHHI", 0, 0, 0, 0)), strings)


def wk1(cells):
    body = struct.pack("<HHH", 0, 2, 0x0406) + struct.pack("<HH4H", 6, 8, 0, 0, 32767, 8191)
    return body + b"".join(cells) + struct.pack("<HH", 1, 0)


@worst("wk1-far-formulas.wk1", ".wk1, formulas in column 32767")
def wk1_formulas(_):
    return wk1(struct.pack("<HHBHHdH", 16, 16, 255, 32767, r, 1.5, 1) + b"\3" for r in range(8192))


@worst("wk1-far-integers.wk1", ".wk1, integers in column 8192 of every row")
def wk1_integers(_):
    return wk1(struct.pack("<HHBHHh", 13, 7, 255, 8192, r, 7) for r in range(8192))


@worst("wk1-corner.wk1", ".wk1, one number in column 32767 of row 32767")
def wk1_corner(_):
    return wk1([struct.pack("<HHBHHd", 14, 13, 255, 32767, 32767, 1.5)])


# --- spectra --------------------------------------------------------------------------------------------------------

JCAMP_HEAD = ("##TITLE=a\n##JCAMP-DX=4.24\n##DATA TYPE=INFRARED SPECTRUM\n##XUNITS=1/CM\n##YUNITS=ABSORBANCE\n##FIRSTX={first}\n"
              "##LASTX={last}\n##NPOINTS={points}\n##XFACTOR=1\n##YFACTOR=1\n##FIRSTY=1\n##XYDATA=(X++(Y..Y))\n")


@worst("jcamp-dup.dx", "JCAMP-DX, one count of a million points repeated in 1 MB")
def jcamp_dup(_):
    return JCAMP_HEAD.format(first=1, last=1000000, points=1000000) + "1A999999999999Z\n" * 65000 + "##END=\n"


def jcamp_link(blocks):
    head = f"##TITLE=a\n##JCAMP-DX=4.24\n##DATA TYPE=LINK\n##BLOCKS={len(blocks)}\n"
    return head + "".join(block + "##END=\n" for block in blocks) + "##END=\n"


@worst("jcamp-page.dx", "JCAMP-DX, a page of 12,000 tables and 12,000 records between them")
def jcamp_page(_):
    head = "##TITLE=a\n##JCAMP-DX=5.01\n##DATA TYPE=NMR SPECTRUM\n##SYMBOL=X, R, N\n##PAGE= N=1\n"
    table = "##A%d=1\n##FACTOR=1, 2, 1\n##DATA TABLE= (X++(R..R)), XYDATA\n1 1 2 3\n"
    return head + "".join(table % i for i in range(12000)) + "##END=\n"


@worst("jcamp-dup-blocks.dx", "JCAMP-DX, 3,000 blocks of a million equal points each")
def jcamp_dup_blocks(_):
    return jcamp_link([JCAMP_HEAD.format(first=1, last=1000000, points=1000000) + "1A1s999999\n"] * 3000)


@worst("jcamp-own-axes.dx", "JCAMP-DX, 5,000 blocks of two points on an axis of their own")
def jcamp_axes(_):
    return jcamp_link([JCAMP_HEAD.format(first=i + 0.25, last=i + 0.75, points=2) + f"{i + 0.25} 1 2\n" for i in range(5000)])


@worst("jcamp-claims.dx", "JCAMP-DX, 2,000,000,000 points claimed")
def jcamp_claims(_):
    return JCAMP_HEAD.format(first=1, last=2000000000, points=2000000000) + "1 1 2 3\n##END=\n"


@worst("jcamp-nested.dx", "JCAMP-DX, links in links, 30,000 deep")
def jcamp_nested(_):
    return "##TITLE=a\n##JCAMP-DX=4.24\n##DATA TYPE=LINK\n##BLOCKS=1\n" * 30000 + "##END=\n" * 30000


def spc_head(points, sub_files, flags=0x04):
    head = bytearray(512)
    head[0:4] = bytes([flags, 0x4B, 0, 0x80])
    struct.pack_into("<iddi", head, 4, points, 1.0, 2.0, sub_files)
    return bytes(head)


def spc_sub(points=0):
    return struct.pack("<BbhfffiifI", 0, -128, 0, 0, 0, 0, points, 0, 0, 0)[:32]


@worst("spc-claims.spc", "SPC, 2,000,000,000 sub-files of 2,000,000,000 points", quick=True)
def spc_claims(_):
    return spc_head(2000000000, 2000000000) + b"\0" * 1000


@worst("spc-one-point.spc", "SPC, 1,000,000 sub-files of one point")
def spc_points(_):
    return spc_head(1, 1000000) + (spc_sub() + struct.pack("<f", 1.0)) * 1000000


@worst("spc-own-axes.spc", "SPC, 20,000 sub-files of one point on an axis of their own")
def spc_axes(_):
    # Flags: many sub-files, an X array each.
    return spc_head(0, 20000, 0x04 | 0x40 | 0x80) + b"".join(
        spc_sub(1) + struct.pack("<ff", i + 0.5, 1.0) for i in range(20000))


def opus(entries, blocks, version=920622.0):
    """entries: (type, offset in blocks, length in bytes)."""
    head = b"\x0a\x0a\xfe\xfe" + struct.pack("<diii", version, 24, len(entries), len(entries))
    start = 24 + 12 * len(entries)
    return head + b"".join(struct.pack("<Iii", kind, length // 4, start + at) for kind, at, length in entries) + blocks


def opus_number(name, value):
    raw = struct.pack("<d", value) if isinstance(value, float) else struct.pack("<i", value)
    return name + b"\0" + struct.pack("<Hh", 1 if isinstance(value, float) else 0, len(raw) // 2) + raw


def opus_status(points):
    return (opus_number(b"DPF", 1) + opus_number(b"NPT", points) + opus_number(b"FXV", 4000.0) + opus_number(b"LXV", 400.0) +
            opus_number(b"CSF", 1.0) + b"END\0\0\0\0\0")


@worst("opus-claims.0", "OPUS, a directory of a million entries", quick=True)
def opus_claims(_):
    head = b"\x0a\x0a\xfe\xfe" + struct.pack("<dIII", 920622.0, 24, 1000000, 1000000)
    return head + struct.pack("<III", 0x100F, 1000, 24) * 5000 + b"\0" * 4096


@worst("opus-one-block.0", "OPUS, 2,000 pairs of a status and a data block, all on 250,000 points")
def opus_shared(_):
    status = opus_status(250000)
    status += b"\0" * (-len(status) % 4)
    pairs = [(0x101F, 0, len(status)), (0x100F, len(status), 1000000)]
    return opus(pairs * 2000, status + struct.pack("<f", 0.5) * 250000)


@worst("opus-parameters.0", "OPUS, 5,000 directory entries on one block of 20,000 parameters")
def opus_parameters(_):
    block = opus_number(b"DPF", 1) * 20000 + b"END\0\0\0\0\0"
    block += b"\0" * (-len(block) % 4)
    return opus([(0x101F, 0, len(block))] * 5000, block)


def chemstation(version, count):
    head = bytearray(0x400)
    head[0:3] = bytes([2]) + version
    head[0x18:0x1A] = b"\1a"
    struct.pack_into(">i", head, 0x108, 3)
    struct.pack_into(">i", head, 0x116, count)
    struct.pack_into(">d", head, 0x13E, 0.01)
    return head


@worst("chemstation-claims.uv", "ChemStation .uv, a count of 2,000,000,000 spectra", quick=True)
def chemstation_claims(_):
    return bytes(chemstation(b"31", 2000000000)) + b"\0" * 0x1C00


def uv_record(time, first, last, spacing, values):
    return struct.pack("<BBhihhhhh", ord("C"), 0, 22 + len(values), time, first, last, spacing, 0, 4) + b"\0" * 4 + values


@worst("chemstation-one-point.uv", "ChemStation .uv, 200,000 spectra of one point")
def chemstation_points(_):
    record = [uv_record(i, 4000, 4000, 40, struct.pack("<Hi", 0x8000, 7)) for i in range(200000)]
    return bytes(chemstation(b"31", len(record))) + b"".join(record)


@worst("chemstation-own-axes.uv", "ChemStation .uv, 20,000 spectra on axes of 32,000 points with one value each")
def chemstation_axes(_):
    record = [uv_record(i, i % 700, 32000, 1, struct.pack("<Hi", 0x8000, 7)) for i in range(20000)]
    return bytes(chemstation(b"31", len(record))) + b"".join(record)


@worst("chemstation-runs.ch", "ChemStation .ch, runs of values that are all absolute")
def chemstation_runs(_):
    head = chemstation(b"30", 0)
    struct.pack_into(">ii", head, 0x11A, 0, 2000000000)
    struct.pack_into(">hh", head, 0x212, 1, 1000)
    return bytes(head) + (struct.pack(">H", 0x10FF) + struct.pack(">Hi", 0x8000, 5) * 255) * 2000


def nsas_record(number, start, end, points, values):
    header = bytearray(128)
    struct.pack_into("<2h10s3h", header, 0, 6500, number % 30000, b"a".ljust(10), points, start, end)
    struct.pack_into("<6h", header, 64, 91, 4, 3, 10, 11, 12)
    return bytes(header) + values + bytes(-len(values) % 128)


@worst("nsas-claims.da", "NSAS, 30,000 points and samples in a kilobyte", quick=True)
def nsas_claims(_):
    return nsas_record(1, 0, 30000, 30000, b"\0" * 1024)


@worst("nsas-far-axes.da", "NSAS, 20,000 spectra of one point anywhere on an axis of 65,000")
def nsas_axes(_):
    starts = [i * 3 % 65000 - 32500 for i in range(20000)]
    return b"".join(nsas_record(i, start, start + 1, 1, struct.pack("<f", 1.5)) for i, start in enumerate(starts))


def brimrose(points, observations, body):
    header = bytearray(512)
    struct.pack_into("<I", header, 0, 0x0D0C10FF)
    struct.pack_into("<3f", header, 29, 1000.0, 2000.0, 1.0)
    struct.pack_into("<H", header, 41, points)
    struct.pack_into("<H", header, 45, observations)
    return bytes(header) + body


@worst("brimrose-claims.dat", "Brimrose, 65,535 observations of 65,535 points claimed", quick=True)
def brimrose_claims(_):
    return brimrose(65535, 65535, b"\0" * 1024)


@worst("brimrose-empty.dat", "Brimrose, 65,535 observations without a point")
def brimrose_empty(_):
    return brimrose(0, 65535, (struct.pack("<I", 1) + b"s" * 124) * 65535)


# --- netCDF ---------------------------------------------------------------------------------------------------------

def nc_name(text):
    return struct.pack(">I", len(text)) + text + b"\0" * (-len(text) % 4)


def netcdf(dimensions, variables, body=b"", records=0, attributes=()):
    """variables: (name, numbers of dimensions, type, bytes, offset in the body), some with attributes of their own."""
    def texts(pairs):
        return struct.pack(">II", 12 if pairs else 0, len(pairs)) + b"".join(
            nc_name(name) + struct.pack(">I", 2) + nc_name(value) for name, value in pairs)

    def header(start):
        data = b"CDF\1" + struct.pack(">III", records, 10, len(dimensions))
        data += b"".join(nc_name(name) + struct.pack(">I", length) for name, length in dimensions)
        data += texts(attributes) + struct.pack(">II", 11, len(variables))
        return data + b"".join(nc_name(name) + struct.pack(">I", len(shape)) + struct.pack(f">{len(shape)}I", *shape) +
                               texts(own[0] if own else ()) + struct.pack(">III", kind, size, start + at)
                               for name, shape, kind, size, at, *own in variables)
    return header(len(header(0))) + body


@worst("netcdf-claims.nc", "netCDF, a dimension of 2,000,000,000 and 5,000 variables on one byte", quick=True)
def netcdf_claims(_):
    return netcdf([(b"n", 2000000000)], [(b"v%d" % i, [0], 6, 8, 0) for i in range(5000)])


@worst("netcdf-records.nc", "netCDF, 2,000,000,000 records without a variable of records", quick=True)
def netcdf_records(_):
    return netcdf([(b"t", 0)], [(b"v", [0], 6, 8, 0)], b"\0" * 100, 2000000000)


@worst("netcdf-one-place.nc", "netCDF, 5,000 variables of 1,000,000 numbers, all at one place")
def netcdf_one_place(_):
    return netcdf([(b"n", 1000000)], [(b"v%d" % i, [0], 1, 1000000, 0) for i in range(5000)], b"\1" * 1000000)


@worst("netcdf-columns.nc", "netCDF, a matrix of 1 x 2,000,000 bytes")
def netcdf_columns(_):
    return netcdf([(b"a", 1), (b"b", 2000000)], [(b"v", [0, 1], 1, 2000000, 0)], b"\1" * 2000000)


MVA = [(b"mva_template_revision", b"1.0"), (b"raw_data_mva_format", b"double")]


@worst("mva-names.nc", "netCDF for multivariate data, 20,000 descriptions that each name 2,000,000,000 variables")
def mva_names(_):
    count = 20000
    starts = struct.pack(">i", 1) * count
    ends = struct.pack(">i", 2000000000) * count
    return netcdf([(b"sequence_no", 1), (b"number_data_points", 4), (b"number_variable_descriptions", count)],
                  [(b"observation", [0, 1], 6, 32, 0), (b"vardescr_startcol", [2], 4, len(starts), 32),
                   (b"vardescr_endcol", [2], 4, len(ends), 32 + len(starts)),
                   (b"vardescr_startval", [2], 6, 8 * count, 32 + 2 * len(starts)),
                   (b"vardescr_endval", [2], 6, 8 * count, 32 + 2 * len(starts))],
                  b"\0" * 32 + starts + ends + struct.pack(">d", 2.0) * count, attributes=MVA)


@worst("mva-texts.nc", "netCDF for multivariate data, 30,000 names of 30,000 letters in one place", quick=True)
def mva_texts(_):
    return netcdf([(b"sequence_no", 30000), (b"number_data_points", 1), (b"string_len", 30000)],
                  [(b"observation", [0, 1], 6, 240000, 0), (b"name_of_measurement", [0, 2], 2, 900000000, 0)],
                  b"\x40" * 240000, attributes=MVA)


@worst("andi-claims.cdf", "ANDI, 2,000,000,000 points and peaks claimed", quick=True)
def andi_claims(_):
    one = lambda name, at: (name, [], 5, 4, at)  # noqa: E731
    return netcdf([(b"point_number", 2000000000), (b"peak_number", 2000000000)],
                  [one(b"actual_run_time_length", 0), one(b"actual_sampling_interval", 4), one(b"actual_delay_time", 8),
                   (b"ordinate_values", [0], 5, 2**32 - 4, 12), (b"peak_retention_time", [1], 5, 2**32 - 4, 12)],
                  struct.pack(">fff", 10, 1, 0) + b"\0" * 100, attributes=[(b"aia_template_revision", b"1.0.1")])


@worst("andi-peaks.cdf", "ANDI, a point and 5,000,000 peaks on the place of one")
def andi_peaks(_):
    one = lambda name, at: (name, [], 5, 4, at)  # noqa: E731
    peaks = 500000
    return netcdf([(b"point_number", 1), (b"peak_number", peaks)],
                  [one(b"actual_run_time_length", 0), one(b"actual_sampling_interval", 4), one(b"actual_delay_time", 8),
                   (b"ordinate_values", [0], 5, 4, 12)] +
                  [(b"peak_" + name, [1], 5, 4 * peaks, 12)
                   for name in (b"retention_time", b"start_time", b"end_time", b"width", b"area", b"height", b"name")],
                  struct.pack(">ffff", 10, 1, 0, 5) + struct.pack(">f", 5.0) * peaks,
                  attributes=[(b"aia_template_revision", b"1.0.1")])


# --- projects -------------------------------------------------------------------------------------------------------

def listed(items):
    return struct.pack("<I", len(items)) + b"".join(items)


def text(value):
    return struct.pack("<I", len(value)) + value


def dataset(observations, variables, id_lists=1):
    """`id_lists` alias tables name both sides."""
    tables = listed([struct.pack("<I", 1)] * id_lists)
    names = text(b"") * id_lists
    return (struct.pack("<I", 0) + tables + tables + listed([b"\0\0" + names] * variables) + listed([names] * observations) +
            struct.pack("<f", 1.5) * (observations * variables))


def kpf(datasets, streams, same_as=None, sector=SECTOR):
    """datasets: (id, name) each."""
    project = listed([struct.pack("<I", number) + text(name) for number, name in datasets])
    return compound_file({"ProjectVersion": struct.pack("<H", 6), "Project": project + listed([struct.pack("<I", 0) + text(b"ID")]),
                          **streams}, same_as, sector)


@worst("kpf-one-dataset.kpf", "project, one dataset of 100,000 numbers under 50,000 ids")
def kpf_one_dataset(_):
    return kpf([(1, b"D")] * 50000, {"DataSet 1": dataset(100, 1000)})


@worst("kpf-one-stream.kpf", "project, 1,500 datasets on one stream of 100,000 numbers")
def kpf_one_stream(_):
    return kpf([(i, b"D%d" % i) for i in range(1, 1501)], {"DataSet 1": dataset(100, 1000)},
               {f"DataSet {i}": "DataSet 1" for i in range(2, 1501)})


@worst("kpf-id-lists.kpf", "project, a dataset with 50,000 lists of ids and one number")
def kpf_id_lists(_):
    return kpf([(1, b"D")], {"DataSet 1": dataset(1, 1, 50000)})


@worst("kpf-claims.kpf", "project, a dataset of 2,000,000,000 observations claimed", quick=True)
def kpf_claims(_):
    stream = struct.pack("<I", 0) + listed([struct.pack("<I", 1)]) * 2 + struct.pack("<I", 2000000000)
    return kpf([(1, b"D")], {"DataSet 1": stream})


@worst("plano-claims.mip", "PLANO, a worksheet of 4 MB whose table has 2^28 cells")
def plano_ragged(_):
    return compound_file({"Worksheet.dat": (b"\t" * 511 + b"\n" + b"a\n" * ((1 << 19) - 1))})


@worst("plano-streams.mip", "PLANO, 20,000 streams in the project's directory", quick=True)
def plano_streams(_):
    return compound_file({"Worksheet.dat": b"a\tb\n1\t2\n" * 600}, {f"w{i}.dat": "Worksheet.dat" for i in range(20000)})


# --- text -----------------------------------------------------------------------------------------------------------

@worst("ragged.csv", "CSV of 1 MB whose table has 2^28 cells")
def ragged_csv(_):
    return "," * 511 + "\n" + "a\n" * ((1 << 19) - 1)


@worst("ragged.txt", "text of 1 MB whose table has 2^28 cells")
def ragged_text(_):
    return "\t" * 511 + "\n" + "a\n" * ((1 << 19) - 1)


@worst("quotes.csv", "CSV of 2 MB, each field an unclosed quote")
def quotes_csv(_):
    return '"a,' * 700000


@worst("wide.csv", "CSV of one line with 5,000,000 cells")
def wide_csv(_):
    return "1," * 5000000 + "\n1\n"


@worst("narrow.txt", "text of 10,000,000 lines of one letter")
def narrow_text(_):
    return "a\n" * 10000000


@worst("numbers.csv", "CSV, 20,000 cells that are a number of 1,000 digits")
def long_numbers(_):
    return ("1" * 1000 + "," + "0." + "1" * 1000 + "\n") * 10000


@worst("claims.dif", "DIF, 2,000,000,000 vectors and tuples", quick=True)
def dif_claims(_):
    return ('TABLE\n0,1\n""\nVECTORS\n0,2000000000\n""\nTUPLES\n0,2000000000\n""\nDATA\n0,0\n""\n'
            '-1,0\nBOT\n0,1\nV\n-1,0\nEOD\n')


@worst("ragged.dif", "DIF of 5 MB whose table has 2^28 cells")
def dif_ragged(_):
    return ('TABLE\n0,1\n""\nVECTORS\n0,512\n""\nTUPLES\n0,524288\n""\nDATA\n0,0\n""\n-1,0\nBOT\n' + "0,1\nV\n" * 512 +
            "-1,0\nBOT\n" * 524287 + "-1,0\nEOD\n")


@worst("claims.uns", "Unscrambler, 2,000,000,000 rows and columns", quick=True)
def unscrambler_claims(_):
    return "%2000000000 2000000000\n1 2 3\n"


@worst("matrices.uns", "Unscrambler, 150,000 matrices of one number")
def unscrambler_matrices(_):
    return "%1 1\n1\n" * 150000


@worst("names.uns", "Unscrambler, 200,000 rows of one number with 200,000 names of a letter")
def unscrambler_names(_):
    return "%200000 1\n" + "1\n" * 200000 + "#L " + "a " * 200000 + "\n"


SIEVE = ("--format", "Thermo SIEVE File")
SIEVE_HEAD = "FrameID\tMZStart\tMZStop\tTimeStart\tTimeStop\tpValue\tRatio"


@worst("sieve-columns.txt", "SIEVE, 60,000 intensities and 60,000 frames of one cell", *SIEVE)
def sieve_columns(_):
    head = SIEVE_HEAD + "".join("\tIntensity_%d" % i for i in range(60000))
    return head + "\n" + "".join("%d\n" % i for i in range(60000))


@worst("sieve-frames.txt", "SIEVE, 900,000 frames of one cell", *SIEVE)
def sieve_frames(_):
    return SIEVE_HEAD + "\n" + "1\n" * 900000


# --- process data ---------------------------------------------------------------------------------------------------

TRN_COLUMNS = '"File"\t"[1:1]From"\t"[1:1]To"\t"Recipe"\t"Lot"\t"Slot"\t"Wafer"\t"Operation"\t"[1:1]Duration"'


def transitions(rows):
    return "Brookside transition file\r\nTool\tE\r\n" + "".join(row + "\r\n" for row in [TRN_COLUMNS, *rows])


@worst("wafer-name.trn", "Brookside log, a wafer of 4 KB name and 1,000,000 rows without data")
def brookside_name(_):
    return transitions(["missing.dat\t1\t1000000\tR\tL\t1\t" + "W" * 4000 + "\t6100\t1.5"])


@worst("wafers.trn", "Brookside log, 20,000 wafers that each take all 20,000 lines of a data file")
def brookside_wafers(path):
    data = ["Brookside data file", "Tool\tE", "Started\t03/02/2009 10:11:12", "Channels follow", "1", "Channel 1\tP",
            "End of channels", '"Time"\t"A_P"'] + [f"{i}\t1.5" for i in range(20000)]
    path.with_suffix(".dat").write_text("\r\n".join(data) + "\r\n")
    return transitions([f"{path.stem}.dat\t1\t20000\tA_R\tL\t1\tW{i}\t6100\t1.5" for i in range(20000)])


@worst("wafer-name.xml", "Brookside XML, a wafer name of 100 KB over 40,000 rows")
def brookside_xml(_):
    rows = "".join("12:00:00\t%d\t1.5\n" % (i + 1) for i in range(40000))
    return ('<?xml version="1.0" encoding="UTF-8"?>\n<FDCRequest messageSequenceIdentifier="1">\n'
            '<APCSystemName id="Brookside.PSDA"/>\n<Logistics fdcModel="M1" recipeID="R" controlJobID="C" equipmentID="E" '
            'toolType="ETCH" resourceID="CH"/>\n<RawData name="a.dat">\nTool\tE\nStarted\t2020-01-01 00:00:00\n'
            f'Time\tRowNumber\tTemp\n{rows}NUM_DATA_ROWS\t40000\n</RawData>\n<Trend name="L">\n<DataSet rawDataName="a.dat" '
            'startTime="2020-01-01 00:00:00" lotID="L" slotID="1" waferID="' + "W" * 100000 +
            '" priorityClass="P" lineCode="7" jobClass="J" qualityCode="Q" routeID="R1" productID="P" operationNumber="1" '
            'operationName="E" operationPassCount="1">\n<Interval name="A" number="1" startTime="2020-01-01 00:00:00" '
            'duration="1" fromRow="1" toRow="40000"/>\n</DataSet>\n</Trend>\n<Response topicName="r"/>\n</FDCRequest>\n')
