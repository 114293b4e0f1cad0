#include "container/Mat5Content.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "base/Exception.h"
#include "container/MatNumber.h"
#include "frame/ReadSpreadSheetData.h"
#include "host/NvSystemInfo.h"

namespace {

// The header: text, subsystem offset, version, endian indicator.
constexpr std::size_t HeaderSize = 128;
constexpr std::size_t EndianIndicatorOffset = 126;
constexpr std::string_view NativeIndicator = "IM";

constexpr std::size_t TagSize = 8;

// A compressed element is inflated to at most this many times its size.
constexpr std::uint64_t InflateFactor = 32;

// Bits of the count of a sparse array's entries that tell it from a full one.
constexpr std::uint32_t SparseMask = 0xf;
constexpr std::uint32_t MaxSparseDimensions = 2;

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

// The tag of the first element, which must be an array, plain or compressed.
int Mat5Content::Open() {
    if (bytes.size() < HeaderSize) {
        return MatFile::StatusCorrupt;
    }
    swap = std::memcmp(bytes.data() + EndianIndicatorOffset, NativeIndicator.data(),
                       NativeIndicator.size()) != 0;
    auto plain = std::make_unique<MatPlainStream>(bytes.subspan(HeaderSize), HeaderSize);
    MatTag tag;
    if (!Matlab5Reader(*plain, swap, Matlab5Reader::Rules::Classic).ReadTag(tag)) {
        return MatFile::StatusCorrupt;
    }
    hasMore = bytes.size() - HeaderSize > TagSize + std::uint64_t{tag.size};
    if (tag.type == MatCompressed) {
        const auto rest = bytes.subspan(static_cast<std::size_t>(plain->Tell()));
        const auto payload = rest.first(std::min<std::size_t>(tag.size, rest.size()));
        const std::uint64_t bound =
            std::min<std::uint64_t>(InflateFactor * tag.size, NvSystemInfo::GetInflateLimit());
        stream = std::make_unique<MatInflatingStream>(payload, bound, context.budget);
    } else {
        stream = std::move(plain);
    }
    reader = std::make_unique<Matlab5Reader>(*stream, swap, Matlab5Reader::Rules::Classic);
    return tag.type == MatCompressed || tag.type == MatMatrix ? 0 : MatFile::StatusNoMatFile;
}

// The real size reaches the sink in Read.
int Mat5Content::GetSize(const MatChoice& /*choice*/, int& rows, int& columns) {
    rows = columns = 1;
    return 0;
}

// Only the first array of the element is taken; what follows it isn't looked at.
int Mat5Content::Read(ReadSpreadSheetData* sink, const MatChoice& /*choice*/) {
    stream->Rewind();
    std::vector<MatFile::msMatrix> matrices(1);
    if (const int failure = ReadArray(matrices.front())) {
        return failure;
    }
    MatFile::CheckDimensions(matrices);
    if (matrices.front().sparse) {
        context.budget.ChargeMemory(CellsOf(matrices.front()) * sizeof(double),
                                    "a sparse array with its zeros");
    }
    MatFile::SetSheetSize(sink, matrices);
    MatFile::SetSheetIndex(matrices);
    if (const int failure = ReadValues(sink, matrices.front())) {
        return failure;
    }
    if (hasMore) {
        context.notes.Add({"other-parts", 1, matrices.front().name,
                           "the table is the first array of the file; those behind it are not in it"});
    }
    return stream->IsSoundToTheEnd() ? 0 : MatFile::StatusCorrupt;
}

std::vector<FileContents::Part> Mat5Content::ListParts() {
    std::vector<FileContents::Part> parts;
    MatFile::msMatrix matrix;
    stream->Rewind();
    try {
        if (ReadArray(matrix) == 0) {
            parts.push_back({"matrix", matrix.name, 1, matrix.columns, matrix.rows, false,
                             matrix.sparse ? "sparse" : ""});
        }
    } catch (const Exception& exception) {
        parts.push_back({"matrix", matrix.name, 1, -1, -1, false, exception.what()});
    }
    return parts;
}

bool Mat5Content::SelectPart(int number, MatChoice& /*choice*/) {
    return number == 1;
}

int Mat5Content::ReadFlags(MatFile::msMatrix& matrix) {
    MatFlags flags;
    if (!reader->ReadFlags(flags)) {
        return MatFile::StatusCorrupt;
    }
    if ((flags.flags & MatFlags::Complex) != 0) {
        throw Exception("Can not handle imaginary data.");
    }
    matrix.sparse = (flags.maxEntries & SparseMask) != 0;
    if (matrix.sparse && flags.tagSize / sizeof(std::uint32_t) > MaxSparseDimensions) {
        throw Exception("A sparse matrix can not have more than two dimensions.");
    }
    return 0;
}

int Mat5Content::ReadArray(MatFile::msMatrix& matrix) {
    MatTag tag;
    if (!reader->ReadTag(tag)) {
        return MatFile::StatusCorrupt;
    }
    if (tag.type != MatMatrix) {
        return MatFile::StatusNoMatFile;
    }
    matrix.elementType = static_cast<int>(tag.type);
    if (const int failure = ReadFlags(matrix)) {
        return failure;
    }
    std::vector<std::uint64_t> dimensions;
    std::string name;
    if (!reader->ReadDimensions(dimensions) || !reader->ReadName(name)) {
        return MatFile::StatusCorrupt;
    }
    matrix.rows = static_cast<int>(static_cast<std::uint32_t>(dimensions[0]));
    matrix.columns = static_cast<int>(static_cast<std::uint32_t>(dimensions[1]));
    std::copy_n(name.begin(), std::min(name.size(), sizeof matrix.name - 1), matrix.name);
    if (!matrix.sparse) {
        if (!reader->ReadTag(tag)) {
            return MatFile::StatusCorrupt;
        }
        matrix.dataType = static_cast<int>(tag.type);
        matrix.dataSize = tag.size;
    }
    matrix.dataPosition = stream->Tell();
    return 0;
}

// Column by column.
template <class Stored>
int Mat5Content::SetNumbers(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix) {
    std::uint64_t left = CellsOf(matrix);
    int column = 0;
    int row = 0;
    buffer.resize(PieceSize);
    while (left > 0) {
        const auto wanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(left, PieceSize / sizeof(Stored)));
        const std::size_t count = stream->Read(buffer.data(), wanted * sizeof(Stored)) / sizeof(Stored);
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

int Mat5Content::ReadCharacters(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix) {
    const std::uint64_t count = CellsOf(matrix);
    if (!stream->ReadAll(buffer, count * sizeof(std::uint16_t))) {
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

// Every entry must lie in the array, and a column's entries must follow those of the column before. The
// table may be far larger than the file's bytes: it is held to what a compressed part may grow to.
int Mat5Content::CheckIndices(const MatFile::msMatrix& matrix) const {
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
int Mat5Content::SetEntries(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix) {
    const auto needed = static_cast<std::size_t>(columnStarts[static_cast<std::size_t>(matrix.columns)]);
    const bool whole = stream->ReadAll(buffer, needed * sizeof(Stored));
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

int Mat5Content::ReadSparse(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix) {
    sink->SetDataSize(matrix.columns, matrix.rows);
    MatTag tag;
    if (!reader->ReadIntegers(rowIndices) || !reader->ReadIntegers(columnStarts) ||
        CheckIndices(matrix) != 0 || !reader->ReadTag(tag)) {
        return MatFile::StatusCorrupt;
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

int Mat5Content::ReadValues(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix) {
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
