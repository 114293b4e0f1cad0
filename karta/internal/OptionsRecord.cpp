#include "karta/internal/OptionsRecord.h"

#include <algorithm>
#include <ios>
#include <iterator>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "base/Ascii.h"
#include "frame/CompleteOptions.h"
#include "frame/OptionsText.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "host/NvString.h"
#include "host/StreamReader.h"
#include "host/StreamWriter.h"
#include "host/XMLSection.h"
#include "karta/Error.h"
#include "karta/internal/NumberRange.h"
#include "karta/internal/PartChoice.h"

namespace {

using Parts = std::vector<FileContents::Part>;

karta::Error BadOption(const char* option, const std::string& text) {
    return karta::Error({.code = karta::ErrorCode::BadOption, .option = option, .text = text});
}

// Raises Error with the file's name.
PartChoice Find(const Parts& parts, const std::string& wanted, const karta::ReadWishes& wishes,
                const char* option) {
    try {
        return {parts, wanted, option};
    } catch (const karta::Error& error) {
        karta::Error::Details details = error.GetDetails();
        details.file = wishes.files.front();
        throw karta::Error(details);
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
std::optional<int> MatrixByNumber(const karta::ReadWishes& wishes) {
    int number = 0;
    return !wishes.IsComplete() && NvString::ToInt(wishes.matrix, number) ? std::optional(number)
                                                                          : std::nullopt;
}

// The classic reading's sheets, blocks and matrices travel by their own numbers, each in a way of its own.
// Without a list of sheets, side by side means all of them.
std::optional<int> WriteClassicParts(XMLSection& settings, const karta::ReadWishes& wishes,
                                     const Parts& parts) {
    std::vector<int> sheets;
    std::vector<int> blocks;
    std::optional<int> selected = MatrixByNumber(wishes);
    if (!wishes.sheets.empty()) {
        sheets = NumbersOf(Find(parts, wishes.sheets, wishes, "sheets").GetParts());
    }
    if (!wishes.blocks.empty()) {
        blocks = NumbersOf(Find(parts, wishes.blocks, wishes, "blocks").GetParts());
    }
    if (!wishes.matrix.empty() && !selected) {
        selected = Find(OfKind(parts, "matrix"), wishes.matrix, wishes, "matrix").GetParts().front()->number;
    }
    if (!wishes.part.empty()) {
        const PartChoice choice = Find(parts, wishes.part, wishes, "part");
        for (const FileContents::Part* part : choice.GetParts()) {
            if (part->kind == "sheet") {
                sheets.push_back(part->number);
            } else if (part->kind == "block") {
                blocks.push_back(part->number);
            } else if (part->kind == "matrix" && !selected) {
                selected = part->number;
            } else {
                throw karta::Error(
                    {.code = karta::ErrorCode::NoSuchPart,
                     .file = wishes.files.front(),
                     .option = "part",
                     .text = "the classic reading can't choose " + part->kind + " '" + part->name + "' here",
                     .advice = "the complete one can"});
            }
        }
    }
    if (wishes.sideBySide && sheets.empty()) {
        sheets = NumbersOf(Find(parts, "all", wishes, "sideBySide").GetParts());
    }
    if (!sheets.empty() || wishes.sideBySide) {
        settings.Write("Sheets", sheets);
        settings.Write("Vertical", !wishes.sideBySide);
    }
    if (!blocks.empty()) {
        settings.Write("DataBlocks", blocks);
    }
    return selected;
}

// The complete reading has one list of parts and one key for what is chosen of it.
void WriteParts(XMLSection& settings, const karta::ReadWishes& wishes, const Parts& parts) {
    const char* option = nullptr;
    std::string wanted;
    for (const auto& [name, list] : {std::pair{"part", wishes.part},
                                     {"sheets", wishes.sheets},
                                     {"blocks", wishes.blocks},
                                     {"matrix", wishes.matrix}}) {
        if (list.empty()) {
            continue;
        }
        if (option != nullptr) {
            // ReadOptions have one of them only: it is the command line that is told.
            throw BadOption("", std::string("--") + option + " and --" + name +
                                    " both choose a part; one of them is enough");
        }
        option = name;
        wanted = list;
    }
    if (option == nullptr && wishes.sideBySide) {
        option = "sideBySide";
        wanted = "all";
    }
    if (option != nullptr) {
        settings.Write(CompleteOptions::Part, Find(parts, wanted, wishes, option).GetText());
    }
    if (wishes.sideBySide) {
        settings.Write("Vertical", false);
    }
}

void WriteDialect(XMLSection& settings, const karta::ReadWishes& wishes) {
    const auto writeText = [&](const char* key, const std::optional<std::string>& value) {
        if (value) {
            settings.Write(key, *value);
        }
    };
    writeText(CompleteOptions::Encoding, wishes.encoding);
    writeText(CompleteOptions::Decimal, wishes.decimal);
    writeText(CompleteOptions::TextColumns, wishes.textColumns);
    writeText(CompleteOptions::DateOrder, wishes.dateOrder);
    writeText(CompleteOptions::RowNames, wishes.rowNames);
    writeText(CompleteOptions::ColumnNames, wishes.columnNames);
    if (wishes.header) {
        settings.Write(CompleteOptions::Header, *wishes.header);
    }
    if (wishes.noTypes) {
        settings.Write(CompleteOptions::Types, false);
    }
}

// The intervals of the X axis that are kept. Without any a single one holds every X, so that averaging,
// which works inside intervals, still does.
void WriteConstraints(XMLSection& settings, const karta::ReadWishes& wishes) {
    if (wishes.includes.empty() && !wishes.average && !wishes.noXRow) {
        return;
    }
    std::vector<float> starts;
    std::vector<float> ends;
    for (const std::string& include : wishes.includes) {
        const karta::Interval interval = karta::RequireInterval(include);
        starts.push_back(static_cast<float>(std::min(interval.from, interval.to)));
        ends.push_back(static_cast<float>(std::max(interval.from, interval.to)));
    }
    if (starts.empty()) {
        starts.push_back(std::numeric_limits<float>::lowest());
        ends.push_back(std::numeric_limits<float>::max());
    }
    settings.Write("IncludeXAsAnObservation", !wishes.noXRow);
    settings.Write("IncludeAllObservations", wishes.includes.empty() && !wishes.average);
    settings.Write("NumberOfIncludedIntervals", static_cast<int>(starts.size()));
    settings.Write("UseAverage", wishes.average.value_or(0));
    settings.Write("IncludeXStartPt", starts);
    settings.Write("IncludeXEndPt", ends);
}

void WriteDelimiter(XMLSection& settings, const karta::ReadWishes& wishes) {
    if (wishes.delimiter) {
        settings.Write("Delimiter", *wishes.delimiter);
    }
    if (wishes.mergeDelimiters) {
        settings.Write("IgnoreConsecutiveDelimiters", true);
    }
}

// The name of an element, as a section is read back.
bool IsKey(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return IsLetter(c) || IsDigit(c) || std::string_view("_-.:").find(c) != std::string_view::npos;
    });
}

void WriteSettings(XMLSection& settings, const karta::ReadWishes& wishes) {
    for (const std::string& setting : wishes.settings) {
        const std::size_t equals = setting.find('=');
        if (equals == std::string::npos || !IsKey(setting.substr(0, equals))) {
            throw BadOption("settings", "takes KEY=VALUE, not '" + setting + "'");
        }
        settings.Write(setting.substr(0, equals), setting.substr(equals + 1));
    }
}

bool HasParts(const karta::ReadWishes& wishes) {
    return !wishes.sheets.empty() || !wishes.blocks.empty() || !wishes.matrix.empty() ||
           !wishes.part.empty() || wishes.sideBySide;
}

bool HasDialect(const karta::ReadWishes& wishes) {
    return wishes.delimiter || wishes.mergeDelimiters || wishes.encoding || wishes.decimal || wishes.header ||
           wishes.textColumns || wishes.noTypes || wishes.dateOrder || wishes.rowNames || wishes.columnNames;
}

bool HasSettings(const karta::ReadWishes& wishes) {
    return !wishes.settings.empty() || HasDialect(wishes) || HasParts(wishes) || !wishes.includes.empty() ||
           wishes.average || wishes.noXRow;
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

}  // namespace

OptionsRecord::OptionsRecord(const karta::ReadWishes& wishes, const std::vector<FileContents::Part>& parts) {
    if (wishes.keptOptions) {
        karta::ReadWishes rest = wishes;
        if (const auto number = MatrixByNumber(wishes)) {
            // No record holds it, so it goes with any.
            selectedPart = number;
            rest.matrix.clear();
        }
        if (HasSettings(rest)) {
            throw BadOption("options", "holds all choices already; leave the other reading options out");
        }
        bytes = *wishes.keptOptions;
        // A kept record without bytes is no choice at all, yet whoever keeps the choices anew gets them.
        given = !bytes.empty() || wishes.wantsChoices;
    } else if (HasSettings(wishes)) {
        Choose(wishes, parts);
    } else {
        // An empty record asks the reader for the choices that it makes.
        given = wishes.wantsChoices;
    }
    record.size = static_cast<std::uint32_t>(bytes.size());
    record.data = bytes.empty() ? nullptr : bytes.data();
}

void OptionsRecord::Choose(const karta::ReadWishes& wishes, const std::vector<FileContents::Part>& parts) {
    XMLSection document;
    XMLSection& settings = document.CreateSection(XMLSection::Settings);
    WriteDelimiter(settings, wishes);
    if (wishes.IsComplete()) {
        WriteDialect(settings, wishes);
        WriteParts(settings, wishes, parts);
    } else {
        selectedPart = WriteClassicParts(settings, wishes, parts);
    }
    WriteConstraints(settings, wishes);
    WriteSettings(settings, wishes);
    const bool onlySelects = document.Flush() == EmptySettings();
    given = !onlySelects || wishes.wantsChoices;
    if (!onlySelects) {
        bytes = EncodeOptionsText(document.Flush());
    }
}

std::vector<std::uint8_t> OptionsRecord::WithoutFile(const karta::ReadWishes& wishes) {
    XMLSection document;
    XMLSection& settings = document.CreateSection(XMLSection::Settings);
    WriteDelimiter(settings, wishes);
    WriteDialect(settings, wishes);
    if (!wishes.part.empty()) {
        settings.Write(CompleteOptions::Part, wishes.part);
    }
    if (wishes.sideBySide) {
        settings.Write("Vertical", false);
    }
    WriteConstraints(settings, wishes);
    WriteSettings(settings, wishes);
    return EncodeOptionsText(document.Flush());
}

bool OptionsRecord::NeedsParts(const karta::ReadWishes& wishes) {
    return !wishes.sheets.empty() || !wishes.blocks.empty() || !wishes.part.empty() || wishes.sideBySide ||
           (!wishes.matrix.empty() && !MatrixByNumber(wishes));
}

std::vector<std::uint8_t> OptionsRecord::BytesOfStream(const std::string& stream) {
    try {
        std::istringstream text(stream);
        StreamReader reader(text);
        const SpreadsheetOpenOptions kept(reader);
        const NvImportOpenOptions* options = kept;
        return options == nullptr ? std::vector<std::uint8_t>()
                                  : std::vector<std::uint8_t>(options->data, options->data + options->size);
    } catch (const std::ios_base::failure&) {
        throw BadOption("", "this isn't a record of open options, or it was cut short");
    }
}

std::string OptionsRecord::StreamOfBytes(const NvImportOpenOptions& options) {
    std::ostringstream stream;
    StreamWriter writer(stream);
    SpreadsheetOpenOptions(&options).Write(writer);
    return stream.str();
}

karta::Reading OptionsRecord::ReadingOf(const std::vector<std::uint8_t>& kept) {
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

std::vector<std::uint8_t> OptionsRecord::WithReading(const NvImportOpenOptions& options,
                                                     karta::Reading reading) {
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
