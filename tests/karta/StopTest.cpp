// A read that is asked to stop ends soon, whatever it is doing, and tells on the way how far it is.
#include <gtest/gtest.h>

#include <chrono>
#include <stop_token>
#include <string>

#include "karta/Read.h"
#include "tests/support/Samples.h"
#include "tests/support/TestName.h"

namespace {

using karta::Error;
using karta::ErrorCode;
using karta::Reading;

class StopTest : public testing::TestWithParam<Sample> {};

}  // namespace

TEST_P(StopTest, StopAskedForBeforehandEndsTheRead) {
    std::stop_source source;
    source.request_stop();
    for (const Reading reading : {Reading::Complete, Reading::Classic}) {
        try {
            karta::Read(GetParam().path,
                        {.format = GetParam().format, .reading = reading, .stop = source.get_token()});
            ADD_FAILURE() << "read to its end";
        } catch (const Error& error) {
            EXPECT_TRUE(error.GetCode() == ErrorCode::Stopped || error.GetCode() == ErrorCode::NeedsPassword)
                << error.what();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllSamples, StopTest, testing::ValuesIn(ReadableSamples()),
                         [](const testing::TestParamInfo<Sample>& tested) {
                             return TestNameOf(tested.param.name) + "_" + std::to_string(tested.index);
                         });
