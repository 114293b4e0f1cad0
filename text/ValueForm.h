#pragma once

#include <string_view>

// What the guess of a dialect takes for a value: it asks what people may have meant, before it is known which
// decimal mark a file has.

/** A number with either decimal mark, a date, a time; blanks around it don't count. */
bool IsLikeValue(std::string_view text);

/** The same, or a number with grouped digits. With `mayHoldCommas` false, none with a comma. */
bool IsLikeOneValue(std::string_view text, bool mayHoldCommas);

/** Whether a time such as 12:30 stands anywhere in a text. */
bool HoldsTime(std::string_view text);

/** Without white space at both ends, that of Unicode too. */
std::string_view TrimUnicodeSpace(std::string_view text);
