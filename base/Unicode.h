#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "base/Export.h"

// The library's narrow text is UTF-8. Half a surrogate pair stands for no character and becomes '?'.

/** Appends one character. */
KARTA_EXPORT void AppendUtf8(std::string& text, char32_t character);

/** Appends UTF-16 text. */
void AppendUtf8(std::string& text, std::u16string_view units);

/** Whether a unit is the first of the two that stand for one character. */
bool IsHighSurrogate(char32_t unit);

/**
 * The length in bytes of the character that a text, which isn't empty, begins with; 0 where its bytes are
 * none of UTF-8: a stray or missing continuation, a form longer than needed, half a surrogate pair.
 */
KARTA_EXPORT std::size_t GetUtf8Length(std::string_view text);

/** Whether a text's bytes are all below 0x80. */
bool IsAscii(std::string_view text);

/** Whether all of a text is characters of UTF-8. */
bool IsUtf8(std::string_view text);

/** UTF-16 text as UTF-8. */
std::string ToUtf8(std::u16string_view units);

/** UTF-16 as a file holds it, little-endian, as UTF-8. An odd last byte is left out. */
std::string Utf16ToUtf8(std::span<const std::uint8_t> bytes);

/** A text as UTF-8: as it stands when it is valid UTF-8, otherwise taken as Windows-1252. */
KARTA_EXPORT std::string AsUtf8(std::string_view text);

/** The same without a copy where none is needed: `storage` holds the converted text. */
KARTA_EXPORT std::string_view AsUtf8(std::string_view text, std::string& storage);
