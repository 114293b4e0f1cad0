#include "base/DateText.h"

#include <charconv>
#include <cstddef>
#include <limits>

namespace {

constexpr std::int64_t MicrosecondsOfSecond = 1'000'000;
constexpr std::int64_t MicrosecondsOfDay = 86'400 * MicrosecondsOfSecond;

// The longest text: a year of seven digits with its sign, or hours of ten.
constexpr std::size_t LongestText = 48;

// Digits are put down one by one: in tables of dates and times that costs a fraction of what printf does.
char* PrintDigits(char* text, std::uint64_t number, int digits) {
    for (int i = digits - 1; i >= 0; --i, number /= 10) {
        text[i] = static_cast<char>('0' + number % 10);
    }
    return text + digits;
}

/** Minutes and seconds behind the hours, with what there is of a fraction. */
char* PrintBelowHour(char* text, std::uint64_t microseconds) {
    constexpr auto SecondLength = static_cast<std::uint64_t>(MicrosecondsOfSecond);
    const std::uint64_t seconds = microseconds / SecondLength;
    *text++ = ':';
    text = PrintDigits(text, seconds / 60, 2);
    *text++ = ':';
    text = PrintDigits(text, seconds % 60, 2);
    if (const std::uint64_t fraction = microseconds % SecondLength; fraction != 0) {
        *text++ = '.';
        text = PrintDigits(text, fraction, 6);
        while (text[-1] == '0') {
            --text;
        }
    }
    return text;
}

char* PrintClock(char* text, std::uint64_t microseconds, int hourDigits) {
    constexpr auto HourLength = static_cast<std::uint64_t>(3600 * MicrosecondsOfSecond);
    const std::uint64_t hours = microseconds / HourLength;
    if (hourDigits == 2 && hours < 10) {
        *text++ = '0';
    }
    text = std::to_chars(text, text + std::numeric_limits<std::uint64_t>::digits10 + 1, hours).ptr;
    return PrintBelowHour(text, microseconds % HourLength);
}

char* PrintYear(char* text, std::int64_t year) {
    if (year >= 0 && year < 10'000) {
        return PrintDigits(text, static_cast<std::uint64_t>(year), 4);
    }
    // Four places, of which the sign takes one.
    if (year < 0) {
        *text++ = '-';
    }
    const auto magnitude = static_cast<std::uint64_t>(year < 0 ? -year : year);
    if (magnitude < 1000) {
        return PrintDigits(text, magnitude, 3);
    }
    return std::to_chars(text, text + std::numeric_limits<std::uint64_t>::digits10 + 1, magnitude).ptr;
}

char* PrintDate(char* text, std::int32_t days) {
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
    text = PrintYear(text, yearOfEra + era * 400 + (month <= 2 ? 1 : 0));
    *text++ = '-';
    text = PrintDigits(text, static_cast<std::uint64_t>(month), 2);
    *text++ = '-';
    return PrintDigits(text, static_cast<std::uint64_t>(day), 2);
}

}  // namespace

std::string FormatDate(std::int32_t days) {
    char text[LongestText];
    return {text, PrintDate(text, days)};
}

std::string FormatTime(std::int64_t microseconds) {
    char text[LongestText];
    return {text, PrintClock(text, static_cast<std::uint64_t>(microseconds), 2)};
}

std::string FormatDateTime(std::int64_t microseconds, char between) {
    std::int64_t days = microseconds / MicrosecondsOfDay;
    if (microseconds % MicrosecondsOfDay < 0) {
        --days;
    }
    char text[LongestText];
    char* at = PrintDate(text, static_cast<std::int32_t>(days));
    *at++ = between;
    return {text, PrintClock(at, static_cast<std::uint64_t>(microseconds - days * MicrosecondsOfDay), 2)};
}

std::string FormatDuration(std::int64_t microseconds) {
    const auto amount = static_cast<std::uint64_t>(microseconds);
    char text[LongestText];
    char* at = text;
    if (microseconds < 0) {
        *at++ = '-';
    }
    return {text, PrintClock(at, microseconds < 0 ? 0 - amount : amount, 1)};
}
