#include "instrument/OPUSParts.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>
#include <utility>

#include "base/MappedFile.h"
#include "base/NumberFormat.h"
#include "base/PathNames.h"
#include "base/Unicode.h"
#include "frame/CompleteOptions.h"
#include "host/NvFile.h"
#include "instrument/OPUSSelection.h"

namespace {

constexpr int HeadRows = 2;
constexpr int DateColumn = 4;
constexpr int TimeColumn = 5;

/** What the code of an X unit means. */
struct AxisKind {
    std::string_view code;
    const char* quantity;
    const char* unit;
};

constexpr AxisKind AxisKinds[] = {{"WN", "wavenumber", "cm-1"},
                                  {"MI", "wavelength", "µm"},
                                  {"LGW", "log wavenumber", ""},
                                  {"MIN", "time", "min"},
                                  {"PNT", "points", ""}};

AxisKind KindOfAxis(const std::string& code) {
    const auto* found = std::find_if(std::begin(AxisKinds), std::end(AxisKinds),
                                     [&](const AxisKind& kind) { return kind.code == code; });
    return found == std::end(AxisKinds) ? AxisKind{code, "", ""} : *found;
}

/** The numbers of a spectrum's data block; either list has them. */
struct Values {
    std::vector<float> floats;
    std::vector<double> doubles;
};

// The numbers of a file that has become shorter since it was opened end early.
Values ReadValues(const OPUSSpectrum& spectrum, ByteCursor bytes) {
    Values values;
    const auto count = static_cast<std::size_t>(spectrum.numPoints);
    if (spectrum.block.offset < 0 || !bytes.Seek(static_cast<std::uint64_t>(spectrum.block.offset)) ||
        !bytes.Has(count, sizeof(float))) {
        return values;
    }
    if (spectrum.format == OPUSSpectrum::Int32) {
        values.doubles.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            values.doubles.push_back(bytes.ReadI32() * spectrum.scale);
        }
        return values;
    }
    values.floats.resize(count);
    bytes.ReadRun<float>(values.floats);
    if (spectrum.scale != 1.0) {
        values.doubles.assign(values.floats.begin(), values.floats.end());
        for (double& value : values.doubles) {
            value *= spectrum.scale;
        }
        values.floats.clear();
    }
    return values;
}

/** What of another axis a spectrum covers: from one of its points on, values side by side. */
struct Stretch {
    std::size_t first = 0;
    std::vector<double> values;
};

// On straight lines between neighbours; beyond the spectrum's ends there is nothing.
Stretch Interpolate(const OPUSSpectrum& spectrum, const std::vector<double>& ys, const OPUSSpectrum& axis) {
    // The ends of two axes that were measured alike differ in the last digits.
    constexpr double Nearly = 1e-6;
    Stretch stretch;
    const double spacing = spectrum.GetSpacing();
    const double last = spectrum.numPoints - 1;
    const std::vector<double> grid = axis.MakeAxis();
    for (std::size_t i = 0; i < grid.size(); ++i) {
        const double x = grid[i];
        double place = spacing == 0 ? 0 : (x - spectrum.firstX) / spacing;
        const bool isOnAPoint = spacing != 0 || x == spectrum.firstX;
        if (!isOnAPoint || !(place >= -Nearly && place <= last + Nearly)) {
            continue;
        }
        place = std::clamp(place, 0.0, last);
        const auto below = static_cast<std::size_t>(std::min(place, std::max(last - 1, 0.0)));
        const std::size_t above = std::min(below + 1, ys.size() - 1);
        const double share = place - static_cast<double>(below);
        if (stretch.values.empty()) {
            stretch.first = i;
        }
        stretch.values.push_back(share == 0 ? ys[below] : ys[below] + share * (ys[above] - ys[below]));
    }
    return stretch;
}

