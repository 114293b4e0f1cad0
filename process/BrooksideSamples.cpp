#include "process/BrooksideSamples.h"

#include <algorithm>
#include <limits>

#include "base/Ascii.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "frame/ReadSpreadSheetData.h"
#include "host/NvString.h"
#include "process/BrooksideFailure.h"
#include "process/BrooksideFields.h"
#include "process/BrooksideFile.h"
#include "process/BrooksideTransition.h"
#include "process/BrooksideWarnings.h"
#include "process/TabWalk.h"

namespace {

constexpr int LinesBeforeCount = 4;
constexpr float MissingMark = -999.0F;

// A sample is found, parsed and put: as much work as so many bytes scanned.
constexpr std::uint64_t StepsOfSample = 40;
constexpr std::int64_t LinesBetweenLooks = 8192;

// The entries of the first one's data file; they stand together.
template <class Entry>
std::span<Entry> TakeDataFile(std::span<Entry> entries) {
    std::size_t count = 1;
    while (count < entries.size() && EqualIgnoringCase(entries[count].dataFile, entries[0].dataFile)) {
        ++count;
    }
    return entries.first(count);
}

}  // namespace

// Four lines; the number N; N + 1 lines; the header.
void BrooksideHeader::Read(BrooksideStream& stream, const std::string& dataFile) {
    std::string line;
    BrooksideFields fields;
    for (int i = 0; i < LinesBeforeCount; ++i) {
        stream.NextLine();
    }
    ReadLineWithoutQuotes(stream, line);
    fields.Split(line);
    if (fields.GetCount() == 0) {
        throw BrooksideFailure{BrooksideFile::StatusForeignFile, {}};
    }
    const std::int64_t skippedLines = std::int64_t{ToLeadingInt(fields.GetText(1))} + 1;
    for (std::int64_t i = 0; i < skippedLines && !stream.AtEnd(); ++i) {
        stream.NextLine();
    }
    ReadLineWithoutQuotes(stream, line);
    fields.Split(line);
    if (!EqualIgnoringCase(fields.GetText(1), BrooksideSamples::TimeName)) {
        throw BrooksideFailure{BrooksideFile::StatusNoTime,
                               "The 'Time' column could not be found in the data file " + dataFile + "."};
    }
    map.assign(1, {1, ColumnTime});
    for (int field = 2; field <= fields.GetCount(); ++field) {
        const std::string_view name = fields.GetText(field);
        if (name.empty()) {
            continue;
        }
        if (IsOfLog(name)) {
            map.push_back({field, ColumnOf(name)});
        } else {
            others.emplace(name);
        }
    }
}

bool BrooksideHeader::IsOfLog(std::string_view name) const {
    return std::any_of(chamberLetters.begin(), chamberLetters.end(), [name](char letter) {
        return letter == AllChambers || ToUpper(letter) == ToUpper(name.front());
    });
}

int BrooksideHeader::ColumnOf(std::string_view name) {
    const auto known = variables.find(name);
    if (known != variables.end()) {
        return known->second;
    }
    const int col = CountColumns() + 1;
    variables.emplace(name, col);
    return col;
}

// The last row that the table can have. Lines that several phases share count for each of them.
std::int64_t BrooksideSamples::FindBelievableEnd(std::span<const PhaseEntry> entries) const {
    std::int64_t asked = 0;
    std::int64_t borneOut = 0;
    while (!entries.empty()) {
        const auto group = TakeDataFile(entries);
        std::int64_t askedOfFile = 0;
        for (const PhaseEntry& entry : group) {
            askedOfFile += std::max<std::int64_t>(entry.CountRows(), 0);
        }
        asked += askedOfFile;
        borneOut += std::min(askedOfFile, static_cast<std::int64_t>(files.GetSize(group[0].dataFile)));
        entries = entries.subspan(group.size());
    }
    constexpr std::int64_t MostRows = std::numeric_limits<int>::max() - 2;
    return 1 + std::min(BelievedCount(asked, borneOut), MostRows);
}

void BrooksideSamples::Read(std::span<const PhaseEntry> entries, std::int64_t lastRow,
                            ReadSpreadSheetData& sink) {
    believableEnd = FindBelievableEnd(entries);
    tableEnd = std::min(lastRow, believableEnd);
    for (bool isFirst = true; !entries.empty(); isFirst = false) {
        const auto group = TakeDataFile(entries);
        ReadDataFile(group, isFirst, sink);
        entries = entries.subspan(group.size());
    }
}

