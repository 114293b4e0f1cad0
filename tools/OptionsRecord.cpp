#include "tools/OptionsRecord.h"

#include <algorithm>
#include <fstream>
#include <ios>
#include <iterator>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "base/Ascii.h"
#include "base/OutputFile.h"
#include "frame/CompleteOptions.h"
#include "frame/OptionsText.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "host/NvString.h"
#include "host/StreamReader.h"
#include "host/StreamWriter.h"
#include "host/XMLSection.h"
#include "tools/Failure.h"
#include "tools/PartChoice.h"

namespace {

using Parts = std::vector<FileContents::Part>;

// By which reading a kept record was made.
constexpr const char* ReadingKey = "Reading";

// Raises Failure with the file's name before the option's.
PartChoice Find(const Parts& parts, const std::string& wanted, const ReadRequest& request,
                const char* option) {
    try {
        return {parts, wanted, option};
    } catch (const Failure& failure) {
        throw Failure(request.files.front() + ": " + failure.what());
    }
}

std::vector<int> NumbersOf(const std::vector<const FileContents::Part*>& parts) {
    std::vector<int> numbers;
    for (const FileContents::Part* part : parts) {
        numbers.push_back(part->number);
    }
    return numbers;
}

Parts OfKind(const Parts& parts, std::string_view kind) {
    Parts chosen;
    std::copy_if(parts.begin(), parts.end(), std::back_inserter(chosen),
                 [&](const FileContents::Part& part) { return part.kind == kind; });
    return chosen;
}

// The classic reading hands a number on as it is: the reader judges it.
std::optional<int> MatrixByNumber(const ReadRequest& request) {
    int number = 0;
    return !request.IsComplete() && NvString::ToInt(request.matrix, number) ? std::optional(number)
                                                                            : std::nullopt;
}

// The classic reading's sheets, blocks and matrices travel by their own numbers, each in a way of its own.
// Without a list of sheets, side by side means all of them.
std::optional<int> WriteClassicParts(XMLSection& settings, const ReadRequest& request, const Parts& parts) {
    std::vector<int> sheets;
    std::vector<int> blocks;
    std::optional<int> selected = MatrixByNumber(request);
    if (!request.sheets.empty()) {
        sheets = NumbersOf(Find(parts, request.sheets, request, "--sheets").GetParts());
    }
    if (!request.blocks.empty()) {
        blocks = NumbersOf(Find(parts, request.blocks, request, "--blocks").GetParts());
    }
    if (!request.matrix.empty() && !selected) {
        selected =
            Find(OfKind(parts, "matrix"), request.matrix, request, "--matrix").GetParts().front()->number;
    }
    if (!request.part.empty()) {
        const PartChoice choice = Find(parts, request.part, request, "--part");
        for (const FileContents::Part* part : choice.GetParts()) {
            if (part->kind == "sheet") {
                sheets.push_back(part->number);
            } else if (part->kind == "block") {
                blocks.push_back(part->number);
            } else if (part->kind == "matrix" && !selected) {
                selected = part->number;
            } else {
                throw Failure(request.files.front() + ": --part: the classic reading can't choose " +
                              part->kind + " '" + part->name + "' here; the complete one can");
            }
        }
    }
    if (request.sideBySide && sheets.empty()) {
        sheets = NumbersOf(Find(parts, "all", request, "--side-by-side").GetParts());
    }
    if (!sheets.empty() || request.sideBySide) {
        settings.Write("Sheets", sheets);
        settings.Write("Vertical", !request.sideBySide);
    }
    if (!blocks.empty()) {
        settings.Write("DataBlocks", blocks);
    }
    return selected;
}

// The complete reading has one list of parts and one key for what is chosen of it.
void WriteParts(XMLSection& settings, const ReadRequest& request, const Parts& parts) {
    const char* option = nullptr;
    std::string wanted;
    for (const auto& [name, list] : {std::pair{"--part", request.part},
                                     {"--sheets", request.sheets},
                                     {"--blocks", request.blocks},
                                     {"--matrix", request.matrix}}) {
        if (list.empty()) {
            continue;
        }
        if (option != nullptr) {
            throw Failure(std::string(option) + " and " + name + " both choose a part; one of them is enough",
                          ExitUsage);
        }
        option = name;
        wanted = list;
    }
    if (option == nullptr && request.sideBySide) {
        option = "--side-by-side";
        wanted = "all";
    }
    if (option != nullptr) {
        settings.Write(CompleteOptions::Part, Find(parts, wanted, request, option).GetText());
    }
    if (request.sideBySide) {
        settings.Write("Vertical", false);
    }
}

void WriteDialect(XMLSection& settings, const ReadRequest& request) {
    const auto writeText = [&](const char* key, const std::optional<std::string>& value) {
        if (value) {
            settings.Write(key, *value);
        }
    };
    writeText(CompleteOptions::Encoding, request.encoding);
    writeText(CompleteOptions::Decimal, request.decimal);
    writeText(CompleteOptions::TextColumns, request.textColumns);
    writeText(CompleteOptions::DateOrder, request.dateOrder);
    writeText(CompleteOptions::RowNames, request.rowNames);
    writeText(CompleteOptions::ColumnNames, request.columnNames);
    if (request.header) {
        settings.Write(CompleteOptions::Header, *request.header);
    }
    if (request.noTypes) {
        settings.Write(CompleteOptions::Types, false);
    }
}

// The intervals of the X axis that are kept. Without any a single one holds every X, so that averaging,
// which works inside intervals, still does.
void WriteConstraints(XMLSection& settings, const ReadRequest& request) {
    if (request.includes.empty() && !request.average && !request.noXRow) {
        return;
    }
    std::vector<float> starts;
    std::vector<float> ends;
    for (const std::string& include : request.includes) {
        const std::size_t colon = include.find(':');
        float start = 0.0F;
        float end = 0.0F;
        if (colon == std::string::npos || !NvString::ToFloat(include.substr(0, colon), start) ||
            !NvString::ToFloat(include.substr(colon + 1), end)) {
            throw Failure("--include takes an interval A:B of X values, not '" + include + "'", ExitUsage);
        }
        starts.push_back(std::min(start, end));
        ends.push_back(std::max(start, end));
    }
    if (starts.empty()) {
        starts.push_back(std::numeric_limits<float>::lowest());
        ends.push_back(std::numeric_limits<float>::max());
    }
    settings.Write("IncludeXAsAnObservation", !request.noXRow);
    settings.Write("IncludeAllObservations", request.includes.empty() && !request.average);
    settings.Write("NumberOfIncludedIntervals", static_cast<int>(starts.size()));
    settings.Write("UseAverage", request.average.value_or(0));
    settings.Write("IncludeXStartPt", starts);
    settings.Write("IncludeXEndPt", ends);
}

void WriteDelimiter(XMLSection& settings, const ReadRequest& request) {
    if (request.delimiter) {
        settings.Write("Delimiter", *request.delimiter);
    }
    if (request.mergeDelimiters) {
        settings.Write("IgnoreConsecutiveDelimiters", true);
    }
}

// The name of an element, as a section is read back.
bool IsKey(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return IsLetter(c) || IsDigit(c) || std::string_view("_-.:").find(c) != std::string_view::npos;
    });
}

