#include "instrument/JCAMPDecoder.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <span>
#include <string>
#include <string_view>

#include "base/NumberFormat.h"

namespace {

constexpr JCAMPDecoder::Rules Table{};
constexpr JCAMPDecoder::Rules Peaks{.commaSeparates = true, .strict = true};

// All values of a line: "1.5", "15x3" for one that stands three times, "d10" for a difference, "?" for a
// missing one; then the reason where it doesn't end well.
std::string Decode(std::string_view line, JCAMPDecoder::Rules rules = Table) {
    JCAMPDecoder decoder(line);
    std::string text;
    for (int i = 0; i < 1000; ++i) {
        JCAMPDecoder::Value next;
        const JCAMPDecoder::Result result = decoder.Next(next, rules);
        if (result != JCAMPDecoder::Decoded) {
            return text + (result == JCAMPDecoder::IllegalCharacter ? "illegal"
                           : result == JCAMPDecoder::NotPlain       ? "not plain"
                                                                    : "repeated twice");
        }
        if (next.count == 0) {
            break;
        }
        text += next.count < 0 ? "d" : "";
        text += next.missing ? "?" : FormatShortest(next.value);
        text += std::abs(next.count) == 1 ? "" : "x" + std::to_string(std::abs(next.count));
        text += " ";
    }
    return text.empty() ? text : text.substr(0, text.size() - 1);
}

}  // namespace

TEST(JCAMPDecoderTest, PlainNumbers) {
    EXPECT_EQ(Decode("1 22 0.5 .25 3."), "1 22 0.5 0.25 3");
    EXPECT_EQ(Decode("  7\t8\v9  "), "7 8 9");
}

TEST(JCAMPDecoderTest, EmptyLineHoldsNothing) {
    EXPECT_EQ(Decode(""), "");
    EXPECT_EQ(Decode(" \t "), "");
}

TEST(JCAMPDecoderTest, DigitsAddUpInDoubleArithmetic) {
    // Not the nearest double of the whole text, but what the steps give.
    double expected = 0;
    for (const char c : std::string("123456789012345678901234567890")) {
        expected = expected * 10.0 + (c - '0');
    }
    EXPECT_EQ(Decode("123456789012345678901234567890"), FormatShortest(expected));
    double weight = 0.1;
    double fraction = 1;
    for (int i = 0; i < 7; ++i) {
        fraction += 3 * weight;
        weight *= 0.1;
    }
    EXPECT_EQ(Decode("1.3333333"), FormatShortest(fraction));
}

TEST(JCAMPDecoderTest, SignsPartPackedNumbers) {
    EXPECT_EQ(Decode("+15-23+4.5-0.5"), "15 -23 4.5 -0.5");
    EXPECT_EQ(Decode("400+15-23"), "400 15 -23");
    EXPECT_EQ(Decode("-.5+,25"), "-0.5 0.25");
}

TEST(JCAMPDecoderTest, SignWithoutANumberIsIllegal) {
    EXPECT_EQ(Decode("1 +"), "1 illegal");
    EXPECT_EQ(Decode("1 - 5"), "1 illegal");
    EXPECT_EQ(Decode("+A"), "illegal");
}

TEST(JCAMPDecoderTest, SqueezedDigits) {
    EXPECT_EQ(Decode("@A0B1C2D3E4F5G6H7I8"), "0 10 21 32 43 54 65 76 87 98");
    EXPECT_EQ(Decode("a0b1c2d3e4f5g6h7i8"), "-10 -21 -32 -43 -54 -65 -76 -87 -98");
    EXPECT_EQ(Decode("A2.5"), "12.5");
}

TEST(JCAMPDecoderTest, DifferencesAreHandedOutAsTheyStand) {
    EXPECT_EQ(Decode("%J0K1L2M3N4O5P6Q7R8"), "d0 d10 d21 d32 d43 d54 d65 d76 d87 d98");
    EXPECT_EQ(Decode("j0k1l2m3n4o5p6q7r8"), "d-10 d-21 d-32 d-43 d-54 d-65 d-76 d-87 d-98");
}

TEST(JCAMPDecoderTest, RepetitionsOfEveryLetter) {
    EXPECT_EQ(Decode("1S 1T 1U 1V 1W 1X 1Y 1Z 1s"), "1 1x2 1x3 1x4 1x5 1x6 1x7 1x8 1x9");
    EXPECT_EQ(Decode("A5T2J1U"), "15x22 d11x3");
    EXPECT_EQ(Decode("?V"), "?x4");
}

TEST(JCAMPDecoderTest, RepetitionBehindARepetitionIsRefused) {
    EXPECT_EQ(Decode("1ST"), "repeated twice");
    EXPECT_EQ(Decode("5 1S0s"), "5 repeated twice");
    EXPECT_EQ(Decode("1S T"), "1 illegal");
}

TEST(JCAMPDecoderTest, RepetitionCountOfManyDigitsStopsAtTheLargest) {
    EXPECT_EQ(Decode("1S99999999999999999999"), "1x2147483647");
    EXPECT_EQ(Decode("%Z99999999999999999999"), "d0x2147483647");
}

TEST(JCAMPDecoderTest, ExponentsNeedTheirSign) {
    EXPECT_EQ(Decode("1E+5 2e-3 A5E+2"), "1e+05 0.002 1500");
    EXPECT_EQ(Decode("1E5"), "1 55");
    EXPECT_EQ(Decode("1E53"), "1 553");
    EXPECT_EQ(Decode("1E"), "1 5");
}

