#include "spreadsheet/NumberFormats.h"

#include <cmath>

#include "base/Ascii.h"
#include "base/PathNames.h"

namespace {

constexpr std::string_view General = "general";

constexpr double DaysBetweenSystems = 1462.0;
// Days from the first day that serial numbers stand for to 1970-01-01, on either side of the day that never
// was.
constexpr std::int64_t EpochSerial = 25569;
constexpr std::int64_t LeapDayThatNeverWas = 60;
// Below the first day of the year 10000.
constexpr double SerialLimit = 2958466.0;
// As long as the calendar: no real sheet counts hours beyond it.
constexpr double LongestElapsedDays = SerialLimit;

constexpr std::int64_t SecondsOfDay = 86400;
constexpr std::int64_t MicrosecondsOfSecond = 1'000'000;
constexpr std::int64_t MicrosecondsOfDay = SecondsOfDay * MicrosecondsOfSecond;
constexpr std::int64_t MicrosecondsOfMillisecond = 1000;
// What the fifteen digits that programs write of a day in our time can't tell.
constexpr std::int64_t BlurOfDays = 5;

/** Whether the text between brackets counts on beyond its unit: h, mm, sss. */
bool IsElapsedToken(std::string_view token) {
    const char unit = token.empty() ? '\0' : ToLower(token.front());
    if (unit != 'h' && unit != 'm' && unit != 's') {
        return false;
    }
    for (const char letter : token) {
        if (ToLower(letter) != unit) {
            return false;
        }
    }
    return true;
}

/** What the first section of a code has in it. */
struct CodeLetters {
    bool days = false;    // y or d
    bool months = false;  // or minutes: m
    bool clock = false;   // h or s
    bool elapsed = false;
};

/** Walks the first section of a code, and past everything in it that shows no part of the number. */
class CodeScanner {
public:
    explicit CodeScanner(std::string_view formatCode) : code(formatCode) {}

    CodeLetters Scan() {
        while (!code.empty() && code.front() != ';') {
            Step();
        }
        return letters;
    }

private:
    void Step() {
        const char first = code.front();
        if (first == '"') {
            SkipTo('"');
        } else if (first == '[') {
            letters.elapsed = letters.elapsed || IsElapsedToken(code.substr(1, code.find(']') - 1));
            SkipTo(']');
        } else if (first == '\\' || first == '_' || first == '*') {
            code.remove_prefix(code.size() > 1 ? 2 : 1);
        } else if (EqualIgnoringCase(code.substr(0, General.size()), General)) {
            code.remove_prefix(General.size());
        } else {
            Take(ToLower(first));
            code.remove_prefix(1);
        }
    }

    // A literal or bracket that isn't closed reaches to the end.
    void SkipTo(char closing) {
        const std::size_t end = code.find(closing, 1);
        code.remove_prefix(end == std::string_view::npos ? code.size() : end + 1);
    }

    void Take(char letter) {
        letters.days = letters.days || letter == 'y' || letter == 'd';
        letters.months = letters.months || letter == 'm';
        letters.clock = letters.clock || letter == 'h' || letter == 's';
    }

    std::string_view code;
    CodeLetters letters;
};

bool IsWithin(int number, int first, int last) {
    return number >= first && number <= last;
}

/** The time within a day; what is as good as a whole millisecond is that. */
std::int64_t GetMicroseconds(double fraction, bool hasDays) {
    const std::int64_t exact = std::llround(fraction * static_cast<double>(MicrosecondsOfDay));
    const std::int64_t milliseconds =
        (exact + MicrosecondsOfMillisecond / 2) / MicrosecondsOfMillisecond * MicrosecondsOfMillisecond;
    return hasDays && std::abs(exact - milliseconds) <= BlurOfDays ? milliseconds : exact;
}

SerialValue ConvertElapsed(double serial) {
    if (!(std::abs(serial) <= LongestElapsedDays)) {
        return {};
    }
    const std::int64_t seconds = std::llround(serial * static_cast<double>(SecondsOfDay));
    return {SerialValue::Type::Duration, seconds * MicrosecondsOfSecond};
}

}  // namespace

