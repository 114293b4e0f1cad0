#include "host/Unicode.h"

namespace {

constexpr char32_t Replacement = 0xFFFD;
constexpr char32_t LastCharacter = 0x10FFFF;

bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

char32_t JoinSurrogates(char32_t high, char32_t low) {
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

char32_t UnitAt(std::span<const std::uint8_t> bytes, std::size_t i) {
    return static_cast<char32_t>(bytes[i] | bytes[i + 1] << 8);
}

char TrailByte(char32_t character, int shift) {
    return static_cast<char>(0x80 | (character >> shift & 0x3F));
}

}  // namespace

void AppendUtf8(std::string& text, char32_t character) {
    if (character > LastCharacter || IsHighSurrogate(character) || IsLowSurrogate(character)) {
        character = Replacement;
    }
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += {static_cast<char>(0xC0 | character >> 6), TrailByte(character, 0)};
    } else if (character < 0x10000) {
        text += {static_cast<char>(0xE0 | character >> 12), TrailByte(character, 6), TrailByte(character, 0)};
    } else {
        text += {static_cast<char>(0xF0 | character >> 18), TrailByte(character, 12), TrailByte(character, 6),
                 TrailByte(character, 0)};
    }
}

void AppendUtf8(std::string& text, std::u16string_view units) {
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t character = units[i];
        if (character < 0x80) {
            text += static_cast<char>(character);
            continue;
        }
        if (IsHighSurrogate(character) && i + 1 < units.size() && IsLowSurrogate(units[i + 1])) {
            character = JoinSurrogates(character, units[++i]);
        }
        AppendUtf8(text, character);
    }
}

std::string ToUtf8(std::u16string_view units) {
    std::string text;
    text.reserve(units.size());
    AppendUtf8(text, units);
    return text;
}

std::string Utf16ToUtf8(std::span<const std::uint8_t> bytes) {
    std::string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        char32_t character = UnitAt(bytes, i);
        if (IsHighSurrogate(character) && i + 3 < bytes.size() && IsLowSurrogate(UnitAt(bytes, i + 2))) {
            i += 2;
            character = JoinSurrogates(character, UnitAt(bytes, i));
        }
        AppendUtf8(text, character);
    }
    return text;
}