TEST(JCAMPDecoderTest, CharacterBehindAnExponentsSignIsPassedOver) {
    EXPECT_EQ(Decode("1E+ 2"), "100");
    EXPECT_EQ(Decode("1E+"), "1");
    EXPECT_EQ(Decode("1E+x2 7"), "100 7");
}

TEST(JCAMPDecoderTest, NegativeExponentDivides) {
    EXPECT_EQ(Decode("3E-1"), FormatShortest(3.0 / 10.0));
    EXPECT_EQ(Decode("7E-22"), FormatShortest(7.0 / 1e22));
}

TEST(JCAMPDecoderTest, ExponentsOfEverySizeEnd) {
    EXPECT_EQ(Decode("1E+99999999999"), "inf");
    EXPECT_EQ(Decode("1E-99999999999"), "0");
}

TEST(JCAMPDecoderTest, RepetitionBehindAnExponentIsIllegal) {
    EXPECT_EQ(Decode("1E+2S"), "100 illegal");
}

TEST(JCAMPDecoderTest, CommaIsADecimalPointInATable) {
    EXPECT_EQ(Decode("1,5 2,25"), "1.5 2.25");
}

TEST(JCAMPDecoderTest, CommaSeparatesPeaks) {
    EXPECT_EQ(Decode("1,5 2,25", Peaks), "1 5 2 25");
    EXPECT_EQ(Decode("+,5", Peaks), "0 5");
}

TEST(JCAMPDecoderTest, EmptyFieldBetweenCommasIsMissing) {
    EXPECT_EQ(Decode("1,,2", Peaks), "1 ? 2");
    EXPECT_EQ(Decode(", 2", Peaks), "? 2");
    EXPECT_EQ(Decode(",,2", Peaks), "? 2");
}

TEST(JCAMPDecoderTest, OneSeparatorBehindAValueIsPassedOver) {
    EXPECT_EQ(Decode("1 ;2 , 3;4"), "1 2 3 4");
    EXPECT_EQ(Decode("1;;2"), "1 illegal");
}

TEST(JCAMPDecoderTest, StrictValuesBeginPlainly) {
    EXPECT_EQ(Decode("1 x", Peaks), "1 not plain");
    EXPECT_EQ(Decode("A5", Peaks), "not plain");
    EXPECT_EQ(Decode("%", Peaks), "not plain");
    EXPECT_EQ(Decode("? 1", Peaks), "? 1");
    // The letter of an exponent begins a value, and then it is the squeezed digit.
    EXPECT_EQ(Decode("E5 e5", Peaks), "55 -55");
}

TEST(JCAMPDecoderTest, OtherCharactersAreIllegal) {
    for (const char* line : {"x", "1 $", "S", "\x80", "1 \xff", ";1", "#"}) {
        EXPECT_TRUE(Decode(line).ends_with("illegal")) << line;
    }
}

/** All values of a line and how it ends, one value at a time or with runs wherever there are any. */
template <class Take>
std::string DecodeAll(const std::string& line, bool withRuns, int& inRuns, Take take) {
    std::string text;
    JCAMPDecoder decoder(line);
    std::array<double, 5> values;
    while (true) {
        const JCAMPDecoder::Run run = withRuns ? decoder.TakeRun(values) : JCAMPDecoder::Run();
        for (const double value : std::span(values).first(run.count)) {
            text += FormatShortest(value) + (run.areDifferences ? " * -1, " : " * 1, ");
        }
        inRuns += static_cast<int>(run.count);
        if (run.count > 0) {
            continue;
        }
        JCAMPDecoder::Value value;
        const JCAMPDecoder::Result result = take(decoder, value);
        if (result != JCAMPDecoder::Decoded || value.count == 0) {
            return text + "ends with " + std::to_string(result) + ", marks " +
                   std::to_string(decoder.GetMarks());
        }
        text +=
            (value.missing ? "?" : FormatShortest(value.value)) + " * " + std::to_string(value.count) + ", ";
    }
}

TEST(JCAMPDecoderTest, RunsAreWhatSingleValuesAre) {
    static constexpr std::string_view Often = "JKLMNOPQRjklmnopqr%0123456789";
    static constexpr std::string_view Seldom = "@AEaeSTs +-.,;?$\t\xff";
    std::mt19937 random(1);
    int inRuns = 0;
    for (int round = 0; round < 20'000; ++round) {
        std::string line = "12 ";
        const bool isPlain = round % 2 == 0;
        for (std::size_t length = random() % 90; line.size() < length;) {
            const bool isSeldom = random() % 25 == 0;
            const std::string_view characters = isSeldom ? Seldom : isPlain ? "0123456789 " : Often;
            line += characters[random() % characters.size()];
        }
        for (const bool plainExponents : {false, true}) {
            const auto exact = [&](JCAMPDecoder& decoder, JCAMPDecoder::Value& value) {
                return decoder.NextExact(value, {.commaSeparates = true, .plainExponents = plainExponents});
            };
            int none = 0;
            ASSERT_EQ(DecodeAll(line, true, inRuns, exact), DecodeAll(line, false, none, exact)) << line;
        }
        const auto classic = [](JCAMPDecoder& decoder, JCAMPDecoder::Value& value) {
            return decoder.Next(value, {});
        };
        const auto values = [](const std::string& text) { return text.substr(0, text.rfind(", marks")); };
        int none = 0;
        ASSERT_EQ(values(DecodeAll(line, true, inRuns, classic)),
                  values(DecodeAll(line, false, none, classic)))
            << line;
    }
    EXPECT_GT(inRuns, 200'000);
}

TEST(JCAMPDecoderTest, EveryPairOfBytesEnds) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string line{static_cast<char>(first), static_cast<char>(second)};
            Decode(line);
            Decode("1" + line, Peaks);
        }
    }
}
