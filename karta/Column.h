#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "karta/Buffer.h"

namespace karta {

/** What the values of a column are; in brackets how they lie in its buffer. */
enum class ColumnType : std::uint8_t {
    Null,      /**< nothing: every row is missing (no buffer) */
    Bool,      /**< truth values (bits, the lowest first) */
    Int64,     /**< whole numbers (64-bit) */
    Float32,   /**< (float) */
    Float64,   /**< (double) */
    Text,      /**< UTF-8 (64-bit offsets and bytes, or 32-bit places in a dictionary) */
    Date32,    /**< days since 1970-01-01 (32-bit) */
    Time64,    /**< microseconds since midnight (64-bit) */
    Timestamp, /**< microseconds since 1970-01-01 00:00, without a zone (64-bit) */
    Duration   /**< microseconds (64-bit) */
};

/** "float64", "text", "timestamp[us]" ... */
KARTA_EXPORT const char* GetTypeName(ColumnType type);

class Column;

/** What a column is made of, in the layout of the Arrow columnar format. */
struct ColumnBuffers {
    ColumnType type = ColumnType::Null;
    std::int64_t rows = 0;
    std::int64_t offset = 0;    /**< the row of the buffers that is the column's first */
    std::int64_t nullCount = 0; /**< missing ones among the rows; -1: not counted yet */
    SharedBuffer validity;      /**< a bit a row, the lowest first, 1 for a value; null: nothing is missing */
    SharedBuffer values;        /**< the values, or a text's offsets, or places in the dictionary */
    SharedBuffer text;          /**< the bytes of texts */
    std::shared_ptr<const Column> dictionary; /**< distinct texts, of type Text without a dictionary */
};

/**
 * A column of a table: a name, a unit, a type, and values one behind the other in one buffer, with a bitmap
 * that tells which rows have one. Copies share the buffers, which never change: any thread may read.
 *
 * Rows count from 0. A row outside raises std::out_of_range where it is asked for by itself; asking a column
 * for values of a type that isn't its own raises std::logic_error.
 */
class KARTA_EXPORT Column {
public:
    /** Of no rows. */
    Column() = default;
    Column(std::string columnName, std::string columnUnit, ColumnBuffers columnBuffers);

    /** Columns of values at hand, which are copied; NaN stays a number, nothing is missing. */
    static Column Of(std::string name, std::string unit, std::span<const float> values);
    static Column Of(std::string name, std::string unit, std::span<const double> values);
    static Column Of(std::string name, std::string unit, std::span<const std::int64_t> values);
    static Column Of(std::string name, std::string unit, std::span<const std::string> texts);

    const std::string& GetName() const { return name; }
    /** "nm", "min"; empty where there is none. */
    const std::string& GetUnit() const { return unit; }
    ColumnType GetType() const { return buffers.type; }
    std::int64_t GetRowCount() const { return buffers.rows; }
    /** How many rows are missing. */
    std::int64_t GetNullCount() const { return buffers.nullCount; }
    bool IsMissing(std::int64_t row) const;
    /** Whether the values are numbers: Int64, Float32, Float64. */
    bool IsNumeric() const;

    /** All rows, where they lie; a missing one's value means nothing. */
    std::span<const float> GetFloats() const;   /**< of Float32 */
    std::span<const double> GetDoubles() const; /**< of Float64 */
    /** Of Int64; microseconds of Time64, Timestamp and Duration. */
    std::span<const std::int64_t> GetIntegers() const;
    std::span<const std::int32_t> GetDays() const; /**< of Date32 */

    /** Of Bool; false where missing. */
    bool GetBool(std::int64_t row) const;
    /** Of Text; empty where missing. Valid as long as a column with these buffers is there. */
    std::string_view GetText(std::int64_t row) const;
    /** Of any number, a truth value as 0 or 1; NaN where missing. */
    double GetNumber(std::int64_t row) const;
    /** Of any type, for people and CSV: numbers in the shortest form that reads back the same, dates by
     * ISO 8601, TRUE and FALSE; empty where missing. */
    std::string ToText(std::int64_t row) const;

    /** The layout itself, for handing it on: all rows of the buffers, not only the column's. */
    const ColumnBuffers& GetBuffers() const { return buffers; }

    /** These rows, in the same buffers. Raises std::out_of_range. */
    Column Slice(std::int64_t firstRow, std::int64_t rows) const;
    /** The same values under another name and unit. */
    Column Renamed(std::string newName, std::string newUnit) const;

private:
    bool Has(std::int64_t row) const;
    void CheckType(bool isOfType) const;
    template <class Value>
    std::span<const Value> Values() const;

    std::string name;
    std::string unit;
    ColumnBuffers buffers;
};

}  // namespace karta
