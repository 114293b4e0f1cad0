#include "container/MatLevel4.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "container/MatFile.h"
#include "container/MatNumber.h"
#include "host/NvSystemInfo.h"

namespace {

constexpr std::size_t MaxMatrices = 20;

// The header: five 32-bit integers.
constexpr std::size_t HeaderSize = 20;
constexpr std::size_t TypeOffset = 0;
constexpr std::size_t RowsOffset = 4;
constexpr std::size_t ColumnsOffset = 8;
constexpr std::size_t ImaginaryOffset = 12;
constexpr std::size_t NameLengthOffset = 16;

// The type's decimal digits MOPT.
constexpr int MaxType = 52;
constexpr int BigEndianType = 1000;
constexpr int MaxPrecision = 5;
constexpr int MaxMatrixType = 2;

// Longer names are cut by the classic rules.
constexpr std::size_t NameSize = 63;

// A sparse matrix: row, column, value and perhaps an imaginary value; its last row is its size.
constexpr int MinSparseColumns = 3;
constexpr int ComplexSparseColumns = 4;

// The width of an element on the way past a matrix by the classic rules, by P: a single-precision one is
// counted twice as long as it is.
constexpr std::size_t SkippedWidth[] = {8, 8, 4, 2, 2, 1};
// The width of an element as it is read, by P.
constexpr std::size_t ElementWidth[] = {8, 4, 4, 2, 2, 1};

constexpr std::uint64_t MaxPosition = std::numeric_limits<std::int64_t>::max();

// 0, no row or column, for what is no index.
int IndexOf(double value) {
    return value >= 1 && value <= std::numeric_limits<int>::max() ? static_cast<int>(value) : 0;
}

// A character was stored as a number; one that is none ends its text.
char CharacterOf(double value) {
    constexpr double Limit = std::numeric_limits<int>::max();
    return value > -Limit && value < Limit ? static_cast<char>(static_cast<int>(value)) : '\0';
}

bool HasRoom(ReadSpreadSheetData* sink, const MatPlace& place, int rows, int columns) {
    const std::int64_t roomRows = std::int64_t{sink->GetNumberOfRows()} - place.rowOffset;
    const std::int64_t roomColumns = std::int64_t{sink->GetNumberOfColumns()} - place.columnOffset;
    return place.horizontal ? roomRows >= columns && roomColumns >= rows
                            : roomRows >= rows && roomColumns >= columns;
}

}  // namespace

bool Matlab4Reader::IsNaNOrInf(double value) {
    constexpr std::uint64_t Patterns[] = {0xFFF8000000000000, 0x7FF0000000000000, 0xFFF0000000000000,
                                          0xFFFF000000070002};
    const auto bits = std::bit_cast<std::uint64_t>(value);
    return std::find(std::begin(Patterns), std::end(Patterns), bits) != std::end(Patterns);
}

std::int32_t Matlab4Reader::IntAt(std::span<const std::uint8_t> record, std::size_t offset) const {
    return DecodeMatNumber<std::int32_t>(record.data() + offset, swap == 1);
}

// The first matrix's type tells the byte order of the file; as written, each tells its own.
int Matlab4Reader::SplitType(std::span<const std::uint8_t> record, MatHeader& header) {
    const auto inRange = [](std::int64_t type) { return type >= 0 && type <= MaxType; };
    const bool first = swap < 0;
    if (first || rules == Rules::AsWritten) {
        swap = inRange(IntAt(record, TypeOffset)) ? 0 : 1;
    }
    const std::int64_t type = std::int64_t{IntAt(record, TypeOffset)} - (swap == 1 ? BigEndianType : 0);
    if (!inRange(type)) {
        return first ? MatFile::StatusNoMatFile : MatFile::StatusMatrixHeader;
    }
    header.swapped = swap == 1;
    header.precision = static_cast<int>(type / 10 % 10);
    header.type = static_cast<int>(type % 10);
    return header.precision <= MaxPrecision && header.type <= MaxMatrixType ? 0 : MatFile::StatusMatrixHeader;
}

