#include "instrument/NsasSpectra.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>

#include "base/ByteCursor.h"
#include "base/NumberFormat.h"
#include "frame/CompleteOptions.h"
#include "instrument/NsasHeader.h"

namespace {

constexpr int HeadRows = 2;
constexpr int FirstWavelengthColumn = 5;

// Behind the header and the filler.
constexpr std::size_t ValuesOffset = Nsas::HeaderSize + Nsas::FillerSize;

// Starts of spectra on one axis lie whole steps apart, but for the last digits of a float.
constexpr float NearlyWhole = 1e-3F;

struct Range {
    int numPoints;
    float start;
    float step;
    bool IsAxis() const { return numPoints > 0 && start > 0 && step > 0; }
};

Range RangeOf(NsasHeader header) {
    const int numPoints = Nsas::GetInt(header, Nsas::NumPointsOffset);
    const auto start = static_cast<float>(Nsas::GetInt(header, Nsas::StartWavelengthOffset));
    const auto end = static_cast<float>(Nsas::GetInt(header, Nsas::EndWavelengthOffset));
    return {numPoints, start, numPoints < 1 ? 0.0F : (end - start) / static_cast<float>(numPoints)};
}

std::size_t RecordSize(int numPoints) {
    return ValuesOffset + static_cast<std::size_t>(Nsas::BlocksOf(std::max(numPoints, 0)));
}

std::string AtByte(std::size_t position) {
    return "byte " + std::to_string(position);
}

}  // namespace

NsasSpectra::Outcome NsasSpectra::Open(std::span<const std::uint8_t> daBytes,
                                       std::optional<std::span<const std::uint8_t>> companion,
                                       const NvImportOpenOptions* options, karta::ReadContext& context) {
    Clear();
    texts.Choose(options, context);
    bytes = daBytes;
    Walk(context);
    if (spectra.empty()) {
        return bytes.empty() ? Outcome::Opened : Outcome::NoSpectrum;
    }
    if (companion) {
        constituentValues = *companion;
        OpenCompanion(context);
    }
    texts.AddNote("the file", context);
    const bool isChosen = Choose(CompleteOptions(options).GetText(CompleteOptions::Part), context);
    return isChosen ? Outcome::Opened : Outcome::NoSuchPart;
}

void NsasSpectra::Clear() {
    *this = {};
}

// Each record stands where the one before ends. A header that can't be one ends the walk: what follows has no
// known place.
void NsasSpectra::Walk(karta::ReadContext& context) {
    std::size_t position = 0;
    for (; bytes.size() - position >= Nsas::HeaderSize; ++numRecords) {
        context.ThrowIfStopped();
        const NsasHeader header = bytes.subspan(position, Nsas::HeaderSize);
        const Range range = RangeOf(header);
        if (!range.IsAxis()) {
            break;
        }
        const std::size_t end = position + RecordSize(range.numPoints);
        const std::size_t begin = std::min(position + ValuesOffset, bytes.size());
        const auto held = static_cast<int>(std::min<std::size_t>((bytes.size() - begin) / sizeof(float),
                                                                 static_cast<std::size_t>(range.numPoints)));
        spectra.push_back(
            {position, held, range.start, range.step,
             std::max(Nsas::GetInt(header, Nsas::NumConstituentsOffset), 0), numRecords,
             texts.ToUtf8(Nsas::GetText(header, Nsas::SampleNameOffset, Nsas::SampleNameSize))});
        if (held < range.numPoints) {
            context.notes.Add({"cut-values", 1, AtByte(position),
                               "the last spectrum has " + std::to_string(held) + " of its " +
                                   std::to_string(range.numPoints) + " values; the file ends there"});
        }
        position = std::min(end, bytes.size());
    }
    if (position < bytes.size() && !spectra.empty()) {
        context.notes.Add({"unread-bytes", bytes.size() - position, AtByte(position),
                           karta::CountOf(bytes.size() - position, "byte") + " from " + AtByte(position) +
                               " on are no spectrum and are not read"});
    }
}

