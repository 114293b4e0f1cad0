#include "tools/Json.h"

#include <algorithm>
#include <ostream>

#include "base/NumberFormat.h"
#include "tools/TerminalText.h"
#include "tools/Utf8Text.h"

namespace {

bool IsPlain(char c) {
    return c >= 0x20 && c < 0x7f && c != '"' && c != '\\';
}

}  // namespace

std::string JsonQuote(std::string_view text) {
    std::string quoted = "\"";
    while (!text.empty()) {
        const auto plain =
            static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsPlain) - text.begin());
        quoted += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        if (text.front() == '"' || text.front() == '\\') {
            quoted += {'\\', text.front()};
            text.remove_prefix(1);
        } else {
            AppendVisibleCharacter(quoted, text, EscapeStyle::Json);
        }
    }
    return quoted + "\"";
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
    json.EndObject();
}
