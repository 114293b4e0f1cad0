#include "instrument/SPCDate.h"

#include <cmath>
#include <limits>

#include "host/NvString.h"

namespace {

struct CalendarTime {
    int year;
    int month;
    int day;
    int hour;
    int minute;
};

// The fields of the packed date, from the lowest bit on.
CalendarTime Unpack(unsigned int packedDate) {
    CalendarTime time{};
    time.minute = static_cast<int>(packedDate & 0x3f);
    time.hour = static_cast<int>(packedDate >> 6 & 0x1f);
    time.day = static_cast<int>(packedDate >> 11 & 0x1f);
    time.month = static_cast<int>(packedDate >> 16 & 0x0f);
    time.year = static_cast<int>(packedDate >> 20);
    return time;
}

void CarryMonth(CalendarTime& time) {
    if (time.month > 12) {
        time.month -= 12;
        ++time.year;
    }
}

void CarryDay(CalendarTime& time) {
    if (time.day > GetDaysInMonth(time.day, time.month, time.year)) {
        time.day = 1;
        ++time.month;
    }
    CarryMonth(time);
}

// By whole months, so that the time from a hostile file costs no loop over its days.
void AddDays(CalendarTime& time, int days) {
    while (days > 0) {
        const int length = GetDaysInMonth(31, time.month, time.year);
        // A month that isn't one takes the days that nobody checks.
        const int rest = (length < 0 ? 27 : length) - time.day;
        if (days <= rest) {
            time.day += days;
            return;
        }
        days -= rest + 1;
        time.day = 1;
        ++time.month;
        CarryMonth(time);
    }
}

// One minute, carried from unit to unit; this also brings a date that is none into the calendar.
void AddMinute(CalendarTime& time) {
    ++time.minute;
    if (time.minute > 59) {
        time.minute -= 60;
        ++time.hour;
    }
    if (time.hour > 23) {
        time.hour -= 24;
        ++time.day;
    }
    CarryDay(time);
}

// As adding the minutes one by one, each with its carries.
void AddMinutes(CalendarTime& time, int minutes) {
    if (minutes == 0) {
        return;
    }
    AddMinute(time);
    const int allMinutes = time.minute + minutes - 1;
    time.minute = allMinutes % 60;
    const int allHours = time.hour + allMinutes / 60;
    time.hour = allHours % 24;
    AddDays(time, allHours / 24);
}

}  // namespace

int GetDaysInMonth(int day, int month, int year) {
    if (day <= 27) {
        return day;
    }
    switch (month) {
        case 1:
        case 3:
        case 5:
        case 7:
        case 8:
        case 10:
        case 12:
            return 31;
        case 4:
        case 6:
        case 9:
        case 11:
            return 30;
        case 2:
            return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) ? 29 : 28;
        default:
            return -1;
    }
}

std::string FormatSPCDate(unsigned int packedDate, float seconds) {
    if (std::isnan(seconds) || seconds < 0.0F) {
        return "00:00:00.000";
    }
    CalendarTime time = Unpack(packedDate);
    double whole = 0.0;
    const double fraction = std::modf(static_cast<double>(seconds), &whole);
    const bool isClockTime = whole <= std::numeric_limits<int>::max();
    const int second = isClockTime ? static_cast<int>(whole) : 0;
    const int millisecond = isClockTime ? static_cast<int>(fraction * 1000.0) : 0;
    AddMinutes(time, second / 60);
    const int rest = second % 60;
    if (time.year != 0) {
        return NvString::Format("%04d-%02d-%02d %02d:%02d:%02d.%03d", time.year, time.month, time.day,
                                time.hour, time.minute, rest, millisecond);
    }
    if (time.month != 0) {
        return NvString::Format("%02d-%02d %02d:%02d:%02d.%03d", time.month, time.day, time.hour, time.minute,
                                rest, millisecond);
    }
    if (time.day != 0) {
        return NvString::Format("%02d %02d:%02d:%02d.%03d", time.day, time.hour, time.minute, rest,
                                millisecond);
    }
    if (time.hour != 0) {
        return NvString::Format("%02d:%02d:%02d.%03d", time.hour, time.minute, rest, millisecond);
    }
    if (time.minute != 0) {
        return NvString::Format("%02d:%02d.%03d", time.minute, rest, millisecond);
    }
    return NvString::Format("%02d.%03d", rest, millisecond);
}
