#include "instrument/ChemStationParts.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <numeric>
#include <span>

#include "base/MappedFile.h"
#include "base/NumberFormat.h"
#include "base/PathNames.h"
#include "frame/CompleteOptions.h"

namespace {

constexpr int HeadRows = 2;
constexpr int HeadColumns = 4;
constexpr int ShownDigits = 9;
// Values and axes on their way to a sink stay in the cache.
constexpr std::size_t PieceSize = 4096;

const char* UnitOf(const ChemStationSignal& signal) {
    return signal.isSpectra ? "nm" : "s";
}

/** A file's date as a cell: understood once, set in each of its rows. */
class DateCell {
public:
    explicit DateCell(const std::string& date)
        : moment(ParseChemStationDate(date)), text(moment ? std::string() : TidyChemStationDate(date)) {}

    void Set(CellOutput& out, int column, int row) const {
        if (moment) {
            out.DateTime(column, row, *moment);
        } else if (!text.empty()) {
            out.Text(column, row, text);
        }
    }

private:
    std::optional<std::int64_t> moment;
    std::string text;
};

}  // namespace

// A file that can't be read costs that file, unless it is the only one.
bool ChemStationParts::Open(const std::vector<std::string>& paths, const NvImportOpenOptions* options,
                            karta::ReadContext& context) {
    Clear();
    texts.Choose(options, context);
    for (const std::string& path : paths) {
        context.ThrowIfStopped();
        const MappedFile file(path.c_str());
        ChemStationSignal signal;
        std::string reason;
        if (!file.IsOpen() || !signal.Open(path, ByteCursor(file.GetBytes()), texts, reason)) {
            if (!file.IsOpen()) {
                reason = "Unable to open file " + path + ".";
            }
            failure = failure.empty() ? reason : failure;
            context.notes.Add({"unread-file", 1, NvGetFileName(path), reason.substr(0, reason.size() - 1)});
            continue;
        }
        texts.AddNote(NvGetFileName(path), context);
        for (const karta::Note& note : signal.notes) {
            context.notes.Add(note);
        }
        signals.push_back(std::move(signal));
    }
    if (signals.empty()) {
        return false;
    }
    NameApart();
    return Choose(CompleteOptions(options).GetText(CompleteOptions::Part), context);
}

// Signals of one name are told by their files.
void ChemStationParts::NameApart() {
    std::map<std::string, int> counts;
    for (const ChemStationSignal& signal : signals) {
        ++counts[signal.name];
    }
    for (ChemStationSignal& signal : signals) {
        if (counts[signal.name] > 1) {
            signal.name += " (" + NvGetFileName(signal.path) + ")";
        }
    }
}

bool ChemStationParts::Choose(const std::optional<std::string>& wanted, karta::ReadContext& context) {
    std::vector<std::size_t> places(signals.size());
    std::iota(places.begin(), places.end(), 0U);
    if (wanted) {
        const auto found = FindParts(ListParts(), *wanted);
        if (!found) {
            failure = "There is no part '" + *wanted + "' in the files.";
            return false;
        }
        places = *found;
    }
    for (const std::size_t place : places) {
        const auto fitting = std::find_if(tables.begin(), tables.end(), [&](const Table& table) {
            return signals[place].HasAxisOf(signals[table.front()]);
        });
        if (fitting != tables.end()) {
            fitting->push_back(place);
        } else {
            tables.push_back({place});
        }
    }
    if (!wanted && tables.size() > 1) {
        const std::size_t others = signals.size() - tables.front().size();
        context.notes.Add({"other-parts", others, "",
                           karta::CountOf(others, "file") +
                               " of another kind or axis than the first can be chosen with --part: " +
                               signals[tables[1].front()].name + (others > 1 ? " ..." : "")});
        tables.resize(1);
    }
    return true;
}

void ChemStationParts::Clear() {
    signals.clear();
    tables.clear();
    failure.clear();
}

