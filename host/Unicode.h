#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/** Appends one character in UTF-8; what is no character (half a surrogate pair) becomes U+FFFD. */
void AppendUtf8(std::string& text, char32_t character);

/** Appends UTF-16 text in UTF-8. */
void AppendUtf8(std::string& text, std::u16string_view units);

/** UTF-16 text as UTF-8. */
std::string ToUtf8(std::u16string_view units);

/** UTF-16 little-endian as UTF-8. An odd last byte is left out. */
std::string Utf16ToUtf8(std::span<const std::uint8_t> bytes);
