#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "base/ReadContext.h"
#include "container/MatArrays.h"
#include "frame/CellOutput.h"

/** What a single cell can hold of an array. */
using MatCell = std::variant<std::monostate, double, std::int64_t, std::uint64_t, bool, std::string>;

/**
 * Sets arrays as parts of a table, by the rules of the complete reading: numbers in runs as they are stored,
 * texts a row each, sparse matrices with their zeros or as triplets, complex numbers as pairs of columns,
 * what lies in cells and structures in place where a cell can hold it.
 */
class MatTable {
public:
    /** The table that an array makes; the heads are rows of names above its values and count among the rows.
     */
    struct Extent {
        int rows = 0;
        int columns = 0;
        int heads = 0;
    };
    /** Where a table's first cell goes, from 1. */
    struct Place {
        int column = 1;
        int row = 1;
    };

    /** All stay the caller's. */
    MatTable(MatArrays& source, CellOutput& target, karta::ReadContext& readContext)
        : arrays(source), output(target), context(readContext) {}

    /** Nothing where no table can be so large. */
    static std::optional<Extent> Measure(const MatArray& array);
    /** How many cells of an array's table are numbers. */
    static std::uint64_t CountNumbers(const MatArray& array);

    /** Whether an array's values are there, as far as sizes tell; 0 or a status. */
    int Check(const MatArray& array);
    /** Sets an array's values, without its heads. */
    int Put(const MatArray& array, Place place);
    /** Sets the names above the values. */
    void PutHeads(const MatArray& array, Place place);
    void PutCell(Place place, const MatCell& cell);

    /** The values of a vector, a cell each; of a text array its rows. */
    int ReadVector(const MatArray& array, std::vector<MatCell>& cells);

    /** A number of these bits is a missing cell from now on. */
    void SetMissing(std::uint64_t bits) { missingBits = bits; }

private:
    /** Where numbers go: column after column. */
    struct Columns {
        int column;
        int row;
        int step;
        std::uint64_t rows;
        bool IsRow() const { return rows == 1 && step == 1; }
    };

    int PutNumbers(const MatArray& array, Place place);
    bool PutColumns(const MatArray& array, MatNumbers& numbers, const Columns& columns);
    template <class Number, class PutValues>
    bool ForEachRowsRun(MatNumbers& numbers, std::uint64_t count, const Columns& columns, PutValues put);
    template <class Number, class PutValues>
    bool ForEachRun(MatNumbers& numbers, std::uint64_t count, const Columns& columns, PutValues put);
    template <class Number>
    void PutRun(const Columns& columns, Place place, std::span<const Number> values);
    template <class Number>
    void PutIntegers(const Columns& columns, Place place, std::span<const Number> values);
    void PutDoubles(const Columns& columns, Place place, std::span<const double> values);
    void PutLogicals(const Columns& columns, Place place, std::span<const double> values);
    void PutInteger(Place place, std::int64_t value) { output.Integer(place.column, place.row, value); }
    void PutInteger(Place place, std::uint64_t value) { output.Unsigned(place.column, place.row, value); }

    int ReadText(const MatArray& array, class MatText& text);
    int PutTexts(const MatArray& array, Place place);
    int PutSparse(const MatArray& array, Place place);
    void PutDense(const MatArray& array, const std::vector<MatEntry>& entries, Place place);
    void PutDensePart(const MatArray& array, std::span<const MatEntry> entries, std::span<double> zeros,
                      const Columns& columns, std::uint64_t firstRow, bool imaginary);
    void PutTriplets(const MatArray& array, const std::vector<MatEntry>& entries, Place place);
    int PutElements(const MatArray& array, Place place);
    int ReadCell(const MatArray& element, MatCell& cell);
    int ReadNumber(const MatArray& element, MatCell& cell);

    MatArrays& arrays;
    CellOutput& output;
    karta::ReadContext& context;
    std::optional<std::uint64_t> missingBits;
    std::vector<double> doubles;
};
