#include "instrument/SPCTable.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/Ascii.h"
#include "base/DateText.h"
#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "base/TolerantEqual.h"
#include "frame/CompleteOptions.h"
#include "instrument/SPCUnits.h"

namespace {

// So many digits of an axis' ends are shown: as many as instruments write.
constexpr int ShownDigits = 9;

// Years below this are counted from 1900, as C libraries do; those between are none of an instrument.
constexpr int FirstFullYear = 200;
constexpr int FirstBelievedYear = 1950;

std::string Capitalized(std::string_view text) {
    std::string result(text);
    if (!result.empty()) {
        result.front() = ToUpper(result.front());
    }
    return result;
}

// The name of a label column of a Z or W axis.
std::string ColumnName(const SPCQuantity& what, const std::string& text, const char* otherwise) {
    if (!text.empty()) {
        return text;
    }
    if (what.quantity.empty()) {
        return otherwise;
    }
    return Capitalized(what.quantity) + (what.unit.empty() ? "" : " (" + std::string(what.unit) + ")");
}

std::string TextOf(const SPCHeader& header, std::size_t axis) {
    return header.hasAxisText ? std::string(TrimSpace(header.GetAxisText(axis))) : std::string();
}

bool SameAxis(const std::vector<double>& left, const std::vector<double>& right, bool areEven) {
    if (!areEven) {
        return left == right;
    }
    // Evenly spaced spectra of different lengths are on one axis where it begins and goes on alike.
    if (left.size() < 2 || right.size() < 2) {
        return left == right;
    }
    return TolerantEqual(left[0], right[0]) && TolerantEqual(left[1] - left[0], right[1] - right[0]);
}

// The file's date where it is one; `year` as it stands in the file.
std::optional<std::int64_t> Microseconds(unsigned int packed, int year) {
    const std::chrono::year_month_day day{std::chrono::year(year), std::chrono::month(packed >> 16U & 0x0fU),
                                          std::chrono::day(packed >> 11U & 0x1fU)};
    const std::int64_t hour = packed >> 6U & 0x1fU;
    const std::int64_t minute = packed & 0x3fU;
    if (!day.ok() || hour > 23 || minute > 59) {
        return std::nullopt;
    }
    const std::int64_t days = std::chrono::sys_days(day).time_since_epoch().count();
    return ((days * 24 + hour) * 60 + minute) * 60'000'000;
}

// A line of the log: "KEY=VALUE" as a fact of its own, anything else is text.
void AddLogLine(std::string_view line, std::vector<FileContents::Fact>& facts, std::string& text) {
    const std::size_t equals = line.find('=');
    const std::string name(TrimSpace(line.substr(0, std::min(equals, line.size()))));
    if (equals == std::string_view::npos || name.empty()) {
        text += (text.empty() ? "" : "\n") + std::string(line);
        return;
    }
    const std::string_view value = TrimSpace(line.substr(equals + 1));
    double number = 0.0;
    if (!value.empty() && ParseDouble(value, number) == value.size()) {
        facts.emplace_back(name, number, "");
    } else if (!value.empty()) {
        facts.emplace_back(name, std::string(value));
    }
}

void AddText(std::vector<FileContents::Fact>& facts, const char* name, std::string_view text) {
    const std::string_view trimmed = TrimSpace(text);
    if (!trimmed.empty()) {
        facts.emplace_back(name, std::string(trimmed));
    }
}

// A text that is a number is told as one.
void AddTextOrNumber(std::vector<FileContents::Fact>& facts, const char* name, std::string_view text) {
    const std::string_view trimmed = TrimSpace(text);
    double number = 0.0;
    if (!trimmed.empty() && ParseDouble(trimmed, number) == trimmed.size()) {
        facts.emplace_back(name, number, "");
    } else {
        AddText(facts, name, trimmed);
    }
}

}  // namespace

