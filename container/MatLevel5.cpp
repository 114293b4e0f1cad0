#include "container/MatLevel5.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "base/Exception.h"
#include "container/MatNumber.h"
#include "frame/ReadSpreadSheetData.h"
#include "host/NvSystemInfo.h"

namespace {

// A tag: type and size, or both in the first word's halves with the content right behind it.
constexpr unsigned int SmallAlignment = 4;

// The array flags: two words, the second of which counts a sparse array's entries.
constexpr std::uint32_t ComplexFlag = 0x800;
constexpr std::uint32_t SparseMask = 0xf;
constexpr std::uint32_t MaxDimensions = 2;

// Values are taken from the stream in pieces that stay in the processor's cache.
constexpr std::size_t PieceSize = 1 << 18;

// Small integers go as int, larger ones as 64 bits, the rest as they are.
void SetNumber(ReadSpreadSheetData* sink, int column, int row, int value) {
    sink->Set(column, row, value);
}
void SetNumber(ReadSpreadSheetData* sink, int column, int row, std::uint32_t value) {
    sink->Set(column, row, std::int64_t{value});
}
void SetNumber(ReadSpreadSheetData* sink, int column, int row, std::int64_t value) {
    sink->Set(column, row, value);
}
void SetNumber(ReadSpreadSheetData* sink, int column, int row, std::uint64_t value) {
    if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        sink->Set(column, row, static_cast<double>(value));
    } else {
        sink->Set(column, row, static_cast<std::int64_t>(value));
    }
}
void SetNumber(ReadSpreadSheetData* sink, int column, int row, float value) {
    sink->Set(column, row, value);
}
void SetNumber(ReadSpreadSheetData* sink, int column, int row, double value) {
    sink->Set(column, row, value);
}

std::uint64_t CellsOf(const MatFile::msMatrix& matrix) {
    if (matrix.rows <= 0 || matrix.columns <= 0) {
        return 0;
    }
    return static_cast<std::uint64_t>(matrix.rows) * static_cast<std::uint64_t>(matrix.columns);
}

}  // namespace

bool Matlab5Reader::ReadUInt32(std::uint32_t& value) {
    std::uint8_t bytes[sizeof value];
    if (stream.Read(bytes, sizeof bytes) < sizeof bytes) {
        return false;
    }
    value = DecodeMatNumber<std::uint32_t>(bytes, swap);
    return true;
}

// The size of a small element is taken from the half that holds its type: a short name is then as long as
// its type's code, 1, and the alignment behind it still finds the next tag.
bool Matlab5Reader::ReadTag(MatTag& tag) {
    std::uint32_t word = 0;
    if (!ReadUInt32(word)) {
        return false;
    }
    if (word >> 16 != 0) {
        tag.type = word & 0xffff;
        tag.size = tag.type;
        tag.alignment = SmallAlignment;
        return true;
    }
    tag = MatTag();
    tag.type = word;
    return ReadUInt32(tag.size);
}

int Matlab5Reader::ReadFlags(MatFile::msMatrix& matrix) {
    MatTag tag;
    std::uint32_t flags = 0;
    std::uint32_t maxEntries = 0;
    if (!ReadTag(tag) || !ReadUInt32(flags) || !ReadUInt32(maxEntries)) {
        return MatFile::StatusCorrupt;
    }
    stream.Align(tag.alignment);
    if ((flags & ComplexFlag) != 0) {
        throw Exception("Can not handle imaginary data.");
    }
    matrix.sparse = (maxEntries & SparseMask) != 0;
    if (matrix.sparse && tag.size / sizeof(std::uint32_t) > MaxDimensions) {
        throw Exception("A sparse matrix can not have more than two dimensions.");
    }
    return 0;
}

// Two dimensions, whatever their number.
int Matlab5Reader::ReadDimensions(MatFile::msMatrix& matrix) {
    MatTag tag;
    std::uint32_t rows = 0;
    std::uint32_t columns = 0;
    if (!ReadTag(tag) || !ReadUInt32(rows) || !ReadUInt32(columns)) {
        return MatFile::StatusCorrupt;
    }
    stream.Align(tag.alignment);
    matrix.rows = static_cast<int>(rows);
    matrix.columns = static_cast<int>(columns);
    return 0;
}

