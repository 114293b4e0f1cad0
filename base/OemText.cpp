#include "base/OemText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "base/Unicode.h"

namespace {

constexpr std::size_t HighBytes = 128;

// The characters of code page 850 from byte 0x80 on.
constexpr std::array<std::uint16_t, HighBytes> Characters = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7,  // 80
    0x00EA, 0x00EB, 0x00E8, 0x00EF, 0x00EE, 0x00EC, 0x00C4, 0x00C5,  // 88
    0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9,  // 90
    0x00FF, 0x00D6, 0x00DC, 0x00F8, 0x00A3, 0x00D8, 0x00D7, 0x0192,  // 98
    0x00E1, 0x00ED, 0x00F3, 0x00FA, 0x00F1, 0x00D1, 0x00AA, 0x00BA,  // A0
    0x00BF, 0x00AE, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,  // A8
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x00C1, 0x00C2, 0x00C0,  // B0
    0x00A9, 0x2563, 0x2551, 0x2557, 0x255D, 0x00A2, 0x00A5, 0x2510,  // B8
    0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x00E3, 0x00C3,  // C0
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x00A4,  // C8
    0x00F0, 0x00D0, 0x00CA, 0x00CB, 0x00C8, 0x0131, 0x00CD, 0x00CE,  // D0
    0x00CF, 0x2518, 0x250C, 0x2588, 0x2584, 0x00A6, 0x00CC, 0x2580,  // D8
    0x00D3, 0x00DF, 0x00D4, 0x00D2, 0x00F5, 0x00D5, 0x00B5, 0x00FE,  // E0
    0x00DE, 0x00DA, 0x00DB, 0x00D9, 0x00FD, 0x00DD, 0x00AF, 0x00B4,  // E8
    0x00AD, 0x00B1, 0x2017, 0x00BE, 0x00B6, 0x00A7, 0x00F7, 0x00B8,  // F0
    0x00B0, 0x00A8, 0x00B7, 0x00B9, 0x00B3, 0x00B2, 0x25A0, 0x00A0,  // F8
};

using ByCharacter = std::array<std::pair<std::uint16_t, char>, HighBytes>;

// The same the other way round, in the order of the characters.
constexpr ByCharacter SortByCharacter() {
    ByCharacter sorted{};
    for (std::size_t i = 0; i < HighBytes; ++i) {
        sorted[i] = {Characters[i], static_cast<char>(0x80 + i)};
    }
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

constexpr ByCharacter Bytes = SortByCharacter();

constexpr char Unmappable = '?';

bool IsHigh(char byte) {
    return static_cast<unsigned char>(byte) >= 0x80;
}

// The character at the front of `text`, which is a high byte, is taken off; 0 when it is none.
char32_t TakeUtf8(std::string_view& text) {
    const std::size_t length = GetUtf8Length(text);
    char32_t character = 0;
    if (length != 0) {
        character = static_cast<unsigned char>(text.front()) & (0x7fU >> length);
        for (const char next : text.substr(1, length - 1)) {
            character = character << 6 | (static_cast<unsigned char>(next) & 0x3fU);
        }
    }
    text.remove_prefix(length != 0 ? length : 1);
    return character;
}

char OemByteOf(char32_t character) {
    const auto found =
        std::lower_bound(Bytes.begin(), Bytes.end(), character,
                         [](const auto& entry, char32_t wanted) { return entry.first < wanted; });
    return found != Bytes.end() && found->first == character ? found->second : Unmappable;
}

}  // namespace

std::string OemToAnsi(std::string_view text) {
    std::string converted;
    converted.reserve(text.size());
    for (const char byte : text) {
        if (IsHigh(byte)) {
            AppendUtf8(converted, char32_t{Characters[static_cast<unsigned char>(byte) - 0x80U]});
        } else {
            converted += byte;
        }
    }
    return converted;
}

std::string AnsiToOem(std::string_view text) {
    std::string converted;
    converted.reserve(text.size());
    while (!text.empty()) {
        if (IsHigh(text.front())) {
            converted += OemByteOf(TakeUtf8(text));
        } else {
            converted += text.front();
            text.remove_prefix(1);
        }
    }
    return converted;
}
