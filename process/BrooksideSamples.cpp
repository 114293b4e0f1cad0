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

namespace {

constexpr int LinesBeforeCount = 4;
constexpr const char* TimeName = "Time";
constexpr float MissingMark = -999.0F;

// The entries of the first one's data file; they stand together.
std::span<const PhaseEntry> TakeDataFile(std::span<const PhaseEntry> entries) {
    std::size_t count = 1;
    while (count < entries.size() && EqualIgnoringCase(entries[count].dataFile, entries[0].dataFile)) {
        ++count;
    }
    return entries.first(count);
}

// The next field of a line, which is taken off it. False when there is none.
bool TakeField(std::string_view& rest, bool& more, std::string_view& field) {
    if (!more) {
        return false;
    }
    const std::size_t tab = rest.find('\t');
    more = tab != std::string_view::npos;
    field = rest.substr(0, tab);
    rest.remove_prefix(more ? tab + 1 : rest.size());
    return true;
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
    if (!EqualIgnoringCase(fields.GetText(1), TimeName)) {
        throw BrooksideFailure{BrooksideFile::StatusNoTime,
                               "The 'Time' column could not be found in the data file " + dataFile + "."};
    }
    map.assign(1, {1, ColumnTime});
    for (int field = 2; field <= fields.GetCount(); ++field) {
        const std::string_view name = fields.GetText(field);
        if (!name.empty() && ToUpper(name.front()) == ToUpper(chamberLetter)) {
            map.push_back({field, ColumnOf(name)});
        }
    }
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

// The last row that the table can have, if no data file gives more lines than it has bytes. Lines that
// several phases share count for each of them.
std::int64_t BrooksideSamples::FindBelievableEnd(std::span<const PhaseEntry> entries) const {
    std::int64_t rows = 1;
    std::int64_t rowsWithoutData = rowsWithoutDataLeft;
    while (!entries.empty()) {
        const auto group = TakeDataFile(entries);
        std::int64_t asked = 0;
        for (const PhaseEntry& entry : group) {
            asked += std::max<std::int64_t>(entry.CountRows(), 0);
        }
        const auto size = static_cast<std::int64_t>(files.GetSize(group[0].dataFile));
        const std::int64_t given = std::min(asked, size > 0 ? size : rowsWithoutData);
        rowsWithoutData -= size > 0 ? 0 : given;
        rows += given;
        entries = entries.subspan(group.size());
    }
    return std::min<std::int64_t>(rows, std::numeric_limits<int>::max() - 1);
}

void BrooksideSamples::Read(std::span<const PhaseEntry> entries, std::int64_t lastRow) {
    believableEnd = FindBelievableEnd(entries);
    tableEnd = std::min(lastRow, believableEnd);
    for (bool isFirst = true; !entries.empty(); isFirst = false) {
        const auto group = TakeDataFile(entries);
        ReadDataFile(group, isFirst);
        entries = entries.subspan(group.size());
    }
}

void BrooksideSamples::ReadDataFile(std::span<const PhaseEntry> entries, bool isFirst) {
    fileName = entries[0].dataFile;
    BrooksideStream stream = files.OpenText(fileName);
    if (!stream.IsOpen()) {
        SetWithoutData(entries);
        return;
    }
    header.Read(stream, fileName);
    if (sink.GetNumberOfColumns() < header.CountColumns() || sink.GetNumberOfRows() < tableEnd) {
        sink.SetDataSize(header.CountColumns(), static_cast<int>(tableEnd));
        differentVariables = differentVariables || !isFirst;
    }
    std::int64_t line = 1;
    for (const PhaseEntry& entry : entries) {
        ReadEntry(stream, entry, line);
    }
}

// The stream is never wound back: a phase that begins before the present line begins there, and takes at
// least that one.
void BrooksideSamples::ReadEntry(BrooksideStream& stream, const PhaseEntry& entry, std::int64_t& line) {
    for (; line < entry.from && !stream.AtEnd(); ++line) {
        stream.NextLine();
    }
    std::int64_t row = entry.firstRow;
    do {
        if (stream.AtEnd()) {
            FailAtEndOfFile();
        }
        CheckRow(row);
        const std::string_view text = stream.NextLine();
        // A phase that is listed backwards takes rows back, in the worst case from before the table.
        if (row >= 1) {
            SetSample(text, entry, row);
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

void BrooksideSamples::SetSample(std::string_view text, const PhaseEntry& entry, std::int64_t row) {
    const int tableRow = static_cast<int>(row);
    bool more = !text.empty();
    int fieldsTaken = 0;
    for (const auto& [field, col] : header.GetMap()) {
        std::string_view value;
        for (; fieldsTaken < field; ++fieldsTaken) {
            if (!TakeField(text, more, value)) {
                throw BrooksideFailure{BrooksideFile::StatusForeignFile, {}};
            }
        }
        float number = 0.0F;
        if (!NvString::ToFloat(value, number)) {
            throw BrooksideFailure{
                BrooksideFile::StatusNotANumber,
                "File " + fileName + ": Found '" + std::string(value) + "' when expecting a number."};
        }
        const bool isMissing =
            number == MissingMark || (col == BrooksideHeader::ColumnTime && entry.outOfOrder);
        if (isMissing) {
            sink.Set(col, tableRow, "");
        } else {
            sink.Set(col, tableRow, number);
        }
    }
    sink.Set(BrooksideHeader::ColumnWafer, tableRow, entry.wafer);
    sink.Set(BrooksideHeader::ColumnPhase, tableRow, entry.phase);
}

// The rows of a data file that isn't there still tell their wafer and phase.
void BrooksideSamples::SetWithoutData(std::span<const PhaseEntry> entries) {
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
            if (sink.GetNumberOfRows() < tableRow) {
                sink.SetDataSize(sink.GetNumberOfColumns(), tableRow);
            }
            sink.Set(BrooksideHeader::ColumnWafer, tableRow, entry.wafer);
            sink.Set(BrooksideHeader::ColumnPhase, tableRow, entry.phase);
        }
    }
}
