#include "tools/Json.h"

#include <ostream>

#include "base/JsonText.h"
#include "base/NumberFormat.h"
#include "tools/Utf8Text.h"

namespace {

void PutNumber(JsonWriter& json, const char* key, const std::optional<std::uint64_t>& number) {
    if (number) {
        json.Put(key, static_cast<long long>(*number));
    }
}

// Nothing where nothing of it is known.
void PutPlace(JsonWriter& json, const karta::Place& place) {
    if (!place.line && !place.record && !place.byte && place.cell.empty() && place.part.empty()) {
        return;
    }
    json.BeginObject("place");
    PutNumber(json, "line", place.line);
    PutNumber(json, "record", place.record);
    PutNumber(json, "byte", place.byte);
    if (!place.cell.empty()) {
        json.Put("cell", AsUtf8(place.cell));
    }
    if (!place.part.empty()) {
        json.Put("part", AsUtf8(place.part));
    }
    json.EndObject();
}

}  // namespace

std::string JsonQuote(std::string_view text) {
    std::string quoted;
    AppendJsonText(quoted, text);
    return quoted;
}

void JsonWriter::Start(std::string_view key) {
    if (!hasMembers.empty()) {
        stream << (hasMembers.back() ? ",\n" : "\n") << std::string(2 * hasMembers.size(), ' ');
        hasMembers.back() = true;
    }
    if (!key.empty()) {
        stream << JsonQuote(key) << ": ";
    }
}

void JsonWriter::Open(std::string_view key, char bracket) {
    Start(key);
    stream << bracket;
    hasMembers.push_back(false);
}

void JsonWriter::Close(char bracket) {
    const bool hadMembers = hasMembers.back();
    hasMembers.pop_back();
    if (hadMembers) {
        stream << '\n' << std::string(2 * hasMembers.size(), ' ');
    }
    stream << bracket;
    if (hasMembers.empty()) {
        stream << '\n';
    }
}

void JsonWriter::BeginObject(std::string_view key) {
    Open(key, '{');
}

void JsonWriter::EndObject() {
    Close('}');
}

void JsonWriter::BeginArray(std::string_view key) {
    Open(key, '[');
}

void JsonWriter::EndArray() {
    Close(']');
}

void JsonWriter::Put(std::string_view key, std::string_view value) {
    Start(key);
    stream << JsonQuote(value);
}

void JsonWriter::Put(std::string_view key, bool value) {
    Start(key);
    stream << (value ? "true" : "false");
}

void JsonWriter::Put(std::string_view key, long long value) {
    Start(key);
    stream << value;
}

void JsonWriter::Put(std::string_view value) {
    Start({});
    stream << JsonQuote(value);
}

void JsonWriter::Put(std::string_view key, double value) {
    Start(key);
    stream << FormatShortest(value);
}

void PutError(JsonWriter& json, const Failure& failure) {
    json.BeginObject("error");
    json.Put("message", AsUtf8(failure.what()));
    json.Put("status", static_cast<long long>(failure.GetStatus()));
    if (const auto& details = failure.GetDetails()) {
        json.Put("code", karta::NameOf(details->code));
        if (!details->file.empty()) {
            json.Put("file", AsUtf8(details->file));
        }
        if (!details->format.empty()) {
            json.Put("format", AsUtf8(details->format));
        }
        PutPlace(json, details->place);
    }
    json.EndObject();
}
