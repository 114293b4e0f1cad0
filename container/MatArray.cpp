#include "container/MatArray.h"

#include <limits>

namespace {

constexpr std::uint64_t Largest = std::numeric_limits<std::uint64_t>::max();

// A sparse matrix of more cells than this is given by its entries.
constexpr std::uint64_t MaxDenseCells = std::uint64_t{1} << 24;

std::uint64_t Multiply(std::uint64_t a, std::uint64_t b) {
    return b != 0 && a > Largest / b ? Largest : a * b;
}

}  // namespace

std::size_t WidthOf(std::uint32_t dataType) {
    switch (dataType) {
        case MatInt8:
        case MatUInt8:
        case MatUtf8:
            return 1;
        case MatInt16:
        case MatUInt16:
        case MatUtf16:
            return 2;
        case MatInt32:
        case MatUInt32:
        case MatSingle:
        case MatUtf32:
            return 4;
        case MatDouble:
        case MatInt64:
        case MatUInt64:
            return 8;
        default:
            return 0;
    }
}

bool MatArray::FitsACell() const {
    if (!problem.empty() || isComplex) {
        return false;
    }
    if (type == Characters) {
        return dimensions.size() == 2 && (Rows() == 1 || IsEmpty());
    }
    return IsNumeric() && Count() <= 1;
}

bool MatArray::IsGivenAsTriplets() const {
    return type == Sparse && Count() > MaxDenseCells;
}

std::uint64_t MatArray::Columns() const {
    std::uint64_t columns = 1;
    bool isEmpty = false;
    for (std::size_t i = 1; i < dimensions.size(); ++i) {
        columns = Multiply(columns, dimensions[i]);
        isEmpty = isEmpty || dimensions[i] == 0;
    }
    return isEmpty ? 0 : columns;
}

std::uint64_t MatArray::Count() const {
    return Rows() == 0 ? 0 : Multiply(Rows(), Columns());
}

std::string MatArray::TypeName() const {
    static constexpr const char* Names[] = {"unknown", "cell",   "struct", "object", "char",     "sparse",
                                            "double",  "single", "int8",   "uint8",  "int16",    "uint16",
                                            "int32",   "uint32", "int64",  "uint64", "function", "opaque"};
    std::string name = type < std::size(Names) ? Names[type] : Names[0];
    if (isLogical) {
        name = type == Sparse ? "sparse logical" : "logical";
    } else if (!className.empty()) {
        name = className + " object";
    }
    return (isComplex ? "complex " : "") + name;
}

std::string MatArray::SizeText() const {
    std::string text;
    for (const std::uint64_t size : dimensions) {
        text += (text.empty() ? "" : "x") + std::to_string(size);
    }
    return text;
}

std::string MatArray::SubscriptsOf(std::uint64_t place) const {
    std::string text;
    for (std::size_t i = 0; i < dimensions.size(); ++i) {
        const std::uint64_t size = dimensions[i] == 0 ? 1 : dimensions[i];
        text += (i == 0 ? "" : ",") + std::to_string(place % size + 1);
        place /= size;
    }
    return text;
}

std::string MatArray::ColumnHead(std::uint64_t column) const {
    std::string text = "(:";
    for (std::size_t i = 1; i < dimensions.size(); ++i) {
        text += "," + std::to_string(column % dimensions[i] + 1);
        column /= dimensions[i];
    }
    return text + ")";
}
