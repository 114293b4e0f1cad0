// A read that is stopped from another thread: in whichever stage it is, it hears of it soon. Time is the
// reading thread's own on a processor, so that a busy machine fails nothing.
//
// With KARTA_WEAR_WHOLE each read is stopped at many more moments, with KARTA_LARGE_TIMES the files are so
// many times as long.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>

#include "base/ReadContext.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "karta/Read.h"
#include "table/TableData.h"
#include "tests/support/TempFolder.h"
#include "tests/wear/LargeFiles.h"
#include "tests/wear/StoppedThread.h"

namespace {

using karta::Reading;

int FindFormat(std::string_view name) {
    int format = 1;
    while (name != SprFileFactory::GetInfo(format)->formatName) {
        ++format;
    }
    return format;
}

const char* NameOf(Reading reading) {
    return reading == Reading::Complete ? "complete" : "classic";
}

/** Reads cells into a table, as the driver's hosts do. */
bool ReadCells(const char* format, const std::string& path, Reading reading, const std::stop_token& stop,
               int& status) {
    const std::unique_ptr<SpreadsheetFile> reader(SprFileFactory::GetSpreadsheetFile(FindFormat(format)));
    const auto context = std::make_shared<karta::ReadContext>();
    context->reading = reading;
    context->stop = stop;
    context->budget.SetLimit(karta::Budget::Unlimited);
    dynamic_cast<FormatReader&>(*reader).SetContext(context);
    TableData table;
    // As everyone does who keeps a table.
    table.SetBudget(&context->budget);
    try {
        status = reader->Open(true, path.c_str(), nullptr);
        if (status == 0 && reading == Reading::Classic) {
            if (auto* contents = dynamic_cast<FileContents*>(reader.get())) {
                contents->SelectPart(1);
            }
            const int rows = reader->GetNumRows();
            const int cols = reader->GetNumCols();
            table.SetDataSize(cols, rows);
        }
        if (status == 0) {
            status = reader->Read(&table);
        }
    } catch (const karta::Stopped&) {
        return true;
    }
    return false;
}

karta::ReadOptions OptionsFor(const LargeFile& file, Reading reading) {
    return {.format = file.format, .reading = reading, .budget = karta::Budget::Unlimited};
}

// What each column takes that was begun when a stop came, and that is to be given back. Classic readers that
// have a column a point make millions of them.
constexpr double SecondsAColumn = 1e-6;
constexpr std::size_t ManyColumns = 100000;

/** Does a call of karta/; whether it was stopped. */
bool DoCall(const std::function<void()>& call, int& status) {
    try {
        call();
        status = 0;
    } catch (const karta::Error& error) {
        status = 1;
        return error.GetCode() == karta::ErrorCode::Stopped;
    }
    return false;
}

/** One large file, which is made for the test. */
class StopTest : public testing::TestWithParam<LargeFile> {
protected:
    using Step = std::function<bool(std::stop_token stop, int& status)>;

    /** Stops the step at several moments of it. */
    void StopAtMoments(const std::string& name, const Step& step, double mostSeconds,
                       bool isSlow = false) const {
        int status = -1;
        const auto run = [&](std::stop_token stop) { return step(std::move(stop), status); };
        const StoppedStep whole = RunAndStop(run, Never);
        ASSERT_FALSE(whole.wasStopped);
        const int statusOfWhole = status;
        int stopped = 0;
        StoppedStep latest;
        const int moments = isSlow ? 3 : CountMoments();
        for (int i = 0; i < moments; ++i) {
            const StoppedStep outcome = RunAndStop(run, whole.ended * i / moments);
            stopped += outcome.wasStopped ? 1 : 0;
            latest = outcome.GetLatency() > latest.GetLatency() ? outcome : latest;
        }
        std::printf(
            "%s: status 0x%x, %.0f ms, %d of %d stopped, latest %.0f ms after being asked at %.0f ms\n",
            name.c_str(), static_cast<unsigned int>(statusOfWhole), 1e3 * whole.ended, stopped, moments,
            1e3 * latest.GetLatency(), 1e3 * latest.asked);
        EXPECT_LT(latest.GetLatency(), mostSeconds) << name << " at " << latest.asked;
        // A form that one reading refuses has nothing to stop, and what takes a moment is over before.
        if (statusOfWhole == 0 && whole.ended > MostSecondsToStop) {
            EXPECT_GE(stopped, moments / 2) << name;
        }
    }

    TempFolder folder;
    std::string path = MakeLargeFile(folder.Path(""), GetParam());
};

}  // namespace

TEST_P(StopTest, IsHeardInEveryStage) {
    for (const Reading reading : {Reading::Complete, Reading::Classic}) {
        StopAtMoments(
            NameOf(reading),
            [&](const std::stop_token& stop, int& status) {
                return ReadCells(GetParam().format, path, reading, stop, status);
            },
            MostSecondsToStop);
    }
}

TEST_P(StopTest, IsHeardInOneCall) {
    for (const Reading reading : {Reading::Complete, Reading::Classic}) {
        karta::ReadOptions options = OptionsFor(GetParam(), reading);
        std::size_t columns = 0;
        int statusOfWhole = -1;
        DoCall([&] { columns = karta::Read(path, options).GetColumnCount(); }, statusOfWhole);
        StopAtMoments(
            std::string(NameOf(reading)) + " table",
            [&](std::stop_token stop, int& status) {
                options.stop = std::move(stop);
                return DoCall([&] { karta::Read(path, options); }, status);
            },
            MostSecondsToStop + SecondsAColumn * static_cast<double>(columns), columns > ManyColumns);
        StopAtMoments(
            std::string(NameOf(reading)) + " inspection",
            [&](std::stop_token stop, int& status) {
                options.stop = std::move(stop);
                return DoCall([&] { karta::Inspect(path, options); }, status);
            },
            MostSecondsToStop);
    }
}

TEST_P(StopTest, ProgressIsToldInEveryStage) {
    for (const Reading reading : {Reading::Complete, Reading::Classic}) {
        for (const bool isRead : {false, true}) {
            karta::Table table;
            double last = SecondsOfThisThread();
            double longest = 0.0;
            const auto look = [&] {
                const double now = SecondsOfThisThread();
                longest = std::max(longest, now - last);
                last = now;
            };
            karta::ReadOptions options = OptionsFor(GetParam(), reading);
            options.progress = [&](double /*share*/) { look(); };
            int status = -1;
            DoCall(
                [&] {
                    if (isRead) {
                        table = karta::Read(path, options);
                    } else {
                        karta::Inspect(path, options);
                    }
                },
                status);
            look();
            std::printf("%s %s: at most %.0f ms without a word\n", NameOf(reading),
                        isRead ? "table" : "inspection", 1e3 * longest);
            // It is told no more often than every 50 ms.
            EXPECT_LT(longest,
                      MostSecondsToStop + 0.05 + SecondsAColumn * static_cast<double>(table.GetColumnCount()))
                << NameOf(reading);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(LargeFiles, StopTest, testing::ValuesIn(AllLargeFiles()),
                         [](const auto& info) { return NameOf(info.param); });