void BrooksideSamples::ReadDataFile(std::span<const PhaseEntry> entries, bool isFirst,
                                    ReadSpreadSheetData& sink) {
    fileName = entries[0].dataFile;
    BrooksideStream stream = files.OpenText(fileName);
    if (!stream.IsOpen()) {
        SetWithoutData(entries, sink);
        return;
    }
    header.Read(stream, fileName);
    if (sink.GetNumberOfColumns() < header.CountColumns() || sink.GetNumberOfRows() < tableEnd) {
        sink.SetDataSize(header.CountColumns(), static_cast<int>(tableEnd));
        differentVariables = differentVariables || !isFirst;
    }
    std::int64_t line = 1;
    for (const PhaseEntry& entry : entries) {
        ReadEntry(stream, entry, line, sink);
    }
}

// The stream is never wound back: a phase that begins before the present line begins there, and takes at
// least that one.
void BrooksideSamples::ReadEntry(BrooksideStream& stream, const PhaseEntry& entry, std::int64_t& line,
                                 ReadSpreadSheetData& sink) {
    for (; line < entry.from && !stream.AtEnd(); ++line) {
        if (line % LinesBetweenLooks == 0) {
            context.ThrowIfStopped();
        }
        stream.NextLine();
    }
    std::int64_t row = entry.firstRow;
    do {
        context.ThrowIfStopped();
        if (stream.AtEnd()) {
            FailAtEndOfFile();
        }
        CheckRow(row);
        const std::string_view text = stream.NextLine();
        // A phase that is listed backwards takes rows back, in the worst case from before the table.
        if (row >= 1) {
            SetSample(text, entry, row, sink);
        }
        ++row;
        ++line;
    } while (line <= entry.to);
}

// Rows that are asked for by lines that no data file has. One more is allowed: a phase that is listed
// backwards takes a row that it hasn't counted.
void BrooksideSamples::CheckRow(std::int64_t row) const {
    if (row > believableEnd + 1) {
        FailAtEndOfFile();
    }
}

void BrooksideSamples::FailAtEndOfFile() const {
    throw BrooksideFailure{BrooksideFile::StatusEndOfFile, "Unexpected end of file in " + fileName + "."};
}

void BrooksideSamples::SetSample(std::string_view text, const PhaseEntry& entry, std::int64_t row,
                                 ReadSpreadSheetData& sink) const {
    const int tableRow = static_cast<int>(row);
    TabWalk fields(text);
    std::string_view field;
    double value = 0.0;
    for (const auto& [number, col] : header.GetMap()) {
        if (fields.TakeNumber(number, value)) {
            SetClassicNumber(col, tableRow, static_cast<float>(value), entry.outOfOrder, sink);
            continue;
        }
        if (!fields.MoveTo(number, field)) {
            throw BrooksideFailure{BrooksideFile::StatusForeignFile, {}};
        }
        SetClassicCell(col, tableRow, field, entry.outOfOrder, sink);
    }
    sink.Set(BrooksideHeader::ColumnWafer, tableRow, entry.wafer);
    sink.Set(BrooksideHeader::ColumnPhase, tableRow, entry.phase);
}

// The classic rule for a field; the complete one is SampleRow's.
void BrooksideSamples::SetClassicCell(int col, int row, std::string_view field, bool timesAreLost,
                                      ReadSpreadSheetData& sink) const {
    float number = 0.0F;
    if (!NvString::ToFloat(field, number)) {
        throw BrooksideFailure{
            BrooksideFile::StatusNotANumber,
            "File " + fileName + ": Found '" + std::string(field) + "' when expecting a number."};
    }
    SetClassicNumber(col, row, number, timesAreLost, sink);
}

void BrooksideSamples::SetClassicNumber(int col, int row, float number, bool timesAreLost,
                                        ReadSpreadSheetData& sink) {
    if (number == MissingMark || (timesAreLost && col == BrooksideHeader::ColumnTime)) {
        sink.Set(col, row, "");
    } else {
        sink.Set(col, row, number);
    }
}

// Makes the table larger by one row. A sink that adds each size to what it has, instead of taking it, is
// given all rows of the table at once: row by row its columns would double each time.
void BrooksideSamples::GrowByRow(ReadSpreadSheetData& sink, int row) const {
    const int rows = sink.GetNumberOfRows();
    if (rows >= row) {
        return;
    }
    const int columns = sink.GetNumberOfColumns();
    sink.SetDataSize(columns, row);
    const bool addsSizes = sink.GetNumberOfColumns() == columns * 2 && sink.GetNumberOfRows() == rows + row;
    if (addsSizes && sink.GetNumberOfRows() < tableEnd) {
        sink.SetDataSize(0, static_cast<int>(tableEnd) - sink.GetNumberOfRows());
    }
}

