#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "base/Export.h"

/** Writes a text of any bytes: its length as 32-bit little-endian, then the bytes. */
KARTA_EXPORT void WriteBinaryString(std::ostream& stream, std::string_view text);

/** Reads it back. Raises std::ios_base::failure when the stream ends first. */
KARTA_EXPORT std::string ReadBinaryString(std::istream& stream);
