#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "base/Export.h"

/** Reads what StreamWriter wrote. Every operation raises std::ios_base::failure at the stream's end. */
class KARTA_EXPORT StreamReader {
public:
    /** The stream stays the caller's and must outlive the reader. */
    explicit StreamReader(std::istream& source) : stream(source) {}

    bool ReadBool();
    std::int32_t ReadInt32();
    /** Takes memory only as the bytes arrive, so that a size that lies costs nothing. */
    std::vector<std::uint8_t> ReadUInt8Vector(std::size_t size);

private:
    std::istream& stream;
};
