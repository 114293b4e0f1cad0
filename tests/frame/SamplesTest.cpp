// The samples are what the documents show; each is read, whichever reading is chosen.
#include <gtest/gtest.h>

#include "tests/support/ReaderOutcome.h"
#include "tests/support/Samples.h"

namespace {

class EverySample : public testing::TestWithParam<Sample> {};

TEST_P(EverySample, IsReadInBothReadings) {
    for (const karta::Reading reading : {karta::Reading::Classic, karta::Reading::Complete}) {
        const std::string outcome = OutcomeOf(GetParam().format, reading, GetParam().path);
        EXPECT_TRUE(outcome.starts_with("Open 0\n")) << outcome;
        EXPECT_NE(outcome.find("\nRead 0\n"), std::string::npos) << outcome;
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, EverySample, testing::ValuesIn(ReadableSamples()), [](const auto& tested) {
    std::string name = tested.param.name;
    for (char& letter : name) {
        letter = std::isalnum(static_cast<unsigned char>(letter)) != 0 ? letter : '_';
    }
    return name;
});

}  // namespace
