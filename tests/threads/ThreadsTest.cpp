// Readers in many threads at once, each with its own: what a read gives doesn't depend on its neighbours.
// Built with ThreadSanitizer (preset tsan), a race is a failure too.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "host/Log.h"
#include "host/NvSystemInfo.h"
#include "host/Question.h"
#include "tests/support/ReaderOutcome.h"
#include "tests/support/Samples.h"

namespace {

using karta::Reading;

constexpr std::size_t NumThreads = 8;

struct Job {
    Sample sample;
    Reading reading;
    std::string expected;
};

// Every sample in both readings, with what a read by itself gives.
std::vector<Job> AllJobs() {
    std::vector<Job> jobs;
    for (const Sample& sample : ReadableSamples()) {
        for (const Reading reading : {Reading::Classic, Reading::Complete}) {
            jobs.push_back({sample, reading, OutcomeOf(sample.format, reading, sample.path)});
        }
    }
    return jobs;
}

/** What a thread found; told when all are done, as expectations are for one thread. */
using Differences = std::vector<std::string>;

// Each thread begins with another sample, so that all formats meet each other.
Differences ReadAll(const std::vector<Job>& jobs, std::size_t first) {
    Differences differences;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        const Job& job = jobs[(first + i) % jobs.size()];
        const std::string found = OutcomeOf(job.sample.format, job.reading, job.sample.path);
        if (found != job.expected) {
            differences.push_back(job.sample.name + ":\n" + found + "instead of\n" + job.expected);
        }
    }
    return differences;
}

template <class Work>
void InThreads(Work work) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < NumThreads; ++i) {
        threads.emplace_back(work, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace

TEST(Threads, EachReadsAllSamplesInBothReadings) {
    const std::vector<Job> jobs = AllJobs();
    ASSERT_FALSE(jobs.empty());
    std::vector<Differences> differences(NumThreads);
    InThreads([&](std::size_t i) { differences[i] = ReadAll(jobs, i * jobs.size() / NumThreads); });
    for (const Differences& ofThread : differences) {
        for (const std::string& difference : ofThread) {
            ADD_FAILURE() << difference;
        }
    }
}

TEST(Threads, AllReadOneSampleAtOnce) {
    for (const Job& job : AllJobs()) {
        std::vector<Differences> differences(NumThreads);
        InThreads([&](std::size_t i) { differences[i] = ReadAll({job}, 0); });
        for (const Differences& ofThread : differences) {
            EXPECT_TRUE(ofThread.empty()) << ofThread.front();
        }
    }
}

TEST(Threads, HostChangesItsHandlersWhileOthersAreAsked) {
    const std::string name = NvSystemInfo::GetApplicationName();
    InThreads([](std::size_t i) {
        for (int round = 0; round < 100; ++round) {
            if (i % 2 == 0) {
                Question::SetHandler([](const std::string& text) { return text.empty(); });
                Log::SetHandler([](const Log::Message&) {});
                NvSystemInfo::SetApplicationName("Host " + std::to_string(i));
            } else {
                Question::Ask(NvSystemInfo::GetApplicationName());
                Log::WriteMessage("section", "key", "text", 1);
            }
        }
    });
    Question::SetHandler({});
    Log::SetHandler({});
    NvSystemInfo::SetApplicationName(name);
}
