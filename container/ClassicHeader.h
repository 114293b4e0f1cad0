#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

// The header of a netCDF file of the classic formats: CDF-1, CDF-2 with 64-bit offsets, and CDF-5 with 64-bit
// counts and further types. The format: "The NetCDF Classic Format Specification", Unidata.

/** The types of values, by their codes in the file. */
enum class ClassicType : std::uint32_t {
    Byte = 1,
    Char = 2,
    Short = 3,
    Int = 4,
    Float = 5,
    Double = 6,
    UByte = 7,
    UShort = 8,
    UInt = 9,
    Int64 = 10,
    UInt64 = 11
};

/** Bytes of one value; 0 for a code that is none. */
std::uint64_t SizeOfType(ClassicType type);

// The views below are into the file's bytes, which must outlive them.

struct ClassicAttribute {
    std::string_view name;
    ClassicType type = ClassicType::Char;
    std::uint64_t count = 0;
    std::span<const std::uint8_t> values; /**< big-endian, without the padding */
};

struct ClassicDimension {
    std::string_view name;
    std::uint64_t length = 0; /**< of the record dimension the number of records */
    bool isRecord = false;
};

struct ClassicVariable {
    std::string_view name;
    std::vector<std::uint32_t> dimensions; /**< places in the header's list */
    std::vector<ClassicAttribute> attributes;
    ClassicType type = ClassicType::Char;
    std::uint64_t begin = 0;
    bool isRecord = false;
    std::uint64_t piece = 1; /**< values of one record, or of the whole variable */

    /** The lengths of its dimensions as far as the file has the values: a file that is cut has fewer. */
    std::vector<std::uint64_t> shape;
    bool isCut = false;
};

struct ClassicHeader {
    unsigned version = 0;
    std::uint64_t recordCount = 0;
    std::uint64_t recordSize = 0;
    std::vector<ClassicDimension> dimensions;
    std::vector<ClassicAttribute> attributes;
    std::vector<ClassicVariable> variables;
    /** Everything that the header announces is there, whole. */
    bool isBorneOut = false;
};

/**
 * Reads a header. Counts, names and lengths are believed only as far as the file's bytes can hold them, so
 * that what it takes is in proportion to the file; data beyond the file's end shorten their variable. Nothing
 * for a file of another format, or whose header is cut or contradicts itself; `brokenAt`, where given, then
 * says up to which byte it could be read.
 */
std::optional<ClassicHeader> ReadClassicHeader(std::span<const std::uint8_t> file,
                                               std::uint64_t* brokenAt = nullptr);

/**
 * Whether the bytes are a netCDF file of CDF-1 or CDF-2 that is borne out. The netCDF library believes what a
 * header says, and dies or spins on one that lies, so it is given no file that hasn't passed here.
 *
 * A file whose data are cut off doesn't pass, although the library would fill the gap with zeros. A
 * dimension that no variable uses can't be held against anything: its length is the reader's to doubt.
 */
bool IsSoundClassicFile(std::span<const std::uint8_t> file);
