#include "container/MatTable.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <type_traits>

#include "container/MatFile.h"
#include "container/MatText.h"

namespace {

// Numbers handed on at a time: they stay in the processor's cache.
constexpr std::size_t PieceSize = 1 << 15;

// Of an array whose rows go on while it is read: its columns still go in runs, and a wide one takes little
// room.
constexpr std::uint64_t RowsAtATime = 64;

constexpr std::uint64_t MaxExtent = std::numeric_limits<int>::max() - 1;

// Integers up to here are doubles without loss.
constexpr std::int64_t LargestExactInteger = std::int64_t{1} << 53;

bool IsExact(std::int64_t value) {
    return value >= -LargestExactInteger && value <= LargestExactInteger;
}

bool IsExact(std::uint64_t value) {
    return value <= static_cast<std::uint64_t>(LargestExactInteger);
}

// Whether a class and what its values are stored in lose nothing as floats.
bool FitsFloats(const MatArray& array, std::uint32_t stored) {
    const bool isShort =
        array.type == MatArray::Single || (array.type >= MatArray::Int8 && array.type <= MatArray::UInt16);
    return isShort && (WidthOf(stored) <= 2 || stored == MatSingle);
}

// The pages of an array of texts: its rows and columns are those of one page.
std::uint64_t PagesOf(const MatArray& array) {
    return array.dimensions[1] == 0 ? 0 : array.Columns() / array.dimensions[1];
}

/** Memory of a step, given back at its end. */
class Charge {
public:
    Charge(karta::Budget& readBudget, std::uint64_t amount, const char* what)
        : budget(readBudget), bytes(amount) {
        budget.ChargeMemory(bytes, what);
    }
    Charge(const Charge&) = delete;
    Charge& operator=(const Charge&) = delete;
    ~Charge() { budget.ReleaseMemory(bytes); }

private:
    karta::Budget& budget;
    std::uint64_t bytes;
};

}  // namespace

std::optional<MatTable::Extent> MatTable::Measure(const MatArray& array) {
    if (array.IsEmpty() || !array.problem.empty() || (array.HasFields() && array.fields.empty())) {
        return Extent();
    }
    std::uint64_t rows = array.Rows();
    std::uint64_t columns = array.Columns();
    bool hasHeads = array.dimensions.size() > 2;
    if (array.type == MatArray::Characters) {
        columns = PagesOf(array);
    } else if (array.HasFields()) {
        rows = array.Count();
        columns = array.fields.size();
        hasHeads = true;
    } else if (array.IsGivenAsTriplets()) {
        rows = array.entries;
        columns = array.isComplex ? 4 : 3;
        hasHeads = true;
    } else if (array.isComplex && columns <= MaxExtent) {
        columns *= 2;
        hasHeads = true;
    }
    if (rows > MaxExtent || columns > MaxExtent) {
        return std::nullopt;
    }
    const int heads = hasHeads ? 1 : 0;
    return Extent{static_cast<int>(rows) + heads, static_cast<int>(columns), heads};
}

std::uint64_t MatTable::CountNumbers(const MatArray& array) {
    if (array.HasElements()) {
        return array.numbers;
    }
    const auto extent = Measure(array);
    if (!extent || array.type == MatArray::Characters) {
        return 0;
    }
    return static_cast<std::uint64_t>(extent->rows - extent->heads) *
           static_cast<std::uint64_t>(extent->columns);
}

int MatTable::Check(const MatArray& array) {
    if (array.IsEmpty() || (!array.IsNumeric() && array.type != MatArray::Characters)) {
        return 0;
    }
    MatNumbers numbers;
    if (const int failure = arrays.OpenReal(array, numbers)) {
        return failure;
    }
    // The sizes of a text may count units of another kind than those that are stored.
    const bool isWhole = numbers.GetCount() >= array.Count() || numbers.GetType() == MatUtf8;
    return isWhole ? 0 : array.problemStatus;
}