bool SPCTable::AddFile(const std::string& path, const MappedFile& file, SPCLayout layout) {
    context.budget.AddInput(path.c_str());
    SPCContents contents(file.GetBytes(), layout);
    if (!contents.HasHeader() || contents.GetSubFiles().empty()) {
        return false;
    }
    contents.DecodeTexts(texts);
    texts.AddNote(NvGetFileName(path), context);
    const std::vector<SPCSubFile>& subFiles = contents.GetSubFiles();
    context.budget.ChargeMemory(subFiles.size() * sizeof(SPCSubFile), "the list of spectra");
    hasZ = hasZ || subFiles.size() > 1 || subFiles.front().z != 0.0F;
    hasW = hasW || contents.GetHeader().numWPlanes > 0 ||
           std::any_of(subFiles.begin(), subFiles.end(), [](const SPCSubFile& sub) { return sub.w != 0.0F; });
    const std::size_t index = files.size();
    if (contents.HasCommonAxis()) {
        items.push_back({index, 0, subFiles.size()});
    } else {
        for (std::size_t i = 0; i < subFiles.size(); ++i) {
            items.push_back({index, i, 1});
        }
    }
    files.push_back({path, NvGetFileName(path), NvGetFileTitle(path), std::move(contents)});
    return true;
}

const std::vector<double>* SPCTable::GetFirstAxis() const {
    return files.empty() ? nullptr : &files.front().contents.GetAxis();
}

std::vector<double> SPCTable::AxisOf(const Item& item) const {
    const File& file = files[item.file];
    if (file.contents.HasCommonAxis()) {
        return file.contents.GetAxis();
    }
    return file.contents.ReadAxis(Map(item.file).GetBytes(), file.contents.GetSubFiles()[item.firstSubFile]);
}

// One file is open at a time, so that a selection may hold thousands.
const MappedFile& SPCTable::Map(std::size_t file) const {
    if (openIndex != file) {
        openFile = MappedFile(files[file].path.c_str());
        openIndex = file;
    }
    return openFile;
}

std::string SPCTable::NameOf(const Item& item) const {
    const File& file = files[item.file];
    return file.contents.HasCommonAxis() ? file.name
                                         : file.title + "_" + std::to_string(item.firstSubFile + 1);
}

// The first one, and all that have its axis, where nothing else is wanted.
std::vector<std::size_t> SPCTable::ChooseItems(const std::optional<std::vector<std::size_t>>& wanted) const {
    if (wanted) {
        return *wanted;
    }
    std::vector<std::size_t> chosen;
    const std::vector<double> first = AxisOf(items.front());
    const bool isEven = !files.front().contents.HasFloatAxis();
    for (std::size_t i = 0; i < items.size(); ++i) {
        const bool bothEven = isEven && !files[items[i].file].contents.HasFloatAxis();
        if (i == 0 || SameAxis(first, AxisOf(items[i]), bothEven)) {
            chosen.push_back(i);
        }
    }
    return chosen;
}

bool SPCTable::Choose(const std::optional<std::string>& wanted, const USDConstraints& constraints) {
    std::optional<std::vector<std::size_t>> parts;
    if (wanted) {
        parts = FindParts(ListParts(), *wanted);
        if (!parts) {
            return false;
        }
    }
    chosenItems = ChooseItems(parts);
    table.hasAxisRow = constraints.includeX;
    table.labelNames = {"Name", "Date"};
    table.axisUnitColumn = 3;
    const SPCHeader& header = GetHeader(items[chosenItems.front()]);
    if (hasZ) {
        table.labelNames.push_back(ColumnName(FindSPCXQuantity(header.zType), TextOf(header, 2), "Z"));
    }
    if (hasW) {
        table.labelNames.push_back(ColumnName(FindSPCXQuantity(header.wType), "", "W"));
    }
    for (const std::size_t item : chosenItems) {
        AddItem(items[item], constraints);
    }
    CloseGroup(constraints);
    NoteFiles();
    NoteTheRest(chosenItems);
    FillShape(header);
    return true;
}

