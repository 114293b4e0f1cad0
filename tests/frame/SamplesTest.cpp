// The samples are what the documents show; each is read, whichever reading is chosen.
#include <gtest/gtest.h>

#include "tests/support/ReaderOutcome.h"
#include "tests/support/Samples.h"
#include "tests/support/TestName.h"

namespace {

class EverySample : public testing::TestWithParam<Sample> {};

TEST_P(EverySample, IsReadInBothReadings) {
    for (const karta::Reading reading : {karta::Reading::Classic, karta::Reading::Complete}) {
        const std::string outcome = OutcomeOf(GetParam().format, reading, GetParam().path);
        EXPECT_TRUE(outcome.starts_with("Open 0\n")) << outcome;
        EXPECT_NE(outcome.find("\nRead 0\n"), std::string::npos) << outcome;
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, EverySample, testing::ValuesIn(ReadableSamples()),
                         [](const auto& tested) { return TestNameOf(tested.param.name); });

}  // namespace
