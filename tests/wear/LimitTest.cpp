// --limit through the program, in every format: a large file is refused by a small one with a text that says
// what grew and how to allow more, and leaves the older output; without any limit it is converted.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/ShellCommand.h"
#include "tests/support/TempFolder.h"
#include "tests/wear/LargeFiles.h"

class LimitTest : public testing::TestWithParam<LargeFile> {
protected:
    LimitTest() { MakeLargeFile(folder.Path(""), GetParam()); }

    CommandOutcome Convert(const std::string& arguments) const {
        return RunInShell(folder.Path(""), ProgramPath() + " convert --quiet --no --format " +
                                               ShellWord(GetParam().format) + " " +
                                               ShellWord(GetParam().name) + " -o out.csv " + arguments);
    }

    const TempFolder folder;
};

TEST_P(LimitTest, HoldsForMemoryAndOutput) {
    for (const std::string reading : {"--complete", "--classic"}) {
        const std::string path = folder.Write("out.csv", "older");
        const CommandOutcome whole = Convert(reading + " --limit none");
        if (whole.status != 0) {
            // A form that the classic rules refuse.
            EXPECT_EQ(reading, "--classic") << whole.err;
            EXPECT_EQ(whole.err.find("--limit"), std::string::npos) << whole.err;
            continue;
        }
        EXPECT_GT(ReadWholeFile(path).size(), std::size_t{1} << 20);
        folder.Write("out.csv", "older");
        const CommandOutcome refused = Convert(reading + " --limit 1M");
        EXPECT_EQ(refused.status, 1) << reading << refused.err;
        EXPECT_NE(refused.err.find("would take more than the 1048576 bytes"), std::string::npos)
            << reading << refused.err;
        EXPECT_NE(refused.err.find("--limit allows more"), std::string::npos) << reading << refused.err;
        EXPECT_EQ(ReadWholeFile(path), "older") << reading;
    }
}

INSTANTIATE_TEST_SUITE_P(LargeFiles, LimitTest, testing::ValuesIn(AllLargeFiles()),
                         [](const auto& info) { return NameOf(info.param); });
