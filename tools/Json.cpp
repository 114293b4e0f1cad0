#include "tools/Json.h"

#include <ostream>

std::string JsonQuote(std::string_view text) {
    static constexpr char Digits[] = "0123456789abcdef";
    std::string quoted = "\"";
    for (const char c : text) {
        switch (c) {
            case '"':
            case '\\':
                quoted += {'\\', c};
                break;
            case '\n':
                quoted += "\\n";
                break;
            case '\r':
                quoted += "\\r";
                break;
            case '\t':
                quoted += "\\t";
                break;
            default:
                if (static_cast<unsigned char>(c) < 0x20) {
                    quoted += {'\\', 'u', '0', '0', Digits[c >> 4 & 15], Digits[c & 15]};
                } else {
                    quoted += c;
                }
                break;
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
