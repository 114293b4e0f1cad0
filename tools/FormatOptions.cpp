#include "tools/FormatOptions.h"

#include <algorithm>
#include <string_view>

#include "frame/CompleteOptions.h"
#include "tools/Failure.h"

namespace {

using Names = std::vector<std::string_view>;

/** One option of the command line and who knows it. */
struct Option {
    const char* name;
    bool (*isGiven)(const ReadRequest& request);
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

const std::vector<Option>& AllOptions() {
    using Request = ReadRequest;
    static const std::vector<Option> options = {
        {"--delimiter",
         [](const Request& r) { return r.delimiter.has_value(); },
         {CompleteOptions::Delimiter},
         {"Text File"},
         DelimitedText},
        {"--merge-delimiters",
         [](const Request& r) { return r.mergeDelimiters; },
         {"IgnoreConsecutiveDelimiters"},
         {"Text File"},
         DelimitedText},
        {"--part",
         [](const Request& r) { return !r.part.empty(); },
         {CompleteOptions::Part},
         Joined(Workbooks, {{"JCAMP-DX File"}, Matrices}),
         Joined(Workbooks, {BlocksOfComplete, MatricesOfComplete})},
        {"--sheets", [](const Request& r) { return !r.sheets.empty(); }, {"Sheets"}, Workbooks, Workbooks},
        {"--side-by-side", [](const Request& r) { return r.sideBySide; }, {"Vertical"}, Workbooks, Workbooks},
        {"--blocks",
         [](const Request& r) { return !r.blocks.empty(); },
         {"DataBlocks"},
         {"JCAMP-DX File"},
         BlocksOfComplete},
        {"--matrix", [](const Request& r) { return !r.matrix.empty(); }, {}, Matrices, MatricesOfComplete},
        {"--include",
         [](const Request& r) { return !r.includes.empty(); },
         {"IncludeXStartPt", "IncludeXEndPt", "NumberOfIncludedIntervals", "IncludeAllObservations"},
         Spectra,
         Spectra},
        {"--average",
         [](const Request& r) { return r.average.has_value(); },
         {"UseAverage"},
         Spectra,
         Spectra},
        {"--no-x-row",
         [](const Request& r) { return r.noXRow; },
         {"IncludeXAsAnObservation"},
         Spectra,
         Spectra},
        {"--encoding",
         [](const Request& r) { return r.encoding.has_value(); },
         {CompleteOptions::Encoding},
         {},
         Joined(DelimitedText, {OtherEncodings, BlocksOfComplete})},
        {"--decimal",
         [](const Request& r) { return r.decimal.has_value(); },
         {CompleteOptions::Decimal},
         {},
         DelimitedText},
        {"--header",
         [](const Request& r) { return r.header.has_value(); },
         {CompleteOptions::Header},
         {},
         DelimitedText},
        {"--text-columns",
         [](const Request& r) { return r.textColumns.has_value(); },
         {CompleteOptions::TextColumns},
         {},
         DelimitedText},
        {"--no-types",
         [](const Request& r) { return r.noTypes; },
         {CompleteOptions::Types},
         {},
         DelimitedText},
        {"--date-order",
         [](const Request& r) { return r.dateOrder.has_value(); },
         {CompleteOptions::DateOrder},
         {},
         DelimitedText},
        {"--row-names",
         [](const Request& r) { return r.rowNames.has_value(); },
         {CompleteOptions::RowNames},
         {},
         Variables},
        {"--column-names",
         [](const Request& r) { return r.columnNames.has_value(); },
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

void CheckFormatOptions(const FormatCatalogue& formats, int format, const ReadRequest& request) {
    if (!formats.IsOwn(format)) {
        return;
    }
    const std::string name = formats.GetInfo(format)->formatName;
    for (const Option& option : AllOptions()) {
        const Names& knowing = request.IsComplete() ? option.complete : option.classic;
        if (!option.isGiven(request) || Has(knowing, name)) {
            continue;
        }
        const std::string text = request.files.front() + ": " + option.name + ": ";
        if (knowing.empty()) {
            throw Failure(text + "only the complete reading knows this option", ExitUsage);
        }
        throw Failure(text + name + " doesn't know this option" +
                          (request.IsComplete() ? "" : " in the classic reading") +
                          "; these formats do: " + Listed(knowing),
                      ExitUsage);
    }
}

std::vector<karta::Note> NoteUnknownSettings(const FormatCatalogue& formats, int format,
                                             const ReadRequest& request) {
    std::vector<karta::Note> notes;
    if (!formats.IsOwn(format)) {
        return notes;
    }
    const std::string name = formats.GetInfo(format)->formatName;
    Names known;
    for (const Option& option : AllOptions()) {
        if (Has(option.classic, name) || (request.IsComplete() && Has(option.complete, name))) {
            known.insert(known.end(), option.keys.begin(), option.keys.end());
        }
    }
    for (const std::string& setting : request.settings) {
        const std::string key = setting.substr(0, setting.find('='));
        if (!Has(known, key)) {
            notes.push_back({"unknown-setting", 1, key,
                             "--setting: " + name + " doesn't know the key '" + key + "'" +
                                 (known.empty() ? ", nor any other" : "; it knows " + Listed(known))});
        }
    }
    return notes;
}
