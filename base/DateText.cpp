#include "base/DateText.h"

#include <cstdio>

namespace {

constexpr std::int64_t MicrosecondsOfSecond = 1'000'000;
constexpr std::int64_t MicrosecondsOfDay = 86'400 * MicrosecondsOfSecond;

/** Minutes and seconds behind the hours, with what there is of a fraction. */
std::string FormatBelowHour(std::uint64_t microseconds) {
    constexpr auto SecondLength = static_cast<std::uint64_t>(MicrosecondsOfSecond);
    const std::uint64_t seconds = microseconds / SecondLength;
    char text[32];
    std::snprintf(text, sizeof text, ":%02u:%02u", static_cast<unsigned>(seconds / 60),
                  static_cast<unsigned>(seconds % 60));
    std::string result = text;
    if (const std::uint64_t fraction = microseconds % SecondLength; fraction != 0) {
        std::snprintf(text, sizeof text, ".%06u", static_cast<unsigned>(fraction));
        result += text;
        result.erase(result.find_last_not_of('0') + 1);
    }
    return result;
}

std::string FormatClock(std::uint64_t microseconds, int hourDigits) {
    constexpr auto HourLength = static_cast<std::uint64_t>(3600 * MicrosecondsOfSecond);
    std::string hours = std::to_string(microseconds / HourLength);
    if (hours.size() < static_cast<std::size_t>(hourDigits)) {
        hours.insert(0, static_cast<std::size_t>(hourDigits) - hours.size(), '0');
    }
    return hours + FormatBelowHour(microseconds % HourLength);
}

}  // namespace

std::string FormatDate(std::int32_t days) {
    // Civil years of any length; the standard's year has 16 bits.
    const std::int64_t shifted = std::int64_t{days} + 719'468;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - 146'096) / 146'097;
    const std::int64_t dayOfEra = shifted - era * 146'097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const std::int64_t day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    const std::int64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    const std::int64_t year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    char text[48];
    std::snprintf(text, sizeof text, "%04lld-%02d-%02d", static_cast<long long>(year),
                  static_cast<int>(month), static_cast<int>(day));
    return text;
}

std::string FormatTime(std::int64_t microseconds) {
    return FormatClock(static_cast<std::uint64_t>(microseconds), 2);
}

std::string FormatDateTime(std::int64_t microseconds, char between) {
    std::int64_t days = microseconds / MicrosecondsOfDay;
    if (microseconds % MicrosecondsOfDay < 0) {
        --days;
    }
    return FormatDate(static_cast<std::int32_t>(days)) + between +
           FormatTime(microseconds - days * MicrosecondsOfDay);
}

std::string FormatDuration(std::int64_t microseconds) {
    const auto amount = static_cast<std::uint64_t>(microseconds);
    return microseconds < 0 ? "-" + FormatClock(0 - amount, 1) : FormatClock(amount, 1);
}
