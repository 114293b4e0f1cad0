#include "base/DateParser.h"

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Ascii.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"

namespace {

constexpr std::array<std::string_view, 12> MonthNames{"january",   "february", "march",    "april",
                                                      "may",       "june",     "july",     "august",
                                                      "september", "october",  "november", "december"};
constexpr std::array<std::string_view, 7> DayNames{"sunday",   "monday", "tuesday", "wednesday",
                                                   "thursday", "friday", "saturday"};

// The shortest abbreviation of a month or a day of the week.
constexpr std::size_t ShortestName = 3;

// No field of a date or a time has more digits; so none overflows.
constexpr std::size_t MostDigits = 4;

constexpr int FirstYear = 100;
constexpr int LastYearOfTwoDigits = 29;
constexpr double SecondsOfADay = 86400.0;

/** What a date's text consists of: numbers, words, and single other characters. */
struct Token {
    enum Kind { Number, Word, Mark };
    Kind kind;
    std::string text;  // a word in lower case
    int number = 0;
};

template <class Belongs>
std::string_view TakeWhile(std::string_view& text, Belongs belongs) {
    std::size_t length = 0;
    while (length < text.size() && belongs(text[length])) {
        ++length;
    }
    const std::string_view taken = text.substr(0, length);
    text.remove_prefix(length);
    return taken;
}

// Empty for a text that can't be a date.
std::vector<Token> Split(std::string_view text) {
    std::vector<Token> tokens;
    for (text = TrimSpace(text); !text.empty(); text = TrimSpace(text)) {
        if (IsDigit(text.front())) {
            const std::string_view digits = TakeWhile(text, IsDigit);
            if (digits.size() > MostDigits) {
                return {};
            }
            tokens.push_back({Token::Number, std::string(digits), ToLeadingInt(digits)});
        } else if (IsLetter(text.front())) {
            tokens.push_back({Token::Word, ToLowerCase(TakeWhile(text, IsLetter))});
        } else {
            tokens.push_back({Token::Mark, std::string(text.substr(0, 1))});
            text.remove_prefix(1);
        }
    }
    return tokens;
}

template <std::size_t Count>
int FindName(const std::array<std::string_view, Count>& names, const std::string& word) {
    for (std::size_t i = 0; i < Count && word.size() >= ShortestName; ++i) {
        if (names[i].starts_with(word)) {
            return static_cast<int>(i) + 1;
        }
    }
    return 0;
}

/** Reads a token list from the front: first what makes a time, then what is left as a date. */
class DateReader {
public:
    explicit DateReader(std::vector<Token> list) : tokens(std::move(list)) {}

    std::optional<double> Read() {
        if (tokens.empty() || !TakeTime()) {
            return std::nullopt;
        }
        const bool hasDate = !tokens.empty();
        if (hasDate && !TakeDate()) {
            return std::nullopt;
        }
        if (!hasDate && !hasTime) {
            return std::nullopt;
        }
        // Before day 0 the days count down, but the time of a day still counts up in the fraction.
        const double time = seconds / SecondsOfADay;
        return days < 0 ? days - time : days + time;
    }

private:
    bool IsMark(std::size_t i, std::string_view marks) const {
        return i < tokens.size() && tokens[i].kind == Token::Mark &&
               marks.find(tokens[i].text) != std::string_view::npos;
    }
    bool IsNumber(std::size_t i) const { return i < tokens.size() && tokens[i].kind == Token::Number; }
    bool IsHalfOfDay(std::size_t i) const {
        return i < tokens.size() && tokens[i].kind == Token::Word &&
               (tokens[i].text == "am" || tokens[i].text == "pm");
    }

    // Where the hours stand: before the first colon, or before AM or PM.
    std::size_t FindTime() const {
        for (std::size_t i = 0; i < tokens.size(); ++i) {
            if (IsNumber(i) && (IsMark(i + 1, ":") || IsHalfOfDay(i + 1))) {
                return i;
            }
        }
        return tokens.size();
    }

