#pragma once

#include <cstdint>

#include "host/Export.h"

/** Reads BIFF workbooks. */
class KARTA_EXPORT ExcelFile {
public:
    // Little-endian fields of a buffer, which must hold the whole field.
    static std::int8_t I1Shuffle(const char* buffer, int offset);
    static std::int16_t I2Shuffle(const char* buffer, int offset);
    static std::uint16_t uI2Shuffle(const char* buffer, int offset);
    static std::int32_t I4Shuffle(const char* buffer, int offset);
    static double DShuffle(const char* buffer, int offset);

    /** The number in an RK field: a whole number of 30 bits or the upper half of a double, over 100 or not. */
    static double NumFromRk(int rk);
};