int MatTable::Put(const MatArray& array, Place place) {
    if (array.IsEmpty()) {
        return 0;
    }
    if (array.HasElements()) {
        return PutElements(array, place);
    }
    switch (array.type) {
        case MatArray::Characters:
            return PutTexts(array, place);
        case MatArray::Sparse:
            return PutSparse(array, place);
        default:
            return PutNumbers(array, place);
    }
}

void MatTable::PutHeads(const MatArray& array, Place place) {
    const auto put = [&](std::uint64_t column, const std::string& text) {
        output.Text(place.column + static_cast<int>(column), place.row, text);
    };
    if (array.HasFields()) {
        for (std::size_t i = 0; i < array.fields.size(); ++i) {
            put(i, array.fields[i]);
        }
    } else if (array.IsGivenAsTriplets()) {
        put(0, "row");
        put(1, "column");
        put(2, array.isComplex ? "re" : "value");
        if (array.isComplex) {
            put(3, "im");
        }
    } else if (array.type == MatArray::Characters) {
        MatArray pages = array;
        pages.dimensions.erase(pages.dimensions.begin());
        for (std::uint64_t page = 0; page < PagesOf(array); ++page) {
            put(page, "(:," + pages.ColumnHead(page).substr(1));
        }
    } else {
        const bool hasMore = array.dimensions.size() > 2;
        for (std::uint64_t column = 0; column < array.Columns(); ++column) {
            const std::string head = hasMore ? array.ColumnHead(column) : std::string();
            if (array.isComplex) {
                put(2 * column, head + (hasMore ? " re" : "re"));
                put(2 * column + 1, head + (hasMore ? " im" : "im"));
            } else {
                put(column, head);
            }
        }
    }
}

template <class Number>
void MatTable::PutRun(const Columns& columns, Place place, std::span<const Number> values) {
    if (columns.IsRow()) {
        output.RowRun(place.column, place.row, values);
    } else {
        output.ColumnRun(place.column, place.row, values);
    }
}

template <class Number>
void MatTable::PutIntegers(const Columns& columns, Place place, std::span<const Number> values) {
    if (std::all_of(values.begin(), values.end(), [](Number value) { return IsExact(value); })) {
        doubles.assign(values.begin(), values.end());
        PutRun<double>(columns, place, doubles);
        return;
    }
    for (const Number value : values) {
        PutInteger(place, value);
        (columns.IsRow() ? place.column : place.row) += 1;
    }
}

void MatTable::PutDoubles(const Columns& columns, Place place, std::span<const double> values) {
    const auto isMissing = [&](double value) { return std::bit_cast<std::uint64_t>(value) == *missingBits; };
    if (!missingBits || std::none_of(values.begin(), values.end(), isMissing)) {
        PutRun(columns, place, values);
        return;
    }
    for (const double value : values) {
        if (isMissing(value)) {
            output.Missing(place.column, place.row);
        } else {
            output.Number(place.column, place.row, value);
        }
        (columns.IsRow() ? place.column : place.row) += 1;
    }
}

void MatTable::PutLogicals(const Columns& columns, Place place, std::span<const double> values) {
    for (const double value : values) {
        output.Bool(place.column, place.row, value != 0);
        (columns.IsRow() ? place.column : place.row) += 1;
    }
}

