#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "base/Ascii.h"
#include "base/ExactPowers.h"
#include "base/ShortNumber.h"
#include "instrument/JCAMPCharacters.h"

/**
 * Takes the values off a line of JCAMP-DX data, one after the other, in any of the published forms, which
 * may follow each other in one line:
 *
 *     AFFN  1.5 2E+3      plain numbers; a comma may be the decimal point
 *     PAC   +15-23        signs as separators
 *     SQZ   A5b3          15 and -23: the first letter is a digit with its sign (@, A-I, a-i)
 *     DIF   A5J0          15 and then 10 more: a difference from the value before (%, J-R, j-r)
 *     DUP   A5T           15 twice: the value stands so many times (S-Z, s)
 *
 * A "?" is a missing value, and so is an empty field between two commas. One semicolon or comma behind a
 * value is passed over. Differences are handed out as they stand: adding them up is the caller's.
 *
 * The form is that of JCAMP-DX 4.24 (McDonald and Wilks, Appl. Spectrosc. 42 (1988) 151).
 */
class JCAMPDecoder {
public:
    /** What is expected of the line. */
    struct Rules {
        /** A comma ends a number and never begins its fraction. */
        bool commaSeparates = false;
        /** Only plain numbers and "?" may begin a value. */
        bool strict = false;
        /** Of an exact value: an exponent needs no sign, where no letters stand for digits. */
        bool plainExponents = false;
    };

    enum Result {
        Decoded,
        /** A character that opens no value, or a sign without a number. */
        IllegalCharacter,
        /** The same where the rules are strict. */
        NotPlain,
        /** A repetition behind a repetition. */
        RepeatedTwice
    };

    struct Value {
        double value = 0.0;
        /** How many times it stands; 0 when the line is used up; negative for a difference. */
        int count = 1;
        bool missing = false;
    };

    /** The text stays the caller's and must outlive the decoder. */
    explicit JCAMPDecoder(std::string_view text)
        : begin(text.data()), cursor(begin), end(begin + text.size()) {}

    /** A value is the sum of its digits' weights, rounded at each. */
    Result Next(Value& next, Rules rules);

    /** The same, but a value is the double nearest to its digits. */
    Result NextExact(Value& next, const Rules& rules) {
        return TakeShort(next, rules) ? Decoded : NextOfAnyKind(next, rules);
    }
    /** Values that stand once each, all of them differences or none. */
    struct Run {
        std::size_t count = 0;
        bool areDifferences = false;
    };
    /**
     * The next values into `values`, as far as they are whole numbers of few digits and nothing but a blank
     * or their letters stands between them; none where the next one isn't. Both kinds of reading agree on
     * them.
     */
    Run TakeRun(std::span<double> values);
    /** The JCAMPCharacter::Marks of what was taken exactly so far. */
    unsigned int GetMarks() const { return marks; }

private:
    std::size_t TakeDifferences(std::span<double> values);
    std::size_t TakePlainNumbers(std::span<double> values);
    bool TakeShort(Value& next, const Rules& rules);
    static const char* TakeDigits(const char* at, const char* end, std::uint64_t& whole);
    Result NextOfAnyKind(Value& next, const Rules& rules);
    Result BeginValue(Value& next, const Rules& rules, JCAMPCharacter& first);
    Result EndRepeated(Value& next, const JCAMPCharacter& first);
    Result EndValue(Value& next, const JCAMPCharacter& first);
    Result ReadNumber(Value& next, bool commaSeparates);
    Result ReadExactNumber(Value& next, const Rules& rules);
    bool ReadExactExponent(bool plainExponents, int& power);
    void ReadDigits(double& value);
    void ReadFraction(double& value);
    Result ReadRepetition(Value& next);
    void ReadExponent(double& value);
    void SkipSpace();
    void SkipSeparator();

    const char* begin;
    const char* cursor;
    const char* end;
    unsigned int marks = 0;
};

// Digits behind those of `whole`; what stands behind them.
inline const char* JCAMPDecoder::TakeDigits(const char* at, const char* end, std::uint64_t& whole) {
    if (const char* const behind = TakeShortDigits(at, end, whole)) {
        return behind;
    }
    while (at != end && IsDigit(*at)) {
        whole = whole * 10 + static_cast<std::uint64_t>(*at++ - '0');
    }
    return at;
}

/**
 * What nearly all values are: few digits, perhaps a point, letters in front and perhaps a repetition behind.
 * False, with nothing taken, for any other.
 */
inline bool JCAMPDecoder::TakeShort(Value& next, const Rules& rules) {
    const auto skipSpace = [this](const char*& at) {
        while (at != end && ClassifyJCAMP(*at).kind == JCAMPCharacter::Space) {
            ++at;
        }
    };
    const char* at = cursor;
    skipSpace(at);
    if (at == end) {
        return false;
    }
    const JCAMPCharacter first = ClassifyJCAMP(*at);
    const bool isLetter = first.kind == JCAMPCharacter::Squeezed || first.kind == JCAMPCharacter::Difference;
    if (first.kind != JCAMPCharacter::Digit && first.kind != JCAMPCharacter::Sign &&
        (!isLetter || rules.strict)) {
        return false;
    }
    const char* const begin = at++;
    std::uint64_t whole = first.digit;
    unsigned int seen = first.marks;
    at = TakeDigits(at, end, whole);
    if (first.kind == JCAMPCharacter::Sign && at == begin + 1) {
        return false;
    }
    std::ptrdiff_t scale = 0;
    if (at != end && *at == '.') {
        const char* const fraction = ++at;
        seen |= JCAMPCharacter::PointMark;
        at = TakeDigits(at, end, whole);
        scale = at - fraction;
    }
    if (at - begin > MostExactDigits) {
        return false;
    }
    int count = 1;
    if (at != end) {
        const JCAMPCharacter behind = ClassifyJCAMP(*at);
        if (behind.kind == JCAMPCharacter::Duplicate) {
            count = behind.digit;
            const char* const digits = ++at;
            while (at != end && IsDigit(*at) && at - digits < 8) {
                count = count * 10 + (*at++ - '0');
            }
            seen |= behind.marks;
            if (at != end && (IsDigit(*at) || ClassifyJCAMP(*at).kind == JCAMPCharacter::Duplicate)) {
                return false;
            }
        } else if ((behind.marks & JCAMPCharacter::ExponentMark) != 0) {
            if (rules.plainExponents || at + 1 == end || at[1] == '+' || at[1] == '-') {
                return false;
            }
        } else if (behind.kind == JCAMPCharacter::Comma && !rules.commaSeparates) {
            return false;
        }
        skipSpace(at);
        if (at != end && (*at == ',' || *at == ';')) {
            seen |= ClassifyJCAMP(*at).marks;
            ++at;
        }
    }
    const auto number = static_cast<double>(static_cast<std::int64_t>(whole));
    next.value = scale == 0 ? number : number / PowersOfTen[static_cast<std::size_t>(scale)];
    next.value = first.negative ? -next.value : next.value;
    next.count = first.kind == JCAMPCharacter::Difference ? -count : count;
    next.missing = false;
    marks |= seen;
    cursor = at;
    return true;
}
