#include "container/Mat4Arrays.h"

#include <algorithm>
#include <cmath>

#include "base/Ascii.h"
#include "base/ByteCursor.h"
#include "container/MatFile.h"

namespace {

// What the numbers are stored as; all are doubles to MATLAB.
constexpr std::uint32_t TypeOf[] = {MatDouble, MatSingle, MatInt32, MatInt16, MatUInt16, MatUInt8};
// A sparse matrix: rows, columns, values and perhaps imaginary values; the last of each is the matrix's size.
constexpr int MinSparseColumns = 3;
constexpr int ComplexSparseColumns = 4;

// The thousands of the type: numbers of a VAX or a Cray.
constexpr std::uint32_t FirstForeignType = 2000;
constexpr std::uint32_t LastForeignType = 4052;

constexpr std::uint64_t MaxSize = 0x7fffffff;

// A size or an index that is written as a number; beyond all sizes for what is none.
std::uint64_t WholeNumber(double value) {
    return value >= 0 && value <= static_cast<double>(MaxSize) && value == std::floor(value)
               ? static_cast<std::uint64_t>(value)
               : MaxSize + 1;
}

bool IsNameCharacter(char c) {
    return IsLetter(c) || IsDigit(c) || c == '_';
}

}  // namespace

Mat4Arrays::Mat4Arrays(std::span<const std::uint8_t> file, karta::ReadContext& readContext)
    : bytes(file), context(readContext), reader(file, Matlab4Reader::Rules::AsWritten), stream(file, 0) {}

bool Mat4Arrays::MayBeLevel4(std::span<const std::uint8_t> head) {
    constexpr std::uint32_t MaxType = 52;
    constexpr std::uint32_t BigEndianType = 1000;
    const std::uint32_t little = ByteCursor(head).ReadU32();
    const std::uint32_t big = ByteCursor(head).ReadBigU32();
    return little <= MaxType || (big >= BigEndianType && big <= BigEndianType + MaxType);
}

bool Mat4Arrays::IsLevel4(std::span<const std::uint8_t> file) {
    Matlab4Reader matrices(file, Matlab4Reader::Rules::AsWritten);
    if (matrices.Index() != 0 || matrices.Headers().empty()) {
        return false;
    }
    return std::all_of(matrices.Headers().begin(), matrices.Headers().end(), [](const MatHeader& header) {
        return !header.cut && !header.name.empty() && IsLetter(header.name.front()) &&
               std::all_of(header.name.begin(), header.name.end(), IsNameCharacter) &&
               header.nameLength <= static_cast<int>(header.name.size()) + 1;
    });
}

const MatHeader& Mat4Arrays::HeaderOf(const MatArray& array) const {
    return reader.Headers()[array.element];
}

// Numbers of a matrix's data by their place in it.
MatNumbers Mat4Arrays::NumbersAt(const MatHeader& header, std::uint64_t first, std::uint64_t count) {
    const std::uint32_t type = TypeOf[header.precision];
    const std::uint64_t offset = header.dataOffset + first * WidthOf(type);
    const std::uint64_t there = offset < bytes.size() ? (bytes.size() - offset) / WidthOf(type) : 0;
    stream.Rewind();
    stream.Skip(offset);
    return {stream, type, std::min(count, there), header.swapped};
}

// The size stands behind the entries.
void Mat4Arrays::DescribeSparse(const MatHeader& header, MatArray& array) {
    const auto stored = static_cast<std::uint64_t>(header.rows);
    double size[2] = {-1, -1};
    if (stored > 0 && header.columns >= MinSparseColumns && !header.cut) {
        NumbersAt(header, stored - 1, 1).Read(std::span(&size[0], 1));
        NumbersAt(header, 2 * stored - 1, 1).Read(std::span(&size[1], 1));
    }
    array.dimensions = {WholeNumber(size[0]), WholeNumber(size[1])};
    if (array.Rows() > MaxSize || array.Columns() > MaxSize) {
        array.problem = "damaged";
        array.dimensions = {0, 0};
    }
    array.isComplex = header.columns == ComplexSparseColumns;
    array.entries = stored == 0 ? 0 : stored - 1;
}

