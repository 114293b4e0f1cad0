#include "base/VisibleCharacter.h"

#include "base/Unicode.h"

namespace {

constexpr char Digits[] = "0123456789abcdef";

// The code of a character whose bytes are known to be good UTF-8.
char32_t Decode(std::string_view character) {
    const auto lead = static_cast<unsigned char>(character.front());
    if (character.size() == 1) {
        return lead;
    }
    char32_t code = lead & (0x7fU >> character.size());
    for (const char c : character.substr(1)) {
        code = code << 6 | (static_cast<unsigned char>(c) & 0x3fU);
    }
    return code;
}

bool TurnsWriting(char32_t code) {
    return code == 0x61c || code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e) ||
           (code >= 0x2066 && code <= 0x2069);
}

bool HasEscape(char32_t code) {
    return code < 0x20 || (code >= 0x7f && code < 0xa0) || TurnsWriting(code);
}

void AppendHexadecimal(std::string& target, const char* mark, char32_t code, int digits) {
    target += mark;
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        target += Digits[code >> shift & 15];
    }
}

void AppendEscape(std::string& target, char32_t code, EscapeStyle style) {
    switch (code) {
        case '\n':
            target += "\\n";
            break;
        case '\r':
            target += "\\r";
            break;
        case '\t':
            target += "\\t";
            break;
        default:
            if (code < 0x100 && style == EscapeStyle::Plain) {
                AppendHexadecimal(target, "\\x", code, 2);
            } else {
                AppendHexadecimal(target, "\\u", code, 4);
            }
            break;
    }
}

}  // namespace

void AppendVisibleCharacter(std::string& target, std::string_view& text, EscapeStyle style) {
    const std::size_t length = GetUtf8Length(text);
    if (length == 0) {
        AppendEscape(target, static_cast<unsigned char>(text.front()), style);
        text.remove_prefix(1);
        return;
    }
    const char32_t code = Decode(text.substr(0, length));
    if (HasEscape(code)) {
        AppendEscape(target, code, style);
    } else {
        target += text.substr(0, length);
    }
    text.remove_prefix(length);
}

std::size_t GetVisibleLength(std::string_view text) {
    const std::size_t length = GetUtf8Length(text);
    return length == 0 || HasEscape(Decode(text.substr(0, length))) ? 0 : length;
}
