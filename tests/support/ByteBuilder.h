#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

/** Builds a binary file in memory, field by field; little-endian unless told otherwise. */
class ByteBuilder {
public:
    template <class Number>
    ByteBuilder& Put(Number value) {
        static_assert(std::is_arithmetic_v<Number>);
        char raw[sizeof value];
        std::memcpy(raw, &value, sizeof value);
        bytes.append(raw, sizeof value);
        return *this;
    }
    template <class Number>
    ByteBuilder& PutBig(Number value) {
        char raw[sizeof value];
        std::memcpy(raw, &value, sizeof value);
        for (std::size_t i = sizeof value; i-- > 0;) {
            bytes += raw[i];
        }
        return *this;
    }
    ByteBuilder& U8(unsigned value) { return Put(static_cast<std::uint8_t>(value)); }
    ByteBuilder& U16(unsigned value) { return Put(static_cast<std::uint16_t>(value)); }
    ByteBuilder& I16(int value) { return Put(static_cast<std::int16_t>(value)); }
    ByteBuilder& U32(std::uint32_t value) { return Put(value); }
    ByteBuilder& I32(std::int32_t value) { return Put(value); }
    ByteBuilder& Float(float value) { return Put(value); }
    ByteBuilder& Double(double value) { return Put(value); }
    ByteBuilder& Text(std::string_view text) {
        bytes.append(text);
        return *this;
    }
    /** A text field of a fixed width, filled up with NULs. */
    ByteBuilder& Field(std::string_view text, std::size_t width) {
        bytes.append(text.substr(0, width));
        bytes.append(width - std::min(text.size(), width), '\0');
        return *this;
    }
    ByteBuilder& Zeros(std::size_t count) {
        bytes.append(count, '\0');
        return *this;
    }
    /** Fills up with NULs to an offset from the start. */
    ByteBuilder& PadTo(std::size_t offset) {
        bytes.resize(std::max(bytes.size(), offset), '\0');
        return *this;
    }
    /** Overwrites a field that was written before. */
    template <class Number>
    ByteBuilder& Patch(std::size_t offset, Number value) {
        std::memcpy(bytes.data() + offset, &value, sizeof value);
        return *this;
    }

    std::size_t Size() const { return bytes.size(); }
    const std::string& Bytes() const { return bytes; }

private:
    std::string bytes;
};
