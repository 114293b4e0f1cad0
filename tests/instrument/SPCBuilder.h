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
    int numScans = 0;
};

template <class Number>
std::string SPCValues(const std::vector<Number>& values, bool isBig = false) {
    ByteBuilder bytes;
    for (const Number value : values) {
        isBig ? bytes.PutBig(value) : bytes.Put(value);
    }
    return bytes.Bytes();
}

/** A file in the new format; three points at 1, 2 and 3 unless told otherwise. */
struct SPCBuilder {
    unsigned int flags = 0;
    char version = 'K'; /**< 'L': with big-endian numbers */
    int exponent = -128;
    std::int32_t numPoints = 3;
    double firstX = 1.0;
    double lastX = 3.0;
    std::int32_t numSubFiles = 1;
    unsigned int xType = 1;
    unsigned int yType = 2;
    std::uint32_t date = 0;
    std::string resolution;
    std::string memo;
    std::string axisText;
    float zIncrement = 0.0F;
    std::vector<float> xArray;
    std::vector<SPCSubFile> subFiles = {{SPCValues<float>({0.125F, 0.5F, -0.75F})}};
    std::string log; /**< its text; none where it is empty */
    std::string logBytes;

    std::string Build() const {
        ByteBuilder file;
        const auto put = [&](auto number) { version == 'L' ? file.PutBig(number) : file.Put(number); };
        file.U8(flags).U8(static_cast<unsigned char>(version)).U8(0).Put(static_cast<std::int8_t>(exponent));
        put(numPoints);
        put(firstX);
        put(lastX);
        put(numSubFiles);
        file.U8(xType).U8(yType).U8(0).U8(0);
        put(date);
        file.Field(resolution, 9).PadTo(88).Field(memo, 130).PadTo(218).Field(axisText, 30);
        put(log.empty() ? std::uint32_t{0} : LogPosition());
        file.PadTo(312);
        put(zIncrement);
        file.PadTo(512);
        for (const float x : xArray) {
            put(x);
        }
        for (const SPCSubFile& subFile : subFiles) {
            const std::size_t start = file.Size();
            file.U8(0).Put(static_cast<std::int8_t>(subFile.exponent));
            put(static_cast<std::int16_t>(subFile.index));
            put(subFile.time);
            put(subFile.nextTime);
            put(0.0F);
            put(std::int32_t{subFile.numPoints});
            put(std::int32_t{subFile.numScans});
            put(subFile.w);
            file.PadTo(start + 32).Text(subFile.values);
        }
        if (!log.empty()) {
            const auto textOffset = static_cast<std::uint32_t>(64 + logBytes.size());
            put(static_cast<std::uint32_t>(textOffset + log.size()));
            put(std::uint32_t{4096});
            put(textOffset);
            put(static_cast<std::uint32_t>(logBytes.size()));
            file.PadTo(LogPosition() + 64).Text(logBytes).Text(log);
        }
        return file.Bytes();
    }

private:
    std::uint32_t LogPosition() const {
        std::size_t position = 512 + xArray.size() * sizeof(float);
        for (const SPCSubFile& subFile : subFiles) {
            position += 32 + subFile.values.size();
        }
        return static_cast<std::uint32_t>(position);
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
