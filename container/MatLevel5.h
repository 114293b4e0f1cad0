#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "container/MatArray.h"
#include "container/MatElementStream.h"

/** The tag before each data element of a level 5 MAT-file. */
struct MatTag {
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    unsigned int alignment = 8; /**< where the next tag stands, behind the content */
};

/** The array flags: the class in the low byte of the first word, beside it what the array is. */
struct MatFlags {
    static constexpr std::uint32_t Complex = 0x800;
    static constexpr std::uint32_t Logical = 0x200;

    std::uint32_t tagSize = 0;
    std::uint32_t flags = 0;
    std::uint32_t maxEntries = 0;
};

/**
 * Reads what stands before the values of a level 5 MAT-file's arrays, from a stream, front to end: tags,
 * flags, dimensions, names. Both readings decode by it. Every operation is false at the end of the stream or
 * where what it reads contradicts itself.
 */
class Matlab5Reader {
public:
    enum class Rules {
        /** The size of a small element is its type's code, and there are two dimensions. */
        Classic,
        AsWritten
    };

    /** The stream stays the caller's; `swapped` where the file's byte order isn't little-endian. */
    Matlab5Reader(MatElementStream& source, bool swapped, Rules decodingRules)
        : stream(source), swap(swapped), rules(decodingRules) {}

    bool ReadTag(MatTag& tag);
    bool ReadFlags(MatFlags& flags);
    bool ReadDimensions(std::vector<std::uint64_t>& dimensions);
    bool ReadName(std::string& name);
    /** Numbers of 32 bits with their tag: indices, and the length of a field's name. */
    bool ReadIntegers(std::vector<std::int32_t>& integers);

    /**
     * By the rules as written: what an array is, up to its values. Its class may be one that can't be read:
     * then its problem is told.
     */
    bool ReadHead(MatArray& array);

private:
    bool ReadUInt32(std::uint32_t& value);
    bool ReadFields(MatArray& array);

    MatElementStream& stream;
    bool swap;
    Rules rules;
    std::vector<std::uint8_t> buffer;
};
