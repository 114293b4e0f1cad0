#include "tools/PlotNumber.h"

namespace {

constexpr double MillisecondsADay = 86400e3;
constexpr double MicrosecondsAMillisecond = 1e3;
constexpr double MicrosecondsASecond = 1e6;

}  // namespace

double PlotNumberOf(TableData& table, int col, int row) {
    switch (table.GetKind(col, row)) {
        case TableData::Date:
            return static_cast<double>(table.GetInt64(col, row)) * MillisecondsADay;
        case TableData::DateTime:
            return static_cast<double>(table.GetInt64(col, row)) / MicrosecondsAMillisecond;
        case TableData::Time:
        case TableData::Duration:
            return static_cast<double>(table.GetInt64(col, row)) / MicrosecondsASecond;
        case TableData::Bool:
            return static_cast<double>(table.GetInt64(col, row));
        case TableData::Int:
        case TableData::Int64:
        case TableData::Float:
        case TableData::Double:
            return table.GetFloatValue(col, row);
        default:
            return NoNumber;
    }
}