void WriteSettings(XMLSection& settings, const ReadRequest& request) {
    for (const std::string& setting : request.settings) {
        const std::size_t equals = setting.find('=');
        if (equals == std::string::npos || !IsKey(setting.substr(0, equals))) {
            throw Failure("--setting takes KEY=VALUE, not '" + setting + "'", ExitUsage);
        }
        settings.Write(setting.substr(0, equals), setting.substr(equals + 1));
    }
}

bool HasParts(const ReadRequest& request) {
    return !request.sheets.empty() || !request.blocks.empty() || !request.matrix.empty() ||
           !request.part.empty() || request.sideBySide;
}

bool HasDialect(const ReadRequest& request) {
    return request.delimiter || request.mergeDelimiters || request.encoding || request.decimal ||
           request.header || request.textColumns || request.noTypes || request.dateOrder ||
           request.rowNames || request.columnNames;
}

bool HasSettings(const ReadRequest& request) {
    return !request.settings.empty() || HasDialect(request) || HasParts(request) ||
           !request.includes.empty() || request.average || request.noXRow;
}

// The text of a record that says nothing.
std::string EmptySettings() {
    XMLSection document;
    document.CreateSection(XMLSection::Settings);
    return document.Flush();
}

const char* NameOf(karta::Reading reading) {
    return reading == karta::Reading::Complete ? "complete" : "classic";
}

// The bytes of a record with the reading that it was made by; a record that isn't of this library's form
// stays as it is.
std::vector<std::uint8_t> WithReading(const NvImportOpenOptions& options, karta::Reading reading) {
    XMLSection empty;
    std::unique_ptr<XMLSection> kept;
    if (HasOptions(&options)) {
        try {
            kept = XMLSection::CreateXMLSectionFromString(DecodeOptionsText(options));
        } catch (const std::ios_base::failure&) {
            kept = nullptr;
        }
        if (kept == nullptr) {
            return {options.data, options.data + options.size};
        }
    }
    XMLSection& document = kept == nullptr ? empty : *kept;
    document.CreateSection(XMLSection::Settings).Write(ReadingKey, NameOf(reading));
    return EncodeOptionsText(document.Flush());
}