int ChemStationParts::CountDataRows(const Table& table) const {
    return std::accumulate(table.begin(), table.end(), 0, [this](int rows, std::size_t place) {
        return rows + (signals[place].isSpectra ? signals[place].numSpectra : 1);
    });
}

int ChemStationParts::GetNumRows() const {
    return std::accumulate(tables.begin(), tables.end(), 0, [this](int rows, const Table& table) {
        return rows + HeadRows + CountDataRows(table);
    });
}

int ChemStationParts::GetNumCols() const {
    int numPoints = 0;
    for (const Table& table : tables) {
        numPoints = std::max(numPoints, signals[table.front()].numPoints);
    }
    return tables.empty() ? 0 : numPoints + HeadColumns;
}

void ChemStationParts::Read(ReadSpreadSheetData& sink, karta::ReadContext& context) const {
    sink.SetDataSize(GetNumCols(), GetNumRows());
    if (tables.size() == 1) {
        SetShape(context.shape);
    }
    CellOutput out(sink);
    int row = 1;
    for (const Table& table : tables) {
        SetHeads(out, signals[table.front()], row);
        row += HeadRows;
        int ordinal = 1;
        for (const std::size_t place : table) {
            const ChemStationSignal& signal = signals[place];
            if (signal.isSpectra) {
                SetSpectra(out, signal, ordinal, row, context);
            } else {
                SetChromatogram(out, signal, ordinal++, row++, context);
            }
        }
    }
}

void ChemStationParts::SetHeads(CellOutput& out, const ChemStationSignal& signal, int firstRow) const {
    static constexpr const char* SignalNames[HeadColumns] = {"Primary ID", "File", "Date", "Sample Name"};
    static constexpr const char* SpectraNames[HeadColumns] = {"Primary ID", "Date", "Sample Name",
                                                              "Retention Time Counts"};
    for (int i = 0; i < HeadColumns; ++i) {
        out.Text(i + 1, firstRow, signal.isSpectra ? SpectraNames[i] : SignalNames[i]);
    }
    const bool areNamed = out.WantsPointNames() || tables.size() > 1;
    std::string name;
    for (int i = 0; areNamed && i < signal.numPoints; ++i) {
        name = "t ";
        AppendG(name, signal.GetX(i));
        out.TerminatedText(HeadColumns + 1 + i, firstRow, name);
    }
    out.EndRow(firstRow);
    const char* quantity = signal.isSpectra ? "Wavelength [nm]" : "Retention Time [s]";
    out.Text(1, firstRow + 1, signal.signal + (signal.signal.empty() ? "" : " ") + quantity);
    SetAxis(out, signal, firstRow + 1);
    out.EndRow(firstRow + 1);
}

void ChemStationParts::SetAxis(CellOutput& out, const ChemStationSignal& signal, int row) const {
    std::array<double, PieceSize> xs;
    for (int first = 0; first < signal.numPoints;) {
        const int count = std::min(signal.numPoints - first, static_cast<int>(xs.size()));
        for (int i = 0; i < count; ++i) {
            xs[static_cast<std::size_t>(i)] = signal.GetX(first + i);
        }
        const std::span<const double> stretch = std::span(xs).first(static_cast<std::size_t>(count));
        out.RowRun(HeadColumns + 1 + first, row, stretch);
        first += count;
    }
}

void ChemStationParts::SetChromatogram(CellOutput& out, const ChemStationSignal& signal, int ordinal, int row,
                                       const karta::ReadContext& context) const {
    out.Integer(1, row, ordinal);
    out.Text(2, row, NvGetFileName(signal.path));
    DateCell(signal.date).Set(out, 3, row);
    out.Text(4, row, signal.sample + (signal.unit.empty() ? "" : " [" + signal.unit + "]"));
    const MappedFile file(signal.path.c_str());
    ChemStationTrace trace(signal, ByteCursor(file.GetBytes()));
    std::array<double, PieceSize> values;
    int column = HeadColumns + 1;
    for (std::size_t count = trace.Next(values); count > 0; count = trace.Next(values)) {
        context.ThrowIfStopped();
        out.RowRun(column, row, std::span<const double>(values).first(count));
        column += static_cast<int>(count);
    }
    out.EndRow(row);
}