MatArray Mat4Arrays::Describe(const MatHeader& header) {
    MatArray array;
    array.name = header.name;
    array.isComplex = header.complex;
    array.dimensions = {static_cast<std::uint64_t>(header.rows), static_cast<std::uint64_t>(header.columns)};
    array.problemStatus = MatFile::StatusMatrix;
    if (header.type == MatHeader::Text) {
        array.type = MatArray::Characters;
        array.isComplex = false;
    } else if (header.type == MatHeader::Sparse) {
        array.type = MatArray::Sparse;
        DescribeSparse(header, array);
    }
    if (header.cut) {
        array.problem = "cut off";
    }
    return array;
}

int Mat4Arrays::List(std::vector<MatArray>& arrays) {
    const int indexed = reader.Index();
    for (const MatHeader& header : reader.Headers()) {
        context.ThrowIfStopped();
        context.budget.ChargeMemory(sizeof(MatArray) + header.name.size(), "the list of variables");
        arrays.push_back(Describe(header));
        arrays.back().element = arrays.size() - 1;
    }
    if (indexed != 0 && arrays.empty()) {
        const std::uint32_t type = ByteCursor(bytes).ReadU32();
        const std::uint32_t swapped = ByteCursor(bytes).ReadBigU32();
        const auto isForeign = [](std::uint32_t t) { return t >= FirstForeignType && t <= LastForeignType; };
        if (isForeign(type) || isForeign(swapped)) {
            failure =
                "The file holds numbers in the form of a VAX or a Cray, which can't be read; save it again "
                "in "
                "MATLAB";
        }
        return indexed;
    }
    if (indexed != 0) {
        remarks.push_back("what follows byte " + std::to_string(reader.GetPosition()) +
                          " is no matrix and was left out");
    }
    return 0;
}

int Mat4Arrays::OpenReal(const MatArray& array, MatNumbers& numbers) {
    numbers = NumbersAt(HeaderOf(array), 0, array.Count());
    return 0;
}

int Mat4Arrays::OpenImaginary(const MatArray& array, MatNumbers& numbers) {
    numbers = NumbersAt(HeaderOf(array), array.Count(), array.Count());
    return 0;
}

// The entry and, before it is made, its four numbers.
std::uint64_t Mat4Arrays::RoomForEntries(const MatArray& array) const {
    return array.entries * (sizeof(MatEntry) + 4 * sizeof(double));
}

int Mat4Arrays::ReadSparse(const MatArray& array, std::vector<MatEntry>& entries) {
    const MatHeader& header = HeaderOf(array);
    const auto stored = static_cast<std::uint64_t>(header.rows);
    const auto count = static_cast<std::size_t>(array.entries);
    std::vector<double> rows(count);
    std::vector<double> columns(count);
    std::vector<double> real(count);
    std::vector<double> imaginary(array.isComplex ? count : 0);
    if (!NumbersAt(header, 0, count).Read(rows) || !NumbersAt(header, stored, count).Read(columns) ||
        !NumbersAt(header, 2 * stored, count).Read(real) ||
        !NumbersAt(header, 3 * stored, imaginary.size()).Read(imaginary)) {
        return MatFile::StatusMatrix;
    }
    entries.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t row = WholeNumber(rows[i]);
        const std::uint64_t column = WholeNumber(columns[i]);
        if (row < 1 || row > array.Rows() || column < 1 || column > array.Columns()) {
            return MatFile::StatusMatrix;
        }
        entries[i] = {static_cast<std::uint32_t>(column - 1), static_cast<std::uint32_t>(row - 1), real[i],
                      imaginary.empty() ? 0 : imaginary[i]};
    }
    return 0;
}

std::vector<FileContents::Fact> Mat4Arrays::ListFacts() const {
    const bool isBig = !reader.Headers().empty() && reader.Headers().front().swapped;
    return {{"version", "MAT-file level 4"}, {"byte order", isBig ? "big-endian" : "little-endian"}};
}