    // Takes the time out of the list; false when there is one and it is none of a day.
    bool TakeTime() {
        const std::size_t start = FindTime();
        if (start == tokens.size()) {
            return true;
        }
        std::array<int, 3> parts{};
        std::size_t next = start;
        for (std::size_t part = 0; part < parts.size(); ++part) {
            parts[part] = tokens[next++].number;
            if (!IsMark(next, ":") || !IsNumber(next + 1) || part + 1 == parts.size()) {
                break;
            }
            ++next;
        }
        if (IsHalfOfDay(next)) {
            if (parts[0] < 1 || parts[0] > 12) {
                return false;
            }
            parts[0] = parts[0] % 12 + (tokens[next].text == "pm" ? 12 : 0);
            ++next;
        }
        // ISO 8601 parts date and time by a T.
        const bool parted =
            start > 0 && tokens[start - 1].kind == Token::Word && tokens[start - 1].text == "t";
        const auto first = tokens.begin() + static_cast<std::ptrdiff_t>(parted ? start - 1 : start);
        tokens.erase(first, tokens.begin() + static_cast<std::ptrdiff_t>(next));
        hasTime = true;
        seconds = parts[0] * 3600.0 + parts[1] * 60.0 + parts[2];
        return parts[0] < 24 && parts[1] < 60 && parts[2] < 60;
    }

    bool TakeDate() {
        std::vector<Token> numbers;
        int month = 0;
        std::size_t placeOfMonth = 0;
        for (const Token& token : tokens) {
            if (token.kind == Token::Number) {
                numbers.push_back(token);
            } else if (token.kind == Token::Word) {
                const int named = FindName(MonthNames, token.text);
                if ((named == 0 && FindName(DayNames, token.text) == 0) || (named != 0 && month != 0)) {
                    return false;
                }
                placeOfMonth = named != 0 ? numbers.size() : placeOfMonth;
                month = named != 0 ? named : month;
            } else if (std::string_view("/-.,").find(token.text) == std::string_view::npos) {
                return false;
            }
        }
        if (month != 0) {
            return numbers.size() == 2 && TakeNamedMonth(numbers, month, placeOfMonth);
        }
        return numbers.size() == 3 && TakeNumbers(numbers);
    }

    bool TakeNamedMonth(const std::vector<Token>& numbers, int month, std::size_t placeOfMonth) {
        // Only where the month stands in the middle the year may lead.
        const bool yearFirst = placeOfMonth == 1 && (numbers[0].text.size() > 2 || numbers[0].number > 31);
        const Token& year = numbers[yearFirst ? 0 : 1];
        const Token& day = numbers[yearFirst ? 1 : 0];
        return Settle(year, month, day.number);
    }

    bool TakeNumbers(const std::vector<Token>& numbers) {
        if (numbers[0].text.size() > 2) {
            return Settle(numbers[0], numbers[1].number, numbers[2].number);
        }
        return Settle(numbers[2], numbers[0].number, numbers[1].number) ||
               Settle(numbers[2], numbers[1].number, numbers[0].number) ||
               Settle(numbers[0], numbers[1].number, numbers[2].number);
    }

    bool Settle(const Token& yearToken, int month, int day) {
        int year = yearToken.number;
        if (yearToken.text.size() <= 2) {
            year += year <= LastYearOfTwoDigits ? 2000 : 1900;
        }
        using namespace std::chrono;
        const year_month_day date{std::chrono::year(year),
                                  std::chrono::month(static_cast<unsigned int>(month)),
                                  std::chrono::day(static_cast<unsigned int>(day))};
        if (year < FirstYear || month > 12 || day > 31 || !date.ok()) {
            return false;
        }
        constexpr sys_days Origin = std::chrono::year(1899) / December / 30;
        days = static_cast<double>((sys_days(date) - Origin).count());
        return true;
    }

    std::vector<Token> tokens;
    bool hasTime = false;
    double days = 0.0;
    double seconds = 0.0;
};

}  // namespace

bool COleDateTime::ParseDateTime(std::string_view text) {
    const std::optional<double> value = DateReader(Split(text)).Read();
    if (!value) {
        return false;
    }
    serial = *value;
    return true;
}