// To the group before where that has the same axis, which may go farther.
void SPCTable::AddItem(const Item& item, const USDConstraints& constraints) {
    std::vector<double> axis = AxisOf(item);
    const File& file = files[item.file];
    const bool isFloat = file.contents.HasFloatAxis();
    const bool isNew = table.groups.empty() || table.groups.back().isFloatAxis != isFloat ||
                       !SameAxis(table.groups.back().axis, axis, !isFloat);
    if (isNew) {
        CloseGroup(constraints);
        SpectrumTable::Group& group = table.groups.emplace_back();
        group.isFloatAxis = isFloat;
        const SPCHeader& header = file.contents.GetHeader();
        const std::string text = TextOf(header, 0);
        const SPCQuantity what = FindSPCXQuantity(header.xType);
        group.axisUnit = !text.empty() ? text : std::string(what.unit.empty() ? what.quantity : what.unit);
    }
    SpectrumTable::Group& group = table.groups.back();
    if (isNew || axis.size() > group.axis.size()) {
        group.axis = std::move(axis);
    }
    for (std::size_t i = 0; i < item.count; ++i) {
        const std::size_t subFile = item.firstSubFile + i;
        group.spectra.push_back({LabelsOf(file, subFile), places.size()});
        places.push_back({item.file, subFile});
    }
}

void SPCTable::CloseGroup(const USDConstraints& constraints) {
    if (table.groups.empty()) {
        return;
    }
    SpectrumTable::Group& group = table.groups.back();
    group.selection = AxisSelection(group.axis, constraints);
    for (const int interval : group.selection.GetEmptyIntervals()) {
        const auto at = [&](const float* points) {
            return FormatG(static_cast<double>(points[static_cast<std::size_t>(interval)]), ShownDigits);
        };
        context.notes.Add(
            {"interval", 1, "",
             "no point of the axis lies in the interval from " + at(constraints.startPoints) + " to " +
                 at(constraints.endPoints) +
                 (group.axis.empty() ? std::string()
                                     : ": it goes from " + FormatG(group.axis.front(), ShownDigits) + " to " +
                                           FormatG(group.axis.back(), ShownDigits))});
    }
    if (group.selection.GetLeftOut() > 0) {
        context.notes.Add({"average", group.selection.GetLeftOut(), "",
                           karta::CountOf(group.selection.GetLeftOut(), "point") +
                               (group.selection.GetLeftOut() == 1 ? " at the end of an interval is"
                                                                  : " at the ends of intervals are") +
                               " left out: fewer than the " + std::to_string(constraints.useAverage) +
                               " of a mean"});
    }
}

std::vector<SpectrumTable::Label> SPCTable::LabelsOf(const File& file, std::size_t subFile) const {
    const std::vector<SPCSubFile>& subFiles = file.contents.GetSubFiles();
    std::string name = subFiles.size() < 2 ? file.title : file.title + "_" + std::to_string(subFile + 1);
    std::vector<SpectrumTable::Label> labels{std::move(name), DateOf(file)};
    if (hasZ) {
        labels.emplace_back(static_cast<double>(subFiles[subFile].z));
    }
    if (hasW) {
        labels.emplace_back(static_cast<double>(subFiles[subFile].w));
    }
    return labels;
}

SpectrumTable::Label SPCTable::DateOf(const File& file) const {
    const unsigned int packed = file.contents.GetHeader().date;
    if (packed == 0) {
        return {};
    }
    const int year = static_cast<int>(packed >> 20U);
    const bool isShort = year < FirstFullYear;
    const std::optional<std::int64_t> date = Microseconds(packed, isShort ? year + 1900 : year);
    if (!date || (!isShort && year < FirstBelievedYear)) {
        context.notes.Add({"date", 1, file.name,
                           "the date of " + file.name + " is none (year " + std::to_string(year) +
                               ", month " + std::to_string(packed >> 16U & 0x0fU) + ", day " +
                               std::to_string(packed >> 11U & 0x1fU) + ") and left empty"});
        return {};
    }
    if (isShort) {
        context.notes.Add(
            {"date", 1, file.name,
             "the year " + std::to_string(year) + " of " + file.name + " is taken as counted from 1900"});
    }
    return SpectrumTable::DateTime{*date};
}

