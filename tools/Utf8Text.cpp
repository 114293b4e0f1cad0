#include "tools/Utf8Text.h"

#include <glib.h>

#include <algorithm>

#include "base/Unicode.h"

namespace {

// What Windows-1252 has in 0x80 to 0x9f; 0 where it has nothing and the byte's own code is taken.
constexpr char16_t Windows1252[32] = {0x20ac, 0,      0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021,
                                      0x02c6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017d, 0,
                                      0,      0x2018, 0x2019, 0x201c, 0x201d, 0x2022, 0x2013, 0x2014,
                                      0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, 0,      0x017e, 0x0178};

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) >= 0; });
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = GetUtf8Length(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

// The first character's places. The C library's answer would depend on the locale.
std::size_t WidthOfFirst(std::string_view text) {
    const gunichar character = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
    if (g_unichar_iszerowidth(character)) {
        return 0;
    }
    return g_unichar_iswide(character) ? 2 : 1;
}

}  // namespace

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

std::size_t GetDisplayWidth(std::string_view text) {
    std::size_t width = 0;
    for (; !text.empty(); text.remove_prefix(GetUtf8Length(text))) {
        width += WidthOfFirst(text);
    }
    return width;
}

std::string_view FitDisplayWidth(std::string_view text, std::size_t width) {
    std::string_view rest = text;
    while (!rest.empty() && WidthOfFirst(rest) <= width) {
        width -= WidthOfFirst(rest);
        rest.remove_prefix(GetUtf8Length(rest));
    }
    return text.substr(0, text.size() - rest.size());
}
