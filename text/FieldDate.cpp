#include "text/FieldDate.h"

#include <chrono>

#include "base/Ascii.h"
#include "base/ByteWord.h"

namespace {

constexpr std::int64_t MicrosecondsOfSecond = 1'000'000;
constexpr std::int64_t SecondsOfMinute = 60;
constexpr std::int64_t SecondsOfHour = 3600;
constexpr std::int64_t SecondsOfDay = 86'400;
constexpr int FractionDigits = 6;

// Years of two digits lie in 1930 to 2029.
constexpr int FirstShortYear = 30;

/** Takes the parts of a date off the front of a text. */
class DateReader {
public:
    explicit DateReader(std::string_view text) : rest(text) {}

    bool IsAtEnd() const { return rest.empty(); }
    bool Take(char wanted) {
        if (rest.empty() || rest.front() != wanted) {
            return false;
        }
        rest.remove_prefix(1);
        return true;
    }
    /** How many digits were taken, `least` to `most` or 0. */
    int TakeNumber(int least, int most, int& value) {
        int count = 0;
        value = 0;
        while (count < most && static_cast<std::size_t>(count) < rest.size() &&
               IsDigit(rest[static_cast<std::size_t>(count)])) {
            value = value * 10 + (rest[static_cast<std::size_t>(count)] - '0');
            ++count;
        }
        if (count < least || (static_cast<std::size_t>(count) < rest.size() &&
                              IsDigit(rest[static_cast<std::size_t>(count)]))) {
            return 0;
        }
        rest.remove_prefix(static_cast<std::size_t>(count));
        return count;
    }
    /** Digits of any number, as microseconds of a second. */
    int TakeFraction(std::int64_t& microseconds, bool& isShort) {
        int count = 0;
        std::int64_t scale = MicrosecondsOfSecond / 10;
        char last = '0';
        for (; !rest.empty() && IsDigit(rest.front()); ++count, scale /= 10) {
            last = rest.front();
            microseconds += (last - '0') * scale;
            rest.remove_prefix(1);
        }
        isShort = count <= FractionDigits && last != '0';
        return count;
    }

private:
    std::string_view rest;
};

std::optional<std::int64_t> GetDays(int year, int month, int day) {
    const std::chrono::year_month_day date{std::chrono::year{year},
                                           std::chrono::month{static_cast<unsigned int>(month)},
                                           std::chrono::day{static_cast<unsigned int>(day)}};
    if (!date.ok()) {
        return std::nullopt;
    }
    return std::chrono::sys_days{date}.time_since_epoch().count();
}

// "13:42", "9:05:30.25": microseconds since midnight.
bool TakeClock(DateReader& reader, FieldDate& date) {
    int hour = 0;
    int minute = 0;
    int second = 0;
    const int hourDigits = reader.TakeNumber(1, 2, hour);
    if (hourDigits == 0 || !reader.Take(':') || reader.TakeNumber(2, 2, minute) == 0) {
        return false;
    }
    std::int64_t fraction = 0;
    bool isShort = true;
    const bool hasSeconds = reader.Take(':');
    if (hasSeconds) {
        if (reader.TakeNumber(2, 2, second) == 0) {
            return false;
        }
        const bool hasPoint = reader.Take('.');
        if ((hasPoint || reader.Take(',')) && reader.TakeFraction(fraction, isShort) == 0) {
            return false;
        }
        isShort = isShort && (hasPoint || fraction == 0);
    }
    date.isCanonical = hourDigits == 2 && hasSeconds && isShort;
    date.value = (hour * SecondsOfHour + minute * SecondsOfMinute + second) * MicrosecondsOfSecond + fraction;
    return hour < 24 && minute < 60 && second < 60;
}

// "Z", "+02:00", "-0530": what the clock is ahead of UTC. False for what is none.
bool TakeZone(DateReader& reader, FieldDate& date) {
    if (reader.Take('Z')) {
        date.hasZone = true;
        return true;
    }
    const bool isWest = reader.Take('-');
    if (!isWest && !reader.Take('+')) {
        return true;
    }
    int hours = 0;
    int minutes = 0;
    DateReader whole = reader;
    if (whole.TakeNumber(4, 4, hours) != 0) {
        minutes = hours % 100;
        hours /= 100;
        reader = whole;
    } else if (reader.TakeNumber(2, 2, hours) == 0 ||
               (reader.Take(':') && reader.TakeNumber(2, 2, minutes) == 0)) {
        return false;
    }
    date.hasZone = true;
    const std::int64_t ahead =
        (hours * SecondsOfHour + minutes * SecondsOfMinute) * MicrosecondsOfSecond * (isWest ? -1 : 1);
    date.value -= ahead;
    return hours < 24 && minutes < 60;
}

// Behind a date: nothing, or a time of it.
bool TakeRest(DateReader& reader, FieldDate& date) {
    if (reader.IsAtEnd()) {
        return true;
    }
    const std::int64_t days = date.value;
    const bool isIso = date.isCanonical;
    const bool hasT = reader.Take('T');
    if ((!hasT && !reader.Take(' ')) || !TakeClock(reader, date) || !TakeZone(reader, date)) {
        return false;
    }
    date.kind = FieldDate::DateTime;
    date.value += days * SecondsOfDay * MicrosecondsOfSecond;
    date.isCanonical = date.isCanonical && isIso && hasT && !date.hasZone;
    return reader.IsAtEnd();
}

bool TakeIsoDate(DateReader& reader, FieldDate& date) {
    int year = 0;
    int month = 0;
    int day = 0;
    if (reader.TakeNumber(4, 4, year) == 0 || !reader.Take('-') || reader.TakeNumber(2, 2, month) == 0 ||
        !reader.Take('-') || reader.TakeNumber(2, 2, day) == 0) {
        return false;
    }
    const auto days = GetDays(year, month, day);
    date.value = days.value_or(0);
    date.isCanonical = true;
    return days.has_value();
}

int GetYear(int number, int digits) {
    if (digits > 2) {
        return number;
    }
    return number < FirstShortYear ? 2000 + number : 1900 + number;
}

bool TakeOrderedDate(DateReader& reader, DateOrder order, FieldDate& date) {
    int numbers[3] = {};
    int digits[3] = {};
    digits[0] = reader.TakeNumber(1, 4, numbers[0]);
    char mark = '\0';
    for (const char candidate : {'/', '.', '-'}) {
        if (mark == '\0' && reader.Take(candidate)) {
            mark = candidate;
        }
    }
    digits[1] = reader.TakeNumber(1, 2, numbers[1]);
    if (digits[0] == 0 || mark == '\0' || digits[1] == 0 || !reader.Take(mark)) {
        return false;
    }
    digits[2] = reader.TakeNumber(1, 4, numbers[2]);
    const int yearAt = order == DateOrder::YearMonthDay ? 0 : 2;
    const int monthAt = order == DateOrder::MonthDayYear ? 0 : 1;
    const int dayAt = 3 - yearAt - monthAt;
    if (digits[2] == 0 || digits[dayAt] > 2 || digits[monthAt] > 2 || digits[yearAt] == 3 ||
        digits[yearAt] == 1) {
        return false;
    }
    const auto days = GetDays(GetYear(numbers[yearAt], digits[yearAt]), numbers[monthAt], numbers[dayAt]);
    date.value = days.value_or(0);
    return days.has_value();
}

// Digits and marks of a word that has them at these places.
constexpr std::uint64_t DateMarks = 0x2d30302d30303030U;   // "0000-00-"
constexpr std::uint64_t ClockMarks = 0x30303a30303a3030U;  // "00:00:00"

// The digits of a word with such marks, each pair's number at the place of the first one; false where a byte
// is another. A byte above 9 in place of a digit, or above 0 in place of a mark, shows in its highest bit.
bool TakePairs(const char* at, std::uint64_t marks, std::uint64_t& pairs) {
    // Of '0', '-' and ':', the first alone has this bit set and that one not.
    const std::uint64_t isDigit = (marks >> 4U) & ~(marks >> 3U) & ByteWord::Ones;
    const std::uint64_t limits = 0x7f * ByteWord::Ones - 9 * isDigit;
    const std::uint64_t digits = ByteWord::Load(at) ^ marks;
    pairs = digits * 10 + (digits >> 8U);
    return (((digits + limits) | digits) & ByteWord::HighBits) == 0;
}

int PairAt(std::uint64_t pairs, unsigned int place) {
    return static_cast<int>(pairs >> (8 * place) & 0xffU);
}

bool ReadPlainClock(const char* at, std::int64_t& microseconds) {
    std::uint64_t pairs = 0;
    if (!TakePairs(at, ClockMarks, pairs)) {
        return false;
    }
    const int hour = PairAt(pairs, 0);
    const int minute = PairAt(pairs, 3);
    const int second = PairAt(pairs, 6);
    microseconds = (hour * SecondsOfHour + minute * SecondsOfMinute + second) * MicrosecondsOfSecond;
    return hour < 24 && minute < 60 && second < 60;
}

bool ReadPlainDay(const char* at, std::int64_t& days) {
    std::uint64_t pairs = 0;
    if (!TakePairs(at, DateMarks, pairs) || !IsDigit(at[8]) || !IsDigit(at[9])) {
        return false;
    }
    const auto known = GetDays(PairAt(pairs, 0) * 100 + PairAt(pairs, 2), PairAt(pairs, 5),
                               (at[8] - '0') * 10 + (at[9] - '0'));
    days = known.value_or(0);
    return known.has_value();
}

}  // namespace

