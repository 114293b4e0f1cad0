#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/** A cell's text as UTF-8: as it stands when it is valid UTF-8, otherwise taken as Windows-1252. */
std::string AsUtf8(std::string_view text);

/** The same without a copy where none is needed: `storage` holds the converted text. */
std::string_view AsUtf8(std::string_view text, std::string& storage);

/**
 * How many places on a terminal a valid UTF-8 text takes: two for a wide character, none for a mark that
 * stands on another.
 */
std::size_t GetDisplayWidth(std::string_view text);

/** The characters with which a valid UTF-8 text begins, as many as `width` places on a terminal hold. */
std::string_view FitDisplayWidth(std::string_view text, std::size_t width);
