#pragma once

#include <string>
#include <string_view>

// Text of the OEM code page, 850 (Western European DOS), and the library's own narrow text, UTF-8. Bytes
// below 0x80 are the same in both.

/** Every byte of the code page has its character. */
std::string OemToAnsi(std::string_view text);

/**
 * A character that the code page lacks becomes "?", and so does a byte that is no UTF-8.
 */
std::string AnsiToOem(std::string_view text);