void SPCTable::NoteFiles() const {
    for (const File& file : files) {
        for (karta::Note note : file.contents.GetNotes()) {
            note.text = files.size() > 1 ? file.name + ": " + note.text : note.text;
            context.notes.Add(std::move(note));
        }
        NoteZ(file);
    }
}

// A header can tell of an even spacing of Z that none of the sub-files has.
void SPCTable::NoteZ(const File& file) const {
    const std::vector<SPCSubFile>& subFiles = file.contents.GetSubFiles();
    const float spacing = file.contents.GetHeader().zIncrement;
    if (spacing != 0.0F && subFiles.size() > 1 &&
        std::all_of(subFiles.begin(), subFiles.end(), [](const SPCSubFile& sub) { return sub.z == 0.0F; })) {
        context.notes.Add({"z-values", subFiles.size(), file.name,
                           "the spectra of " + file.name +
                               " all have a Z of 0, though its header tells of a Z spacing of " +
                               FormatShortest(spacing)});
    }
}

void SPCTable::NoteTheRest(const std::vector<std::size_t>& chosen) const {
    std::vector<bool> isChosen(items.size());
    for (const std::size_t item : chosen) {
        isChosen[item] = true;
    }
    std::vector<int> rest;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (!isChosen[i]) {
            rest.push_back(static_cast<int>(i) + 1);
        }
    }
    if (!rest.empty()) {
        context.notes.Add({"other-parts", rest.size(), "",
                           std::string(rest.size() == 1 ? "spectrum " : "spectra ") + ListNumbers(rest) +
                               " of the list, on " +
                               (rest.size() == 1 ? "an axis of its own" : "axes of their own") + ", " +
                               (rest.size() == 1 ? "is" : "are") + " not in this table"});
    }
}

void SPCTable::FillShape(const SPCHeader& header) {
    table.FillShape(context.shape);
    const SPCQuantity x = FindSPCXQuantity(header.xType);
    const SPCQuantity y = FindSPCYQuantity(header.yType);
    const std::string xText = TextOf(header, 0);
    const std::string yText = TextOf(header, 1);
    context.shape.axisQuantity = xText.empty() ? std::string(x.quantity) : xText;
    context.shape.axisUnit = xText.empty() ? std::string(x.unit) : "";
    context.shape.valueQuantity = yText.empty() ? std::string(y.quantity) : yText;
    context.shape.valueUnit = yText.empty() ? std::string(y.unit) : "";
}

bool SPCTable::Read(ReadSpreadSheetData& sink) {
    bool isThere = true;
    table.Write(sink, context, [&](std::size_t id, SpectrumTable::Values& values) {
        const Place& place = places[id];
        const File& file = files[place.file];
        const MappedFile& bytes = Map(place.file);
        isThere = isThere && bytes.IsOpen();
        if (bytes.IsOpen()) {
            SPCContents::ReadValues(bytes.GetBytes(), file.contents.GetSubFiles()[place.subFile], values);
        }
    });
    openFile.Close();
    openIndex.reset();
    return isThere;
}

