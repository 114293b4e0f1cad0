#include "container/MatNumbers.h"

#include <algorithm>
#include <limits>
#include <type_traits>

#include "container/MatNumber.h"

namespace {

// Bytes taken from the stream at a time: they stay in the processor's cache.
constexpr std::size_t PieceSize = 1 << 16;

template <class Number>
constexpr std::uint32_t TypeOf = 0;
template <>
constexpr std::uint32_t TypeOf<float> = MatSingle;
template <>
constexpr std::uint32_t TypeOf<double> = MatDouble;
template <>
constexpr std::uint32_t TypeOf<std::int64_t> = MatInt64;
template <>
constexpr std::uint32_t TypeOf<std::uint64_t> = MatUInt64;

// A whole number from what is stored as another kind, held to its range.
template <class Target, class Stored>
Target As(Stored value) {
    if constexpr (std::is_floating_point_v<Stored> && std::is_integral_v<Target>) {
        constexpr double Limit = 9.2e18;
        return value > -Limit && value < Limit ? static_cast<Target>(static_cast<std::int64_t>(value)) : 0;
    } else {
        return static_cast<Target>(value);
    }
}

}  // namespace

template <class Number>
std::span<const std::uint8_t> MatNumbers::TakeBytes(std::size_t numberCount, std::size_t alignment) {
    constexpr std::size_t Most = std::numeric_limits<std::size_t>::max() / sizeof(Number);
    if (swap || type != TypeOf<Number> || numberCount > Most) {
        return {};
    }
    return stream->Take(numberCount * sizeof(Number), alignment);
}

template <class Number>
std::span<const Number> MatNumbers::Take(std::size_t numberCount) {
    const std::span<const std::uint8_t> bytes = TakeBytes<Number>(numberCount, alignof(Number));
    return {reinterpret_cast<const Number*>(bytes.data()), bytes.size() / sizeof(Number)};
}

template std::span<const double> MatNumbers::Take(std::size_t);
template std::span<const std::uint8_t> MatNumbers::TakeBytes<double>(std::size_t, std::size_t);
template std::span<const float> MatNumbers::Take(std::size_t);
template std::span<const std::uint8_t> MatNumbers::TakeBytes<float>(std::size_t, std::size_t);
template std::span<const std::int64_t> MatNumbers::Take(std::size_t);
template std::span<const std::uint8_t> MatNumbers::TakeBytes<std::int64_t>(std::size_t, std::size_t);
template std::span<const std::uint64_t> MatNumbers::Take(std::size_t);
template std::span<const std::uint8_t> MatNumbers::TakeBytes<std::uint64_t>(std::size_t, std::size_t);

template <class Stored, class Target>
bool MatNumbers::Convert(std::span<Target> target) {
    if constexpr (std::is_same_v<Stored, Target>) {
        if (!swap) {
            const std::size_t bytes = target.size() * sizeof(Target);
            return stream->Read(reinterpret_cast<std::uint8_t*>(target.data()), bytes) == bytes;
        }
    }
    while (!target.empty()) {
        const std::size_t wanted = std::min(target.size(), PieceSize / sizeof(Stored));
        piece.resize(wanted * sizeof(Stored));
        if (stream->Read(piece.data(), piece.size()) < piece.size()) {
            return false;
        }
        for (std::size_t i = 0; i < wanted; ++i) {
            target[i] = As<Target>(DecodeMatNumber<Stored>(piece.data() + i * sizeof(Stored), swap));
        }
        target = target.subspan(wanted);
    }
    return true;
}

template <class Target>
bool MatNumbers::ReadAs(std::span<Target> target) {
    switch (type) {
        case MatInt8:
            return Convert<std::int8_t>(target);
        case MatUInt8:
        case MatUtf8:
            return Convert<std::uint8_t>(target);
        case MatInt16:
            return Convert<std::int16_t>(target);
        case MatUInt16:
        case MatUtf16:
            return Convert<std::uint16_t>(target);
        case MatInt32:
            return Convert<std::int32_t>(target);
        case MatUInt32:
        case MatUtf32:
            return Convert<std::uint32_t>(target);
        case MatSingle:
            return Convert<float>(target);
        case MatDouble:
            return Convert<double>(target);
        case MatInt64:
            return Convert<std::int64_t>(target);
        case MatUInt64:
            return Convert<std::uint64_t>(target);
        default:
            return false;
    }
}

bool MatNumbers::Read(std::span<double> target) {
    return ReadAs(target);
}

bool MatNumbers::Read(std::span<float> target) {
    return ReadAs(target);
}

bool MatNumbers::Read(std::span<std::int64_t> target) {
    return ReadAs(target);
}

bool MatNumbers::Read(std::span<std::uint64_t> target) {
    return ReadAs(target);
}