// One header with its name; `position` is behind the record and then behind the matrix's data.
int Matlab4Reader::ReadHeader(std::span<const std::uint8_t> record, std::uint64_t& position) {
    MatHeader header;
    if (const int failure = SplitType(record, header)) {
        return failure;
    }
    header.rows = IntAt(record, RowsOffset);
    header.columns = IntAt(record, ColumnsOffset);
    header.complex = IntAt(record, ImaginaryOffset) != 0;
    header.nameLength = IntAt(record, NameLengthOffset);
    if (header.nameLength < 0 || static_cast<std::uint64_t>(header.nameLength) > bytes.size() - position) {
        return MatFile::StatusMatrixHeader;
    }
    const auto length = static_cast<std::size_t>(header.nameLength);
    header.name.assign(reinterpret_cast<const char*>(bytes.data()) + position,
                       rules == Rules::Classic ? std::min(length, NameSize) : length);
    header.name.resize(std::min(header.name.find('\0'), header.name.size()));
    position += length;
    header.dataOffset = position;
    if (header.rows < 0 || header.columns < 0) {
        return MatFile::StatusMatrix;
    }
    std::uint64_t width =
        rules == Rules::Classic ? SkippedWidth[header.precision] : ElementWidth[header.precision];
    if (header.type == MatHeader::Sparse) {
        header.complex = header.complex || header.columns == ComplexSparseColumns;
    } else {
        width *= header.complex ? 2 : 1;
    }
    const std::uint64_t elements =
        static_cast<std::uint64_t>(header.rows) * static_cast<std::uint64_t>(header.columns);
    if (elements > (MaxPosition - position) / width) {
        return MatFile::StatusMatrix;
    }
    position += elements * width;
    header.dataEnd = position;
    header.cut = position > bytes.size();
    headers.push_back(std::move(header));
    return 0;
}

int Matlab4Reader::Index() {
    std::uint64_t position = 0;
    // Data may run past the end of the file: a matrix that is cut is read as far as it goes.
    while (position < bytes.size()) {
        lastPosition = position;
        if (bytes.size() - position < HeaderSize) {
            return MatFile::StatusMatrixHeader;
        }
        if (headers.size() == MaxMatrices && rules == Rules::Classic) {
            break;
        }
        const auto record = bytes.subspan(static_cast<std::size_t>(position), HeaderSize);
        position += HeaderSize;
        if (const int failure = ReadHeader(record, position)) {
            return failure;
        }
    }
    return 0;
}

// How many elements of a width the file holds from an offset on.
std::uint64_t Matlab4Reader::ElementsFrom(std::uint64_t offset, std::size_t width) const {
    return offset < bytes.size() ? (bytes.size() - offset) / width : 0;
}

// An element by its place in the matrix's data.
bool Matlab4Reader::ReadMatlabElement(const MatHeader& header, std::uint64_t index, double& value) const {
    value = 0;
    const std::size_t width = ElementWidth[header.precision];
    if (index >= ElementsFrom(header.dataOffset, width)) {
        return false;
    }
    const std::uint8_t* from = bytes.data() + header.dataOffset + index * width;
    const bool swapped = swap == 1;
    switch (header.precision) {
        case 0:
            value = DecodeMatNumber<double>(from, swapped);
            break;
        case 1:
            value = static_cast<double>(DecodeMatNumber<float>(from, swapped));
            break;
        case 2:
            value = DecodeMatNumber<std::int32_t>(from, swapped);
            break;
        case 3:
            value = DecodeMatNumber<std::int16_t>(from, swapped);
            break;
        case 4:
            value = DecodeMatNumber<std::uint16_t>(from, swapped);
            break;
        default:
            value = *from;
            break;
    }
    return true;
}

// A sparse matrix may make a table far larger than its bytes: it is held to what a compressed part may
// grow to.
bool Matlab4Reader::GetSize(const MatHeader& header, int& rows, int& columns) const {
    rows = header.rows;
    columns = header.type == MatHeader::Text ? 1 : header.columns;
    if (header.type != MatHeader::Sparse) {
        return true;
    }
    const auto entries = static_cast<std::uint64_t>(header.rows);
    double sizes[2];
    if (header.rows < 1 || !ReadMatlabElement(header, entries - 1, sizes[0]) ||
        !ReadMatlabElement(header, 2 * entries - 1, sizes[1])) {
        return false;
    }
    for (const double size : sizes) {
        if (!(size > -1 && size <= std::numeric_limits<int>::max())) {
            return false;
        }
    }
    rows = static_cast<int>(sizes[0]);
    columns = static_cast<int>(sizes[1]);
    const auto cells = static_cast<unsigned long long>(rows) * static_cast<unsigned long long>(columns);
    return cells <= NvSystemInfo::GetInflateLimit() / sizeof(double);
}

