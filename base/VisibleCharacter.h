#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/Export.h"

/** How an escape is written: as people read it, or as JSON has it. */
enum class EscapeStyle { Plain, Json };

/**
 * Takes the first character off a text that isn't empty, and appends it or its escape: of every control
 * character (C0, DEL, C1), every control of the direction of writing and every byte that isn't UTF-8.
 */
KARTA_EXPORT void AppendVisibleCharacter(std::string& target, std::string_view& text,
                                         EscapeStyle style = EscapeStyle::Plain);

/** The length of the first character of a text that isn't empty; 0 where it is one of those that have an
 * escape.
 */
std::size_t GetVisibleLength(std::string_view text);