// Two forms are known, by their sizes: a record a spectrum, with or without the names before them.
void NsasSpectra::OpenCompanion(karta::ReadContext& context) {
    const auto size = constituentValues.size();
    const std::size_t values = numRecords * static_cast<std::size_t>(Nsas::ValueRecordSize);
    for (const NsasSpectrum& spectrum : spectra) {
        numConstituents = std::max(numConstituents, spectrum.numConstituents);
    }
    if (numConstituents > Nsas::ValuesInRecord) {
        context.notes.Add({"constituents", 1, "",
                           "the spectra tell " + std::to_string(numConstituents) +
                               " constituents, of which the CN file has room for " +
                               std::to_string(Nsas::ValuesInRecord)});
        numConstituents = Nsas::ValuesInRecord;
    }
    if (size == values + Nsas::NameRecordSize) {
        const NsasHeader names = constituentValues.first(Nsas::NameRecordSize);
        for (std::size_t i = 0; i < static_cast<std::size_t>(numConstituents); ++i) {
            constituentNames.push_back(
                texts.ToUtf8(Nsas::GetText(names, i * Nsas::ConstituentNameSize, Nsas::ConstituentNameSize)));
        }
        constituentValues = constituentValues.subspan(Nsas::NameRecordSize);
    } else if (size != values) {
        context.notes.Add({"companion-size", 1, "",
                           "the CN file isn't read: its " + karta::CountOf(size, "byte") +
                               " aren't a record for each of " +
                               karta::CountOf(numRecords, "spectrum", "spectra")});
        constituentValues = {};
        numConstituents = 0;
    }
}

void NsasSpectra::AddToTable(std::size_t place) {
    const NsasSpectrum& spectrum = spectra[place];
    const auto fitting = std::find_if(tables.begin(), tables.end(), [&](const Table& table) {
        const float steps = (spectrum.start - table.first) / table.step;
        return table.step == spectrum.step && std::fabs(steps - std::round(steps)) < NearlyWhole;
    });
    if (fitting == tables.end()) {
        tables.push_back({spectrum.start, spectrum.step, spectrum.numPoints, {place}});
        return;
    }
    Table& table = *fitting;
    table.spectra.push_back(place);
    const float first = std::min(table.first, spectrum.start);
    const auto shift = static_cast<int>(std::lround((table.first - first) / table.step));
    table.numPoints += shift;
    table.first = first;
    table.numPoints = std::max(table.numPoints, PlaceInTable(spectrum, table) + spectrum.numPoints);
}

int NsasSpectra::PlaceInTable(const NsasSpectrum& spectrum, const Table& table) {
    return static_cast<int>(std::lround((spectrum.start - table.first) / table.step));
}

bool NsasSpectra::Choose(const std::optional<std::string>& wanted, karta::ReadContext& context) {
    std::vector<std::size_t> places(spectra.size());
    std::iota(places.begin(), places.end(), 0U);
    if (wanted) {
        const auto found = FindParts(ListParts(), *wanted);
        if (!found) {
            return false;
        }
        places = *found;
    }
    for (const std::size_t place : places) {
        AddToTable(place);
    }
    if (!wanted && tables.size() > 1) {
        const std::size_t others = spectra.size() - tables.front().spectra.size();
        context.notes.Add(
            {"other-axis", others, "",
             karta::CountOf(others, "spectrum", "spectra") +
                 " of another step than the first's are not in this table (the first is number " +
                 std::to_string(tables[1].spectra.front() + 1) + "); they can be chosen with --part"});
        tables.resize(1);
    }
    return true;
}

std::span<const std::uint8_t> NsasSpectra::HeaderOf(const NsasSpectrum& spectrum) const {
    return bytes.subspan(spectrum.position, Nsas::HeaderSize);
}

int NsasSpectra::GetNumRows() const {
    return std::accumulate(tables.begin(), tables.end(), 0, [](int rows, const Table& table) {
        return rows + HeadRows + static_cast<int>(table.spectra.size());
    });
}

int NsasSpectra::GetNumCols() const {
    int numPoints = 0;
    for (const Table& table : tables) {
        numPoints = std::max(numPoints, table.numPoints);
    }
    return tables.empty() ? 0 : numPoints + FirstWavelengthColumn - 1 + numConstituents;
}

void NsasSpectra::Read(ReadSpreadSheetData& sink, karta::ReadContext& context) const {
    sink.SetDataSize(GetNumCols(), GetNumRows());
    if (tables.size() == 1) {
        context.shape = {};
        context.shape.isKnown = true;
        context.shape.nameRow = 2;
        context.shape.axisRow = 1;
        context.shape.firstDataRow = HeadRows + 1;
        context.shape.labelColumns = {1, 2, 3, 4};
        context.shape.firstBlockColumn = FirstWavelengthColumn;
        context.shape.lastBlockColumn = numConstituents > 0 ? GetNumCols() - numConstituents : 0;
        context.shape.axisQuantity = "wavelength";
        context.shape.axisUnit = "nm";
    }
    CellOutput out(sink);
    int row = 1;
    for (const Table& table : tables) {
        SetHeads(out, table, row);
        row += HeadRows;
        int ordinal = 1;
        for (const std::size_t place : table.spectra) {
            context.ThrowIfStopped();
            SetSpectrum(out, table, spectra[place], ordinal++, row);
            out.EndRow(row++);
        }
    }
}

