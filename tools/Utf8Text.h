#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/** A cell's text as UTF-8: as it stands when it is valid UTF-8, otherwise taken as Windows-1252. */
std::string AsUtf8(std::string_view text);

/** The same without a copy where none is needed: `storage` holds the converted text. */
std::string_view AsUtf8(std::string_view text, std::string& storage);

/** How many characters a valid UTF-8 text has. */
std::size_t CountCharacters(std::string_view text);

/** The first `count` characters of a valid UTF-8 text. */
std::string_view FirstCharacters(std::string_view text, std::size_t count);
