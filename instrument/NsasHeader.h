#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// A record of an NSAS DA file begins with a header of 80 bytes, whose integers are 16-bit signed,
// little-endian; 48 bytes of filler and the values in blocks of 128 bytes follow.

using NsasHeader = std::span<const std::uint8_t>;

namespace Nsas {

constexpr std::size_t HeaderSize = 80;
constexpr std::int64_t FillerSize = 48;
constexpr std::int64_t BlockSize = 128;
constexpr std::int64_t ValueSize = sizeof(float);

constexpr std::size_t InstrumentModelOffset = 0;
constexpr std::size_t SpectrumNumberOffset = 2;
constexpr std::size_t SampleNameOffset = 4;
constexpr std::size_t SampleNameSize = 10;
constexpr std::size_t NumPointsOffset = 14;
constexpr std::size_t StartWavelengthOffset = 16;
constexpr std::size_t EndWavelengthOffset = 18;
constexpr std::size_t NumConstituentsOffset = 30;

// The CN file: a record a spectrum, perhaps behind one with the constituents' names.
constexpr std::size_t NameRecordSize = 384;
constexpr std::size_t ConstituentNameSize = 10;
constexpr std::int64_t ValueRecordSize = 128;
constexpr int ValuesInRecord = 32;

/** What the values of so many points take in whole blocks. */
constexpr std::int64_t BlocksOf(std::int64_t numPoints) {
    return (ValueSize * numPoints + BlockSize - 1) / BlockSize * BlockSize;
}

int GetInt(NsasHeader header, std::size_t offset);
/** Up to the first NUL, without blanks and control characters at both ends. */
std::string GetText(NsasHeader header, std::size_t offset, std::size_t length);
/** The three fields of the date in the order of the classic table, which says nothing of their meaning. */
std::string GetDateText(NsasHeader header);
/** Hours, minutes and seconds can be ones. */
bool HasTime(NsasHeader header);

}  // namespace Nsas
