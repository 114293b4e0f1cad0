#include "instrument/JCAMPDecoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "base/Ascii.h"
#include "base/NumberParser.h"

namespace {

// Beyond any exponent that a double can hold, and far below what an int can.
constexpr int MaxExponent = 9999;

// What may begin a value where only plain numbers are expected. An exponent's letter passes here and is then
// taken for the squeezed digit that it also is: files rely on it being no error.
bool BeginsPlainNumber(char c) {
    return IsDigit(c) || c == '.' || c == ',' || c == 'E' || c == 'e' || c == '+' || c == '-';
}

}  // namespace

void JCAMPDecoder::SkipSpace() {
    while (cursor != end && ClassifyJCAMP(*cursor).kind == JCAMPCharacter::Space) {
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
    std::int64_t count = ClassifyJCAMP(*cursor).digit;
    for (++cursor; cursor != end && IsDigit(*cursor); ++cursor) {
        count = std::min<std::int64_t>(count * 10 + (*cursor - '0'), std::numeric_limits<int>::max());
    }
    next.count = static_cast<int>(count);
    const bool again = cursor != end && ClassifyJCAMP(*cursor).kind == JCAMPCharacter::Duplicate;
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
    const JCAMPCharacter first = ClassifyJCAMP(*cursor);
    next.value = first.digit;
    switch (first.kind) {
        case JCAMPCharacter::Point:
            break;
        case JCAMPCharacter::Sign:
            ++cursor;
            if (cursor == end || !(IsDigit(*cursor) || *cursor == '.' || *cursor == ',')) {
                return IllegalCharacter;
            }
            break;
        case JCAMPCharacter::Digit:
        case JCAMPCharacter::Squeezed:
        case JCAMPCharacter::Difference:
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
    marks |= isSigned ? 0U : static_cast<unsigned int>(JCAMPCharacter::BareExponentMark);
    cursor = next;
    return true;
}

// A whole number of few digits times or through a power of ten; longer numbers are left to the parser.
JCAMPDecoder::Result JCAMPDecoder::ReadExactNumber(Value& next, const Rules& rules) {
    const JCAMPCharacter first = ClassifyJCAMP(*cursor);
    std::uint64_t whole = first.digit;
    std::string digits;  // of a number that is too long
    int count = 0;
    int scale = 0;
    bool isFraction = false;
    if (first.kind == JCAMPCharacter::Sign) {
        ++cursor;
        if (cursor == end || !(IsDigit(*cursor) || *cursor == '.' || *cursor == ',')) {
            return IllegalCharacter;
        }
        whole = 0;
    } else if (first.kind == JCAMPCharacter::Digit || first.kind == JCAMPCharacter::Squeezed ||
               first.kind == JCAMPCharacter::Difference) {
        ++cursor;
        count = 1;
    } else if (first.kind != JCAMPCharacter::Point) {
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
        next.value = shift < 0 ? number / PowersOfTen[static_cast<std::size_t>(-shift)]
                               : number * PowersOfTen[static_cast<std::size_t>(shift)];
        return Decoded;
    }
    digits = std::to_string(leading);
    digits.append(begin, behind);
    std::replace(digits.begin(), digits.end(), ',', '.');
    digits += "e" + std::to_string(power);
    ParseDouble(digits, next.value);
    return Decoded;
}

JCAMPDecoder::Run JCAMPDecoder::TakeRun(std::span<double> values) {
    Run run;
    if (!ByteWord::IsUsable || cursor == end) {
        return run;
    }
    const JCAMPCharacter::Kind kind = ClassifyJCAMP(*cursor).kind;
    if (kind == JCAMPCharacter::Difference) {
        run.areDifferences = true;
        run.count = TakeDifferences(values);
    } else if (kind == JCAMPCharacter::Digit) {
        run.count = TakePlainNumbers(values);
    }
    return run;
}

namespace {

// The digit that a letter of differences stands for, and whether it is negative; other characters.
constexpr std::uint8_t NegativeDigit = 0x40;
constexpr std::uint8_t NoDifference = 0x80;

constexpr std::array<std::uint8_t, 256> MakeDifferenceDigits() {
    std::array<std::uint8_t, 256> digits{};
    for (std::size_t c = 0; c < digits.size(); ++c) {
        const JCAMPCharacter& letter = JCAMPCharacters[c];
        const bool isDifference = letter.kind == JCAMPCharacter::Difference;
        digits[c] = isDifference
                        ? static_cast<std::uint8_t>(letter.digit | (letter.negative ? NegativeDigit : 0U))
                        : NoDifference;
    }
    return digits;
}

constexpr std::array<std::uint8_t, 256> DifferenceDigits = MakeDifferenceDigits();

std::uint8_t DifferenceDigitOf(char c) {
    return DifferenceDigits[static_cast<unsigned char>(c)];
}

// Whether a value ends in front of it. An "E" may be an exponent's.
bool EndsDifference(char c) {
    const JCAMPCharacter behind = ClassifyJCAMP(c);
    return behind.marks == JCAMPCharacter::PackedMark && behind.kind != JCAMPCharacter::Duplicate;
}

}  // namespace

// Each up to the letter of the next value. Eight bytes behind a letter tell how many digits it has.
std::size_t JCAMPDecoder::TakeDifferences(std::span<double> values) {
    std::size_t count = 0;
    const char* at = cursor;
    std::uint8_t letter = DifferenceDigitOf(*at);
    while (count < values.size() && letter < NoDifference) {
        std::uint64_t whole = letter & ~NegativeDigit;
        const char* const behind = TakeShortDigits(at + 1, end, whole);
        if (behind == nullptr) {
            break;
        }
        const std::uint8_t next = DifferenceDigitOf(*behind);
        if (next == NoDifference && !EndsDifference(*behind)) {
            break;
        }
        // Of eight digits at most, and no zero is negative.
        const auto number = static_cast<std::int64_t>(whole);
        values[count++] = static_cast<double>(letter >= NegativeDigit ? -number : number);
        at = behind;
        letter = next;
    }
    cursor = at;
    marks |= count > 0 ? static_cast<unsigned int>(JCAMPCharacter::PackedMark) : 0U;
    return count;
}

namespace {

// The digits at `at`, fewer than eight bytes before an end that eight or more stand in front of.
const char* TakeLastDigits(const char* at, const char* end, std::uint64_t& number) {
    const auto left = static_cast<std::size_t>(end - at);
    // Zeros behind what is left.
    const std::uint64_t word = ByteWord::Load(end - sizeof word) >> (8 * (sizeof word - left));
    char bytes[sizeof word];
    std::memcpy(bytes, &word, sizeof word);
    return at + (TakeShortDigits(bytes, bytes + sizeof word, number) - bytes);
}

}  // namespace

// Each up to the first digit behind one blank, or to the end of the line.
std::size_t JCAMPDecoder::TakePlainNumbers(std::span<double> values) {
    constexpr std::ptrdiff_t WordSize = sizeof(std::uint64_t);
    std::size_t count = 0;
    while (count < values.size() && cursor != end) {
        std::uint64_t whole = 0;
        const bool isLast = end - cursor < WordSize && end - begin >= WordSize;
        const char* const behind =
            isLast ? TakeLastDigits(cursor, end, whole) : TakeShortDigits(cursor, end, whole);
        if (behind == end && isLast && behind != cursor) {
            values[count++] = static_cast<double>(static_cast<std::int64_t>(whole));
            cursor = end;
            break;
        }
        if (behind == nullptr || behind == cursor || end - behind < 2 || *behind != ' ' ||
            !IsDigit(behind[1])) {
            break;
        }
        values[count++] = static_cast<double>(static_cast<std::int64_t>(whole));
        cursor = behind + 1;
    }
    return count;
}

JCAMPDecoder::Result JCAMPDecoder::Next(Value& next, Rules rules) {
    JCAMPCharacter first;
    const Result begun = BeginValue(next, rules, first);
    if (begun != Decoded || next.count == 0) {
        return begun;
    }
    if (!next.missing) {
        const Result number = ReadNumber(next, rules.commaSeparates);
        if (number != Decoded) {
            return number;
        }
    }
    const bool isExponent =
        end - cursor > 1 && (*cursor == 'E' || *cursor == 'e') && (cursor[1] == '+' || cursor[1] == '-');
    if (isExponent) {
        ReadExponent(next.value);
        return EndValue(next, first);
    }
    return EndRepeated(next, first);
}

JCAMPDecoder::Result JCAMPDecoder::NextOfAnyKind(Value& next, const Rules& rules) {
    const char* const begin = cursor;
    JCAMPCharacter first;
    Result result = BeginValue(next, rules, first);
    if (result == Decoded && next.count != 0) {
        result = next.missing ? Decoded : ReadExactNumber(next, rules);
        result = result == Decoded ? EndRepeated(next, first) : result;
    }
    for (const char* at = begin; at != cursor; ++at) {
        marks |= ClassifyJCAMP(*at).marks;
    }
    return result;
}

// Up to the number's first character; a missing value is taken. A count of 0 is the line's end.
JCAMPDecoder::Result JCAMPDecoder::BeginValue(Value& next, const Rules& rules, JCAMPCharacter& first) {
    next = Value();
    SkipSpace();
    if (cursor == end) {
        next.count = 0;
        return Decoded;
    }
    first = ClassifyJCAMP(*cursor);
    if (rules.strict && *cursor != '?' && !BeginsPlainNumber(*cursor)) {
        return NotPlain;
    }
    if (*cursor == '?' || first.kind == JCAMPCharacter::Comma) {
        next.missing = true;
        ++cursor;
    }
    return Decoded;
}

// What may stand behind a number, its exponent aside.
JCAMPDecoder::Result JCAMPDecoder::EndRepeated(Value& next, const JCAMPCharacter& first) {
    if (cursor != end && ClassifyJCAMP(*cursor).kind == JCAMPCharacter::Duplicate) {
        const Result repetition = ReadRepetition(next);
        if (repetition != Decoded) {
            return repetition;
        }
    }
    return EndValue(next, first);
}

JCAMPDecoder::Result JCAMPDecoder::EndValue(Value& next, const JCAMPCharacter& first) {
    if (first.negative) {
        next.value = -next.value;
    }
    if (first.kind == JCAMPCharacter::Difference) {
        next.count = -next.count;
    }
    SkipSeparator();
    return Decoded;
}