// Some rows of all columns at a time, for one that lets go of rows: numbers that lie in the file are there in
// any order.
template <class Number, class PutValues>
bool MatTable::ForEachRowsRun(MatNumbers& numbers, std::uint64_t count, const Columns& columns,
                              PutValues put) {
    const std::span<const std::uint8_t> bytes = numbers.TakeBytes<Number>(static_cast<std::size_t>(count));
    std::array<Number, RowsAtATime> values;
    const std::size_t columnSize = static_cast<std::size_t>(columns.rows) * sizeof(Number);
    for (std::uint64_t done = 0; !bytes.empty() && done < columns.rows; done += RowsAtATime) {
        context.ThrowIfStopped();
        const auto rows = static_cast<std::size_t>(std::min(columns.rows - done, RowsAtATime));
        Place place{columns.column, columns.row + static_cast<int>(done)};
        for (std::size_t at = static_cast<std::size_t>(done) * sizeof(Number); at < bytes.size();
             at += columnSize) {
            std::memcpy(values.data(), bytes.data() + at, rows * sizeof(Number));
            put(place, std::span<const Number>(values.data(), rows));
            place.column += columns.step;
        }
        output.EndRow(place.row + static_cast<int>(rows) - 1);
    }
    return !bytes.empty();
}

// Runs end with their column, but for those of a single row.
template <class Number, class PutValues>
bool MatTable::ForEachRun(MatNumbers& numbers, std::uint64_t count, const Columns& columns, PutValues put) {
    if (!output.KeepsRows() && columns.step == 1 && !columns.IsRow() &&
        ForEachRowsRun<Number>(numbers, count, columns, put)) {
        return true;
    }
    std::vector<Number> piece;
    Place place{columns.column, columns.row};
    std::uint64_t row = 0;
    while (count > 0) {
        context.ThrowIfStopped();
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(count, PieceSize));
        std::span<const Number> values = numbers.Take<Number>(wanted);
        if (values.empty()) {
            piece.resize(wanted);
            if (!numbers.Read(piece)) {
                return false;
            }
            values = piece;
        }
        count -= values.size();
        while (!values.empty()) {
            const auto length =
                columns.IsRow()
                    ? values.size()
                    : static_cast<std::size_t>(std::min<std::uint64_t>(values.size(), columns.rows - row));
            put(place, values.first(length));
            values = values.subspan(length);
            row += length;
            if (columns.IsRow()) {
                place.column += static_cast<int>(length);
            } else if (row == columns.rows) {
                row = 0;
                place = {place.column + columns.step, columns.row};
            } else {
                place.row += static_cast<int>(length);
            }
        }
    }
    return true;
}

// Numbers go in the type that loses nothing of what is stored.
bool MatTable::PutColumns(const MatArray& array, MatNumbers& numbers, const Columns& columns) {
    const std::uint64_t count = array.Count();
    if (array.isLogical) {
        return ForEachRun<double>(numbers, count, columns,
                                  [&](Place at, auto values) { PutLogicals(columns, at, values); });
    }
    if (numbers.GetType() == MatInt64) {
        return ForEachRun<std::int64_t>(numbers, count, columns, [&](Place at, auto values) {
            PutIntegers<std::int64_t>(columns, at, values);
        });
    }
    if (numbers.GetType() == MatUInt64) {
        return ForEachRun<std::uint64_t>(numbers, count, columns, [&](Place at, auto values) {
            PutIntegers<std::uint64_t>(columns, at, values);
        });
    }
    if (FitsFloats(array, numbers.GetType())) {
        return ForEachRun<float>(numbers, count, columns,
                                 [&](Place at, auto values) { PutRun<float>(columns, at, values); });
    }
    return ForEachRun<double>(numbers, count, columns,
                              [&](Place at, auto values) { PutDoubles(columns, at, values); });
}

int MatTable::PutNumbers(const MatArray& array, Place place) {
    const int step = array.isComplex ? 2 : 1;
    for (int part = 0; part < step; ++part) {
        MatNumbers numbers;
        const int failure =
            part == 0 ? arrays.OpenReal(array, numbers) : arrays.OpenImaginary(array, numbers);
        if (failure != 0) {
            return failure;
        }
        const Columns columns{place.column + part, place.row, step, array.Rows()};
        if (numbers.GetCount() < array.Count() || !PutColumns(array, numbers, columns)) {
            return array.problemStatus;
        }
    }
    return 0;
}

