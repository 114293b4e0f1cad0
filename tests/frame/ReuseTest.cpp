// Readers that are used again: after a file of their own another file of theirs, one of every other format,
// and one that isn't there, with and without a Close between them.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "frame/SprFileFactory.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/ReaderOutcome.h"
#include "tests/support/Samples.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TestName.h"

namespace {

using karta::Reading;

constexpr Reading Readings[] = {Reading::Classic, Reading::Complete};

std::vector<std::string> FormatNames() {
    std::vector<std::string> names;
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        names.emplace_back(SprFileFactory::GetInfo(i)->formatName);
    }
    return names;
}

// Those of the samples that a reader of this format takes.
std::vector<std::string> OwnSamples(const std::string& format) {
    std::vector<std::string> paths;
    for (const Sample& sample : ReadableSamples()) {
        if (OutcomeOf(format, Reading::Classic, sample.path).starts_with("Open 0\n")) {
            paths.push_back(sample.path);
        }
    }
    return paths;
}

// One of each format, and what isn't there.
std::vector<std::string> OtherFiles(const TempFolder& folder) {
    std::vector<std::string> paths;
    std::string last;
    for (const Sample& sample : ReadableSamples()) {
        if (sample.format != last) {
            paths.push_back(sample.path);
            last = sample.format;
        }
    }
    paths.push_back(folder.Path("missing"));
    paths.push_back(folder.Write("empty", ""));
    paths.push_back("");
    return paths;
}

class Reuse : public testing::TestWithParam<std::string> {
protected:
    TempFolder folder;
};

std::string NameOf(const testing::TestParamInfo<std::string>& info) {
    return TestNameOf(info.param);
}

}  // namespace

TEST_P(Reuse, ReaderThatWasClosedIsAsGoodAsANewOne) {
    const std::string& format = GetParam();
    for (const Reading reading : Readings) {
        for (const std::string& next : OtherFiles(folder)) {
            const std::string expected = OutcomeOf(format, reading, next);
            for (const std::string& own : OwnSamples(format)) {
                const std::unique_ptr<SpreadsheetFile> reader(NewReader(format));
                OutcomeOf(*reader, reading, own);
                reader->Close();
                EXPECT_EQ(OutcomeOf(*reader, reading, next), expected) << own << ", then " << next;
                reader->Close();
                // NSAS keeps the status of an Open that failed.
                if (reader->GetStatus() == SpreadsheetFile::StatusOk) {
                    EXPECT_EQ(OutcomeOf(*reader, reading, own), OutcomeOf(format, reading, own))
                        << next << ", then " << own;
                }
            }
        }
    }
}

TEST_P(Reuse, NothingIsTouchedAfterAnOpenWithoutClose) {
    const std::string& format = GetParam();
    for (const Reading reading : Readings) {
        for (const std::string& next : OtherFiles(folder)) {
            for (const std::string& own : OwnSamples(format)) {
                const std::unique_ptr<SpreadsheetFile> reader(NewReader(format));
                OutcomeOf(*reader, reading, own);
                OutcomeOf(*reader, reading, next);
                EXPECT_FALSE(OutcomeOf(*reader, reading, folder.Path("missing")).empty());
                OutcomeOf(*reader, reading, own);
            }
        }
    }
}

TEST_P(Reuse, NothingIsTouchedAfterAClose) {
    const std::string& format = GetParam();
    for (const Reading reading : Readings) {
        for (const std::string& own : OwnSamples(format)) {
            const std::unique_ptr<SpreadsheetFile> reader(NewReader(format));
            OutcomeOf(*reader, reading, own);
            reader->Close();
            OutcomeOf(*reader, reading, folder.Path("missing"));
            reader->Close();
            // As a host that forgot to look: everything but Open.
            EXPECT_FALSE(OutcomeOfCalls(*reader).empty());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EveryFormat, Reuse, testing::ValuesIn(FormatNames()), NameOf);
