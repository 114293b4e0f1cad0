#include "host/XMLSection.h"

#include <algorithm>

#include "base/Ascii.h"
#include "base/Exception.h"
#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "host/NvString.h"

namespace {

constexpr const char* RootName = "XMLSection";

// Deep enough for any settings, shallow enough for any stack.
constexpr int MaxDepth = 16;

// Digits that a float needs to come back the same.
constexpr int FloatDigits = 9;

bool IsPlain(char c) {
    return c >= 0x21 && c <= 0x7e && std::string_view("%<>&\"'").find(c) == std::string_view::npos;
}

std::string Escape(std::string_view text) {
    static constexpr char Digits[] = "0123456789abcdef";
    std::string escaped;
    for (const char c : text) {
        if (IsPlain(c)) {
            escaped += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            escaped += {'%', Digits[byte >> 4], Digits[byte & 15]};
        }
    }
    return escaped;
}

int HexDigit(char c) {
    if (IsDigit(c)) {
        return c - '0';
    }
    const char lower = ToLower(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string Unescape(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? HexDigit(text[i + 2]) : -1;
        if (low >= 0) {
            plain += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

template <class Number, class Convert>
bool ReadList(const std::string& text, std::vector<Number>& value, Convert convert) {
    std::vector<Number> list;
    std::string_view rest = TrimSpace(text);
    while (!rest.empty()) {
        const std::size_t comma = rest.find(',');
        Number number{};
        if (!convert(rest.substr(0, comma), number)) {
            return false;
        }
        list.push_back(number);
        if (comma == std::string_view::npos) {
            break;
        }
        rest.remove_prefix(comma + 1);
    }
    value = std::move(list);
    return true;
}

template <class Number, class Print>
std::string JoinList(const std::vector<Number>& list, Print print) {
    std::string text;
    for (const Number number : list) {
        text += text.empty() ? "" : ",";
        text += print(number);
    }
    return text;
}

}  // namespace

// Reads `<name>` ... `</name>`, in which there is either a value or further elements.
struct XMLSection::Parser {
    std::string_view rest;

    bool Take(std::string_view token) {
        const bool found = rest.starts_with(token);
        if (found) {
            rest.remove_prefix(token.size());
        }
        return found;
    }

    bool TakeName(std::string_view& name) {
        std::size_t length = 0;
        while (length < rest.size() &&
               (IsLetter(rest[length]) || IsDigit(rest[length]) ||
                std::string_view("_-.:").find(rest[length]) != std::string_view::npos)) {
            ++length;
        }
        name = rest.substr(0, length);
        rest.remove_prefix(length);
        return length > 0;
    }

    bool OpenTag(std::string_view& name) {
        SkipSpace(rest);
        return Take("<") && TakeName(name) && (SkipSpace(rest), true) && Take(">");
    }

    bool CloseTag(std::string_view name) {
        return Take("</") && Take(name) && (SkipSpace(rest), true) && Take(">");
    }

    // The inside of an element that holds elements, up to the end of its own tag.
    bool Content(XMLSection& section, std::string_view name, int depth) {
        while (true) {
            SkipSpace(rest);
            if (rest.starts_with("</")) {
                return CloseTag(name);
            }
            if (!Child(section, depth)) {
                return false;
            }
        }
    }

    // A child with elements in it is a subsection, any other is a value.
    bool Child(XMLSection& section, int depth) {
        std::string_view name;
        if (depth >= MaxDepth || !OpenTag(name)) {
            return false;
        }
        const std::string_view inside = rest;
        SkipSpace(rest);
        if (rest.starts_with("<") && !rest.starts_with("</")) {
            return Content(section.CreateSection(name), name, depth + 1);
        }
        rest = inside;
        const std::size_t end = rest.find_first_of("<&");
        if (end == std::string_view::npos) {
            return false;
        }
        const std::string_view value = rest.substr(0, end);
        rest.remove_prefix(end);
        if (section.Find(name) == nullptr) {
            section.Put(name, std::string(value));
        }
        // An element with nothing in it may be either.
        if (TrimSpace(value).empty()) {
            section.CreateSection(name);
        }
        return CloseTag(name);
    }

    bool Document(XMLSection& section) {
        std::string_view name;
        if (!OpenTag(name) || name != RootName || !Content(section, name, 0)) {
            return false;
        }
        SkipSpace(rest);
        return rest.empty();
    }
};

XMLSection::XMLSection(std::string_view text) {
    if (!Parser{text}.Document(*this)) {
        throw Exception("The text is no section of settings.");
    }
}

std::unique_ptr<XMLSection> XMLSection::CreateXMLSectionFromString(std::string_view text) {
    auto section = std::make_unique<XMLSection>();
    if (!Parser{text}.Document(*section)) {
        return nullptr;
    }
    return section;
}

const XMLSection* XMLSection::GetSection(std::string_view name) const {
    const auto found =
        std::find_if(sections.begin(), sections.end(), [&](const auto& item) { return item.first == name; });
    return found == sections.end() ? nullptr : found->second.get();
}

XMLSection& XMLSection::CreateSection(std::string_view name) {
    const auto found =
        std::find_if(sections.begin(), sections.end(), [&](const auto& item) { return item.first == name; });
    if (found != sections.end()) {
        return *found->second;
    }
    return *sections.emplace_back(name, std::make_unique<XMLSection>()).second;
}

bool XMLSection::Read(std::string_view key, bool& value) const {
    std::string plain;
    if (!Read(key, plain)) {
        return false;
    }
    const std::string_view text = TrimSpace(plain);
    const bool isTrue = text == "true" || text == "1";
    const bool isFalse = text == "false" || text == "0";
    if (isTrue || isFalse) {
        value = isTrue;
    }
    return isTrue || isFalse;
}

bool XMLSection::Read(std::string_view key, int& value) const {
    std::string plain;
    int number = 0;
    if (!Read(key, plain) || !NvString::ToInt(plain, number)) {
        return false;
    }
    value = number;
    return true;
}

bool XMLSection::Read(std::string_view key, float& value) const {
    std::string plain;
    float number = 0.0F;
    if (!Read(key, plain) || !NvString::ToFloat(plain, number)) {
        return false;
    }
    value = number;
    return true;
}

bool XMLSection::Read(std::string_view key, std::string& value) const {
    const std::string* found = Find(key);
    if (found == nullptr) {
        return false;
    }
    value = Unescape(TrimSpace(*found));
    return true;
}

bool XMLSection::Read(std::string_view key, std::vector<int>& value) const {
    std::string plain;
    return Read(key, plain) && ReadList(plain, value, NvString::ToInt);
}

bool XMLSection::Read(std::string_view key, std::vector<float>& value) const {
    std::string plain;
    return Read(key, plain) && ReadList(plain, value, NvString::ToFloat);
}

void XMLSection::Write(std::string_view key, bool value) {
    Put(key, value ? "true" : "false");
}

void XMLSection::Write(std::string_view key, int value) {
    Put(key, std::to_string(value));
}

void XMLSection::Write(std::string_view key, float value) {
    Put(key, FormatG(value, FloatDigits));
}

void XMLSection::Write(std::string_view key, std::string_view value) {
    Put(key, Escape(value));
}

void XMLSection::Write(std::string_view key, const std::vector<int>& value) {
    Put(key, JoinList(value, [](int number) { return std::to_string(number); }));
}

void XMLSection::Write(std::string_view key, const std::vector<float>& value) {
    Put(key, JoinList(value, [](float number) { return FormatG(number, FloatDigits); }));
}

std::vector<std::string> XMLSection::GetKeys() const {
    std::vector<std::string> keys;
    for (const auto& [key, value] : values) {
        keys.push_back(key);
    }
    return keys;
}

std::string XMLSection::Flush() const {
    std::string text = std::string("<") + RootName + ">";
    Append(text);
    return text + "</" + RootName + ">";
}

const std::string* XMLSection::Find(std::string_view key) const {
    const auto found =
        std::find_if(values.begin(), values.end(), [&](const auto& item) { return item.first == key; });
    return found == values.end() ? nullptr : &found->second;
}

void XMLSection::Put(std::string_view key, std::string escaped) {
    const auto found =
        std::find_if(values.begin(), values.end(), [&](const auto& item) { return item.first == key; });
    if (found != values.end()) {
        found->second = std::move(escaped);
    } else {
        values.emplace_back(key, std::move(escaped));
    }
}

void XMLSection::Append(std::string& text) const {
    for (const auto& [key, value] : values) {
        // An empty element that may be a section is written as one, below.
        if (!value.empty() || GetSection(key) == nullptr) {
            text.append("<").append(key).append(">").append(value).append("</").append(key).append(">");
        }
    }
    for (const auto& [name, section] : sections) {
        text.append("<").append(name).append(">");
        section->Append(text);
        text.append("</").append(name).append(">");
    }
}