int MatTable::ReadText(const MatArray& array, MatText& text) {
    MatNumbers characters;
    if (const int failure = arrays.OpenReal(array, characters)) {
        return failure;
    }
    // A character and what it is made of.
    const Charge charge(
        context.budget,
        std::max(array.Count(), characters.GetCount()) * (sizeof(double) + 2 * sizeof(char32_t)),
        "a text array");
    return text.Read(array, characters) ? 0 : array.problemStatus;
}

int MatTable::PutTexts(const MatArray& array, Place place) {
    MatText text;
    if (const int failure = ReadText(array, text)) {
        return failure;
    }
    for (std::uint64_t page = 0; page < PagesOf(array); ++page) {
        for (std::uint64_t row = 0; row < array.Rows(); ++row) {
            output.Text(place.column + static_cast<int>(page), place.row + static_cast<int>(row),
                        text.GetRow(row, page));
        }
    }
    if (text.HasForeignBytes()) {
        context.notes.Add({"encoding", 1, array.name,
                           "the texts of " + array.name + " are no UTF-8 and were read as Windows-1252"});
    }
    return 0;
}

int MatTable::PutSparse(const MatArray& array, Place place) {
    const Charge charge(context.budget, arrays.RoomForEntries(array), "the entries of a sparse matrix");
    std::vector<MatEntry> entries;
    if (const int failure = arrays.ReadSparse(array, entries)) {
        return failure;
    }
    const auto isBefore = [](const MatEntry& a, const MatEntry& b) {
        return a.column != b.column ? a.column < b.column : a.row < b.row;
    };
    if (!std::is_sorted(entries.begin(), entries.end(), isBefore)) {
        std::sort(entries.begin(), entries.end(), isBefore);
    }
    if (array.IsGivenAsTriplets()) {
        PutTriplets(array, entries, place);
    } else {
        PutDense(array, entries, place);
    }
    return 0;
}

// Part of a column: its zeros, and its entries, which are from its rows. Two at one place add up.
void MatTable::PutDensePart(const MatArray& array, std::span<const MatEntry> entries, std::span<double> zeros,
                            const Columns& columns, std::uint64_t firstRow, bool imaginary) {
    for (const MatEntry& entry : entries) {
        zeros[static_cast<std::size_t>(entry.row - firstRow)] += imaginary ? entry.imaginary : entry.real;
    }
    const Place place{columns.column, columns.row + static_cast<int>(firstRow)};
    if (array.isLogical) {
        PutLogicals(columns, place, zeros);
    } else {
        output.ColumnRun(place.column, place.row, std::span<const double>(zeros));
    }
    for (const MatEntry& entry : entries) {
        zeros[static_cast<std::size_t>(entry.row - firstRow)] = 0;
    }
}

void MatTable::PutDense(const MatArray& array, const std::vector<MatEntry>& entries, Place place) {
    std::vector<double> zeros(static_cast<std::size_t>(std::min<std::uint64_t>(array.Rows(), PieceSize)));
    const int step = array.isComplex ? 2 : 1;
    auto first = entries.begin();
    for (std::uint32_t column = 0; column < array.Columns(); ++column) {
        context.ThrowIfStopped();
        for (std::uint64_t row = 0; row < array.Rows(); row += zeros.size()) {
            const std::uint64_t behind = std::min<std::uint64_t>(row + zeros.size(), array.Rows());
            const auto last = std::find_if(first, entries.end(), [&](const MatEntry& entry) {
                return entry.column != column || entry.row >= behind;
            });
            const std::span<double> part(zeros.data(), static_cast<std::size_t>(behind - row));
            for (int half = 0; half < step; ++half) {
                const Columns columns{place.column + static_cast<int>(column) * step + half, place.row, 2,
                                      array.Rows()};
                PutDensePart(array, {first, last}, part, columns, row, half == 1);
            }
            first = last;
        }
    }
}

