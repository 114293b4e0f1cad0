#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

/**
 * The one window on the bytes of a binary file. Every read is checked against the end: what doesn't fit
 * gives zero, moves the position to the end and marks the cursor as failed, so that a record can be read
 * field by field and looked at once. Numbers are little-endian unless asked for otherwise; nothing depends
 * on the machine's byte order or alignment.
 */
class ByteCursor {
public:
    ByteCursor() = default;
    /** The bytes stay the caller's and must outlive the cursor. */
    explicit ByteCursor(std::span<const std::uint8_t> data) : bytes(data) {}

    std::size_t GetSize() const { return bytes.size(); }
    std::size_t Tell() const { return position; }
    std::size_t GetRemaining() const { return bytes.size() - position; }
    bool AtEnd() const { return position == bytes.size(); }

    /** True once a read or a move went past the end; stays so until Clear or a successful Seek. */
    bool HasFailed() const { return failed; }
    void Clear() { failed = false; }

    /** Moves to an offset from the start, the end itself included. */
    bool Seek(std::uint64_t offset) {
        failed = offset > bytes.size();
        position = failed ? bytes.size() : static_cast<std::size_t>(offset);
        return !failed;
    }
    bool Skip(std::uint64_t count) { return Take(count).data() != nullptr || count == 0; }
    /** Whether `count` more items of `size` bytes each are there; never overflows. */
    bool Has(std::uint64_t count, std::size_t size = 1) const {
        return size == 0 || count <= GetRemaining() / size;
    }

    /** The next `count` bytes, or an empty span and a failed cursor. */
    std::span<const std::uint8_t> Take(std::uint64_t count) {
        if (failed || count > GetRemaining()) {
            failed = true;
            position = bytes.size();
            return {};
        }
        const auto part = bytes.subspan(position, static_cast<std::size_t>(count));
        position += part.size();
        return part;
    }

    std::uint8_t ReadU8() { return Read<std::uint8_t>(); }
    std::int8_t ReadI8() { return Read<std::int8_t>(); }
    std::uint16_t ReadU16() { return Read<std::uint16_t>(); }
    std::int16_t ReadI16() { return Read<std::int16_t>(); }
    std::uint32_t ReadU32() { return Read<std::uint32_t>(); }
    std::int32_t ReadI32() { return Read<std::int32_t>(); }
    std::uint64_t ReadU64() { return Read<std::uint64_t>(); }
    std::int64_t ReadI64() { return Read<std::int64_t>(); }
    float ReadFloat() { return Read<float>(); }
    double ReadDouble() { return Read<double>(); }

    std::uint16_t ReadBigU16() { return ReadBig<std::uint16_t>(); }
    std::int16_t ReadBigI16() { return ReadBig<std::int16_t>(); }
    std::uint32_t ReadBigU32() { return ReadBig<std::uint32_t>(); }
    std::int32_t ReadBigI32() { return ReadBig<std::int32_t>(); }
    std::uint64_t ReadBigU64() { return ReadBig<std::uint64_t>(); }
    float ReadBigFloat() { return ReadBig<float>(); }
    double ReadBigDouble() { return ReadBig<double>(); }

    /** A number of any fixed width, little-endian. */
    template <class Number>
    Number Read() {
        const auto part = Take(sizeof(Number));
        return part.empty() ? Number{} : Decode<Number>(part.data(), false);
    }
    /** The same, big-endian. */
    template <class Number>
    Number ReadBig() {
        const auto part = Take(sizeof(Number));
        return part.empty() ? Number{} : Decode<Number>(part.data(), true);
    }

    /** Numbers side by side, little-endian, into `numbers`; false, and none of them read, past the end. */
    template <class Number>
    bool ReadRun(std::span<Number> numbers) {
        const auto part = Take(numbers.size_bytes());
        if (part.size() != numbers.size_bytes()) {
            return false;
        }
        if (numbers.empty()) {
            return true;
        }
        if constexpr (std::endian::native == std::endian::little) {
            std::memcpy(numbers.data(), part.data(), part.size());
        } else {
            for (std::size_t i = 0; i < numbers.size(); ++i) {
                numbers[i] = Decode<Number>(part.data() + i * sizeof(Number), false);
            }
        }
        return true;
    }

    /** A text field of `count` bytes, as it stands. */
    std::string_view ReadText(std::uint64_t count) {
        const auto part = Take(count);
        return {reinterpret_cast<const char*>(part.data()), part.size()};
    }
    /** A text field of `count` bytes, up to its first NUL. */
    std::string_view ReadTerminatedText(std::uint64_t count) {
        const std::string_view text = ReadText(count);
        return text.substr(0, text.find('\0'));
    }

private:
    template <class Number>
    static Number Decode(const std::uint8_t* from, bool bigEndian) {
        static_assert(std::is_arithmetic_v<Number>);
        std::uint8_t ordered[sizeof(Number)];
        const bool swap = bigEndian == (std::endian::native == std::endian::little);
        for (std::size_t i = 0; i < sizeof(Number); ++i) {
            ordered[i] = from[swap ? sizeof(Number) - 1 - i : i];
        }
        Number value;
        std::memcpy(&value, ordered, sizeof(Number));
        return value;
    }

    std::span<const std::uint8_t> bytes;
    std::size_t position = 0;
    bool failed = false;
};
