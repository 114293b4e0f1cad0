#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "text/FieldDate.h"
#include "text/FieldForm.h"

/** What a column's fields become. */
struct ColumnType {
    enum Kind : std::uint8_t { Empty, Text, Number, Bool, Date, Time, DateTime };

    Kind kind = Empty;
    char decimalMark = '.';
    /** The forms of fields that become such values; all others are text in this column. */
    std::uint32_t accepted = 0;

    bool operator==(const ColumnType& other) const = default;
};

/** That of a column of such dates or times. */
constexpr ColumnType::Kind GetKindOf(FieldDate::Kind kind) {
    return kind == FieldDate::Date   ? ColumnType::Date
           : kind == FieldDate::Time ? ColumnType::Time
                                     : ColumnType::DateTime;
}

/** "number", "date and time" ... */
const char* GetTypeName(ColumnType::Kind kind);

/**
 * Gathers the forms of the fields of each column and says what the columns are. The decimal mark and what
 * groups digits are facts of the whole file: one column that proves them settles them for all.
 */
class ColumnTypes {
public:
    /** `mayHaveDecimalCommas`: the delimiter leaves them room. `decimalMark` is the user's, or NUL. */
    ColumnTypes(bool mayHaveDecimalCommas, char decimalMark)
        : commasAllowed(mayHaveDecimalCommas || decimalMark == ','), givenMark(decimalMark) {}

    /** Columns count from 0 here. */
    void Vote(std::size_t col, std::uint32_t bits) {
        if (col >= forms.size()) {
            forms.resize(col + 1);
        }
        forms[col] |= bits;
    }
    /** Whatever is in it. */
    void KeepAsText(std::size_t col) { Vote(col, FieldForm::Text); }

    /** Settles the file's marks; then the types of all columns. */
    std::vector<ColumnType> Resolve(std::size_t cols) const;

    /** '.' or ',', NUL where nothing tells. */
    char GetDecimalMark() const;
    /** Columns of numbers such as 1,234 that stay text, because nothing tells what the comma is. */
    std::vector<std::size_t> GetUnsettledColumns(const std::vector<ColumnType>& types) const;

private:
    /** What the columns prove together. */
    struct Marks {
        bool point = false;
        bool comma = false;
        bool pointGroups = false;  // in numbers with decimal commas
        bool commaGroups = false;
    };

    Marks GetMarks() const;
    ColumnType ResolveNumbers(std::uint32_t bits, const Marks& marks) const;

    std::vector<std::uint32_t> forms;
    bool commasAllowed;
    char givenMark;
};
