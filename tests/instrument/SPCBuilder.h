#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/ByteBuilder.h"

/** The bits of the type flags of an SPC file. */
enum SPCFlags : unsigned int {
    SPCInt16 = 0x01,
    SPCMulti = 0x04,
    SPCOrdered = 0x10,
    SPCAxisText = 0x20,
    SPCXYPairs = 0x40,
    SPCXArray = 0x80
};

/** A packed date as the new header holds it. */
inline std::uint32_t SPCDate(unsigned year, unsigned month, unsigned day, unsigned hour, unsigned minute) {
    return year << 20 | month << 16 | day << 11 | hour << 6 | minute;
}

/** One sub-file: its header and its values as they lie in the file. */
struct SPCSubFile {
    std::string values;
    int exponent = 0;
    int index = 0;
    float time = 0.0F;
    float nextTime = 0.0F;
    int numPoints = 0; /**< of a sub-file with X values of its own, which stand before the others */
    float w = 0.0F;
};

template <class Number>
std::string SPCValues(const std::vector<Number>& values) {
    ByteBuilder bytes;
    for (const Number value : values) {
        bytes.Put(value);
    }
    return bytes.Bytes();
}

/** A file in the new format; three points at 1, 2 and 3 unless told otherwise. */
struct SPCBuilder {
    unsigned int flags = 0;
    char version = 'K';
    int exponent = -128;
    std::int32_t numPoints = 3;
    double firstX = 1.0;
    double lastX = 3.0;
    std::int32_t numSubFiles = 1;
    unsigned int xType = 1;
    unsigned int yType = 2;
    std::uint32_t date = 0;
    std::string axisText;
    float zIncrement = 0.0F;
    std::vector<float> xArray;
    std::vector<SPCSubFile> subFiles = {{SPCValues<float>({0.125F, 0.5F, -0.75F})}};

    std::string Build() const {
        ByteBuilder file;
        file.U8(flags).U8(static_cast<unsigned char>(version)).U8(0).Put(static_cast<std::int8_t>(exponent));
        file.I32(numPoints).Double(firstX).Double(lastX).I32(numSubFiles);
        file.U8(xType).U8(yType).U8(0).U8(0).U32(date);
        file.PadTo(218).Field(axisText, 30);
        file.PadTo(312).Float(zIncrement);
        file.PadTo(512);
        for (const float x : xArray) {
            file.Float(x);
        }
        for (const SPCSubFile& subFile : subFiles) {
            const std::size_t start = file.Size();
            file.U8(0).Put(static_cast<std::int8_t>(subFile.exponent)).I16(subFile.index);
            file.Float(subFile.time).Float(subFile.nextTime).Float(0.0F).I32(subFile.numPoints).I32(0);
            file.Float(subFile.w).PadTo(start + 32);
            file.Text(subFile.values);
        }
        return file.Bytes();
    }
};

/** A file in the old format. */
struct OldSPCBuilder {
    unsigned int flags = 0;
    int exponent = -128;
    float numPoints = 3.0F;
    float firstX = 1.0F;
    float lastX = 3.0F;
    std::string values = SPCValues<float>({0.125F, 0.5F, -0.75F});

    std::string Build() const {
        ByteBuilder file;
        file.U8(flags).U8('M').I16(exponent).Float(numPoints).Float(firstX).Float(lastX);
        file.PadTo(256).Text(values);
        return file.Bytes();
    }
};
