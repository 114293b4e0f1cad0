#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteCursor.h"

// The directory of an OPUS file: a header of 24 bytes, then entries of 12 bytes that lead to parameter blocks
// of named values, data status blocks that tell the axis of a spectrum, and data blocks with its numbers. The
// layout follows what public readers of the format agree on.

/** An entry of the directory, with the fields of its type. */
struct OPUSBlock {
    std::uint32_t type = 0;
    unsigned int dataKind = 0;     /**< OPUSDataKind */
    unsigned int channelClass = 0; /**< OPUSChannel */
    unsigned int blockKind = 0;    /**< OPUSBlockKind */
    unsigned int spectrumKind = 0; /**< absorbance, interferogram ... */
    unsigned int derivative = 0;   /**< 1 first, 2 second, 3 higher */
    unsigned int extension = 0;    /**< OPUSExtension */
    std::int32_t length = 0;       /**< in units of 4 bytes */
    std::int32_t offset = 0;       /**< from the start of the file */
};

enum OPUSDataKind : unsigned int {
    OPUSNoData = 0,
    OPUSRealPart = 1,
    OPUSImaginaryPart = 2,
    OPUSAmplitude = 3
};
enum OPUSChannel : unsigned int { OPUSNoChannel = 0, OPUSSample = 1, OPUSReference = 2, OPUSRatioed = 3 };
enum OPUSBlockKind : unsigned int {
    OPUSData = 0,
    OPUSDataStatus = 1,
    OPUSInstrument = 2,
    OPUSSampleOrigin = 10,
    OPUSDirectoryBlock = 13
};

/** How a block's bytes lie that aren't plain values or parameters. */
enum OPUSExtension : unsigned int {
    OPUSPlain = 0,
    OPUSMoreParameters = 1,
    OPUSSeries = 2, /**< of data; a report otherwise */
    OPUSStructure = 3,
    OPUSCompact = 4,
    OPUSHistory = 5 /**< a report for a kind of spectrum */
};

/** What a whole header takes. */
constexpr std::size_t OPUSHeaderSize = 24;
/** How every OPUS file begins. */
constexpr std::string_view OPUSMagic = "\x0a\x0a\xfe\xfe";

/** All entries, as far as the file goes, however many it claims. The file has a whole header. */
std::vector<OPUSBlock> ReadOPUSDirectory(ByteCursor stream);

/** What the type of a data block says, for people: "absorbance", "sample interferogram". */
std::string NameOfOPUSSpectrum(const OPUSBlock& block);
