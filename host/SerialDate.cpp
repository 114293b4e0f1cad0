#include "host/SerialDate.h"

#include <chrono>
#include <cmath>

#include "base/NumberFormat.h"
#include "host/NvString.h"

namespace {

// The last second of 9999-12-31.
constexpr double LargestSerial = 2958465.999994;
constexpr long SecondsPerDay = 86400;
constexpr long LeapDayThatNeverWas = 60;

std::string DateText(long day) {
    using namespace std::chrono;
    if (day == LeapDayThatNeverWas) {
        return "1900-02-29";
    }
    const long sinceFirst = day < LeapDayThatNeverWas ? day - 1 : day - 2;
    const year_month_day date = sys_days(year(1900) / January / 1) + days(sinceFirst);
    return NvString::Format("%04d-%02u-%02u", static_cast<int>(date.year()),
                            static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
}

std::string TimeText(long seconds) {
    return NvString::Format("%02ld:%02ld:%02ld", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

}  // namespace

std::string IEEEDate_2_string(double serial) {
    if (!std::isfinite(serial) || serial < 0.0 || serial > LargestSerial) {
        return FormatG(serial, 15);
    }
    double whole = 0.0;
    const double fraction = std::modf(serial, &whole);
    long day = static_cast<long>(whole);
    long seconds = std::lround(fraction * static_cast<double>(SecondsPerDay));
    if (seconds == SecondsPerDay) {
        seconds = 0;
        ++day;
    }
    if (day == 0) {
        return TimeText(seconds);
    }
    return seconds == 0 ? DateText(day) : DateText(day) + " " + TimeText(seconds);
}
