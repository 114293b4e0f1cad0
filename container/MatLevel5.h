#pragma once

#include <cstdint>
#include <vector>

#include "container/MatElementStream.h"
#include "container/MatFile.h"

/** The tag before each data element of a level 5 MAT-file. */
struct MatTag {
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    unsigned int alignment = 8; /**< where the next tag stands, behind the content */
};

/** The types of data elements. */
enum MatDataType : std::uint32_t {
    MatInt8 = 1,
    MatUInt8 = 2,
    MatInt16 = 3,
    MatUInt16 = 4,
    MatInt32 = 5,
    MatUInt32 = 6,
    MatSingle = 7,
    MatDouble = 9,
    MatInt64 = 12,
    MatUInt64 = 13,
    MatMatrix = 14,
    MatCompressed = 15,
    MatUtf16 = 17
};

/**
 * Reads one array of a level 5 MAT-file from a stream, front to end: its description, then its values.
 * Every operation answers 0 or one of MatFile's statuses; an array of a kind that can't be read raises
 * Exception.
 */
class Matlab5Reader {
public:
    /** The stream stays the caller's; `swapped` where the file's byte order isn't little-endian. */
    Matlab5Reader(MatElementStream& source, bool swapped) : stream(source), swap(swapped) {}

    /** False at the end of the stream. */
    bool ReadTag(MatTag& tag);
    /** Everything before the array's values. */
    int ReadArray(MatFile::msMatrix& matrix);
    /** The values of the array just read, whatever its kind. */
    int ReadValues(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix);

private:
    bool ReadUInt32(std::uint32_t& value);
    int ReadFlags(MatFile::msMatrix& matrix);
    int ReadDimensions(MatFile::msMatrix& matrix);
    int ReadName(MatFile::msMatrix& matrix);
    template <class Stored>
    int SetNumbers(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix);
    int ReadCharacters(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix);
    int ReadSparse(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix);
    int ReadIndices(std::vector<std::int32_t>& indices);
    int CheckIndices(const MatFile::msMatrix& matrix) const;
    template <class Stored, class Given>
    int SetEntries(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix);

    MatElementStream& stream;
    bool swap;
    std::vector<std::uint8_t> buffer;
    // Of a sparse array: the row of each entry, and where each column's entries begin.
    std::vector<std::int32_t> rowIndices;
    std::vector<std::int32_t> columnStarts;
};
