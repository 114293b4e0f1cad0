#pragma once

#include <cstddef>
#include <string_view>

// The one number parser of the library. It never looks at the process's locale: the decimal separator is
// the point, and there is no grouping.

/**
 * Reads a decimal number at the start of `text`, white space before it aside, as far as it goes: sign,
 * digits, point, exponent; also "inf", "infinity" and "nan" in any case. Returns how many characters it
 * took, 0 (and value 0) when there is no number. What is too large becomes an infinity, too small a zero.
 */
std::size_t ParseDouble(std::string_view text, double& value);

/** The same for a whole number, held to the range of int; stops at the first character that is no digit. */
std::size_t ParseInt(std::string_view text, int& value);

/** The number at the start of a text; 0 when there is none. */
double ToLeadingDouble(std::string_view text);
int ToLeadingInt(std::string_view text);

/** White space as the C locale has it. */
inline bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/** Takes white space off the front. */
inline void SkipSpace(std::string_view& text) {
    while (!text.empty() && IsSpace(text.front())) {
        text.remove_prefix(1);
    }
}

/** The text without white space at both ends. */
inline std::string_view TrimSpace(std::string_view text) {
    SkipSpace(text);
    while (!text.empty() && IsSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}
