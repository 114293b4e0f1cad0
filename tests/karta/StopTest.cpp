// A read that is asked to stop ends soon, whatever it is doing, and tells on the way how far it is.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>

#include "karta/Arrow.h"
#include "karta/Read.h"
#include "tests/support/Samples.h"
#include "tests/support/TestName.h"

namespace {

using karta::Error;
using karta::ErrorCode;
using karta::Reading;

/** A table of zeros, as an array of a file. */
karta::Table TableOfPoints(std::int64_t rows, std::int64_t points, bool isRowMajor) {
    karta::BlockParts block;
    block.rows = rows;
    block.points = points;
    block.isRowMajor = isRowMajor;
    block.values = std::make_shared<karta::Buffer>(static_cast<std::size_t>(rows * points) * sizeof(double));
    block.stride = isRowMajor ? points : rows;
    karta::TableParts parts;
    parts.rows = rows;
    parts.block = karta::Block(std::move(block));
    return karta::Table(std::move(parts));
}

/** Does `step` while another thread asks it to stop; how long it went on then, if it was stopped. */
template <class Step>
std::optional<std::chrono::nanoseconds> StopAmid(Step step) {
    using Clock = std::chrono::steady_clock;
    std::stop_source source;
    Clock::time_point asked;
    std::thread asking([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        asked = Clock::now();
        source.request_stop();
    });
    bool isStopped = false;
    try {
        step(source.get_token());
    } catch (const Error& error) {
        isStopped = error.GetCode() == ErrorCode::Stopped;
    }
    const Clock::time_point ended = Clock::now();
    asking.join();
    return isStopped ? std::optional<std::chrono::nanoseconds>(ended - asked) : std::nullopt;
}

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

// Two million names of points, and a matrix that is turned, take far longer than the moment until the stop.
TEST(ExportStopTest, StopEndsAnArrowExportAmid) {
    const auto Soon = std::chrono::milliseconds(100);
    const karta::Table wide = TableOfPoints(1, 2'000'000, false);
    const karta::Table large = TableOfPoints(2000, 10'000, true);
    ArrowSchema schema{};
    ArrowArray array{};
    const auto names = StopAmid([&](const std::stop_token& stop) {
        karta::ExportSchema(wide, &schema, karta::BlockForm::AsItLies, stop);
    });
    const auto columns = StopAmid([&](const std::stop_token& stop) {
        karta::ExportArray(wide, &array, karta::BlockForm::Columns, stop);
    });
    const auto turned = StopAmid([&](const std::stop_token& stop) {
        karta::ExportArray(large, &array, karta::BlockForm::Columns, stop);
    });
    for (const auto& went : {names, columns, turned}) {
        ASSERT_TRUE(went);
        EXPECT_LT(*went, Soon);
    }
    EXPECT_EQ(schema.release, nullptr);
    EXPECT_EQ(array.release, nullptr);
}

TEST(ExportStopTest, StopEndsAStreamOfTablesAsCancelled) {
    std::stop_source source;
    ArrowArrayStream stream{};
    karta::ExportStream(TableOfPoints(100, 100, true), &stream, karta::BlockForm::Columns,
                        source.get_token());
    ArrowSchema schema{};
    ASSERT_EQ(stream.get_schema(&stream, &schema), 0);
    source.request_stop();
    ArrowArray array{};
    EXPECT_EQ(stream.get_next(&stream, &array), ECANCELED);
    EXPECT_EQ(array.release, nullptr);
    EXPECT_NE(std::string(stream.get_last_error(&stream)).find("stopped"), std::string::npos);
    schema.release(&schema);
    stream.release(&stream);
}

INSTANTIATE_TEST_SUITE_P(AllSamples, StopTest, testing::ValuesIn(ReadableSamples()),
                         [](const testing::TestParamInfo<Sample>& tested) {
                             return TestNameOf(tested.param.name) + "_" + std::to_string(tested.index);
                         });