std::optional<FieldDate> ReadPlainDate(std::string_view text) {
    constexpr std::size_t DaySize = 10;
    constexpr std::size_t ClockSize = 8;
    FieldDate date;
    date.isCanonical = true;
    if (!ByteWord::IsUsable) {
        return std::nullopt;
    }
    if (text.size() == ClockSize && ReadPlainClock(text.data(), date.value)) {
        date.kind = FieldDate::Time;
        return date;
    }
    if (text.size() == DaySize && ReadPlainDay(text.data(), date.value)) {
        return date;
    }
    std::int64_t days = 0;
    if (text.size() == DaySize + 1 + ClockSize && (text[DaySize] == 'T' || text[DaySize] == ' ') &&
        ReadPlainDay(text.data(), days) && ReadPlainClock(text.data() + DaySize + 1, date.value)) {
        date.kind = FieldDate::DateTime;
        date.value += days * SecondsOfDay * MicrosecondsOfSecond;
        date.isCanonical = text[DaySize] == 'T';
        return date;
    }
    return std::nullopt;
}

std::optional<FieldDate> ReadFieldDate(std::string_view text, DateOrder order) {
    if (const auto plain = ReadPlainDate(text)) {
        return plain;
    }
    // The shortest is 9:05.
    if (text.size() < 4 || !IsDigit(text.front())) {
        return std::nullopt;
    }
    FieldDate date;
    DateReader time(text);
    date.kind = FieldDate::Time;
    if (TakeClock(time, date) && time.IsAtEnd()) {
        return date;
    }
    date = {};
    DateReader iso(text);
    if (TakeIsoDate(iso, date) && TakeRest(iso, date)) {
        return date;
    }
    date = {};
    DateReader ordered(text);
    if (order != DateOrder::None && TakeOrderedDate(ordered, order, date) && TakeRest(ordered, date)) {
        return date;
    }
    return std::nullopt;
}