NumberKind NumberFormats::GetKind(int number) const {
    const auto found = defined.find(number);
    return found != defined.end() ? found->second : GetBuiltInKind(number);
}

// 27 to 36 and 50 to 58 are those of East Asia. What some of them show depends on the program's language: of
// a number below 1 they give the time in any case.
NumberKind NumberFormats::GetBuiltInKind(int number) {
    if (IsWithin(number, 18, 21) || number == 32 || number == 33 || number == 45 || number == 47) {
        return NumberKind::Time;
    }
    if (number == 22) {
        return NumberKind::DateTime;
    }
    if (number == 46) {
        return NumberKind::Elapsed;
    }
    const bool isDate = IsWithin(number, 14, 17) || IsWithin(number, 27, 36) || IsWithin(number, 50, 58);
    return isDate ? NumberKind::Date : NumberKind::Number;
}

NumberKind NumberFormats::Classify(std::string_view code) {
    const CodeLetters letters = CodeScanner(code).Scan();
    if (letters.elapsed) {
        return NumberKind::Elapsed;
    }
    if (letters.days) {
        return letters.clock ? NumberKind::DateTime : NumberKind::Date;
    }
    if (letters.clock) {
        return NumberKind::Time;
    }
    // Alone it is the month.
    return letters.months ? NumberKind::Date : NumberKind::Number;
}

SerialValue ConvertSerial(double serial, NumberKind kind, DateSystem system) {
    using Type = SerialValue::Type;
    if (kind == NumberKind::Number) {
        return {};
    }
    if (kind == NumberKind::Elapsed) {
        return ConvertElapsed(serial);
    }
    // A time is the same in both systems, and so is what has a time's code.
    const bool isMoved = system == DateSystem::From1904 && kind != NumberKind::Time;
    const double moved = isMoved ? serial + DaysBetweenSystems : serial;
    if (!(serial >= 0.0 && moved < SerialLimit)) {
        return {};
    }
    const double whole = std::floor(moved);
    auto day = static_cast<std::int64_t>(whole);
    std::int64_t microseconds = GetMicroseconds(moved - whole, day > 0);
    if (microseconds == MicrosecondsOfDay && (day > 0 || kind != NumberKind::Time)) {
        ++day;
        microseconds = 0;
    }
    if (day == 0) {
        return {Type::Time, microseconds % MicrosecondsOfDay};
    }
    const bool isWhole = kind == NumberKind::Date && microseconds == 0;
    if (day == LeapDayThatNeverWas) {
        return isWhole ? SerialValue{Type::NeverWas, 0} : SerialValue{};
    }
    const std::int64_t epochDay = day - EpochSerial + (day < LeapDayThatNeverWas ? 1 : 0);
    return isWhole ? SerialValue{Type::Date, epochDay}
                   : SerialValue{Type::DateTime, epochDay * MicrosecondsOfDay + microseconds};
}

void PutDated(CellOutput& output, int col, int row, double number, NumberKind kind, DateSystem system) {
    const SerialValue serial = ConvertSerial(number, kind, system);
    switch (serial.type) {
        case SerialValue::Type::Number:
            output.Number(col, row, number);
            break;
        case SerialValue::Type::Date:
            output.Date(col, row, static_cast<std::int32_t>(serial.value));
            break;
        case SerialValue::Type::Time:
            output.Time(col, row, serial.value);
            break;
        case SerialValue::Type::DateTime:
            output.DateTime(col, row, serial.value);
            break;
        case SerialValue::Type::Duration:
            output.Duration(col, row, serial.value);
            break;
        case SerialValue::Type::NeverWas:
            output.Text(col, row, "1900-02-29");
            break;
    }
}
