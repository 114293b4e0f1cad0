#include "karta/internal/FormatOptions.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "frame/CompleteOptions.h"
#include "karta/Error.h"

namespace {

using Names = std::vector<std::string_view>;

/** One option and who knows it. */
struct Option {
    const char* name;
    bool (*isGiven)(const karta::ReadWishes& wishes);
    void (*drop)(karta::ReadWishes& wishes);
    Names keys;      // what it becomes in a record of options
    Names classic;   // the formats that know it in the classic reading
    Names complete;  // and in the complete one
};

const Names DelimitedText = {"Text File", "CSV File"};
const Names Workbooks = {"Excel File", "Excel2007 File"};
const Names Spectra = {"GalacticSPC File", "NetCDF Files"};
const Names Matrices = {"Matlab File", "Unscrambler File", "KARTA project file"};
const Names MatricesOfComplete = {"Matlab File", "Unscrambler File", "KARTA project file", "NetCDF Files"};
const Names BlocksOfComplete = {"JCAMP-DX File",    "Bruker OPUS File",      "Bruker OPUS Interpolated File",
                                "GalacticSPC File", "HPLC ChemStation File", "NSAS File",
                                "Brimrose File"};
const Names OtherEncodings = {"Unscrambler File", "Excel File", "Lotus 1-2-3 File", "DIF File",
                              "DIF File(OEM)"};
const Names Variables = {"Matlab File"};

Names Joined(Names names, const std::vector<Names>& others) {
    for (const Names& more : others) {
        names.insert(names.end(), more.begin(), more.end());
    }
    return names;
}

// A table of its own length.
// NOLINTNEXTLINE(readability-function-size)
const std::vector<Option>& AllOptions() {
    using Wishes = karta::ReadWishes;
    static const std::vector<Option> options = {
        {"delimiter",
         [](const Wishes& r) { return r.delimiter.has_value(); },
         [](Wishes& r) { r.delimiter.reset(); },
         {CompleteOptions::Delimiter},
         {"Text File"},
         DelimitedText},
        {"mergeDelimiters",
         [](const Wishes& r) { return r.mergeDelimiters; },
         [](Wishes& r) { r.mergeDelimiters = false; },
         {"IgnoreConsecutiveDelimiters"},
         {"Text File"},
         DelimitedText},
        {"part",
         [](const Wishes& r) { return !r.part.empty(); },
         [](Wishes& r) { r.part.clear(); },
         {CompleteOptions::Part},
         Joined(Workbooks, {{"JCAMP-DX File"}, Matrices}),
         Joined(Workbooks, {BlocksOfComplete, MatricesOfComplete})},
        {"sheets",
         [](const Wishes& r) { return !r.sheets.empty(); },
         [](Wishes& r) { r.sheets.clear(); },
         {"Sheets"},
         Workbooks,
         Workbooks},
        {"sideBySide",
         [](const Wishes& r) { return r.sideBySide; },
         [](Wishes& r) { r.sideBySide = false; },
         {"Vertical"},
         Workbooks,
         Workbooks},
        {"blocks",
         [](const Wishes& r) { return !r.blocks.empty(); },
         [](Wishes& r) { r.blocks.clear(); },
         {"DataBlocks"},
         {"JCAMP-DX File"},
         BlocksOfComplete},
        {"matrix",
         [](const Wishes& r) { return !r.matrix.empty(); },
         [](Wishes& r) { r.matrix.clear(); },
         {},
         Matrices,
         MatricesOfComplete},
        {"include",
         [](const Wishes& r) { return !r.includes.empty(); },
         [](Wishes& r) { r.includes.clear(); },
         {"IncludeXStartPt", "IncludeXEndPt", "NumberOfIncludedIntervals", "IncludeAllObservations"},
         Spectra,
         Spectra},
        {"average",
         [](const Wishes& r) { return r.average.has_value(); },
         [](Wishes& r) { r.average.reset(); },
         {"UseAverage"},
         Spectra,
         Spectra},
        {"xRow",
         [](const Wishes& r) { return r.noXRow; },
         [](Wishes& r) { r.noXRow = false; },
         {"IncludeXAsAnObservation"},
         Spectra,
         Spectra},
        {"encoding",
         [](const Wishes& r) { return r.encoding.has_value(); },
         [](Wishes& r) { r.encoding.reset(); },
         {CompleteOptions::Encoding},
         {},
         Joined(DelimitedText, {OtherEncodings, BlocksOfComplete})},
        {"decimal",
         [](const Wishes& r) { return r.decimal.has_value(); },
         [](Wishes& r) { r.decimal.reset(); },
         {CompleteOptions::Decimal},
         {},
         DelimitedText},
        {"header",
         [](const Wishes& r) { return r.header.has_value(); },
         [](Wishes& r) { r.header.reset(); },
         {CompleteOptions::Header},
         {},
         DelimitedText},
        {"textColumns",
         [](const Wishes& r) { return r.textColumns.has_value(); },
         [](Wishes& r) { r.textColumns.reset(); },
         {CompleteOptions::TextColumns},
         {},
         DelimitedText},
        {"types",
         [](const Wishes& r) { return r.noTypes; },
         [](Wishes& r) { r.noTypes = false; },
         {CompleteOptions::Types},
         {},
         DelimitedText},
        {"dateOrder",
         [](const Wishes& r) { return r.dateOrder.has_value(); },
         [](Wishes& r) { r.dateOrder.reset(); },
         {CompleteOptions::DateOrder},
         {},
         DelimitedText},
        {"rowNames",
         [](const Wishes& r) { return r.rowNames.has_value(); },
         [](Wishes& r) { r.rowNames.reset(); },
         {CompleteOptions::RowNames},
         {},
         Variables},
        {"columnNames",
         [](const Wishes& r) { return r.columnNames.has_value(); },
         [](Wishes& r) { r.columnNames.reset(); },
         {CompleteOptions::ColumnNames},
         {},
         Variables},
    };
    return options;
}

bool Has(const Names& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string Listed(const Names& names) {
    std::string list;
    for (const std::string_view name : names) {
        list += (list.empty() ? "" : ", ") + std::string(name);
    }
    return list;
}

}  // namespace

void CheckFormatOptions(const FormatCatalogue& formats, int format, const karta::ReadWishes& wishes) {
    if (!formats.IsOwn(format)) {
        return;
    }
    if (wishes.average && *wishes.average < 0) {
        throw karta::Error(
            {.code = karta::ErrorCode::BadOption,
             .option = "average",
             .text = "takes a number of points to merge, not " + std::to_string(*wishes.average)});
    }
    const std::string name = formats.GetInfo(format)->formatName;
    for (const Option& option : AllOptions()) {
        const Names& knowing = wishes.IsComplete() ? option.complete : option.classic;
        if (!option.isGiven(wishes) || Has(knowing, name)) {
            continue;
        }
        karta::Error::Details details{.code = karta::ErrorCode::UnknownOption,
                                      .file = wishes.files.front(),
                                      .format = name,
                                      .option = option.name};
        if (knowing.empty()) {
            details.text = "only the complete reading knows this option";
        } else {
            details.text =
                name + " doesn't know this option" + (wishes.IsComplete() ? "" : " in the classic reading");
            details.advice = "these formats do: " + Listed(knowing);
        }
        throw karta::Error(details);
    }
}

bool KnowsOption(const FormatCatalogue& formats, int format, std::string_view option,
                 karta::Reading reading) {
    const std::string name = formats.GetInfo(format)->formatName;
    return std::any_of(AllOptions().begin(), AllOptions().end(), [&](const Option& known) {
        return known.name == option &&
               Has(reading == karta::Reading::Complete ? known.complete : known.classic, name);
    });
}

void DropUnknownOptions(const FormatCatalogue& formats, int format, karta::ReadWishes& wishes) {
    if (!formats.IsOwn(format)) {
        return;
    }
    for (const Option& option : AllOptions()) {
        if (!KnowsOption(formats, format, option.name, wishes.reading)) {
            option.drop(wishes);
        }
    }
}

karta::ReadWishes WithoutFormatOptions(karta::ReadWishes wishes) {
    for (const Option& option : AllOptions()) {
        option.drop(wishes);
    }
    return wishes;
}

std::vector<std::string> GivenFormatOptions(const karta::ReadWishes& wishes) {
    std::vector<std::string> names;
    for (const Option& option : AllOptions()) {
        if (option.isGiven(wishes)) {
            names.emplace_back(option.name);
        }
    }
    return names;
}

std::vector<karta::Note> NoteUnknownSettings(const FormatCatalogue& formats, int format,
                                             const karta::ReadWishes& wishes) {
    std::vector<karta::Note> notes;
    if (!formats.IsOwn(format)) {
        return notes;
    }
    const std::string name = formats.GetInfo(format)->formatName;
    Names known;
    for (const Option& option : AllOptions()) {
        if (Has(option.classic, name) || (wishes.IsComplete() && Has(option.complete, name))) {
            known.insert(known.end(), option.keys.begin(), option.keys.end());
        }
    }
    for (const std::string& setting : wishes.settings) {
        const std::string key = setting.substr(0, setting.find('='));
        if (!Has(known, key)) {
            std::string text = "settings: " + name;
            text.append(" doesn't know the key '").append(key).append("'");
            text += known.empty() ? ", nor any other" : "; it knows " + Listed(known);
            notes.push_back({"unknown-setting", 1, key, std::move(text)});
        }
    }
    return notes;
}