std::string ListOf(const std::vector<std::string>& names) {
    constexpr std::size_t MaxNames = 8;
    std::string list;
    for (std::size_t i = 0; i < std::min(names.size(), MaxNames); ++i) {
        list += (i == 0 ? "" : ", ") + names[i];
    }
    return names.size() > MaxNames ? list + " ..." : list;
}

}  // namespace

bool OPUSParts::Open(const char* fileNames, Axes axes, const NvImportOpenOptions* options,
                     karta::ReadContext& context) {
    Clear();
    texts.Choose(options, context);
    for (const std::string& path : NvFile::GetFileNames(fileNames)) {
        if (!OpenFile(path, context)) {
            return false;
        }
    }
    for (std::size_t file = 0; file < files.size(); ++file) {
        for (std::size_t spectrum = 0; spectrum < files[file].spectra.size(); ++spectrum) {
            AddToGroup({file, spectrum}, axes);
        }
    }
    if (groups.empty()) {
        return Fail("No data was found. Import aborted.");
    }
    return Choose(CompleteOptions(options).GetText(CompleteOptions::Part), context);
}

// A file without a spectrum costs that file, unless it is the only one.
bool OPUSParts::OpenFile(const std::string& path, karta::ReadContext& context) {
    context.ThrowIfStopped();
    const MappedFile mapped(path.c_str());
    if (ByteCursor(mapped.GetBytes()).ReadText(OPUSMagic.size()) != OPUSMagic) {
        return Fail(path + " does not seem to be a supported Bruker OPUS file.");
    }
    OPUSFile file(path, ByteCursor(mapped.GetBytes()), texts);
    texts.AddNote(NvGetFileName(path), context);
    for (const karta::Note& note : file.notes) {
        context.notes.Add(note);
    }
    if (file.spectra.empty()) {
        const std::string text = "Could not find any spectrum in '" + path + "' that can be read.";
        context.notes.Add({"no-spectrum", 1, NvGetFileName(path), text.substr(0, text.size() - 1)});
        errorText = text;
    } else {
        files.push_back(std::move(file));
    }
    return true;
}

void OPUSParts::AddToGroup(Row row, Axes axes) {
    const OPUSSpectrum& spectrum = At(row);
    std::vector<std::size_t>& candidates = groupsOfName[spectrum.name];
    const auto found = std::find_if(candidates.begin(), candidates.end(), [&](std::size_t place) {
        return axes == Axes::Interpolated || spectrum.HasAxisOf(AxisOf(groups[place]));
    });
    if (found != candidates.end()) {
        groups[*found].rows.push_back(row);
        return;
    }
    std::string name = spectrum.name;
    if (!candidates.empty()) {
        name += " (axis " + std::to_string(candidates.size() + 1) + ")";
    }
    candidates.push_back(groups.size());
    groups.push_back({std::move(name), {row}});
}

bool OPUSParts::Choose(const std::optional<std::string>& wanted, karta::ReadContext& context) {
    if (wanted) {
        const auto places = FindParts(ListParts(), *wanted);
        if (!places) {
            return Fail("There is no part '" + *wanted + "' in the files.");
        }
        chosen = *places;
        return true;
    }
    const OPUSSpectrum& preferred = files.front().GetPreferred();
    const auto found = std::find_if(groups.begin(), groups.end(),
                                    [&](const Group& group) { return &AxisOf(group) == &preferred; });
    chosen = {static_cast<std::size_t>(found - groups.begin())};
    NoteChoice(context);
    return true;
}

void OPUSParts::NoteChoice(karta::ReadContext& context) const {
    if (groups.size() < 2) {
        return;
    }
    std::vector<std::string> others;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (i != chosen.front()) {
            others.push_back(groups[i].name);
        }
    }
    context.notes.Add({"other-parts", others.size(), "",
                       "the table holds '" + groups[chosen.front()].name + "'; " +
                           karta::CountOf(others.size(), "other part") +
                           " can be chosen with --part: " + ListOf(others)});
}

