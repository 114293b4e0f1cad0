// karta-import while it converts a large file of each format, sent a signal in each stage: opening,
// measuring, unpacking, reading, writing and putting the output in place. It ends within a second with the
// signal's status, and leaves the older output and nothing else.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>

#include "tests/support/ShellCommand.h"
#include "tests/support/TempFolder.h"
#include "tests/wear/LargeFiles.h"

namespace {

int CountMoments() {
    return std::getenv("KARTA_WEAR_WHOLE") == nullptr ? 4 : 40;
}

long CountEntries(const std::string& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

}  // namespace

class ProgramInterruptTest : public testing::TestWithParam<LargeFile> {
protected:
    ProgramInterruptTest() {
        std::filesystem::create_directory(folder.Path("in"));
        std::filesystem::create_directory(folder.Path("out"));
        std::filesystem::create_directory(folder.Path("temporary"));
        MakeLargeFile(folder.Path("in"), GetParam());
    }

    std::string Conversion(const std::string& reading, const std::string& output) const {
        return ProgramPath() + " convert --quiet --no --format " + ShellWord(GetParam().format) + " " +
               reading + " in/" + ShellWord(GetParam().name) + " -o out/" + output;
    }

    CommandOutcome Run(const std::string& command) const {
        return RunInShell(folder.Path(""), "TMPDIR=" + ShellWord(folder.Path("temporary")) + " " + command);
    }

    const TempFolder folder;
};

TEST_P(ProgramInterruptTest, EndsWithinASecondInEveryStage) {
    if (std::getenv("KARTA_WEAR") == nullptr) {
        GTEST_SKIP() << "measures seconds, which a busy machine stretches: ./check --wear runs it";
    }
    using Clock = std::chrono::steady_clock;
    const int moments = CountMoments();
    int interrupted = 0;
    int refused = 0;
    int replaced = 0;
    for (const auto& [reading, output] :
         {std::pair<std::string, std::string>{"--complete", "out.csv"}, {"--classic", "out.mat"}}) {
        const auto begin = Clock::now();
        const bool isRead = Run(Conversion(reading, output)).status == 0;
        refused += isRead ? 0 : 1;
        const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        const std::string path = folder.Path("out/" + output);
        const std::string whole = isRead ? ReadWholeFile(path) : std::string();
        for (int i = 0; i < moments; ++i) {
            const bool isKey = i % 2 == 0;
            folder.Write("out/" + output, "older");
            const std::string what = reading + " to " + output + ", " + std::to_string(i) + " of " +
                                     std::to_string(moments) + " of " + std::to_string(seconds) + " s";
            const CommandOutcome outcome =
                Run("'" KARTA_SOURCE_DIR "/tests/tools/interrupted' " +
                    std::string(isKey ? "SIGINT " : "SIGTERM ") + std::to_string(seconds * i / moments) +
                    " " + Conversion(reading, output));
            ASSERT_EQ(outcome.status, 0) << outcome.err;
            EXPECT_EQ(outcome.out.find("late"), std::string::npos) << what << ": " << outcome.out;
            const std::string status = isKey ? "130 " : "143 ";
            if (outcome.out.find("before") == std::string::npos) {
                EXPECT_TRUE(outcome.out.starts_with(status) || outcome.out.starts_with("0 ") ||
                            outcome.out.starts_with("1 "))
                    << what << ": " << outcome.out;
            }
            if (outcome.out.starts_with(status)) {
                ++interrupted;
                // The last moment is behind the one at which the output is put in place.
                const std::string content = ReadWholeFile(path);
                EXPECT_TRUE(content == "older" || content == whole)
                    << what << ": " << content.size() << " bytes";
                replaced += content == "older" ? 0 : 1;
            }
            EXPECT_EQ(CountEntries(folder.Path("out")), 1) << what;
            EXPECT_EQ(CountEntries(folder.Path("temporary")), 0) << what;
            std::filesystem::remove(path);
        }
    }
    std::printf("%d interrupted, %d of them with the output in place, %d conversions refused\n", interrupted,
                replaced, refused);
    EXPECT_GE(interrupted, moments);
    EXPECT_LE(replaced, interrupted / 2);
}

INSTANTIATE_TEST_SUITE_P(LargeFiles, ProgramInterruptTest, testing::ValuesIn(AllLargeFiles()),
                         [](const auto& info) { return NameOf(info.param); });