std::vector<FileContents::Part> SPCTable::ListParts() const {
    std::vector<FileContents::Part> parts;
    for (const Item& item : items) {
        const File& file = files[item.file];
        const SPCHeader& header = file.contents.GetHeader();
        FileContents::Part part;
        part.kind = "spectrum";
        part.name = NameOf(item);
        part.number = static_cast<int>(parts.size()) + 1;
        part.rows = static_cast<int>(item.count);
        const bool isCommon = file.contents.HasCommonAxis();
        const SPCSubFile& first = file.contents.GetSubFiles()[item.firstSubFile];
        part.cols = static_cast<int>(isCommon ? file.contents.GetAxis().size() : first.points);
        if (isCommon && part.cols > 0) {
            part.detail = FormatG(file.contents.GetAxis().front(), ShownDigits) + " to " +
                          FormatG(file.contents.GetAxis().back(), ShownDigits);
            const std::string_view unit = FindSPCXQuantity(header.xType).unit;
            part.detail += unit.empty() ? "" : " " + std::string(unit);
        } else if (!isCommon) {
            part.detail = ColumnName(FindSPCXQuantity(header.zType), TextOf(header, 2), "Z") + " " +
                          FormatShortest(first.z);
        }
        parts.push_back(std::move(part));
    }
    return parts;
}

std::vector<FileContents::Fact> SPCTable::ListFacts() const {
    if (chosenItems.empty()) {
        return {};
    }
    const File& file = files[items[chosenItems.front()].file];
    const SPCHeader& header = file.contents.GetHeader();
    std::size_t spectra = 0;
    for (const File& each : files) {
        spectra += each.contents.GetSubFiles().size();
    }
    std::vector<FileContents::Fact> facts;
    facts.emplace_back("files", static_cast<double>(files.size()), "");
    facts.emplace_back("spectra", static_cast<double>(spectra), "");
    const std::vector<double>& axis = table.groups.front().axis;
    const SPCQuantity x = FindSPCXQuantity(header.xType);
    const SPCQuantity y = FindSPCYQuantity(header.yType);
    facts.emplace_back("points", static_cast<double>(axis.size()), "");
    if (!axis.empty()) {
        facts.emplace_back("first X", axis.front(), std::string(x.unit));
        facts.emplace_back("last X", axis.back(), std::string(x.unit));
        if (!file.contents.HasFloatAxis() && axis.size() > 1) {
            facts.emplace_back("spacing", header.spacing, std::string(x.unit));
        }
    }
    AddText(facts, "X quantity", x.quantity);
    AddText(facts, "Y quantity", y.quantity);
    AddText(facts, "Y unit", y.unit);
    AddText(facts, "X label", header.GetAxisText(0));
    AddText(facts, "Y label", header.GetAxisText(1));
    AddText(facts, "Z label", header.GetAxisText(2));
    AddText(facts, "technique", FindSPCTechnique(header.technique));
    const SpectrumTable::Label date = DateOf(file);
    if (const auto* time = std::get_if<SpectrumTable::DateTime>(&date)) {
        facts.emplace_back("date", FormatDateTime(time->microseconds));
    }
    AddText(facts, "instrument", header.source);
    AddTextOrNumber(facts, "resolution", header.resolution);
    AddText(facts, "method", header.method);
    AddText(facts, "memo", header.memo);
    if (const int scans = file.contents.GetSubFiles().front().numScans; scans > 0) {
        facts.emplace_back("scans", static_cast<double>(scans), "");
    }
    if (header.zIncrement != 0.0F) {
        facts.emplace_back("Z spacing", static_cast<double>(header.zIncrement),
                           std::string(FindSPCXQuantity(header.zType).unit));
    }
    if (header.numWPlanes > 0) {
        facts.emplace_back("W planes", static_cast<double>(header.numWPlanes), "");
        facts.emplace_back("W spacing", static_cast<double>(header.wIncrement),
                           std::string(FindSPCXQuantity(header.wType).unit));
    }
    std::string text;
    std::string_view rest = file.contents.GetLog();
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
        if (end > 0) {
            AddLogLine(rest.substr(0, end), facts, text);
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    AddText(facts, "log", text);
    if (const std::uint64_t bytes = file.contents.GetLogBytes(); bytes > 0) {
        facts.emplace_back("log without text", static_cast<double>(bytes), "bytes");
    }
    return facts;
}