void OPUSParts::Clear() {
    files.clear();
    groups.clear();
    groupsOfName.clear();
    chosen.clear();
    errorText.clear();
}

bool OPUSParts::Fail(const std::string& text) {
    const std::string earlier = std::exchange(errorText, {});
    Clear();
    errorText = earlier.empty() ? text : earlier;
    return false;
}

void OPUSParts::Read(ReadSpreadSheetData& sink, karta::ReadContext& context) const {
    sink.SetDataSize(GetNumCols(), GetNumRows());
    if (chosen.size() == 1) {
        SetShape(context.shape);
    }
    CellOutput out(sink);
    int row = 1;
    std::size_t missing = 0;
    std::set<std::string> zones;
    for (const std::size_t place : chosen) {
        const Group& group = groups[place];
        SetHeads(out, group, row);
        row += HeadRows;
        for (const Row& spectrum : group.rows) {
            context.ThrowIfStopped();
            context.budget.ChargeWork(static_cast<std::uint64_t>(AxisOf(group).numPoints), "spectra");
            SetRow(out, group, spectrum, row, missing);
            out.EndRow(row++);
            if (const auto zone = At(spectrum).time.GetZoneMinutes()) {
                zones.insert(std::to_string(*zone));
            }
        }
    }
    if (zones.size() > 1) {
        context.notes.Add({"time-zones", zones.size(), "",
                           "the times are local ones of " + karta::CountOf(zones.size(), "time zone")});
    }
    if (missing > 0) {
        context.notes.Add({"outside-axis", missing, "",
                           karta::CountOf(missing, "cell") +
                               " of the axis lie beyond the ends of their spectra and are missing"});
    }
}

void OPUSParts::SetHeads(CellOutput& out, const Group& group, int firstRow) const {
    const OPUSSpectrum& axis = AxisOf(group);
    static constexpr const char* Names[] = {"File Name", "Sample Name", "Sample Form", "Date", "Time"};
    int column = 1;
    for (const char* name : Names) {
        out.Text(column++, firstRow, name);
    }
    for (int i = 0; i < axis.numPoints && (out.WantsPointNames() || chosen.size() > 1); ++i) {
        out.Text(OPUSFirstValueColumn + i, firstRow, "Var_" + std::to_string(i + 1));
    }
    out.EndRow(firstRow);
    out.Text(1, firstRow + 1, NameOfOPUSUnit(axis.xUnits));
    if (chosen.size() > 1) {
        out.Text(2, firstRow + 1, group.name);
    }
    out.RowRun(OPUSFirstValueColumn, firstRow + 1, axis.MakeAxis());
    out.EndRow(firstRow + 1);
}

void OPUSParts::SetRow(CellOutput& out, const Group& group, Row row, int tableRow,
                       std::size_t& missing) const {
    const OPUSFile& file = files[row.file];
    const OPUSSpectrum& spectrum = At(row);
    out.Text(1, tableRow, NvGetFileName(file.path));
    out.Text(2, tableRow, file.sampleName);
    out.Text(3, tableRow, file.sampleForm);
    if (const auto days = spectrum.time.GetDays()) {
        out.Date(DateColumn, tableRow, *days);
    } else if (!spectrum.time.dateText.empty()) {
        out.Text(DateColumn, tableRow, AsUtf8(spectrum.time.dateText));
    }
    if (const auto time = spectrum.time.GetMicroseconds()) {
        out.Time(TimeColumn, tableRow, *time);
    } else if (!spectrum.time.timeText.empty()) {
        out.Text(TimeColumn, tableRow, AsUtf8(spectrum.time.timeText));
    }
    const MappedFile mapped(file.path.c_str());
    Values values = ReadValues(spectrum, ByteCursor(mapped.GetBytes()));
    if (spectrum.HasAxisOf(AxisOf(group))) {
        out.RowRun(OPUSFirstValueColumn, tableRow, values.floats);
        out.RowRun(OPUSFirstValueColumn, tableRow, values.doubles);
        return;
    }
    if (values.doubles.empty()) {
        values.doubles.assign(values.floats.begin(), values.floats.end());
    }
    if (values.doubles.empty()) {
        return;
    }
    const Stretch stretch = Interpolate(spectrum, values.doubles, AxisOf(group));
    missing += static_cast<std::size_t>(AxisOf(group).numPoints) - stretch.values.size();
    out.RowRun(OPUSFirstValueColumn + static_cast<int>(stretch.first), tableRow, stretch.values);
}

