#pragma once

#include <string>
#include <string_view>

#include "base/Export.h"

// The parts of a path. Both kinds of slash separate, on every platform: selections come from both.

/** The name behind the last separator, with its extension. */
KARTA_EXPORT std::string NvGetFileName(std::string_view path);
/** The name without its extension. */
KARTA_EXPORT std::string NvGetFileTitle(std::string_view path);
/** The text behind the name's last dot, without the dot; empty when there is none. */
KARTA_EXPORT std::string NvGetFileExtension(std::string_view path);

/** Whether the path's extension is `extension` (without a dot), in any case of ASCII letters. */
bool HasExtension(std::string_view path, std::string_view extension);
/** Equal in any case of ASCII letters; other bytes must be the same. */
KARTA_EXPORT bool EqualIgnoringCase(std::string_view left, std::string_view right);
/** ASCII letters in lower case; other bytes stay. */
KARTA_EXPORT std::string ToLowerCase(std::string_view text);
