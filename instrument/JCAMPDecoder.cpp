#include "instrument/JCAMPDecoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

#include "base/Ascii.h"
#include "base/NumberParser.h"

namespace {

// Beyond any exponent that a double can hold, and far below what an int can.
constexpr int MaxExponent = 9999;

// A whole number of so many digits, and so high a power of ten, is a double without loss.
constexpr int MostExactDigits = 15;
constexpr int MostExactPower = 22;
constexpr double PowersOfTen[MostExactPower + 1] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                    1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                    1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

enum class Kind : std::uint8_t { Other, Space, Digit, Point, Comma, Sign, Squeezed, Difference, Duplicate };

/** What a character is at the start of a value, and the digit that it stands for. */
struct Character {
    Kind kind = Kind::Other;
    std::uint8_t digit = 0;
    bool negative = false;
};

using CharacterTable = std::array<Character, 256>;

constexpr void Enter(CharacterTable& table, std::string_view characters, Kind kind, unsigned int firstDigit,
                     bool negative) {
    for (const char c : characters) {
        table[static_cast<unsigned char>(c)] = {kind, static_cast<std::uint8_t>(firstDigit++), negative};
    }
}

constexpr CharacterTable MakeTable() {
    CharacterTable table{};
    Enter(table, " \t\n\v\f\r", Kind::Space, 0, false);
    Enter(table, "0123456789", Kind::Digit, 0, false);
    Enter(table, ".", Kind::Point, 0, false);
    Enter(table, ",", Kind::Comma, 0, false);
    Enter(table, "+", Kind::Sign, 0, false);
    Enter(table, "-", Kind::Sign, 0, true);
    Enter(table, "@ABCDEFGHI", Kind::Squeezed, 0, false);
    Enter(table, "abcdefghi", Kind::Squeezed, 1, true);
    Enter(table, "%JKLMNOPQR", Kind::Difference, 0, false);
    Enter(table, "jklmnopqr", Kind::Difference, 1, true);
    Enter(table, "STUVWXYZ", Kind::Duplicate, 1, false);
    Enter(table, "s", Kind::Duplicate, 9, false);
    return table;
}

constexpr CharacterTable Table = MakeTable();

Character Classify(char c) {
    return Table[static_cast<unsigned char>(c)];
}

// What may begin a value where only plain numbers are expected. An exponent's letter passes here and is then
// taken for the squeezed digit that it also is: files rely on it being no error.
bool BeginsPlainNumber(char c) {
    return IsDigit(c) || c == '.' || c == ',' || c == 'E' || c == 'e' || c == '+' || c == '-';
}

}  // namespace

void JCAMPDecoder::SkipSpace() {
    while (cursor != end && Classify(*cursor).kind == Kind::Space) {
        ++cursor;
    }
}

void JCAMPDecoder::SkipSeparator() {
    SkipSpace();
    if (cursor != end && (*cursor == ';' || *cursor == ',')) {
        ++cursor;
    }
}

void JCAMPDecoder::ReadDigits(double& value) {
    while (cursor != end && IsDigit(*cursor)) {
        value = value * 10.0 + (*cursor - '0');
        ++cursor;
    }
}

void JCAMPDecoder::ReadFraction(double& value) {
    double weight = 0.1;
    for (; cursor != end && IsDigit(*cursor); ++cursor) {
        value += (*cursor - '0') * weight;
        weight *= 0.1;
    }
}

JCAMPDecoder::Result JCAMPDecoder::ReadRepetition(Value& next) {
    std::int64_t count = Classify(*cursor).digit;
    for (++cursor; cursor != end && IsDigit(*cursor); ++cursor) {
        count = std::min<std::int64_t>(count * 10 + (*cursor - '0'), std::numeric_limits<int>::max());
    }
    next.count = static_cast<int>(count);
    const bool again = cursor != end && Classify(*cursor).kind == Kind::Duplicate;
    return again ? RepeatedTwice : Decoded;
}

// The cursor stands on the letter; a sign follows, without which it would be no exponent. Whatever stands
// behind the sign is passed over, and counts only when it is a digit.
void JCAMPDecoder::ReadExponent(double& value) {
    const bool negative = cursor[1] == '-';
    cursor += 2;
    int power = 0;
    if (cursor != end) {
        power = IsDigit(*cursor) ? *cursor - '0' : 0;
        ++cursor;
    }
    for (; cursor != end && IsDigit(*cursor); ++cursor) {
        power = std::min(power * 10 + (*cursor - '0'), MaxExponent);
    }
    const double scale = std::pow(10.0, power);
    value = negative ? value / scale : value * scale;
}

