#include "base/Unicode.h"

#include <algorithm>

#include "base/ByteWord.h"

namespace {

constexpr char Replacement = '?';
constexpr char32_t FirstBeyond16Bits = 0x10000;
constexpr char32_t LastCharacter = 0x10ffff;

bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xdc00 && unit < 0xe000;
}

bool IsContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U;
}

char TrailByte(char32_t character, int shift) {
    return static_cast<char>(0x80 | (character >> shift & 0x3f));
}

// Takes `count` units, each by its index, and appends their characters.
template <class UnitAt>
void AppendUnits(std::string& text, std::size_t count, UnitAt unitAt) {
    for (std::size_t i = 0; i < count; ++i) {
        char32_t character = unitAt(i);
        if (IsHighSurrogate(character) && i + 1 < count && IsLowSurrogate(unitAt(i + 1))) {
            ++i;
            character = FirstBeyond16Bits + ((character & 0x3ff) << 10) + (unitAt(i) & 0x3ff);
        }
        AppendUtf8(text, character);
    }
}

// What Windows-1252 has in 0x80 to 0x9f; 0 where it has nothing and the byte's own code is taken.
constexpr char16_t Windows1252[32] = {0x20ac, 0,      0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021,
                                      0x02c6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017d, 0,
                                      0,      0x2018, 0x2019, 0x201c, 0x201d, 0x2022, 0x2013, 0x2014,
                                      0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, 0,      0x017e, 0x0178};

// Without the ASCII that it begins with, but perhaps for the last bytes of that: in steps as wide as the
// processor's instructions are, and then eight at a time.
std::string_view SkipAscii(std::string_view text) {
    constexpr std::size_t Word = 8;
    constexpr std::size_t Step = 8 * Word;
    for (; text.size() >= Step; text.remove_prefix(Step)) {
        std::uint64_t all = 0;
        for (std::size_t i = 0; i < Step; i += Word) {
            all |= ByteWord::Load(&text[i]);
        }
        if ((all & ByteWord::HighBits) != 0) {
            break;
        }
    }
    while (text.size() >= Word && (ByteWord::Load(&text[0]) & ByteWord::HighBits) == 0) {
        text.remove_prefix(Word);
    }
    return text;
}

bool IsAsciiByte(char c) {
    return static_cast<signed char>(c) >= 0;
}

}  // namespace

bool IsAscii(std::string_view text) {
    const std::string_view rest = SkipAscii(text);
    return std::all_of(rest.begin(), rest.end(), IsAsciiByte);
}

bool IsUtf8(std::string_view text) {
    text = SkipAscii(text);
    while (!text.empty()) {
        const std::size_t length = GetUtf8Length(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
        text = length == 1 ? SkipAscii(text) : text;
    }
    return true;
}

bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xd800 && unit < 0xdc00;
}

std::size_t GetUtf8Length(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) {
        return 1;
    }
    // Most are of two bytes.
    if (lead < 0xe0) {
        return lead >= 0xc2 && text.size() >= 2 && IsContinuation(text[1]) ? 2 : 0;
    }
    const std::size_t length = lead >= 0xf0 ? 4 : 3;
    if (lead > 0xf4 || text.size() < length) {
        return 0;
    }
    const auto second = static_cast<unsigned char>(text[1]);
    const bool overlong = (lead == 0xe0 && second < 0xa0) || (lead == 0xf0 && second < 0x90);
    const bool outside = (lead == 0xed && second > 0x9f) || (lead == 0xf4 && second > 0x8f);
    if (overlong || outside) {
        return 0;
    }
    const bool areContinuations =
        IsContinuation(text[1]) && IsContinuation(text[2]) && (length == 3 || IsContinuation(text[3]));
    return areContinuations ? length : 0;
}

void AppendUtf8(std::string& text, char32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += {static_cast<char>(0xc0 | character >> 6), TrailByte(character, 0)};
    } else if (IsHighSurrogate(character) || IsLowSurrogate(character) || character > LastCharacter) {
        text += Replacement;
    } else if (character < FirstBeyond16Bits) {
        text += {static_cast<char>(0xe0 | character >> 12), TrailByte(character, 6), TrailByte(character, 0)};
    } else {
        text += {static_cast<char>(0xf0 | character >> 18), TrailByte(character, 12), TrailByte(character, 6),
                 TrailByte(character, 0)};
    }
}

void AppendUtf8(std::string& text, std::u16string_view units) {
    const auto isAscii = [](char16_t unit) { return unit < 0x80; };
    const auto end = units.end();
    for (auto next = units.begin(); next != end;) {
        // Nearly all text is ASCII, which is copied in runs.
        const auto wide = std::find_if_not(next, end, isAscii);
        const std::size_t size = text.size();
        text.resize(size + static_cast<std::size_t>(wide - next));
        std::transform(next, wide, text.begin() + static_cast<std::ptrdiff_t>(size),
                       [](char16_t unit) { return static_cast<char>(unit); });
        next = std::find_if(wide, end, isAscii);
        AppendUnits(text, static_cast<std::size_t>(next - wide),
                    [wide](std::size_t i) -> char32_t { return wide[static_cast<std::ptrdiff_t>(i)]; });
    }
}

std::string ToUtf8(std::u16string_view units) {
    std::string text;
    text.reserve(units.size());
    AppendUtf8(text, units);
    return text;
}

std::string Utf16ToUtf8(std::span<const std::uint8_t> bytes) {
    const std::size_t count = bytes.size() / 2;
    const auto unitAt = [&](std::size_t i) {
        return static_cast<char32_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    };
    // Nearly all text is ASCII.
    std::string text(count, '\0');
    std::size_t ascii = 0;
    for (; ascii < count && unitAt(ascii) < 0x80; ++ascii) {
        text[ascii] = static_cast<char>(unitAt(ascii));
    }
    text.resize(ascii);
    AppendUnits(text, count - ascii, [&](std::size_t i) { return unitAt(ascii + i); });
    return text;
}

std::string_view AsUtf8(std::string_view text, std::string& storage) {
    if (IsAscii(text) || IsUtf8(text)) {
        return text;
    }
    storage.clear();
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            storage += c;
        } else {
            const char16_t special = byte < 0xa0 ? Windows1252[byte - 0x80] : char16_t{0};
            AppendUtf8(storage, special != 0 ? special : char32_t{byte});
        }
    }
    return storage;
}

std::string AsUtf8(std::string_view text) {
    std::string storage;
    return std::string(AsUtf8(text, storage));
}