template <class Stored>
int Matlab4Reader::SetElements(ReadSpreadSheetData* sink, const MatHeader& header,
                               const MatPlace& place) const {
    std::uint64_t available = ElementsFrom(header.dataOffset, sizeof(Stored));
    const std::uint8_t* from = bytes.data() + std::min<std::uint64_t>(header.dataOffset, bytes.size());
    for (int j = 0; j < header.columns && header.rows > 0; ++j) {
        for (int i = 0; i < header.rows; ++i) {
            if (available == 0) {
                return MatFile::StatusCorrupt;
            }
            const auto value = static_cast<double>(DecodeMatNumber<Stored>(from, swap == 1));
            from += sizeof(Stored);
            --available;
            const int column = place.columnOffset + 1 + (place.horizontal ? i : j);
            const int row = place.rowOffset + 1 + (place.horizontal ? j : i);
            if (IsNaNOrInf(value)) {
                sink->Set(column, row, "");
            } else {
                sink->Set(column, row, value);
            }
        }
    }
    return 0;
}

int Matlab4Reader::ReadFull(ReadSpreadSheetData* sink, const MatHeader& header, const MatPlace& place) const {
    if (!HasRoom(sink, place, header.rows, header.columns)) {
        return MatFile::StatusMatrix;
    }
    switch (header.precision) {
        case 0:
            return SetElements<double>(sink, header, place);
        case 1:
            return SetElements<float>(sink, header, place);
        case 2:
            return SetElements<std::int32_t>(sink, header, place);
        case 3:
            return SetElements<std::int16_t>(sink, header, place);
        case 4:
            return SetElements<std::uint16_t>(sink, header, place);
        default:
            return SetElements<std::uint8_t>(sink, header, place);
    }
}

// A string a row, a character an element, always as doubles. Nothing is set unless all are there.
int Matlab4Reader::ReadText(ReadSpreadSheetData* sink, const MatHeader& header, const MatPlace& place) const {
    if (!HasRoom(sink, place, header.rows, 1)) {
        return MatFile::StatusMatrix;
    }
    const auto rows = static_cast<std::uint64_t>(header.rows);
    const auto columns = static_cast<std::uint64_t>(header.columns);
    // Empty strings take no bytes, so that their count is held against the file as it is.
    if (rows * columns > ElementsFrom(header.dataOffset, sizeof(double)) || rows > bytes.size()) {
        return MatFile::StatusCorrupt;
    }
    std::string text;
    for (std::uint64_t i = 0; i < rows; ++i) {
        text.clear();
        for (std::uint64_t j = 0; j < columns; ++j) {
            const std::uint8_t* from = bytes.data() + header.dataOffset + (j * rows + i) * sizeof(double);
            text += CharacterOf(DecodeMatNumber<double>(from, swap == 1));
        }
        const int along = static_cast<int>(i) + 1;
        const int column = place.columnOffset + (place.horizontal ? along : 1);
        const int row = place.rowOffset + (place.horizontal ? 1 : along);
        sink->Set(column, row, text.c_str());
    }
    return 0;
}

int Matlab4Reader::ReadSparse(ReadSpreadSheetData* sink, const MatHeader& header,
                              const MatPlace& place) const {
    int rows = 0;
    int columns = 0;
    const auto stored = static_cast<std::uint64_t>(header.rows);
    if (header.columns < MinSparseColumns || !GetSize(header, rows, columns) ||
        2 * stored > ElementsFrom(header.dataOffset, ElementWidth[header.precision])) {
        return MatFile::StatusMatrix;
    }
    const auto columnOf = [&](int row, int column) {
        return place.columnOffset + (place.horizontal ? row : column);
    };
    const auto rowOf = [&](int row, int column) {
        return place.rowOffset + (place.horizontal ? column : row);
    };
    for (int column = 1; column <= columns; ++column) {
        for (int row = 1; row <= rows; ++row) {
            sink->Set(columnOf(row, column), rowOf(row, column), 0.0F);
        }
    }
    for (std::uint64_t entry = 0; entry + 1 < stored; ++entry) {
        double position[2];
        double value = 0;
        ReadMatlabElement(header, entry, position[0]);
        ReadMatlabElement(header, stored + entry, position[1]);
        if (!ReadMatlabElement(header, 2 * stored + entry, value)) {
            return MatFile::StatusCorrupt;
        }
        const int row = IndexOf(position[0]);
        const int column = IndexOf(position[1]);
        if (row < 1 || row > rows || column < 1 || column > columns) {
            continue;
        }
        if (IsNaNOrInf(value)) {
            sink->Set(columnOf(row, column), rowOf(row, column), "");
        } else {
            sink->Set(columnOf(row, column), rowOf(row, column), value);
        }
    }
    return 0;
}

int Matlab4Reader::ReadMatrix(ReadSpreadSheetData* sink, const MatHeader& header,
                              const MatPlace& place) const {
    switch (header.type) {
        case MatHeader::Text:
            return ReadText(sink, header, place);
        case MatHeader::Sparse:
            return ReadSparse(sink, header, place);
        default:
            return ReadFull(sink, header, place);
    }
}
