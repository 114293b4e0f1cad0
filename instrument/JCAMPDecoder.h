#pragma once

#include <cstddef>
#include <string_view>

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
        /** A value is the double nearest to its digits; else the sum of its digits' weights, rounded at each.
         */
        bool exact = false;
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
    explicit JCAMPDecoder(std::string_view text) : cursor(text.data()), end(text.data() + text.size()) {}

    Result Next(Value& next, Rules rules);

private:
    Result ReadNumber(Value& next, bool commaSeparates);
    Result ReadExactNumber(Value& next, Rules rules);
    bool ReadExactExponent(bool plainExponents, int& power);
    void ReadDigits(double& value);
    void ReadFraction(double& value);
    Result ReadRepetition(Value& next);
    void ReadExponent(double& value);
    void SkipSpace();
    void SkipSeparator();

    const char* cursor;
    const char* end;
};
