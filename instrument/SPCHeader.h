#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/ByteCursor.h"

/** A number of an SPC file, in the order of bytes that its version tells. */
template <class Number>
Number ReadSPCNumber(ByteCursor& stream, bool isBigEndian) {
    return isBigEndian ? stream.ReadBig<Number>() : stream.Read<Number>();
}

/** How the values of a sub-file lie in the file. */
struct SPCValueForm {
    bool is32Bit = false;     /**< 16-bit integers otherwise */
    bool isFloat = false;     /**< as they stand; only of 32 bits */
    bool isOldFormat = false; /**< the halves of a 32-bit integer are swapped */
    bool isBigEndian = false;
    int exponent = 0; /**< of two: integers are fractions of it */

    std::size_t GetWidth() const { return is32Bit ? sizeof(std::int32_t) : sizeof(std::int16_t); }
    /** What an integer is divided by. */
    double GetDivisor() const;
    /** The next value; `divisor` is GetDivisor, which a caller keeps for all values of a sub-file. */
    double Read(ByteCursor& stream, double divisor) const;
    /** Whether every value is a float's. */
    bool FitsFloat() const { return is32Bit ? isFloat : exponent > -100 && exponent < 100; }
};

/** The header of an SPC file, in either format. */
struct SPCHeader {
    static constexpr std::uint64_t NewSize = 512;
    /** With the first sub-file's header, which lies at its end. */
    static constexpr std::uint64_t OldSize = 256;
    static constexpr std::uint64_t SubHeaderSize = 32;
    static constexpr std::size_t NumAxes = 3;

    bool isOldFormat = false;
    bool isMulti = false;      /**< each sub-file has its own exponent and time */
    bool isOrdered = false;    /**< the Z values are in order but not evenly spaced */
    bool hasXYPairs = false;   /**< each sub-file has its own X values */
    bool hasXArray = false;    /**< X values for all sub-files stand behind the header */
    bool hasAxisText = false;  /**< texts in place of the units */
    bool hasPointCount = true; /**< an old header's is a number that may be none */
    SPCValueForm values;
    int technique = 0;
    int numPoints = 0; /**< of pairs in several sub-files: the place of their directory */
    double firstX = 0.0;
    double lastX = 0.0;
    double spacing = 0.0;
    int numSubFiles = 1;
    unsigned char xType = 0;
    unsigned char yType = 0;
    unsigned char zType = 0;
    unsigned char wType = 0;
    unsigned int date = 0; /**< packed: minute, hour, day, month, year from the lowest bit on */
    float zIncrement = 0.0F;
    int numWPlanes = 0;
    float wIncrement = 0.0F;
    int numScans = 0;
    std::uint64_t logPosition = 0; /**< 0: there is no log */
    std::string resolution;        /**< texts as they stand */
    std::string source;
    std::string memo;
    std::string method;
    std::string axisText; /**< the texts of X, Y and Z, each ended by a NUL */

    /** The text of an axis, X, Y or Z by 0, 1 or 2; empty where the file has none. */
    std::string_view GetAxisText(std::size_t axis) const;
};

/** The layout that the second byte of a file names. */
enum class SPCLayout { None, New, Old, BigEndian };

SPCLayout FindSPCLayout(ByteCursor& stream);

/** Reads the header at the stream's position, of a layout that isn't None; nothing where it is cut. */
std::optional<SPCHeader> ReadSPCHeader(ByteCursor& stream, SPCLayout layout);

/** What stands in front of a sub-file's values. */
struct SPCSubHeader {
    int exponent = 0;
    int index = 0;
    float time = 0.0F; /**< the Z value */
    float nextTime = 0.0F;
    int numPoints = 0; /**< of a sub-file with its own X values */
    int numScans = 0;
    float w = 0.0F;
};

/** Nothing where it is cut. */
std::optional<SPCSubHeader> ReadSPCSubHeader(ByteCursor& stream, bool isBigEndian = false);

/** The exponent that says: the values are floats. */
constexpr int SPCFloatExponent = -128;