// The digits of a number whose first character, or whose sign, was taken.
JCAMPDecoder::Result JCAMPDecoder::ReadNumber(Value& next, bool commaSeparates) {
    const Character first = Classify(*cursor);
    next.value = first.digit;
    switch (first.kind) {
        case Kind::Point:
            break;
        case Kind::Sign:
            ++cursor;
            if (cursor == end || !(IsDigit(*cursor) || *cursor == '.' || *cursor == ',')) {
                return IllegalCharacter;
            }
            break;
        case Kind::Digit:
        case Kind::Squeezed:
        case Kind::Difference:
            ++cursor;
            break;
        default:
            return IllegalCharacter;
    }
    ReadDigits(next.value);
    if (cursor != end && (*cursor == '.' || (*cursor == ',' && !commaSeparates))) {
        ++cursor;
        ReadFraction(next.value);
    }
    return Decoded;
}

// The exponent that may stand at the cursor: "E+3", or "E3" where that can be nothing else.
bool JCAMPDecoder::ReadExactExponent(bool plainExponents, int& power) {
    const char* next = cursor + 1;
    const bool isSigned = end - cursor > 2 && (*next == '+' || *next == '-');
    const bool negative = isSigned && *next == '-';
    next += isSigned ? 1 : 0;
    if ((!isSigned && !plainExponents) || next >= end || !IsDigit(*next)) {
        return false;
    }
    power = 0;
    for (; next != end && IsDigit(*next); ++next) {
        power = std::min(power * 10 + (*next - '0'), MaxExponent);
    }
    power = negative ? -power : power;
    cursor = next;
    return true;
}

// The value is a whole number of few digits times or through a power of ten, both of which a double holds,
// so that one operation rounds it as it should be. Longer numbers are left to the parser.
JCAMPDecoder::Result JCAMPDecoder::ReadExactNumber(Value& next, Rules rules) {
    const Character first = Classify(*cursor);
    std::uint64_t whole = first.digit;
    std::string digits;  // of a number that is too long
    int count = 0;
    int scale = 0;
    bool isFraction = false;
    if (first.kind == Kind::Sign) {
        ++cursor;
        if (cursor == end || !(IsDigit(*cursor) || *cursor == '.' || *cursor == ',')) {
            return IllegalCharacter;
        }
        whole = 0;
    } else if (first.kind == Kind::Digit || first.kind == Kind::Squeezed || first.kind == Kind::Difference) {
        ++cursor;
        count = 1;
    } else if (first.kind != Kind::Point) {
        return IllegalCharacter;
    }
    const std::uint64_t leading = whole;
    const char* const begin = cursor;
    for (; cursor != end; ++cursor) {
        if (IsDigit(*cursor)) {
            whole = count < MostExactDigits ? whole * 10 + static_cast<std::uint64_t>(*cursor - '0') : whole;
            count += whole != 0 || count > 0 ? 1 : 0;
            scale += isFraction ? 1 : 0;
        } else if (!isFraction && (*cursor == '.' || (*cursor == ',' && !rules.commaSeparates))) {
            isFraction = true;
        } else {
            break;
        }
    }
    const char* const behind = cursor;
    int power = 0;
    if (cursor != end && (*cursor == 'E' || *cursor == 'e')) {
        ReadExactExponent(rules.plainExponents, power);
    }
    const int shift = power - scale;
    if (count <= MostExactDigits && std::abs(shift) <= MostExactPower) {
        const auto number = static_cast<double>(whole);
        next.value = shift < 0 ? number / PowersOfTen[-shift] : number * PowersOfTen[shift];
        return Decoded;
    }
    digits = std::to_string(leading);
    digits.append(begin, behind);
    std::replace(digits.begin(), digits.end(), ',', '.');
    digits += "e" + std::to_string(power);
    ParseDouble(digits, next.value);
    return Decoded;
}

JCAMPDecoder::Result JCAMPDecoder::Next(Value& next, Rules rules) {
    next = Value();
    SkipSpace();
    if (cursor == end) {
        next.count = 0;
        return Decoded;
    }
    const Character first = Classify(*cursor);
    if (rules.strict && *cursor != '?' && !BeginsPlainNumber(*cursor)) {
        return NotPlain;
    }
    if (*cursor == '?' || first.kind == Kind::Comma) {
        next.missing = true;
        ++cursor;
    } else {
        const Result number =
            rules.exact ? ReadExactNumber(next, rules) : ReadNumber(next, rules.commaSeparates);
        if (number != Decoded) {
            return number;
        }
    }
    if (cursor != end) {
        if (Classify(*cursor).kind == Kind::Duplicate) {
            const Result repetition = ReadRepetition(next);
            if (repetition != Decoded) {
                return repetition;
            }
        } else if (!rules.exact && (*cursor == 'E' || *cursor == 'e') && end - cursor > 1 &&
                   (cursor[1] == '+' || cursor[1] == '-')) {
            ReadExponent(next.value);
        }
    }
    if (first.negative) {
        next.value = -next.value;
    }
    if (first.kind == Kind::Difference) {
        next.count = -next.count;
    }
    SkipSeparator();
    return Decoded;
}
