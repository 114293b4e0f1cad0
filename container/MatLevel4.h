#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

class ReadSpreadSheetData;

/** One matrix of a level 4 MAT-file. */
struct MatHeader {
    enum Type { Numeric = 0, Text = 1, Sparse = 2 };

    int precision = 0; /**< P: 0 double, 1 float, 2 int32, 3 int16, 4 uint16, 5 byte */
    int type = Numeric;
    int rows = 0;
    int columns = 0;
    int nameLength = 0; /**< in the file, its NUL included */
    bool complex = false;
    bool swapped = false; /**< its numbers are big-endian */
    bool cut = false;     /**< its data runs past the end of the file */
    std::uint64_t dataOffset = 0;
    std::uint64_t dataEnd = 0;
    std::string name;
};

/** Where a matrix goes in the table. */
struct MatPlace {
    int columnOffset = 0;
    int rowOffset = 0;
    bool horizontal = false; /**< the matrix's rows become the table's columns */
};

/**
 * Reads level 4 MAT-files: matrices one behind the other, each a header of five 32-bit integers, a name
 * and the elements column by column. Knows nothing of tables beyond the sink.
 *
 * Every operation answers 0 or one of MatFile's statuses.
 */
class Matlab4Reader {
public:
    enum class Rules {
        /** Up to 20 matrices of one byte order; a single-precision one is passed over at 8 bytes an element.
         */
        Classic,
        AsWritten
    };

    /** The bytes of the whole file stay the caller's and must outlive the reader. */
    explicit Matlab4Reader(std::span<const std::uint8_t> file, Rules decodingRules = Rules::Classic)
        : bytes(file), rules(decodingRules) {}

    /** Reads all headers, seeking past the data. What came before a failure stays. */
    int Index();
    const std::vector<MatHeader>& Headers() const { return headers; }
    /** Where the header that ended Index stands. */
    std::uint64_t GetPosition() const { return lastPosition; }

    /** The size of the table that a matrix makes. False for a sparse one whose size can't be believed. */
    bool GetSize(const MatHeader& header, int& rows, int& columns) const;

    /** Reads a matrix by its type. What the sink has no room for is 0x404. */
    int ReadMatrix(ReadSpreadSheetData* sink, const MatHeader& header, const MatPlace& place) const;
    int ReadFull(ReadSpreadSheetData* sink, const MatHeader& header, const MatPlace& place) const;
    int ReadText(ReadSpreadSheetData* sink, const MatHeader& header, const MatPlace& place) const;
    int ReadSparse(ReadSpreadSheetData* sink, const MatHeader& header, const MatPlace& place) const;

    /** Exactly the four bit patterns that MATLAB wrote for these; other NaN are numbers here. */
    static bool IsNaNOrInf(double value);

private:
    int SplitType(std::span<const std::uint8_t> record, MatHeader& header);
    int ReadHeader(std::span<const std::uint8_t> record, std::uint64_t& position);
    template <class Stored>
    int SetElements(ReadSpreadSheetData* sink, const MatHeader& header, const MatPlace& place) const;
    bool ReadMatlabElement(const MatHeader& header, std::uint64_t index, double& value) const;
    std::uint64_t ElementsFrom(std::uint64_t offset, std::size_t width) const;
    std::int32_t IntAt(std::span<const std::uint8_t> record, std::size_t offset) const;

    std::span<const std::uint8_t> bytes;
    Rules rules;
    int swap = -1;  // not known, native, big-endian
    std::uint64_t lastPosition = 0;
    std::vector<MatHeader> headers;
};