void NsasSpectra::SetHeads(CellOutput& out, const Table& table, int row) const {
    static constexpr const char* Names[] = {"SampleNo", "SpectrumNo", "SampleName", "Time"};
    const NsasHeader header = HeaderOf(spectra[table.spectra.front()]);
    out.Text(1, row,
             "/Instrument model " + std::to_string(Nsas::GetInt(header, Nsas::InstrumentModelOffset)));
    std::vector<float> wavelengths;
    wavelengths.reserve(static_cast<std::size_t>(table.numPoints));
    for (int i = 0; i < table.numPoints; ++i) {
        wavelengths.push_back(static_cast<float>(i) * table.step + table.first);
    }
    out.RowRun(FirstWavelengthColumn, row, wavelengths);
    out.EndRow(row);
    int column = 1;
    for (const char* name : Names) {
        out.Text(column++, row + 1, name);
    }
    if (out.WantsPointNames() || tables.size() > 1) {
        for (const float wavelength : wavelengths) {
            out.Text(column++, row + 1, "w" + FormatG(static_cast<double>(wavelength)));
        }
    }
    column = GetNumCols() - numConstituents;
    for (int i = 0; i < numConstituents; ++i) {
        const auto place = static_cast<std::size_t>(i);
        out.Text(++column, row + 1, place < constituentNames.size() ? constituentNames[place] : "");
    }
    out.EndRow(row + 1);
}

void NsasSpectra::SetSpectrum(CellOutput& out, const Table& table, const NsasSpectrum& spectrum, int ordinal,
                              int row) const {
    const NsasHeader header = HeaderOf(spectrum);
    out.Integer(1, row, ordinal);
    out.Integer(2, row, Nsas::GetInt(header, Nsas::SpectrumNumberOffset));
    out.Text(3, row, spectrum.name);
    out.Text(4, row, Nsas::GetDateText(header));
    std::vector<float> values(static_cast<std::size_t>(spectrum.numPoints));
    ByteCursor cursor(bytes);
    cursor.Seek(spectrum.position + ValuesOffset);
    if (cursor.ReadRun<float>(values)) {
        out.RowRun(FirstWavelengthColumn + PlaceInTable(spectrum, table), row, values);
    }
    values.resize(static_cast<std::size_t>(std::min(spectrum.numConstituents, numConstituents)));
    ByteCursor constituents(constituentValues);
    constituents.Seek(spectrum.index * static_cast<std::size_t>(Nsas::ValueRecordSize));
    if (!values.empty() && constituents.ReadRun<float>(values)) {
        out.RowRun(GetNumCols() - numConstituents + 1, row, values);
    }
}

std::vector<FileContents::Part> NsasSpectra::ListParts() const {
    std::vector<FileContents::Part> parts;
    for (const NsasSpectrum& spectrum : spectra) {
        const int number = static_cast<int>(parts.size()) + 1;
        parts.push_back({"spectrum", spectrum.name, number, spectrum.numPoints, 1, false,
                         Nsas::GetDateText(HeaderOf(spectrum))});
    }
    return parts;
}

std::vector<FileContents::Fact> NsasSpectra::ListFacts() const {
    if (tables.empty()) {
        return {};
    }
    const Table& table = tables.front();
    const NsasHeader header = HeaderOf(spectra[table.spectra.front()]);
    const auto first = static_cast<double>(table.first);
    const auto step = static_cast<double>(table.step);
    return {{"spectra", static_cast<double>(table.spectra.size()), ""},
            {"points", static_cast<double>(table.numPoints), ""},
            {"first X", first, "nm"},
            {"last X", first + (table.numPoints - 1) * step, "nm"},
            {"spacing", step, "nm"},
            {"constituents", static_cast<double>(numConstituents), ""},
            {"instrument model", static_cast<double>(Nsas::GetInt(header, Nsas::InstrumentModelOffset)), ""},
            {"date", Nsas::GetDateText(header)}};
}

bool NsasSpectra::IsChain(std::span<const std::uint8_t> bytes) {
    std::size_t position = 0;
    while (bytes.size() - position >= Nsas::HeaderSize) {
        const NsasHeader header = bytes.subspan(position, Nsas::HeaderSize);
        const Range range = RangeOf(header);
        if (!range.IsAxis() || !Nsas::HasTime(header) ||
            bytes.size() - position < RecordSize(range.numPoints)) {
            return false;
        }
        position += RecordSize(range.numPoints);
    }
    return position == bytes.size() && position > 0;
}