// The rows of a data file that isn't there still tell their wafer and phase.
void BrooksideSamples::SetWithoutData(std::span<const PhaseEntry> entries, ReadSpreadSheetData& sink) {
    AddBrooksideWarning(warnings, "Opening the data file " + fileName +
                                      " failed.\nData could not be read for the following wafers.\n");
    for (const PhaseEntry& entry : entries) {
        AddBrooksideWarning(warnings, NvString::Format("%s phase %i\n", entry.wafer, entry.phase));
        if (sink.GetNumberOfColumns() < BrooksideHeader::ColumnPhase) {
            sink.SetDataSize(BrooksideHeader::ColumnPhase, sink.GetNumberOfRows());
        }
        const std::int64_t end = entry.firstRow + entry.CountRows();
        CheckRow(end);
        // Phases that are listed backwards give rows back, so that the table's end alone is no bound.
        rowsWithoutDataLeft -= std::max<std::int64_t>(entry.CountRows(), 0);
        if (rowsWithoutDataLeft < 0) {
            FailAtEndOfFile();
        }
        for (std::int64_t row = std::max<std::int64_t>(entry.firstRow, 1); row < end; ++row) {
            const int tableRow = static_cast<int>(row);
            GrowByRow(sink, tableRow);
            sink.Set(BrooksideHeader::ColumnWafer, tableRow, entry.wafer);
            sink.Set(BrooksideHeader::ColumnPhase, tableRow, entry.phase);
        }
    }
}

// ---- The complete reading ----

void BrooksideSamples::AddNote(const char* code, std::uint64_t count, std::string place, std::string text) {
    context.notes.Add({code, count, std::move(place), std::move(text)});
}

// A data file up to its first sample. False, with a note, for one that isn't there or has no header.
bool BrooksideSamples::EnterDataFile(BrooksideStream& stream, const std::string& name) {
    stream = files.OpenText(name);
    if (!stream.IsOpen()) {
        AddNote("missing-file", 1, name,
                "the data file " + name + " isn't there: its rows have wafer and phase only");
        return false;
    }
    try {
        header.Read(stream, name);
    } catch (const BrooksideFailure&) {
        AddNote("unreadable-file", 1, name,
                "the data file " + name +
                    " has no line that names its columns: its rows have wafer and phase only");
        return false;
    }
    return true;
}

void BrooksideSamples::FitToData(std::vector<PhaseEntry>& entries) {
    for (std::span<PhaseEntry> rest = entries; !rest.empty();) {
        const auto group = TakeDataFile(rest);
        FitGroup(group);
        rest = rest.subspan(group.size());
    }
    std::erase_if(entries, [](const PhaseEntry& entry) { return entry.CountRows() <= 0; });
}

void BrooksideSamples::FitGroup(std::span<PhaseEntry> entries) {
    fileName = entries[0].dataFile;
    BrooksideStream stream;
    const bool isThere = EnterDataFile(stream, fileName);
    const auto lines = isThere ? static_cast<std::int64_t>(stream.CountLines()) : std::int64_t{0};
    context.budget.ChargeWork(static_cast<std::uint64_t>(lines), "the lines of a data file");
    std::uint64_t backwards = 0;
    std::uint64_t cut = 0;
    std::int64_t covered = 0;
    std::int64_t coveredTo = 0;
    for (PhaseEntry& entry : entries) {
        backwards += entry.from > entry.to ? 1 : 0;
        entry.from = std::max(entry.from, 1);
        const std::int64_t before = std::max<std::int64_t>(entry.CountRows(), 0);
        const std::int64_t most = isThere ? lines : entry.from - 1 + rowsWithoutDataLeft;
        entry.to = static_cast<int>(std::min<std::int64_t>(entry.to, most));
        const std::int64_t rows = std::max<std::int64_t>(entry.CountRows(), 0);
        cut += static_cast<std::uint64_t>(before - rows);
        rowsWithoutDataLeft -= isThere ? 0 : rows;
        covered += std::max<std::int64_t>(entry.to - std::max<std::int64_t>(coveredTo, entry.from - 1), 0);
        coveredTo = std::max<std::int64_t>(coveredTo, entry.to);
    }
    if (cut > 0) {
        AddNote("lines-not-there", cut, fileName,
                "the phases name " + karta::CountOf(cut, "line") + " beyond the end of " + fileName);
    }
    if (backwards > 0) {
        AddNote("backward-phases", backwards, fileName,
                karta::CountOf(backwards, "phase") + " of " + fileName +
                    " end before they begin and have no rows");
    }
    if (isThere && covered < lines) {
        const auto unused = static_cast<std::uint64_t>(lines - covered);
        AddNote("lines-of-no-phase", unused, fileName,
                karta::CountOf(unused, "line") + " of " + fileName + (unused == 1 ? " belongs" : " belong") +
                    " to no phase");
    }
}