int Matlab5Reader::ReadName(MatFile::msMatrix& matrix) {
    MatTag tag;
    if (!ReadTag(tag) || !stream.ReadAll(buffer, tag.size)) {
        return MatFile::StatusCorrupt;
    }
    const std::size_t length = std::min(buffer.size(), sizeof matrix.name - 1);
    std::copy_n(buffer.begin(), length, matrix.name);
    stream.Align(tag.alignment);
    return 0;
}

int Matlab5Reader::ReadArray(MatFile::msMatrix& matrix) {
    MatTag tag;
    if (!ReadTag(tag)) {
        return MatFile::StatusCorrupt;
    }
    if (tag.type != MatMatrix) {
        return MatFile::StatusNoMatFile;
    }
    matrix.elementType = static_cast<int>(tag.type);
    int failure = ReadFlags(matrix);
    failure = failure != 0 ? failure : ReadDimensions(matrix);
    failure = failure != 0 ? failure : ReadName(matrix);
    if (failure == 0 && !matrix.sparse) {
        failure = ReadTag(tag) ? 0 : MatFile::StatusCorrupt;
        matrix.dataType = static_cast<int>(tag.type);
        matrix.dataSize = tag.size;
    }
    matrix.dataPosition = stream.Tell();
    return failure;
}

// Column by column.
template <class Stored>
int Matlab5Reader::SetNumbers(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix) {
    std::uint64_t left = CellsOf(matrix);
    int column = 0;
    int row = 0;
    buffer.resize(PieceSize);
    while (left > 0) {
        const auto wanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(left, PieceSize / sizeof(Stored)));
        const std::size_t count = stream.Read(buffer.data(), wanted * sizeof(Stored)) / sizeof(Stored);
        for (std::size_t i = 0; i < count; ++i) {
            const auto value = DecodeMatNumber<Stored>(buffer.data() + i * sizeof(Stored), swap);
            SetNumber(sink, matrix.columnStart + column, matrix.rowStart + row, value);
            if (++row == matrix.rows) {
                row = 0;
                ++column;
            }
        }
        if (count < wanted) {
            return MatFile::StatusCorrupt;
        }
        left -= count;
    }
    return 0;
}

int Matlab5Reader::ReadCharacters(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix) {
    const std::uint64_t count = CellsOf(matrix);
    if (!stream.ReadAll(buffer, count * sizeof(std::uint16_t))) {
        return MatFile::StatusCorrupt;
    }
    std::vector<char> characters(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < characters.size(); ++i) {
        const auto unit = DecodeMatNumber<std::uint16_t>(buffer.data() + i * sizeof(std::uint16_t), swap);
        characters[i] = static_cast<char>(unit);
    }
    MatFile::SetNames(sink, matrix, characters);
    return 0;
}

int Matlab5Reader::ReadIndices(std::vector<std::int32_t>& indices) {
    MatTag tag;
    if (!ReadTag(tag) || !stream.ReadAll(buffer, tag.size / sizeof(std::int32_t) * sizeof(std::int32_t))) {
        return MatFile::StatusCorrupt;
    }
    indices.resize(buffer.size() / sizeof(std::int32_t));
    for (std::size_t i = 0; i < indices.size(); ++i) {
        indices[i] = DecodeMatNumber<std::int32_t>(buffer.data() + i * sizeof(std::int32_t), swap);
    }
    stream.Align(tag.alignment);
    return 0;
}

