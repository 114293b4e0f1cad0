// A read that is stopped from another thread: in whichever stage it is, it hears of it soon. Time is the
// reading thread's own on a processor, so that a busy machine fails nothing.
//
// With KARTA_WEAR_WHOLE each read is stopped at many more moments.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "base/ReadContext.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "table/TableData.h"
#include "tests/support/TempFolder.h"
#include "tests/wear/LargeFiles.h"

namespace {

// What a stage may go on for after a stop: less than anyone notices.
#if defined(KARTA_SANITIZED)
constexpr double MostSeconds = 2.0;
#else
constexpr double MostSeconds = 0.1;
#endif

constexpr double Never = 1e9;

int CountMoments() {
    return std::getenv("KARTA_WEAR_WHOLE") == nullptr ? 8 : 100;
}

double SecondsOf(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    constexpr double Nanosecond = 1e-9;
    return static_cast<double>(time.tv_sec) + Nanosecond * static_cast<double>(time.tv_nsec);
}

int FindFormat(std::string_view name) {
    int format = 1;
    while (name != SprFileFactory::GetInfo(format)->formatName) {
        ++format;
    }
    return format;
}

/** What became of one read; times are its thread's own. */
struct Outcome {
    int status = -1;
    bool wasStopped = false;
    double asked = 0.0;  // when it was asked to stop
    double ended = 0.0;  // when nothing of it went on any more
};

/** One read in a thread of its own. */
class ReadInThread {
public:
    ReadInThread(const char* format, std::string file, karta::Reading reading)
        : path(std::move(file)), reader(SprFileFactory::GetSpreadsheetFile(FindFormat(format))) {
        context->reading = reading;
        context->stop = source.get_token();
        context->budget.SetLimit(karta::Budget::Unlimited);
        dynamic_cast<FormatReader&>(*reader).SetContext(context);
        // As everyone does who keeps a table.
        table.SetBudget(&context->budget);
    }

    /** Reads, and asks the read to stop once it has gone on for so long. */
    Outcome Run(double stopAfter) {
        std::thread thread([this] {
            Read();
            // The thread's clock is looked at until it is told to go.
            mayGo.wait(false);
        });
        clockid_t clock{};
        EXPECT_EQ(pthread_getcpuclockid(thread.native_handle(), &clock), 0);
        while (!hasEnded && SecondsOf(clock) < stopAfter) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        outcome.asked = SecondsOf(clock);
        source.request_stop();
        mayGo = true;
        mayGo.notify_all();
        thread.join();
        return outcome;
    }

private:
    void Read() {
        try {
            outcome.status = reader->Open(true, path.c_str(), nullptr);
            if (outcome.status == 0 && context->reading == karta::Reading::Classic) {
                if (auto* contents = dynamic_cast<FileContents*>(reader.get())) {
                    contents->SelectPart(1);
                }
                const int rows = reader->GetNumRows();
                const int cols = reader->GetNumCols();
                table.SetDataSize(cols, rows);
            }
            if (outcome.status == 0) {
                outcome.status = reader->Read(&table);
            }
        } catch (const karta::Stopped&) {
            outcome.wasStopped = true;
        }
        outcome.ended = SecondsOf(CLOCK_THREAD_CPUTIME_ID);
        hasEnded = true;
    }

    std::string path;
    std::shared_ptr<karta::ReadContext> context = std::make_shared<karta::ReadContext>();
    std::unique_ptr<SpreadsheetFile> reader;
    TableData table;
    std::stop_source source;
    std::atomic<bool> hasEnded = false;
    std::atomic<bool> mayGo = false;
    Outcome outcome;
};

}  // namespace

class StopTest : public testing::TestWithParam<LargeFile> {};

TEST_P(StopTest, IsHeardInEveryStage) {
    const TempFolder folder;
    const std::string path = MakeLargeFile(folder.Path(""), GetParam());
    for (const karta::Reading reading : {karta::Reading::Complete, karta::Reading::Classic}) {
        const std::string name = reading == karta::Reading::Complete ? "complete" : "classic";
        const Outcome whole = ReadInThread(GetParam().format, path, reading).Run(Never);
        ASSERT_FALSE(whole.wasStopped);
        int stopped = 0;
        double latest = 0.0;
        double latestAsked = 0.0;
        const int moments = CountMoments();
        for (int i = 0; i < moments; ++i) {
            const Outcome outcome =
                ReadInThread(GetParam().format, path, reading).Run(whole.ended * i / moments);
            stopped += outcome.wasStopped ? 1 : 0;
            if (outcome.ended - outcome.asked > latest) {
                latest = outcome.ended - outcome.asked;
                latestAsked = outcome.asked;
            }
        }
        std::printf(
            "%s: status 0x%x, %.0f ms, %d of %d stopped, latest %.0f ms after being asked at %.0f ms\n",
            name.c_str(), static_cast<unsigned int>(whole.status), 1e3 * whole.ended, stopped, moments,
            1e3 * latest, 1e3 * latestAsked);
        EXPECT_LT(latest, MostSeconds) << name << " at " << latestAsked;
        // A form that one reading refuses has nothing to stop.
        if (whole.status == 0) {
            EXPECT_GE(stopped, moments / 2) << name;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(LargeFiles, StopTest, testing::ValuesIn(AllLargeFiles()),
                         [](const auto& info) { return NameOf(info.param); });
