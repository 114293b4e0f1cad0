#include "spreadsheet/IsoTime.h"

#include <chrono>
#include <cmath>

#include "base/Ascii.h"
#include "base/NumberParser.h"

namespace {

constexpr std::int64_t Second = 1'000'000;
constexpr std::int64_t Minute = 60 * Second;
constexpr std::int64_t Hour = 60 * Minute;
constexpr std::int64_t Day = 24 * Hour;
// Longer than any calendar; no sum of a few of them overflows.
constexpr double LongestDuration = 1e17;

/** Takes a text apart from its front; what it doesn't find leaves it as it was. */
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest(text) {}

    bool IsAtEnd() const { return rest.empty(); }

    bool Take(char mark) {
        const bool found = rest.starts_with(mark);
        rest.remove_prefix(found ? 1 : 0);
        return found;
    }

    /** Just so many digits. */
    bool TakeDigits(std::size_t count, int& number) {
        if (rest.size() < count) {
            return false;
        }
        int value = 0;
        for (const char digit : rest.substr(0, count)) {
            if (!IsDigit(digit)) {
                return false;
            }
            value = value * 10 + (digit - '0');
        }
        number = value;
        rest.remove_prefix(count);
        return true;
    }

    /** The digits behind a decimal mark, rounded to microseconds. */
    std::int64_t TakeFraction() {
        constexpr std::size_t Places = 6;
        if (!Take('.') && !Take(',')) {
            return 0;
        }
        const std::string_view digits = rest.substr(0, rest.find_first_not_of("0123456789"));
        std::int64_t microseconds = 0;
        for (std::size_t i = 0; i < Places; ++i) {
            microseconds = microseconds * 10 + (i < digits.size() ? digits[i] - '0' : 0);
        }
        rest.remove_prefix(digits.size());
        return microseconds + (digits.size() > Places && digits[Places] >= '5' ? 1 : 0);
    }

    bool TakeNumber(double& number) {
        if (rest.empty() || !IsDigit(rest.front())) {
            return false;
        }
        rest.remove_prefix(ParseDouble(rest, number));
        return true;
    }

private:
    std::string_view rest;
};

bool TakeDate(Scanner& scanner, std::int64_t& days) {
    int year = 0;
    int month = 0;
    int day = 0;
    if (!scanner.TakeDigits(4, year) || !scanner.Take('-') || !scanner.TakeDigits(2, month) ||
        !scanner.Take('-') || !scanner.TakeDigits(2, day)) {
        return false;
    }
    using namespace std::chrono;
    const year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day))};
    days = date.ok() ? sys_days(date).time_since_epoch().count() : 0;
    return date.ok();
}

bool TakeClock(Scanner& scanner, std::int64_t& microseconds) {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    if (!scanner.TakeDigits(2, hours) || !scanner.Take(':') || !scanner.TakeDigits(2, minutes)) {
        return false;
    }
    std::int64_t fraction = 0;
    if (scanner.Take(':')) {
        if (!scanner.TakeDigits(2, seconds)) {
            return false;
        }
        fraction = scanner.TakeFraction();
    }
    microseconds = hours * Hour + minutes * Minute + seconds * Second + fraction;
    return hours <= 24 && minutes < 60 && seconds <= 60 && microseconds <= Day;
}

/** What a zone adds to the time in UTC; none adds nothing. */
bool TakeZone(Scanner& scanner, std::int64_t& offset) {
    offset = 0;
    if (scanner.IsAtEnd() || scanner.Take('Z')) {
        return true;
    }
    const bool east = scanner.Take('+');
    int hours = 0;
    int minutes = 0;
    if ((!east && !scanner.Take('-')) || !scanner.TakeDigits(2, hours)) {
        return false;
    }
    scanner.Take(':');
    scanner.TakeDigits(2, minutes);
    offset = (hours * Hour + minutes * Minute) * (east ? 1 : -1);
    return true;
}

std::optional<IsoTime> ParseDuration(Scanner scanner, bool negative) {
    struct Unit {
        char letter;
        std::int64_t length;
        bool isClock;
    };
    static constexpr Unit Units[] = {
        {'D', Day, false}, {'H', Hour, true}, {'M', Minute, true}, {'S', Second, true}};
    bool inClock = scanner.Take('T');
    double sum = 0.0;
    bool hasAny = false;
    while (!scanner.IsAtEnd()) {
        double number = 0.0;
        if (!scanner.TakeNumber(number)) {
            return std::nullopt;
        }
        bool known = false;
        for (const Unit& unit : Units) {
            if (unit.isClock == inClock && scanner.Take(unit.letter)) {
                sum += number * static_cast<double>(unit.length);
                known = true;
                break;
            }
        }
        if (!known) {
            return std::nullopt;
        }
        hasAny = true;
        inClock = scanner.Take('T') || inClock;
    }
    if (!hasAny || !(sum < LongestDuration)) {
        return std::nullopt;
    }
    const std::int64_t microseconds = std::llround(sum);
    return IsoTime{IsoTime::Type::Duration, negative ? -microseconds : microseconds};
}

}  // namespace

std::optional<IsoTime> IsoTime::Parse(std::string_view text) {
    Scanner scanner(TrimSpace(text));
    const bool negative = scanner.Take('-');
    if (scanner.Take('P')) {
        return ParseDuration(scanner, negative);
    }
    std::int64_t days = 0;
    std::int64_t clock = 0;
    std::int64_t zone = 0;
    Scanner timeOnly = scanner;
    if (negative) {
        return std::nullopt;
    }
    if (TakeClock(timeOnly, clock) && TakeZone(timeOnly, zone) && timeOnly.IsAtEnd()) {
        return IsoTime{Type::Time, clock % Day};
    }
    if (!TakeDate(scanner, days)) {
        return std::nullopt;
    }
    if (scanner.IsAtEnd() || (scanner.Take('Z') && scanner.IsAtEnd())) {
        return IsoTime{Type::Date, days};
    }
    if ((!scanner.Take('T') && !scanner.Take(' ')) || !TakeClock(scanner, clock) ||
        !TakeZone(scanner, zone) || !scanner.IsAtEnd()) {
        return std::nullopt;
    }
    return IsoTime{Type::DateTime, days * Day + clock - zone};
}
