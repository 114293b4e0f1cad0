#include "karta/ReadOptions.h"

#include <algorithm>
#include <cstdint>
#include <ios>
#include <limits>
#include <memory>
#include <utility>

#include "frame/CompleteOptions.h"
#include "frame/OptionsText.h"
#include "host/XMLSection.h"
#include "karta/Error.h"
#include "karta/internal/OptionsRecord.h"

namespace karta {

namespace {

std::unique_ptr<XMLSection> DocumentOf(const std::vector<std::uint8_t>& bytes) {
    std::unique_ptr<XMLSection> document;
    try {
        document = XMLSection::CreateXMLSectionFromString(DecodeOptionsText(
            {static_cast<std::uint32_t>(bytes.size()), const_cast<std::uint8_t*>(bytes.data())}));
    } catch (const std::ios_base::failure&) {
        document = nullptr;
    }
    if (document == nullptr) {
        throw Error(
            {.code = ErrorCode::BadOption, .text = "the record of options is no section of settings"});
    }
    return document;
}

/** Takes the keys of a record's settings, one after the other; what is left at the end is unknown. */
class Keys {
public:
    explicit Keys(const XMLSection& section) : settings(section) {
        for (const std::string& key : settings.GetKeys()) {
            settings.Read(key, rest[key]);
        }
    }

    template <class Value>
    bool Take(const char* key, Value& value) {
        const bool isThere = settings.Read(key, value);
        if (isThere) {
            rest.erase(key);
        }
        return isThere;
    }
    template <class Value>
    void Take(const char* key, std::optional<Value>& value) {
        if (Value read{}; Take(key, read)) {
            value = std::move(read);
        }
    }
    const std::map<std::string, std::string>& GetRest() const { return rest; }

private:
    const XMLSection& settings;
    std::map<std::string, std::string> rest;
};

// A record keeps floats, and one interval of them all where only points are averaged.
void TakeIntervals(Keys& keys, ReadOptions& options) {
    std::vector<float> starts;
    std::vector<float> ends;
    bool isAll = false;
    int count = 0;
    int average = 0;
    keys.Take("NumberOfIncludedIntervals", count);
    keys.Take("IncludeXStartPt", starts);
    keys.Take("IncludeXEndPt", ends);
    keys.Take("IncludeAllObservations", isAll);
    keys.Take("IncludeXAsAnObservation", isAll);
    if (keys.Take("UseAverage", average) && average != 0) {
        options.average = average;
    }
    for (std::size_t i = 0; i < std::min(starts.size(), ends.size()); ++i) {
        if (starts[i] != std::numeric_limits<float>::lowest() ||
            ends[i] != std::numeric_limits<float>::max()) {
            options.include.push_back({starts[i], ends[i]});
        }
    }
}

}  // namespace

std::string ReadOptions::ToRecord() const {
    ReadOptions kept = *this;
    kept.rows.clear();
    kept.format.clear();
    if (kept.reading == Reading::Classic && kept.part != PartName(0)) {
        throw Error({.code = ErrorCode::BadOption,
                     .option = "part",
                     .text = "can't be kept in a record of the classic reading, which holds the file's own "
                             "numbers"});
    }
    std::vector<std::uint8_t> bytes = OptionsRecord::WithoutFile(MakeWishes({}, kept));
    const NvImportOpenOptions plain{static_cast<std::uint32_t>(bytes.size()), bytes.data()};
    std::vector<std::uint8_t> marked = OptionsRecord::WithReading(plain, reading);
    return OptionsRecord::StreamOfBytes({static_cast<std::uint32_t>(marked.size()), marked.data()});
}

ReadOptions ReadOptions::FromRecord(std::string_view bytes) {
    const std::vector<std::uint8_t> kept = OptionsRecord::BytesOfStream(std::string(bytes));
    ReadOptions options;
    options.reading = OptionsRecord::ReadingOf(kept);
    if (kept.empty()) {
        return options;
    }
    const auto document = DocumentOf(kept);
    const XMLSection* settings = document->GetSection(XMLSection::Settings);
    if (settings == nullptr) {
        return options;
    }
    Keys keys(*settings);
    std::string text;
    keys.Take(OptionsRecord::ReadingKey, text);
    if (keys.Take(CompleteOptions::Part, text)) {
        options.part = text;
    }
    keys.Take(CompleteOptions::Delimiter, options.delimiter);
    keys.Take("IgnoreConsecutiveDelimiters", options.mergeDelimiters);
    keys.Take(CompleteOptions::Encoding, options.encoding);
    keys.Take(CompleteOptions::Header, options.header);
    keys.Take(CompleteOptions::Decimal, options.decimal);
    keys.Take(CompleteOptions::TextColumns, options.textColumns);
    keys.Take(CompleteOptions::Types, options.types);
    keys.Take(CompleteOptions::DateOrder, options.dateOrder);
    keys.Take(CompleteOptions::RowNames, options.rowNames);
    keys.Take(CompleteOptions::ColumnNames, options.columnNames);
    if (bool isVertical = true; options.reading == Reading::Complete && keys.Take("Vertical", isVertical)) {
        options.sideBySide = !isVertical;
    }
    TakeIntervals(keys, options);
    options.settings = keys.GetRest();
    return options;
}

}  // namespace karta
