#!/usr/bin/env python3
"""Makes a process log of one lot as a Brookside collector writes it, in its three forms:

    make_brookside.py FOLDER [--lot L0417] [--tool ETCH04] [--chamber A] [--wafers 25] [--lines 3] [--seed 1]

FOLDER/LOT.trn with two data files LOT-1.dat and LOT-2.dat, FOLDER/LOT.pkg with the same inside, and
FOLDER/LOT.xml. The same arguments give the same bytes.

The lot is wrong in the ways in which real ones are: a wafer's phases are listed out of order, a phase's
data are lost, sensors drop out (-999), and some lines of the transition file are no wafers. The data files
also hold the columns of the tool's other chamber, which are not the log's.
"""
import argparse
import os
import random

PHASES = ["f_stabilise", "f_main_etch", "f_over_etch"]
SENSORS = [("Pressure", 30.0, 0.4), ("RF_Power", 800.0, 6.0), ("Flow_CF4", 45.0, 0.2), ("Temp_Chuck", 62.0, 0.5)]
MISSING = "-999"
STEP_SECONDS = 0.5
STARTED = "03/02/2009 10:11:12"


def other_chamber(chamber):
    return "B" if chamber == "A" else "A"


class Wafer:
    def __init__(self, name, slot):
        self.name = name
        self.slot = slot
        self.spans = []  # (first, last) line of each phase, or None where its data are lost


class DataFile:
    """The samples of some wafers: their lines count from 1."""

    def __init__(self, name, chamber):
        self.name = name
        self.chamber = chamber
        self.lines = []  # each the time and the values of the log's own chamber, as texts
        self.others = []  # the values of the other one

    def add_line(self, rng, phase):
        time = "%g" % (STEP_SECONDS * (len(self.lines) + 1))
        values = []
        for _, level, noise in SENSORS:
            value = rng.gauss(level * (1 + 0.05 * phase), noise)
            values.append(MISSING if rng.random() < 0.02 else "%.2f" % value)
        self.lines.append([time] + values)
        self.others.append(["%.1f" % rng.gauss(20, 0.1)])
        return len(self.lines)

    def names(self):
        return ["%s_%s" % (self.chamber, name) for name, _, _ in SENSORS]

    def text(self, tool):
        head = ["Brookside data file", "Tool\t" + tool, "Started\t" + STARTED, "Channels follow"]
        head.append(str(len(SENSORS)))
        head += ["Channel %d\t%s" % (i + 1, name) for i, (name, _, _) in enumerate(SENSORS)]
        head.append("End of channels")
        names = self.names() + [other_chamber(self.chamber) + "_Temp_Chuck"]
        head.append("\t".join('"%s"' % name for name in ["Time"] + names))
        rows = ["\t".join(line + other) for line, other in zip(self.lines, self.others)]
        return "\r\n".join(head + rows) + "\r\n"

    def raw_text(self, tool):
        head = ["Tool\t" + tool, "Started\t" + STARTED, "\t".join(["Time", "RowNumber"] + self.names())]
        rows = ["\t".join([line[0], str(i + 1)] + line[1:]) for i, line in enumerate(self.lines)]
        return "\n".join(head + rows) + "\nNUM_DATA_ROWS\t%d\n" % len(self.lines)


def record_wafer(rng, data, wafer, lines, backwards, lost):
    order = [1, 0, 2] if backwards else [0, 1, 2]
    spans = [None] * len(PHASES)
    for phase in order:
        if phase == lost:
            continue
        first = data.add_line(rng, phase)
        for _ in range(rng.randint(lines - 1, lines + 1) - 1):
            data.add_line(rng, phase)
        spans[phase] = (first, len(data.lines))
    data.add_line(rng, 0)  # the robot moves: a line of no phase
    wafer.spans = spans


def make_lot(args):
    rng = random.Random(args.seed)
    files = [DataFile("%s-%d.dat" % (args.lot, i), args.chamber) for i in (1, 2)]
    wafers = []
    for slot in range(1, args.wafers + 1):
        wafer = Wafer("%s-%02d" % (args.lot, slot), slot)
        wafer.data = files[0] if slot <= (args.wafers + 1) // 2 else files[1]
        record_wafer(rng, wafer.data, wafer, args.lines, backwards=slot % 11 == 7, lost=2 if slot % 9 == 5 else None)
        wafers.append(wafer)
    return files, wafers


def seconds(span):
    return "%g" % (STEP_SECONDS * (span[1] - span[0] + 1))