std::vector<std::uint8_t> ReadKept(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw Failure(path + ": the options can't be read");
    }
    try {
        StreamReader reader(file);
        const SpreadsheetOpenOptions kept(reader);
        const NvImportOpenOptions* options = kept;
        if (options == nullptr) {
            return {};
        }
        return {options->data, options->data + options->size};
    } catch (const std::ios_base::failure&) {
        throw Failure(path + ": this isn't a record of open options, or it was cut short");
    }
}

}  // namespace

OptionsRecord::OptionsRecord(const ReadRequest& request, const std::vector<FileContents::Part>& parts) {
    if (!request.optionsFile.empty()) {
        ReadRequest rest = request;
        if (const auto number = MatrixByNumber(request)) {
            // No record holds it, so it goes with any.
            selectedPart = number;
            rest.matrix.clear();
        }
        if (HasSettings(rest)) {
            throw Failure("--options holds all choices already; leave the other reading options out",
                          ExitUsage);
        }
        bytes = ReadKept(request.optionsFile);
        // A kept record without bytes is no choice at all, yet whoever keeps the choices anew gets them.
        given = !bytes.empty() || !request.saveOptionsFile.empty();
    } else if (HasSettings(request)) {
        Choose(request, parts);
    } else {
        // An empty record asks the reader for the choices that it makes.
        given = !request.saveOptionsFile.empty();
    }
    record.size = static_cast<std::uint32_t>(bytes.size());
    record.data = bytes.empty() ? nullptr : bytes.data();
}

void OptionsRecord::Choose(const ReadRequest& request, const std::vector<FileContents::Part>& parts) {
    XMLSection document;
    XMLSection& settings = document.CreateSection(XMLSection::Settings);
    WriteDelimiter(settings, request);
    if (request.IsComplete()) {
        WriteDialect(settings, request);
        WriteParts(settings, request, parts);
    } else {
        selectedPart = WriteClassicParts(settings, request, parts);
    }
    WriteConstraints(settings, request);
    WriteSettings(settings, request);
    const bool onlySelects = document.Flush() == EmptySettings();
    given = !onlySelects || !request.saveOptionsFile.empty();
    if (!onlySelects) {
        bytes = EncodeOptionsText(document.Flush());
    }
}

bool OptionsRecord::NeedsParts(const ReadRequest& request) {
    return !request.sheets.empty() || !request.blocks.empty() || !request.part.empty() ||
           request.sideBySide || (!request.matrix.empty() && !MatrixByNumber(request));
}

karta::Reading OptionsRecord::ReadingOf(const ReadRequest& request, karta::Reading ofVerb) {
    if (request.givenReading) {
        return *request.givenReading;
    }
    if (request.throughDriver) {
        return karta::Reading::Classic;
    }
    if (request.optionsFile.empty()) {
        return ofVerb;
    }
    const std::vector<std::uint8_t> kept = ReadKept(request.optionsFile);
    std::string reading;
    try {
        const auto document =
            kept.empty()
                ? nullptr
                : XMLSection::CreateXMLSectionFromString(DecodeOptionsText(
                      {static_cast<std::uint32_t>(kept.size()), const_cast<std::uint8_t*>(kept.data())}));
        const XMLSection* settings =
            document == nullptr ? nullptr : document->GetSection(XMLSection::Settings);
        if (settings != nullptr) {
            settings->Read(ReadingKey, reading);
        }
    } catch (const std::ios_base::failure&) {
        // A module's own record, which tells nothing.
        reading.clear();
    }
    return reading == NameOf(karta::Reading::Complete) ? karta::Reading::Complete : karta::Reading::Classic;
}

void OptionsRecord::Save(const ReadRequest& request, const NvImportOpenOptions& options, bool isOwnReader) {
    if (request.saveOptionsFile.empty()) {
        return;
    }
    // What is replayed is kept again as it was, unless it is now read otherwise.
    const bool isMarked = isOwnReader && (request.optionsFile.empty() || request.givenReading);
    std::vector<std::uint8_t> marked;
    NvImportOpenOptions kept = options;
    if (isMarked) {
        marked = WithReading(options, request.reading);
        kept = {static_cast<std::uint32_t>(marked.size()), marked.data()};
    }
    std::ostringstream stream;
    StreamWriter writer(stream);
    SpreadsheetOpenOptions(&kept).Write(writer);
    OutputFile file(request.saveOptionsFile);
    file.Write(stream.str());
    if (!file.Commit()) {
        throw Failure(request.saveOptionsFile + ": the options can't be written");
    }
}

void OptionsRecord::SaveAfterDriver(const ReadRequest& request, bool isOwnReader) {
    const SpreadsheetOpenOptions kept(Get());
    if (bytes.empty()) {
        SpreadsheetOpenOptions::FreeOpenOptions(&record);
    }
    if (const NvImportOpenOptions* choices = kept) {
        Save(request, *choices, isOwnReader);
    }
}
