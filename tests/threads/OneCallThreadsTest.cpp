// The one-call interface in many threads at once: what a read gives doesn't depend on its neighbours.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "karta/Detect.h"
#include "karta/Read.h"
#include "tests/support/Samples.h"

namespace {

using karta::Reading;

constexpr std::size_t NumThreads = 8;
constexpr std::int64_t MostCells = 2000;

// What a call gives, with as much of the table as tells it from another.
std::string OutcomeOf(const Sample& sample, Reading reading) {
    std::string text = karta::Detect(sample.path).format + "\n";
    try {
        text += std::to_string(
            karta::Inspect(sample.path, {.format = sample.format, .reading = reading}).parts.size());
        const karta::Table table = karta::Read(sample.path, {.format = sample.format, .reading = reading});
        text += " " + std::to_string(table.GetRowCount()) + " " + std::to_string(table.GetWidth()) + "\n";
        std::int64_t cells = 0;
        for (std::int64_t row = 0; row < table.GetRowCount(); ++row) {
            for (std::int64_t column = 0; column < table.GetWidth() && cells < MostCells; ++column, ++cells) {
                text += table.GetText(column, row) + ",";
            }
        }
        for (const karta::Note& note : table.GetNotes()) {
            text += note.text + "\n";
        }
    } catch (const karta::Error& error) {
        text += error.what();
    }
    return text;
}

struct Job {
    Sample sample;
    Reading reading;
    std::string expected;
};

std::vector<Job> AllJobs() {
    std::vector<Job> jobs;
    for (const Sample& sample : ReadableSamples()) {
        for (const Reading reading : {Reading::Complete, Reading::Classic}) {
            jobs.push_back({sample, reading, OutcomeOf(sample, reading)});
        }
    }
    return jobs;
}

}  // namespace

TEST(OneCallThreads, EachReadsAllSamples) {
    const std::vector<Job> jobs = AllJobs();
    ASSERT_FALSE(jobs.empty());
    std::vector<std::string> differences(NumThreads);
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < NumThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t i = 0; i < jobs.size(); ++i) {
                // Each begins with another sample, so that all formats meet each other.
                const Job& job = jobs[(i + thread * jobs.size() / NumThreads) % jobs.size()];
                if (OutcomeOf(job.sample, job.reading) != job.expected) {
                    differences[thread] += job.sample.name + " ";
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& difference : differences) {
        EXPECT_EQ(difference, "");
    }
}

TEST(OneCallThreads, ScansOverAllSamplesAtOnce) {
    std::vector<std::string> files;
    for (const Sample& sample : ReadableSamples()) {
        files.push_back(sample.path);
    }
    std::vector<std::size_t> errors(2);
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < errors.size(); ++thread) {
        threads.emplace_back([&, thread] {
            karta::Scan scan(files, {.onError = karta::OnError::Collect, .workers = NumThreads / 2});
            while (scan.Next() != nullptr) {
            }
            errors[thread] = scan.Errors().size();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(errors[0], errors[1]);
    EXPECT_GT(errors[0], 0U) << "files of many kinds aren't one table";
}
