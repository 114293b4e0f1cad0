// What becomes of a large text doesn't depend on the threads that read it.
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/Budget.h"
#include "base/Stopped.h"
#include "frame/FormatReader.h"
#include "karta/internal/TableSink.h"
#include "tests/support/QuotedRows.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TableText.h"
#include "tests/support/TempFolder.h"

namespace {

/** A text read into a table by so many threads. */
class ReadInThreads {
public:
    ReadInThreads(const std::string& path, unsigned int threads) {
        context->reading = karta::Reading::Complete;
        context->threads = threads;
        context->progress = [this](double share) {
            isFalling = isFalling || (share >= 0 && share < lastShare);
            lastShare = share >= 0 ? share : lastShare;
        };
        dynamic_cast<FormatReader&>(*reader).SetContext(context);
        status = reader->Open(true, path.c_str(), nullptr);
    }

    void Read() {
        karta::TableSink sink(context);
        status = reader->Read(&sink);
        if (status == 0) {
            table = sink.Finish();
            charged = context->budget.GetMemory();
        }
    }

    std::shared_ptr<karta::ReadContext> context = std::make_shared<karta::ReadContext>();
    std::unique_ptr<SpreadsheetFile> reader{NewReader("Text File")};
    karta::Table table;
    int status = 0;
    std::uint64_t charged = 0;
    double lastShare = 0;
    bool isFalling = false;
};

// Columns of all kinds, one of them of whole numbers up to far down, one of a mixture, one with gaps.
std::string MakeMixedColumns(int rows) {
    std::string text = "whole\tdecimal\tlate\tname\tkind\tday\ttrue\tgaps\n";
    for (int i = 0; i < rows; ++i) {
        const std::string number = std::to_string(i);
        for (const std::string& field :
             {number, number + (i % 3 == 0 ? ".50" : ".5"),
              i == rows - 9   ? std::string("1.25")
              : i == rows - 5 ? std::string("7e2")
                              : number,
              "name " + number, "kind " + std::to_string(i % 50), "2024-01-" + std::to_string(10 + i % 20),
              std::string(i % 2 == 0 ? "TRUE" : "FALSE"), i % 7 == 0 ? std::string() : number}) {
            text += field;
            text += '\t';
        }
        text.back() = '\n';
    }
    return text;
}

class TextInThreadsTest : public testing::Test {
protected:
    // Charged means the same: nobody may count what a thread takes in passing.
    void ExpectSameInAllThreads(const std::string& text) {
        const std::string path = folder.Write("table.txt", text);
        ReadInThreads alone(path, 1);
        alone.Read();
        ASSERT_EQ(alone.status, 0);
        const std::string expected = DescribeTable(alone.table);
        for (const unsigned int threads : {2U, 3U, 8U}) {
            ReadInThreads several(path, threads);
            several.Read();
            ASSERT_EQ(several.status, 0);
            EXPECT_TRUE(DescribeTable(several.table) == expected) << threads;
            EXPECT_EQ(several.charged, alone.charged) << threads;
            EXPECT_FALSE(several.isFalling) << threads;
            EXPECT_GT(several.lastShare, 0.5) << threads;
        }
    }

    TempFolder folder;
};

}  // namespace

TEST_F(TextInThreadsTest, ColumnsOfAllKindsAreTheSame) {
    ExpectSameInAllThreads(MakeMixedColumns(90'000));
}

TEST_F(TextInThreadsTest, QuotedFieldsAndOddRecordsAreTheSame) {
    for (const int oddEvery : {0, 13, 5003}) {
        SCOPED_TRACE(oddEvery);
        ExpectSameInAllThreads(MakeQuotedRows(oddEvery == 13 ? 12'000 : 60'000, oddEvery, "\n"));
    }
}

// Lines that become longer and shorter again, so that what the first ones promise is wrong both ways.
TEST_F(TextInThreadsTest, RowsOfUnevenLengthAreTheSame) {
    std::string text = "a\tb\n";
    for (int i = 0; i < 60'000; ++i) {
        const int length = i < 20'000 ? 3 : i < 30'000 ? 200 : 1;
        text += std::to_string(i) + "\t" + std::string(static_cast<std::size_t>(length), 'x') +
                std::to_string(i % 1000) + "\n";
    }
    ExpectSameInAllThreads(text);
}

TEST_F(TextInThreadsTest, BudgetEndsTheReadInAnyNumberOfThreads) {
    const std::string path = folder.Write("table.txt", MakeMixedColumns(90'000));
    ReadInThreads whole(path, 1);
    whole.Read();
    for (const unsigned int threads : {1U, 2U, 8U}) {
        for (const std::uint64_t share : {8U, 4U, 2U}) {
            ReadInThreads read(path, threads);
            read.context->budget.SetLimit(whole.charged / share);
            EXPECT_THROW(
                {
                    read.Read();
                    if (read.status != 0) {
                        throw karta::BudgetExceeded("told by the reader's status");
                    }
                },
                karta::BudgetExceeded)
                << threads << " " << share;
            EXPECT_TRUE(read.context->budget.WasExceeded());
            EXPECT_LE(read.context->budget.GetMemory(), whole.charged / share);
        }
    }
}

TEST_F(TextInThreadsTest, StopIsHeardInAnyNumberOfThreads) {
    const std::string path = folder.Write("table.txt", MakeMixedColumns(90'000));
    for (const unsigned int threads : {1U, 2U, 8U}) {
        for (const double share : {0.0, 0.3, 0.9}) {
            ReadInThreads read(path, threads);
            std::stop_source source;
            read.context->stop = source.get_token();
            read.context->progress = [&](double done) {
                if (done >= share) {
                    source.request_stop();
                }
            };
            EXPECT_THROW(
                {
                    read.Read();
                    if (read.status != 0) {
                        throw karta::Stopped();
                    }
                },
                karta::Stopped)
                << threads << " " << share;
        }
    }
}
