#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "base/Export.h"

/** Writes the values of a host's project: a bool as one byte, numbers little-endian, bytes alone. */
class KARTA_EXPORT StreamWriter {
public:
    /** The stream stays the caller's and must outlive the writer. */
    explicit StreamWriter(std::ostream& target) : stream(target) {}

    void WriteBool(bool value);
    void WriteInt32(std::int32_t value);
    void WriteUInt8Vector(const std::uint8_t* bytes, std::size_t size);

private:
    std::ostream& stream;
};