void OPUSParts::SetShape(karta::TableShape& shape) const {
    const Group& group = groups[chosen.front()];
    const AxisKind axis = KindOfAxis(AxisOf(group).xUnits);
    shape = {};
    shape.isKnown = true;
    shape.nameRow = 1;
    shape.axisRow = 2;
    shape.firstDataRow = HeadRows + 1;
    shape.labelColumns = {1, 2, 3, DateColumn, TimeColumn};
    shape.firstBlockColumn = OPUSFirstValueColumn;
    shape.axisQuantity = axis.quantity;
    shape.axisUnit = axis.unit;
    shape.valueQuantity = group.name;
}

int OPUSParts::GetNumRows() const {
    std::size_t rows = 0;
    for (const std::size_t place : chosen) {
        rows += groups[place].rows.size() + HeadRows;
    }
    return static_cast<int>(rows);
}

int OPUSParts::GetNumCols() const {
    int numPoints = 0;
    for (const std::size_t place : chosen) {
        numPoints = std::max(numPoints, AxisOf(groups[place]).numPoints);
    }
    return chosen.empty() ? 0 : numPoints + OPUSFirstValueColumn - 1;
}

std::vector<FileContents::Part> OPUSParts::ListParts() const {
    std::vector<FileContents::Part> parts;
    for (const Group& group : groups) {
        const OPUSSpectrum& axis = AxisOf(group);
        const AxisKind kind = KindOfAxis(axis.xUnits);
        FileContents::Part part;
        part.kind = "spectrum";
        part.name = group.name;
        part.number = static_cast<int>(parts.size()) + 1;
        part.cols = axis.numPoints;
        part.rows = static_cast<int>(group.rows.size());
        part.detail = FormatG(axis.firstX) + " to " + FormatG(axis.GetLastX()) +
                      (kind.unit[0] == '\0' ? "" : " ") + kind.unit + ", " + axis.time.AsText();
        parts.push_back(std::move(part));
    }
    return parts;
}

std::vector<FileContents::Fact> OPUSParts::ListFacts() {
    if (chosen.empty()) {
        return {};
    }
    const Group& group = groups[chosen.front()];
    const OPUSSpectrum& axis = AxisOf(group);
    const AxisKind kind = KindOfAxis(axis.xUnits);
    std::vector<FileContents::Fact> facts{{"spectra", static_cast<double>(group.rows.size()), ""},
                                          {"quantity", group.name},
                                          {"points", static_cast<double>(axis.numPoints), ""},
                                          {"first X", axis.firstX, kind.unit},
                                          {"last X", axis.GetLastX(), kind.unit},
                                          {"spacing", axis.GetSpacing(), kind.unit},
                                          {"X unit", NameOfOPUSUnit(axis.xUnits)}};
    if (const std::string date = axis.time.AsText(); !date.empty()) {
        facts.emplace_back("date", date);
    }
    const MappedFile mapped(files[group.rows.front().file].path.c_str());
    const ByteCursor bytes(mapped.GetBytes());
    if (bytes.Has(OPUSHeaderSize)) {
        auto parameters = ListOPUSParameters(bytes, texts);
        std::move(parameters.begin(), parameters.end(), std::back_inserter(facts));
    }
    return facts;
}
