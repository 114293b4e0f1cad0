#include "tests/support/TruthComparison.h"

#include <cmath>
#include <optional>

#include "host/NvString.h"

namespace {

constexpr double EpochSerial = 25569.0;
constexpr double MicrosecondsOfDay = 86400e6;
// 1900-02-29, which never was, is a day of the serial numbers: those before it are one less.
constexpr double LeapDayThatNeverWas = 60.0;
constexpr double DaysBetweenSystems = 1462.0;
// Fractions of a day are kept to the microsecond, elapsed times to the second.
constexpr double ShortestTime = 1.0 / 86400e5;
constexpr double HalfSecond = 0.5001 / 86400.0;

double SerialOfDay(double daysSinceEpoch) {
    const double serial = daysSinceEpoch + EpochSerial;
    return serial < LeapDayThatNeverWas + 1.0 ? serial - 1.0 : serial;
}

/** The serial number that a cell of a date or a time stands for; nothing for other cells. */
std::optional<double> SerialOf(TableData& table, int col, int row, bool from1904) {
    const double shift = from1904 ? DaysBetweenSystems : 0.0;
    const auto value = static_cast<double>(table.GetInt64(col, row));
    switch (table.GetKind(col, row)) {
        case TableData::Date:
            return SerialOfDay(value) - shift;
        case TableData::DateTime:
            return SerialOfDay(value / MicrosecondsOfDay) - shift;
        case TableData::Time:
        case TableData::Duration:
            return value / MicrosecondsOfDay;
        case TableData::Text:
            return table.GetString(col, row) == "1900-02-29" ? std::optional(LeapDayThatNeverWas)
                                                             : std::nullopt;
        default:
            return std::nullopt;
    }
}

std::string WithoutCarriageReturns(std::string text) {
    std::erase(text, '\r');
    return text;
}

bool IsNumber(TableData::Kind kind) {
    return kind == TableData::Int || kind == TableData::Int64 || kind == TableData::Float ||
           kind == TableData::Double;
}

bool IsEqualDate(TableData& table, const SpreadsheetTruth::Cell& cell, double expected, bool from1904) {
    const auto serial = SerialOf(table, cell.col, cell.row, from1904);
    if (IsNumber(table.GetKind(cell.col, cell.row)) && std::floor(expected) == LeapDayThatNeverWas) {
        // A time on the day that never was is no date; its number is kept.
        return table.GetFloatValue(cell.col, cell.row) == expected;
    }
    const bool isRounded = table.GetKind(cell.col, cell.row) == TableData::Duration;
    return serial && std::fabs(*serial - expected) <= (isRounded ? HalfSecond : ShortestTime);
}

bool IsEqual(TableData& table, const SpreadsheetTruth& truth, const SpreadsheetTruth::Cell& cell) {
    const TableData::Kind kind = table.GetKind(cell.col, cell.row);
    double expected = 0.0;
    NvString::ToDouble(cell.value, expected);
    const bool isSameNumber = IsNumber(kind) && std::fabs(table.GetFloatValue(cell.col, cell.row) -
                                                          expected) <= 1e-12 * std::fabs(expected);
    if (cell.type == "number") {
        return isSameNumber || (cell.isUnsureDate && IsEqualDate(table, cell, expected, truth.from1904));
    }
    if (cell.type == "date") {
        return IsEqualDate(table, cell, expected, truth.from1904) || (cell.isUnsureDate && isSameNumber);
    }
    if (cell.type == "bool") {
        return kind == TableData::Bool && (table.GetInt64(cell.col, cell.row) != 0) == (cell.value == "true");
    }
    const bool isKind = cell.type == "error" ? kind == TableData::Error : kind == TableData::Text;
    return isKind &&
           WithoutCarriageReturns(table.GetString(cell.col, cell.row)) == WithoutCarriageReturns(cell.value);
}

}  // namespace

TruthComparison& TruthComparison::operator+=(const TruthComparison& other) {
    known += other.known;
    equal += other.equal;
    if (firstDifference.empty()) {
        firstDifference = other.firstDifference;
    }
    return *this;
}

TruthComparison CompareWithTruth(TableData& table, const SpreadsheetTruth& truth,
                                 const SpreadsheetTruth::Sheet& sheet) {
    TruthComparison result;
    for (const SpreadsheetTruth::Cell& cell : sheet.cells) {
        ++result.known;
        if (IsEqual(table, truth, cell)) {
            ++result.equal;
        } else if (result.firstDifference.empty()) {
            result.firstDifference = sheet.name + " row " + std::to_string(cell.row) + " column " +
                                     std::to_string(cell.col) + ": " + cell.type + " \"" + cell.value +
                                     "\", found \"" + table.GetString(cell.col, cell.row) + "\" of kind " +
                                     std::to_string(table.GetKind(cell.col, cell.row));
        }
    }
    return result;
}