void ChemStationParts::SetSpectra(CellOutput& out, const ChemStationSignal& signal, int& ordinal, int& row,
                                  karta::ReadContext& context) const {
    const MappedFile file(signal.path.c_str());
    ChemStationSpectra spectra(signal, ByteCursor(file.GetBytes()));
    std::vector<double> values;
    values.reserve(static_cast<std::size_t>(signal.numPoints));
    std::uint64_t cut = 0;
    const DateCell date(signal.date);
    while (spectra.Next(values)) {
        context.ThrowIfStopped();
        out.Integer(1, row, ordinal++);
        date.Set(out, 2, row);
        out.Text(3, row, signal.sample);
        out.Number(4, row, spectra.GetTime());
        out.RowRun(HeadColumns + 1, row, values);
        out.EndRow(row++);
        cut += values.size() < static_cast<std::size_t>(signal.numPoints) ? 1 : 0;
    }
    if (cut > 0) {
        context.notes.Add({"cut-records", cut, NvGetFileName(signal.path),
                           NvGetFileName(signal.path) + ": " + karta::CountOf(cut, "spectrum", "spectra") +
                               " end before their axis does; the rest is missing"});
    }
}

void ChemStationParts::SetShape(karta::TableShape& shape) const {
    const ChemStationSignal& signal = signals[tables.front().front()];
    shape = {};
    shape.isKnown = true;
    shape.nameRow = 1;
    shape.axisRow = 2;
    shape.firstDataRow = HeadRows + 1;
    shape.labelColumns = {1, 2, 3, 4};
    shape.firstBlockColumn = HeadColumns + 1;
    shape.axisQuantity = signal.isSpectra ? "wavelength" : "time";
    shape.axisUnit = UnitOf(signal);
    shape.valueQuantity = signal.signal;
    shape.valueUnit = signal.unit;
}

std::vector<FileContents::Part> ChemStationParts::ListParts() const {
    std::vector<FileContents::Part> parts;
    for (const ChemStationSignal& signal : signals) {
        FileContents::Part part;
        part.kind = "spectrum";
        part.name = signal.name;
        part.number = static_cast<int>(parts.size()) + 1;
        part.rows = signal.isSpectra ? signal.numSpectra : 1;
        part.cols = signal.numPoints;
        part.detail = FormatG(signal.start, ShownDigits) + " to " + FormatG(signal.end, ShownDigits) + " " +
                      UnitOf(signal) + (signal.unit.empty() ? "" : ", " + signal.unit);
        parts.push_back(std::move(part));
    }
    return parts;
}

std::vector<FileContents::Fact> ChemStationParts::ListFacts() {
    if (tables.empty()) {
        return {};
    }
    const ChemStationSignal& signal = signals[tables.front().front()];
    const char* unit = UnitOf(signal);
    std::vector<FileContents::Fact> facts{{"spectra", static_cast<double>(CountDataRows(tables.front())), ""},
                                          {"points", static_cast<double>(signal.numPoints), ""},
                                          {"first X", signal.start, unit},
                                          {"last X", signal.end, unit}};
    if (signal.numPoints > 1) {
        facts.emplace_back("spacing", (signal.end - signal.start) / (signal.numPoints - 1), unit);
    }
    if (!signal.unit.empty()) {
        facts.emplace_back("Y unit", signal.unit);
    }
    const MappedFile file(signal.path.c_str());
    auto header = ChemStationSignal::ListFacts(ByteCursor(file.GetBytes()), texts);
    std::move(header.begin(), header.end(), std::back_inserter(facts));
    return facts;
}
