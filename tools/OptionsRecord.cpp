#include "tools/OptionsRecord.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>

#include "base/Ascii.h"
#include "base/OutputFile.h"
#include "frame/OptionsText.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "host/NvString.h"
#include "host/StreamReader.h"
#include "host/StreamWriter.h"
#include "host/XMLSection.h"
#include "tools/Failure.h"

namespace {

using Parts = std::vector<FileContents::Part>;

// The user's word for a place: a number from 1 within what `info` lists.
const FileContents::Part& PartAt(const Parts& parts, int place, const ReadRequest& request,
                                 const char* option) {
    if (place < 1 || static_cast<std::size_t>(place) > parts.size()) {
        throw Failure(request.files.front() + ": " + option + ": there is no number " +
                      std::to_string(place) + " in the file, which has " + std::to_string(parts.size()) +
                      "; karta-import info lists them");
    }
    return parts[static_cast<std::size_t>(place) - 1];
}

// By name first: a sheet may be called 2.
const FileContents::Part& FindSheet(const Parts& parts, const std::string& wanted,
                                    const ReadRequest& request) {
    const auto found = std::find_if(parts.begin(), parts.end(),
                                    [&](const FileContents::Part& part) { return part.name == wanted; });
    if (found != parts.end()) {
        return *found;
    }
    int place = 0;
    if (!NvString::ToInt(wanted, place)) {
        throw Failure(request.files.front() + ": --sheets: there is no sheet '" + wanted +
                      "'; karta-import info lists them");
    }
    return PartAt(parts, place, request, "--sheets");
}

// Without a list of sheets, side by side means all of them.
void WriteSheets(XMLSection& settings, const ReadRequest& request, const Parts& parts) {
    if (request.sheets.empty() && !request.sideBySide) {
        return;
    }
    std::vector<int> numbers;
    for (const std::string& sheet : request.sheets) {
        numbers.push_back(FindSheet(parts, sheet, request).number);
    }
    if (request.sheets.empty()) {
        for (const FileContents::Part& part : parts) {
            numbers.push_back(part.number);
        }
    }
    settings.Write("Sheets", numbers);
    settings.Write("Vertical", !request.sideBySide);
}

void WriteBlocks(XMLSection& settings, const ReadRequest& request, const Parts& parts) {
    if (request.blocks.empty()) {
        return;
    }
    std::vector<int> numbers;
    for (const int place : request.blocks) {
        numbers.push_back(PartAt(parts, place, request, "--blocks").number);
    }
    settings.Write("DataBlocks", numbers);
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

bool HasSettings(const ReadRequest& request) {
    return !request.settings.empty() || request.delimiter || request.mergeDelimiters || request.sideBySide ||
           !request.sheets.empty() || !request.blocks.empty() || !request.includes.empty() ||
           request.average || request.noXRow;
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
    const bool hasSettings = HasSettings(request);
    if (!request.optionsFile.empty()) {
        if (hasSettings) {
            throw Failure("--options holds all choices already; leave the other reading options out",
                          ExitUsage);
        }
        bytes = ReadKept(request.optionsFile);
        // A kept record without bytes is no choice at all, yet whoever keeps the choices anew gets them.
        given = !bytes.empty() || !request.saveOptionsFile.empty();
    } else if (hasSettings) {
        XMLSection document;
        XMLSection& settings = document.CreateSection(XMLSection::Settings);
        WriteDelimiter(settings, request);
        WriteSheets(settings, request, parts);
        WriteBlocks(settings, request, parts);
        WriteConstraints(settings, request);
        WriteSettings(settings, request);
        bytes = EncodeOptionsText(document.Flush());
        given = true;
    } else {
        // An empty record asks the reader for the choices that it makes.
        given = !request.saveOptionsFile.empty();
    }
    record.size = static_cast<std::uint32_t>(bytes.size());
    record.data = bytes.empty() ? nullptr : bytes.data();
}

bool OptionsRecord::NeedsParts(const ReadRequest& request) {
    return !request.sheets.empty() || !request.blocks.empty() || request.sideBySide;
}

void OptionsRecord::Save(const ReadRequest& request, const NvImportOpenOptions& options) {
    if (request.saveOptionsFile.empty()) {
        return;
    }
    std::ostringstream stream;
    StreamWriter writer(stream);
    SpreadsheetOpenOptions(&options).Write(writer);
    OutputFile file(request.saveOptionsFile);
    file.Write(stream.str());
    if (!file.Commit()) {
        throw Failure(request.saveOptionsFile + ": the options can't be written");
    }
}

void OptionsRecord::SaveAfterDriver(const ReadRequest& request) {
    const SpreadsheetOpenOptions kept(Get());
    if (bytes.empty()) {
        SpreadsheetOpenOptions::FreeOpenOptions(&record);
    }
    if (const NvImportOpenOptions* choices = kept) {
        Save(request, *choices);
    }
}