def transition_text(args, wafers):
    recipe = args.chamber + "_ETCH_7"
    columns = ["File", "[1:1]From", "[1:1]To", "Recipe", "Lot", "Slot", "Wafer", "Operation", "[1:1]Duration"]
    for phase in range(2, len(PHASES) + 1):
        columns += ["[%d:%d]%s" % (phase, phase, name) for name in ("From", "To", "Duration")]
    lines = ["Brookside transition file", "Tool\t" + args.tool, "\t".join('"%s"' % name for name in columns)]
    for wafer in wafers:
        first, rest = wafer.spans[0], wafer.spans[1:]
        fields = [wafer.data.name, "%d" % first[0], "%d" % first[1], recipe, args.lot, "%d" % wafer.slot, wafer.name,
                  "6100", seconds(first)]
        for span in rest:
            fields += ["0", "0", MISSING] if span is None else ["%d" % span[0], "%d" % span[1], seconds(span)]
        lines.append("\t".join(fields))
    for name in ("unknown", "?1234"):  # test wafers that the collector couldn't read
        lines.append("\t".join([wafers[0].data.name, "1", "1", recipe, args.lot, "0", name, "6100", "1"] +
                               ["1", "1", "1"] * (len(PHASES) - 1)))
    return "\r\n".join(lines) + "\r\n"


def package_text(args, files, wafers):
    blocks = ["<trn_file_name>%s.trn</trn_file_name>\r\n<trn_file>\r\n%s</trn_file>\r\n" %
              (args.lot, transition_text(args, wafers))]
    for data in files:
        blocks.append("<data_file_name>%s</data_file_name>\r\n<data_file>\r\n%s</data_file>\r\n" %
                      (data.name, data.text(args.tool)))
    return "".join(blocks)


def attributes(pairs):
    return " ".join('%s="%s"' % pair for pair in pairs)


def dataset_text(args, wafer):
    lines = ["<DataSet %s>" % attributes([
        ("rawDataName", wafer.data.name), ("startTime", STARTED), ("lotID", args.lot), ("slotID", wafer.slot),
        ("waferID", wafer.name), ("priorityClass", "P"), ("lineCode", "7"), ("jobClass", "J"), ("qualityCode", "Q"),
        ("routeID", "R1"), ("productID", "PX"), ("operationNumber", "6100"), ("operationName", "ETCH"),
        ("operationPassCount", "1")])]
    for number, (name, span) in enumerate(zip(PHASES, wafer.spans), 1):
        if span is not None:
            lines.append("<Interval %s/>" % attributes([
                ("name", name), ("number", number), ("startTime", STARTED), ("duration", seconds(span)),
                ("fromRow", span[0]), ("toRow", span[1])]))
    return "\n".join(lines + ["</DataSet>"])


def xml_text(args, files, wafers):
    lines = ['<?xml version="1.0" encoding="UTF-8"?>', '<!DOCTYPE FDCRequest SYSTEM "FDCRequest.dtd">',
             '<FDCRequest messageSequenceIdentifier="1">', '<APCSystemName id="Brookside.PSDA"/>',
             "<Logistics %s/>" % attributes([
                 ("fdcModel", "M1"), ("recipeID", args.chamber + "_ETCH_7"), ("controlJobID", "CJ1"),
                 ("equipmentID", args.tool), ("toolType", "ETCH"), ("resourceID", "CH-" + args.chamber)])]
    lines += ['<RawData name="%s">\n%s</RawData>' % (data.name, data.raw_text(args.tool)) for data in files]
    lines.append('<Trend name="%s">' % args.lot)
    lines += [dataset_text(args, wafer) for wafer in wafers]
    return "\n".join(lines + ["</Trend>", '<Response topicName="reply"/>', "</FDCRequest>", ""])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder")
    parser.add_argument("--lot", default="L0417")
    parser.add_argument("--tool", default="ETCH04")
    parser.add_argument("--chamber", default="A", choices=["A", "B"])
    parser.add_argument("--wafers", type=int, default=25)
    parser.add_argument("--lines", type=int, default=3, help="about so many a phase")
    parser.add_argument("--seed", type=int, default=1)
    args = parser.parse_args()
    files, wafers = make_lot(args)
    texts = {data.name: data.text(args.tool) for data in files}
    texts[args.lot + ".trn"] = transition_text(args, wafers)
    texts[args.lot + ".pkg"] = package_text(args, files, wafers)
    texts[args.lot + ".xml"] = xml_text(args, files, wafers)
    os.makedirs(args.folder, exist_ok=True)
    for name, text in texts.items():
        with open(os.path.join(args.folder, name), "w", newline="") as file:
            file.write(text)


main()
