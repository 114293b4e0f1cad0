#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>

#include "base/Export.h"
#include "karta/Buffer.h"
#include "karta/Column.h"

namespace karta {

/** What a block is made of. */
struct BlockParts {
    std::int64_t rows = 0;
    std::int64_t points = 0;
    bool isRowMajor = true;
    bool isFloat32 = false; /**< else double */
    SharedBuffer values;
    std::int64_t first = 0; /**< the element of the buffer that is point 0 of row 0 */
    std::int64_t stride =
        0;             /**< elements from row to row (row-major) or from point to point (column-major) */
    SharedBuffer axis; /**< double a point; null: the axis isn't known */
    std::int64_t firstPoint = 0; /**< of the axis */
    std::optional<Column> names; /**< a text a point, where the file names them */
    std::string axisQuantity;    /**< "wavenumber", "time" */
    std::string axisUnit;        /**< "cm-1", "s" */
    std::string valueQuantity;   /**< "absorbance" */
    std::string valueUnit;       /**< "AU" */
};

/**
 * The numbers of many like columns as one matrix: the spectra of a file, a chromatogram, an array. A row is
 * a row of the table, a point one of the like columns. Missing numbers are NaN. The matrix lies as the file
 * has it: row-major, a row's points side by side, or column-major, a point's rows side by side. Copies share
 * the memory, which never changes.
 */
class KARTA_EXPORT Block {
public:
    /** Raises std::invalid_argument where the parts don't fit together. */
    explicit Block(BlockParts blockParts);

    std::int64_t GetRowCount() const { return parts.rows; }
    std::int64_t GetPointCount() const { return parts.points; }
    bool IsRowMajor() const { return parts.isRowMajor; }
    /** Whether the numbers are floats; else doubles. */
    bool IsFloat32() const { return parts.isFloat32; }

    /** Point 0 of row 0; the others are at row * GetRowStride() + point * GetPointStride(), in elements. */
    const void* GetValues() const;
    const float* GetFloats() const;   /**< raises std::logic_error for a block of doubles */
    const double* GetDoubles() const; /**< raises std::logic_error for a block of floats */
    std::int64_t GetRowStride() const { return parts.isRowMajor ? parts.stride : 1; }
    std::int64_t GetPointStride() const { return parts.isRowMajor ? 1 : parts.stride; }

    /** One number; NaN where missing. Raises std::out_of_range. */
    double GetNumber(std::int64_t row, std::int64_t point) const;
    /** The same as CSV has it; empty where missing. */
    std::string ToText(std::int64_t row, std::int64_t point) const;
    /** A row's points, where the block is row-major; raises std::logic_error where it is not that, or not of
     * this type. */
    std::span<const float> GetFloatRow(std::int64_t row) const;
    std::span<const double> GetDoubleRow(std::int64_t row) const;

    /** The axis value of each point, in GetAxisUnit(); empty where the file tells none. */
    std::span<const double> GetAxis() const;
    const std::string& GetAxisQuantity() const { return parts.axisQuantity; }
    const std::string& GetAxisUnit() const { return parts.axisUnit; }
    const std::string& GetValueQuantity() const { return parts.valueQuantity; }
    const std::string& GetValueUnit() const { return parts.valueUnit; }
    /** The file's name of a point, else its axis value, else its place from 1: made when asked for. */
    std::string GetPointName(std::int64_t point) const;

    /** One point as a column: in the same memory where the block is column-major, else a copy. */
    Column GetColumn(std::int64_t point) const;
    /** The same numbers in the other order, where they aren't in this one: a copy then, which a stop ends:
     * raises Error. */
    Block ToRowMajor(const std::stop_token& stop = {}) const;
    Block ToColumnMajor(const std::stop_token& stop = {}) const;
    /** These rows, in the same memory. Raises std::out_of_range. */
    Block Slice(std::int64_t firstRow, std::int64_t rows) const;

    const BlockParts& GetParts() const { return parts; }

private:
    Block Transposed(const std::stop_token& stop) const;
    void CheckPlace(std::int64_t row, std::int64_t point) const;

    BlockParts parts;
};

}  // namespace karta
