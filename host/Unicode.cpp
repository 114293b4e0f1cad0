#include "host/Unicode.h"

namespace {

constexpr char32_t FirstBeyond16Bits = 0x10000;

bool IsHighSurrogate(char16_t unit) {
    return unit >= 0xd800 && unit < 0xdc00;
}

bool IsLowSurrogate(char16_t unit) {
    return unit >= 0xdc00 && unit < 0xe000;
}

void AppendTail(char32_t code, int bits, std::string& utf8) {
    for (int shift = bits - 6; shift >= 0; shift -= 6) {
        utf8 += static_cast<char>(0x80 | ((code >> shift) & 0x3f));
    }
}

void AppendCode(char32_t code, std::string& utf8) {
    if (code < 0x80) {
        utf8 += static_cast<char>(code);
    } else if (code < 0x800) {
        utf8 += static_cast<char>(0xc0 | (code >> 6));
        AppendTail(code, 6, utf8);
    } else if (code < FirstBeyond16Bits) {
        utf8 += static_cast<char>(0xe0 | (code >> 12));
        AppendTail(code, 12, utf8);
    } else {
        utf8 += static_cast<char>(0xf0 | (code >> 18));
        AppendTail(code, 18, utf8);
    }
}

}  // namespace

void AppendUtf8(std::u16string_view text, std::string& utf8) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (unit < 0x80) {
            utf8 += static_cast<char>(unit);
        } else if (IsHighSurrogate(unit) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            ++i;
            AppendCode(FirstBeyond16Bits + ((unit & 0x3ffU) << 10) + (text[i] & 0x3ffU), utf8);
        } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
            utf8 += '?';
        } else {
            AppendCode(unit, utf8);
        }
    }
}

std::string ToUtf8(std::u16string_view text) {
    std::string utf8;
    utf8.reserve(text.size());
    AppendUtf8(text, utf8);
    return utf8;
}
