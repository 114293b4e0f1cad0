#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "frame/CellOutput.h"

/** What the numbers are that a number format shows. */
enum class NumberKind : std::uint8_t {
    Number,
    Date,     /**< a code with years, months or days */
    DateTime, /**< a code with these, and with hours or seconds */
    Time,     /**< a code with hours or seconds only */
    Elapsed   /**< a code that counts hours, minutes or seconds without end, as [h]:mm does */
};

/**
 * The number formats of a workbook: by them alone a number is known for a date. All spreadsheet formats
 * number them alike: those below 164 are built in, and a workbook may define any number anew.
 */
class NumberFormats {
public:
    void Clear() { defined.clear(); }
    /** A code that the workbook gives a number, in UTF-8; of two for one number the last holds. */
    void Define(int number, std::string_view code) { defined[number] = Classify(code); }
    NumberKind GetKind(int number) const;

    /** What a code shows: "yyyy-mm-dd", "[Red]0.00;[h]:mm" ... Colours, literals and fillers don't count. */
    static NumberKind Classify(std::string_view code);

private:
    static NumberKind GetBuiltInKind(int number);

    std::unordered_map<int, NumberKind> defined;
};

/** The day from which a workbook counts. */
enum class DateSystem : std::uint8_t {
    From1900, /**< day 1 is 1900-01-01, and day 60 the 1900-02-29 that never was */
    From1904  /**< day 0 is 1904-01-01 */
};

/** What a number stands for under its format. */
struct SerialValue {
    enum class Type : std::uint8_t {
        Number,   /**< none of the others: a plain number, or one that no date can be */
        Date,     /**< `value` in days since 1970-01-01 */
        Time,     /**< in microseconds since midnight */
        DateTime, /**< in microseconds since 1970-01-01 00:00 */
        Duration, /**< in microseconds, whole seconds */
        NeverWas  /**< 1900-02-29, without a time */
    };

    Type type = Type::Number;
    std::int64_t value = 0;
};

/**
 * A serial number as its format means it. A date code over a number with a fraction gives a date-time; a
 * number below 1 is a time, where days count from 1900, and one of 1 or more under a time code a date-time.
 * Times keep their fractions of a second; elapsed times are rounded to the second.
 */
SerialValue ConvertSerial(double serial, NumberKind kind, DateSystem system);

/** Hands a number out as what its format means, which is a date or a time. */
void PutDated(CellOutput& output, int col, int row, double number, NumberKind kind, DateSystem system);

/** Hands a number out as what its format means. */
inline void PutNumber(CellOutput& output, int col, int row, double number, NumberKind kind,
                      DateSystem system) {
    if (kind == NumberKind::Number) {
        output.Number(col, row, number);
    } else {
        PutDated(output, col, row, number, kind, system);
    }
}