void MatTable::PutTriplets(const MatArray& array, const std::vector<MatEntry>& entries, Place place) {
    int row = place.row;
    for (const MatEntry& entry : entries) {
        const double cells[] = {entry.row + 1.0, entry.column + 1.0, entry.real, entry.imaginary};
        output.RowRun(place.column, row++, std::span(cells).first(array.isComplex ? 4 : 3));
    }
}

int MatTable::PutElements(const MatArray& array, Place place) {
    const std::uint64_t fields = array.fields.size();
    const std::uint64_t rows = array.Rows();
    return arrays.ForEachElement(array, [&](std::uint64_t number, const MatArray& element) {
        MatCell cell;
        if (const int failure = ReadCell(element, cell)) {
            return failure;
        }
        const std::uint64_t column = array.HasFields() ? number % fields : number / rows;
        const std::uint64_t row = array.HasFields() ? number / fields : number % rows;
        PutCell({place.column + static_cast<int>(column), place.row + static_cast<int>(row)}, cell);
        return 0;
    });
}

int MatTable::ReadNumber(const MatArray& element, MatCell& cell) {
    MatNumbers numbers;
    if (const int failure = arrays.OpenReal(element, numbers)) {
        return failure;
    }
    const auto read = [&]<class Number>(Number value) {
        if (numbers.GetCount() < 1 || !numbers.Read(std::span(&value, 1))) {
            return element.problemStatus;
        }
        if (element.isLogical) {
            cell = value != 0;
        } else {
            cell = value;
        }
        return 0;
    };
    if (numbers.GetType() == MatInt64) {
        return read(std::int64_t{0});
    }
    return numbers.GetType() == MatUInt64 ? read(std::uint64_t{0}) : read(0.0);
}

int MatTable::ReadCell(const MatArray& element, MatCell& cell) {
    if (!element.FitsACell()) {
        cell = element.SizeText() + " " + element.TypeName();
        return 0;
    }
    if (element.type == MatArray::Characters) {
        MatText text;
        const int failure = element.IsEmpty() ? 0 : ReadText(element, text);
        cell = failure == 0 && !element.IsEmpty() ? text.GetRow(0, 0) : std::string();
        return failure;
    }
    return element.IsEmpty() ? 0 : ReadNumber(element, cell);
}

void MatTable::PutCell(Place place, const MatCell& cell) {
    std::visit(
        [&](const auto& value) {
            using Value = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Value, std::string>) {
                output.Text(place.column, place.row, value);
            } else if constexpr (std::is_same_v<Value, bool>) {
                output.Bool(place.column, place.row, value);
            } else if constexpr (std::is_same_v<Value, double>) {
                output.Number(place.column, place.row, value);
            } else if constexpr (std::is_same_v<Value, std::monostate>) {
                output.Missing(place.column, place.row);
            } else {
                PutInteger(place, value);
            }
        },
        cell);
}

int MatTable::ReadVector(const MatArray& array, std::vector<MatCell>& cells) {
    cells.clear();
    if (array.type == MatArray::Characters) {
        MatText text;
        const int failure = ReadText(array, text);
        for (std::uint64_t row = 0; failure == 0 && row < array.Rows(); ++row) {
            cells.emplace_back(text.GetRow(row, 0));
        }
        return failure;
    }
    if (array.type == MatArray::Cell) {
        return arrays.ForEachElement(array, [&](std::uint64_t, const MatArray& element) {
            return ReadCell(element, cells.emplace_back());
        });
    }
    MatNumbers numbers;
    if (const int failure = arrays.OpenReal(array, numbers)) {
        return failure;
    }
    std::vector<double> values(static_cast<std::size_t>(std::min(array.Count(), numbers.GetCount())));
    if (values.size() < array.Count() || !numbers.Read(values)) {
        return array.problemStatus;
    }
    cells.assign(values.begin(), values.end());
    return 0;
}