void BrooksideSamples::ReadCompletely(std::span<const PhaseEntry> entries, std::int64_t lastRow,
                                      ReadSpreadSheetData& sink) {
    sink.SetDataSize(header.CountColumns(), static_cast<int>(lastRow));
    CellOutput output(sink);
    SetNames(output);
    rowsInOrder = std::is_sorted(
        entries.begin(), entries.end(),
        [](const PhaseEntry& left, const PhaseEntry& right) { return left.firstRow < right.firstRow; });
    SampleRow sample(output, double{MissingMark});
    while (!entries.empty()) {
        const auto group = TakeDataFile(entries);
        ReadDataFileCompletely(group, output, sample);
        entries = entries.subspan(group.size());
    }
    if (sample.CountTexts() > 0) {
        AddNote("text-samples", sample.CountTexts(), {},
                karta::CountOf(sample.CountTexts(), "sample is no number and stays",
                               "samples are no numbers and stay") +
                    " text");
    }
    if (shortLines > 0) {
        AddNote("short-lines", shortLines, {},
                karta::CountOf(shortLines, "line has", "lines have") +
                    " fewer fields than the header: the rest is missing");
    }
}

// Lines that entries share are read for each of them. The entries come in the order of their first lines, so
// that going back never leads further than to where the present one began.
void BrooksideSamples::ReadDataFileCompletely(std::span<const PhaseEntry> entries, CellOutput& output,
                                              SampleRow& sample) {
    fileName = entries[0].dataFile;
    BrooksideStream stream;
    const bool isThere = EnterDataFile(stream, fileName);
    LineMark mark{1, stream.Tell()};
    std::int64_t line = 1;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const PhaseEntry& entry = entries[i];
        if (entry.from < line) {
            stream.Seek(mark.offset);
            line = mark.line;
        }
        for (; isThere && line < entry.from; ++line) {
            if (line % LinesBetweenLooks == 0) {
                context.ThrowIfStopped();
            }
            stream.NextLine();
        }
        const int nextFrom = i + 1 < entries.size() ? entries[i + 1].from : entry.from;
        const auto rows = static_cast<std::uint64_t>(entry.CountRows());
        context.budget.ChargeWork(rows * (header.GetMap().size() + 2) * StepsOfSample,
                                  "the samples of a log");
        auto row = static_cast<int>(entry.firstRow);
        for (line = entry.from; line <= entry.to; ++line) {
            context.ThrowIfStopped();
            if (line <= nextFrom) {
                mark = {line, stream.Tell()};
            }
            if (isThere) {
                SetCompleteSample(stream.NextLine(), row, sample);
            }
            output.Text(BrooksideHeader::ColumnWafer, row, entry.wafer);
            output.Integer(BrooksideHeader::ColumnPhase, row, entry.phase);
            ++row;
        }
        if (rowsInOrder) {
            output.EndRow(row - 1);
        }
    }
}

void BrooksideSamples::SetNames(CellOutput& output) const {
    output.Text(BrooksideHeader::ColumnWafer, 1, WaferName);
    output.Text(BrooksideHeader::ColumnPhase, 1, PhaseName);
    output.Text(BrooksideHeader::ColumnTime, 1, TimeName);
    for (const auto& [name, col] : header.GetVariables()) {
        output.Text(col, 1, name);
    }
}

void BrooksideSamples::SetCompleteSample(std::string_view text, int row, SampleRow& sample) {
    TabWalk fields(text);
    std::string_view field;
    bool isShort = false;
    double value = 0.0;
    sample.Begin(row);
    for (const auto& [number, col] : header.GetMap()) {
        if (fields.TakeNumber(number, value)) {
            sample.PutNumber(col, value);
            continue;
        }
        isShort = isShort || !fields.MoveTo(number, field);
        if (isShort) {
            sample.PutMissing(col);
        } else {
            sample.Put(col, field);
        }
    }
    sample.End();
    shortLines += isShort ? 1 : 0;
}
