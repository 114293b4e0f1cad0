"""Honest files of every format, each large enough that its read can be met in its middle: a maker each."""
import os
import pathlib
import random
import struct
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent.parent / "samples"))
sys.path.insert(0, str(HERE))
import worst_files as forms  # noqa: E402
from compound_file import LARGE_SECTOR, compound_file  # noqa: E402
from packing import zlib_stream  # noqa: E402

# How many times as long as they are by themselves.
TIMES = int(os.environ.get("KARTA_LARGE_TIMES", "1"))

LARGE_FILES = {}  # makers by name, that give the bytes or write to the path that they are given


def large(name):
    def enter(maker):
        LARGE_FILES[name] = maker
        return maker
    return enter


def make(name, folder):
    path = pathlib.Path(folder, name)
    data = LARGE_FILES[name](path)
    if data is not None:
        path.write_bytes(data if isinstance(data, bytes) else data.encode())
    return path


def table(separator, rows, columns=10):
    numbers = random.Random(1)
    block = "".join("name %d" % i + separator + separator.join("%.4f" % numbers.random() for _ in range(columns - 1)) + "\n"
                    for i in range(1000))
    return block * (rows // 1000)


@large("large.txt")
def text(_):
    return table("\t", 300000 * TIMES)


@large("large.csv")
def csv(_):
    return table(",", 300000 * TIMES)


@large("frames.txt")
def sieve(_):
    more = ["UpperBound", "LowerBound", "FOM1", "Charge", "PRElement"] + ["Intensity_%d" % i for i in range(20)]
    head = "\t".join([forms.SIEVE_HEAD, *more]) + "\n"
    return head + "".join("\t".join(str(i + k) for k in range(32)) + "\n" for i in range(60000 * TIMES))


def dif(cells):
    rows = 100000 * TIMES
    head = f'TABLE\n0,1\n"T"\nVECTORS\n0,{cells}\n""\nTUPLES\n0,{rows}\n""\nDATA\n0,0\n""\n'
    return head + ("-1,0\nBOT\n" + '1,0\n"name"\n' + "0,12.5\nV\n" * (cells - 1)) * rows + "-1,0\nEOD\n"


@large("large.dif")
def dif_ansi(_):
    return dif(10)


@large("large-oem.dif")
def dif_oem(_):
    return dif(10)


@large("matrix-4.mat")
def mat4(_):
    return forms.mat4(0, 400000 * TIMES, 10, b"A", struct.pack("<d", 1.5) * (4000000 * TIMES))


@large("matrix-5.mat")
def mat5(_):
    count = 5000000 * TIMES
    head = forms.matrix_head(6, count // 10, 10) + struct.pack("<II", 9, 8 * count)
    values = struct.pack("<1000d", *range(1000))
    packed = zlib_stream([struct.pack("<II", 14, len(head) + 8 * count) + head, (values, count // 1000)])
    return forms.MAT5_HEAD + struct.pack("<II", 15, len(packed)) + packed


@large("large.xlsx")
def xlsx(path):
    rows = "".join(f'<row r="{r}">' + "".join(f'<c r="{c}{r}"><v>{r}.5</v></c>' for c in "ABCDEFGHIJ") + "</row>"
                   for r in range(1, min(100000 * TIMES, 1000000) + 1))
    forms.xlsx(path, [rows.encode()])


@large("strings.xlsx")
def xlsx_strings(path):
    count = min(300000 * TIMES, 1000000)
    strings = "".join(f"<si><t>text number {i}</t></si>" for i in range(count))
    rows = "".join(f'<row r="{i + 1}"><c r="A{i + 1}" t="s"><v>{i}</v></c></row>' for i in range(count))
    forms.xlsx(path, [rows.encode()], [f"<sst {forms.MAIN}>".encode(), strings.encode(), b"</sst>"])


@large("large.xlsb")
def xlsb(path):
    rows = min(200000 * TIMES, 1000000)
    cells = b"".join(forms.biff12(5, struct.pack("<IId", c, 0, c + 0.5)) for c in range(10))
    forms.xlsb(path, [b"".join(forms.row12(r) + cells for r in range(rows))], rows, 10)


@large("large.xls")
def xls(_):
    strings = [b"text %d" % i for i in range(65536)]
    # A record holds at most 8,224 bytes, and here no text goes on in the next.
    parts = [b"".join(struct.pack("<HB", len(s), 0) + s for s in strings[i:i + 500]) for i in range(0, 65536, 500)]
    table_of_strings = b"".join(forms.biff(0x3C if i else 0xFC, (b"" if i else struct.pack("<II", 65536, 65536)) + part)
                                for i, part in enumerate(parts))
    sheet = forms.biff(0x200, struct.pack("<IIHHH", 0, 65536, 0, 20, 0))
    sheet += b"".join(forms.biff(0xFD, struct.pack("<HHHI", r, 0, 0, r)) +
                     b"".join(forms.biff(0x203, struct.pack("<HHHd", r, c, 0, r + c)) for c in range(1, 20))
                     for r in range(65536))
    return forms.biff_book(sheet, table_of_strings, sector=LARGE_SECTOR)


@large("large.wk1")
def wk1(_):
    row = lambda r: b"".join(struct.pack("<HHBHHd", 14, 13, 255, c, r, r + c) for c in range(128))  # noqa: E731
    return struct.pack("<HHH", 0, 2, 0x0406) + struct.pack("<HH4H", 6, 8, 0, 0, 127, 8191) + b"".join(
        row(r) for r in range(8192)) + struct.pack("<HH", 1, 0)


@large("large.spc")
def spc(_):
    return forms.spc_head(2000, 2000 * TIMES) + (forms.spc_sub() + struct.pack("<f", 1.25) * 2000) * (2000 * TIMES)


@large("large.0")
def opus(_):
    points = 3000000 * TIMES
    status = forms.opus_status(points)
    status += b"\0" * (-len(status) % 4)
    return forms.opus([(0x101F, 0, len(status)), (0x100F, len(status), 4 * points)], status + struct.pack("<f", 0.5) * points)


@large("interpolated.0")
def opus_interpolated(path):
    return opus(path)


@large("large.uv")
def uv(_):
    values = struct.pack("<Hi", 0x8000, 7) + b"\1\0" * 500
    records = [forms.uv_record(i, 4000, 14000, 20, values) for i in range(12000 * TIMES)]
    return bytes(forms.chemstation(b"31", len(records))) + b"".join(records)


@large("large.ch")
def ch(_):
    runs = 40000 * TIMES
    head = forms.chemstation(b"30", 0)
    struct.pack_into(">ii", head, 0x11A, 0, 100 * runs - 1)
    struct.pack_into(">hh", head, 0x212, 1, 1000)
    struct.pack_into(">d", head, 0x284, 0.001)
    return bytes(head) + (struct.pack(">H", 0x1064) + b"\0\1" * 100) * runs + b"\0\0"


@large("large.dx")
def jcamp(_):
    points = 4000000 * TIMES
    head = forms.JCAMP_HEAD.format(first=1, last=points, points=points)
    return head + "".join(f"{i * 40 + 1} " + "12 " * 40 + "\n" for i in range(points // 40)) + "##END=\n"


@large("blocks.dx")
def jcamp_blocks(_):
    body = "".join(f"{i * 40 + 1} " + "12 " * 40 + "\n" for i in range(10))
    return forms.jcamp_link([forms.JCAMP_HEAD.format(first=1, last=400, points=400) + body] * (5000 * TIMES))


@large("large.da")
def nsas(_):
    values = struct.pack("<f", 1.5) * 1000
    return b"".join(forms.nsas_record(i, 1000, 2000, 1000, values) for i in range(6000 * TIMES))


@large("large.dat")
def brimrose(_):
    header = bytearray(forms.brimrose(1000, 6000 * TIMES, b""))
    struct.pack_into("<3f", header, 29, 1000.0, 1999.0, 1.0)
    return bytes(header) + (struct.pack("<I", 1238753472) + b"s".ljust(124, b"\0") + struct.pack("<f", 1.5) * 1000) * (6000 * TIMES)


@large("table.nc")
def netcdf(_):
    count = 500000 * TIMES
    names = [b"v%d" % i for i in range(8)]
    return forms.netcdf([(b"n", count)], [(name, [0], 6, 8 * count, 8 * count * i) for i, name in enumerate(names)],
                        struct.pack(">d", 1.5) * (count * len(names)))


@large("multivariate.nc")
def mva(_):
    rows, columns, letters = 4000 * TIMES, 1000, 16
    size = 8 * rows * columns
    names = b"".join((b"sample %d" % i).ljust(letters, b"\0") for i in range(rows))
    descriptions = struct.pack(">iidd", 1, columns, 1000.0, 1000.0 + columns - 1)
    return forms.netcdf([(b"sequence_no", rows), (b"number_data_points", columns), (b"string_len", letters),
                         (b"number_variable_descriptions", 1)],
                        [(b"observation", [0, 1], 6, size, 0), (b"vardescr_startcol", [3], 4, 4, size),
                         (b"vardescr_endcol", [3], 4, 4, size + 4), (b"vardescr_startval", [3], 6, 8, size + 8),
                         (b"vardescr_endval", [3], 6, 8, size + 16),
                         (b"name_of_measurement", [0, 2], 2, rows * letters, size + 24)],
                        struct.pack(">d", 2.5) * (rows * columns) + descriptions + names,
                        attributes=[*forms.MVA, (b"missing_value", b"-100000")])


@large("chromatogram.cdf")
def andi(_):
    points = 4000000 * TIMES
    one = lambda name, at: (name, [], 5, 4, at)  # noqa: E731
    return forms.netcdf([(b"point_number", points)],
                        [one(b"actual_run_time_length", 0), one(b"actual_sampling_interval", 4), one(b"actual_delay_time", 8),
                         (b"ordinate_values", [0], 5, 4 * points, 12, [(b"uniform_sampling_flag", b"Y")])],
                        struct.pack(">fff", points, 1, 0) + struct.pack(">f", 1.5) * points,
                        attributes=[(b"dataset_completeness", b"C1+C2"), (b"aia_template_revision", b"1.0.1"),
                                    (b"netcdf_revision", b"2.3.2"), (b"detector_unit", b"mV"),
                                    (b"retention_unit", b"seconds"), (b"sample_name", b"s"), (b"detector_name", b"FID"),
                                    (b"injection_date_time_stamp", b"20240314091500+0000")])


def dataset(observations, variables):
    ids = forms.listed([struct.pack("<I", 1)])
    return (struct.pack("<I", 0) + ids + ids +
            forms.listed([b"\0\0" + forms.text(b"v%d" % i) for i in range(variables)]) +
            forms.listed([forms.text(b"o%d" % i) for i in range(observations)]) +
            struct.pack("<f", 1.5) * (observations * variables))


@large("large.kpf")
def kpf(_):
    return forms.kpf([(1, b"D")], {"DataSet 1": dataset(100000 * TIMES, 20)}, sector=LARGE_SECTOR)


@large("old.kpf")
def old_kpf(_):
    observations, variables = 100000 * TIMES, 20
    stream = forms.listed([forms.text(b"D") + forms.listed([forms.text(b"v%d" % i) for i in range(variables)]) +
                           forms.listed([forms.text(b"o%d" % i) for i in range(observations)]) +
                           struct.pack("<d", 1.5) * (observations * variables)])
    return compound_file({"Datasets": stream}, sector=LARGE_SECTOR)


@large("large.mip")
def plano(_):
    return compound_file({"Worksheet.dat": table("\t", 300000 * TIMES).encode()}, sector=LARGE_SECTOR)


@large("large.uns")
def unscrambler(_):
    rows = 300000 * TIMES
    return f"%{rows} 10 Matrix\n" + "12.5 1 2 3 4 5 6 7 8 9\n" * rows + "#L " + "row " * rows + "\n#C " + "c " * 10 + "\n"


def log_rows(rows):
    return "".join(f"{i}\t{i % 97}.5\t800.25\t45\t62.5\r\n" for i in range(rows))


LOG_HEAD = ["Brookside data file", "Tool\tE", "Started\t03/02/2009 10:11:12", "Channels follow", "1", "Channel 1\tP",
            "End of channels", '"Time"\t"A_P"\t"A_Q"\t"A_R"\t"A_S"', ""]


def log_data(rows):
    return "\r\n".join(LOG_HEAD) + log_rows(rows)


def wafers(data, rows, each=1000):
    return forms.transitions(f"{data}\t{i + 1}\t{i + each}\tA_R\tL\t1\tW{i}\t6100\t1.5" for i in range(0, rows, each))


@large("large.trn")
def trn(path):
    path.with_name("log.dat").write_text(log_data(400000 * TIMES), newline="")
    return wafers("log.dat", 400000 * TIMES)


@large("large.pkg")
def pkg(path):
    return (f"<trn_file_name>{path.stem}.trn</trn_file_name>\r\n<trn_file>\r\n{wafers('log.dat', 400000 * TIMES)}</trn_file>\r\n"
            f"<data_file_name>log.dat</data_file_name>\r\n<data_file>\r\n{log_data(400000 * TIMES)}</data_file>\r\n")


@large("large.xml")
def xml(_):
    rows = 300000 * TIMES
    samples = "".join(f"12:00:00\t{i + 1}\t{i % 97}.5\t800.25\t45\n" for i in range(rows))
    sets = "".join(f'<DataSet rawDataName="a.dat" startTime="2020-01-01 00:00:00" lotID="L" slotID="1" waferID="W{i}" '
                   'priorityClass="P" lineCode="7" jobClass="J" qualityCode="Q" routeID="R1" productID="P" operationNumber="1" '
                   'operationName="E" operationPassCount="1">\n<Interval name="A" number="1" startTime="2020-01-01 00:00:00" '
                   f'duration="1" fromRow="{i + 1}" toRow="{i + 1000}"/>\n</DataSet>\n' for i in range(0, rows, 1000))
    return ('<?xml version="1.0" encoding="UTF-8"?>\n<FDCRequest messageSequenceIdentifier="1">\n'
            '<APCSystemName id="Brookside.PSDA"/>\n<Logistics fdcModel="M1" recipeID="R" controlJobID="C" equipmentID="E" '
            'toolType="ETCH" resourceID="CH"/>\n<RawData name="a.dat">\nTool\tE\nStarted\t2020-01-01 00:00:00\n'
            f'Time\tRowNumber\tTemp\tPower\tFlow\n{samples}NUM_DATA_ROWS\t{rows}\n</RawData>\n<Trend name="L">\n{sets}</Trend>\n'
            '<Response topicName="r"/>\n</FDCRequest>\n')