// Every entry must lie in the array, and a column's entries must follow those of the column before. The
// table may be far larger than the file's bytes: it is held to what a compressed part may grow to.
int Matlab5Reader::CheckIndices(const MatFile::msMatrix& matrix) const {
    if (CellsOf(matrix) > NvSystemInfo::GetInflateLimit() / sizeof(double)) {
        return MatFile::StatusCorrupt;
    }
    if (matrix.rows < 0 || matrix.columns < 0 ||
        columnStarts.size() <= static_cast<std::size_t>(matrix.columns)) {
        return MatFile::StatusCorrupt;
    }
    std::int32_t before = 0;
    for (int column = 0; column <= matrix.columns; ++column) {
        const std::int32_t start = columnStarts[static_cast<std::size_t>(column)];
        if (start < before || static_cast<std::size_t>(start) > rowIndices.size()) {
            return MatFile::StatusCorrupt;
        }
        before = start;
    }
    for (std::int32_t entry = columnStarts[0]; entry < before; ++entry) {
        const std::int32_t row = rowIndices[static_cast<std::size_t>(entry)];
        if (row < 0 || row >= matrix.rows) {
            return MatFile::StatusCorrupt;
        }
    }
    return 0;
}

template <class Stored, class Given>
int Matlab5Reader::SetEntries(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix) {
    const auto needed = static_cast<std::size_t>(columnStarts[static_cast<std::size_t>(matrix.columns)]);
    const bool whole = stream.ReadAll(buffer, needed * sizeof(Stored));
    const std::size_t count = buffer.size() / sizeof(Stored);
    for (int column = 0; column < matrix.columns; ++column) {
        const auto first = static_cast<std::size_t>(columnStarts[static_cast<std::size_t>(column)]);
        const auto last = static_cast<std::size_t>(columnStarts[static_cast<std::size_t>(column) + 1]);
        for (std::size_t entry = first; entry < std::min(last, count); ++entry) {
            const auto value = DecodeMatNumber<Stored>(buffer.data() + entry * sizeof(Stored), swap);
            sink->Set(column + 1, rowIndices[entry] + 1, static_cast<Given>(value));
        }
    }
    return whole ? 0 : MatFile::StatusCorrupt;
}

int Matlab5Reader::ReadSparse(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix) {
    sink->SetDataSize(matrix.columns, matrix.rows);
    int failure = ReadIndices(rowIndices);
    failure = failure != 0 ? failure : ReadIndices(columnStarts);
    failure = failure != 0 ? failure : CheckIndices(matrix);
    MatTag tag;
    if (failure != 0 || !ReadTag(tag)) {
        return failure != 0 ? failure : MatFile::StatusCorrupt;
    }
    if (tag.type == MatUInt16) {
        throw Exception("Text matrices can not be sparse.");
    }
    if (tag.type == MatDouble) {
        return SetEntries<double, double>(sink, matrix);
    }
    if (tag.type != MatUInt32 && tag.type != MatSingle) {
        return MatFile::StatusDataType;
    }
    for (int column = 1; column <= matrix.columns; ++column) {
        for (int row = 1; row <= matrix.rows; ++row) {
            sink->Set(column, row, 0);
        }
    }
    return tag.type == MatSingle ? SetEntries<float, float>(sink, matrix)
                                 : SetEntries<std::uint32_t, int>(sink, matrix);
}

int Matlab5Reader::ReadValues(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix) {
    if (matrix.sparse) {
        return ReadSparse(sink, matrix);
    }
    switch (matrix.dataType) {
        case MatInt8:
            return SetNumbers<std::int8_t>(sink, matrix);
        case MatUInt8:
            return SetNumbers<std::uint8_t>(sink, matrix);
        case MatInt16:
            return SetNumbers<std::int16_t>(sink, matrix);
        case MatUInt16:
            return SetNumbers<std::uint16_t>(sink, matrix);
        case MatInt32:
            return SetNumbers<std::int32_t>(sink, matrix);
        case MatUInt32:
            return SetNumbers<std::uint32_t>(sink, matrix);
        case MatSingle:
            return SetNumbers<float>(sink, matrix);
        case MatDouble:
            return SetNumbers<double>(sink, matrix);
        case MatInt64:
            return SetNumbers<std::int64_t>(sink, matrix);
        case MatUInt64:
            return SetNumbers<std::uint64_t>(sink, matrix);
        case MatUtf16:
            return ReadCharacters(sink, matrix);
        default:
            return MatFile::StatusDataType;
    }
}
