// The one-call interface in many threads at once: what a read gives doesn't depend on its neighbours.
#include <gtest/gtest.h>

#include <chrono>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "karta/Detect.h"
#include "karta/Read.h"
#include "tests/support/Samples.h"
#include "tests/support/TempFolder.h"
#include "tests/support/ZipBuilder.h"

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

// What is large is read on threads of its own: a text in pieces, a workbook's parts unpacked ahead.

namespace {

constexpr int ManyRows = 200'000;

std::string LargeText() {
    std::string text = "time;value\n";
    for (int row = 1; row <= ManyRows; ++row) {
        text += std::to_string(row) + ";" + std::to_string(row) + ".25\n";
    }
    return text;
}

std::string LargeWorkbook() {
    std::string sheet =
        R"(<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData>)";
    for (int row = 1; row <= ManyRows; ++row) {
        const std::string name = std::to_string(row);
        sheet += "<row r=\"" + name + "\"><c r=\"A" + name + "\"><v>" + name + "</v></c><c r=\"B" + name +
                 "\"><v>" + name + ".25</v></c></row>";
    }
    sheet += "</sheetData></worksheet>";
    return ZipBuilder()
        .Add(
            "_rels/.rels",
            R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Id="r1" )"
            R"(Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" )"
            R"(Target="xl/workbook.xml"/></Relationships>)")
        .Add(
            "xl/workbook.xml",
            R"(<workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" )"
            R"(xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships"><sheets><sheet name="s" )"
            R"(sheetId="1" r:id="r1"/></sheets></workbook>)")
        .Add(
            "xl/_rels/workbook.xml.rels",
            R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Id="r1" )"
            R"(Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet" )"
            R"(Target="worksheets/sheet1.xml"/></Relationships>)")
        .AddDeflated("xl/worksheets/sheet1.xml", sheet)
        .Build();
}

// The sum of the last column, which is the same whatever threads did; 0 for a read that was stopped.
double SumOf(const std::string& path, std::stop_token stop = {}) {
    try {
        karta::ReadOptions options;
        options.stop = std::move(stop);
        const karta::Table table = karta::Read(path, options);
        double sum = 0;
        for (std::int64_t row = 0; row < table.GetRowCount(); ++row) {
            sum += table.GetColumn(1).GetNumber(row);
        }
        return sum;
    } catch (const karta::Error& error) {
        EXPECT_EQ(error.GetCode(), karta::ErrorCode::Stopped) << error.what();
        return 0;
    }
}

}  // namespace

TEST(OneCallThreads, LargeFilesAreReadByThreadsOfTheirOwnAndStoppedFromOthers) {
    const TempFolder folder;
    const std::string paths[] = {folder.Write("large.txt", LargeText()),
                                 folder.Write("large.xlsx", LargeWorkbook())};
    const double expected = 0.5 * ManyRows * (ManyRows + 1.0) + 0.25 * ManyRows;
    for (const std::string& path : paths) {
        std::stop_source source;
        double sums[3] = {};
        std::thread first([&] { sums[0] = SumOf(path); });
        std::thread second([&] { sums[1] = SumOf(path); });
        std::thread stopped([&] { sums[2] = SumOf(path, source.get_token()); });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        source.request_stop();
        first.join();
        second.join();
        stopped.join();
        EXPECT_EQ(sums[0], expected) << path;
        EXPECT_EQ(sums[1], expected) << path;
        EXPECT_TRUE(sums[2] == 0 || sums[2] == expected) << path;
    }
}
