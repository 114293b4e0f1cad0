#pragma once

#include <cstdint>
#include <span>
#include <string>

/** Appends one character in UTF-8; what is no character (half a surrogate pair) becomes U+FFFD. */
void AppendUtf8(std::string& text, char32_t character);

/** UTF-16 little-endian as UTF-8. An odd last byte is left out. */
std::string Utf16ToUtf8(std::span<const std::uint8_t> bytes);
