#include "spreadsheet/ExcelFile.h"

#include <bit>

namespace {

std::uint32_t ByteAt(const char* buffer, int offset) {
    return static_cast<std::uint8_t>(buffer[offset]);
}

}  // namespace

std::int8_t ExcelFile::I1Shuffle(const char* buffer, int offset) {
    return static_cast<std::int8_t>(buffer[offset]);
}

std::int16_t ExcelFile::I2Shuffle(const char* buffer, int offset) {
    return static_cast<std::int16_t>(uI2Shuffle(buffer, offset));
}

std::uint16_t ExcelFile::uI2Shuffle(const char* buffer, int offset) {
    return static_cast<std::uint16_t>(ByteAt(buffer, offset) | ByteAt(buffer, offset + 1) << 8);
}

std::int32_t ExcelFile::I4Shuffle(const char* buffer, int offset) {
    return static_cast<std::int32_t>(ByteAt(buffer, offset) | ByteAt(buffer, offset + 1) << 8 |
                                     ByteAt(buffer, offset + 2) << 16 | ByteAt(buffer, offset + 3) << 24);
}

double ExcelFile::DShuffle(const char* buffer, int offset) {
    const std::uint64_t low = static_cast<std::uint32_t>(I4Shuffle(buffer, offset));
    const std::uint64_t high = static_cast<std::uint32_t>(I4Shuffle(buffer, offset + 4));
    return std::bit_cast<double>(high << 32 | low);
}

double ExcelFile::NumFromRk(int rk) {
    const bool isInteger = (rk & 2) != 0;
    const bool isHundredfold = (rk & 1) != 0;
    const auto high = static_cast<std::uint64_t>(static_cast<std::uint32_t>(rk) & 0xFFFFFFFCU);
    const double value = isInteger ? static_cast<double>(rk >> 2) : std::bit_cast<double>(high << 32);
    return isHundredfold ? value / 100.0 : value;
}
