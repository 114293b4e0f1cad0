// karta-import when memory runs out: its exit status and its message, and nothing half-written.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/Samples.h"
#include "tests/support/ShellCommand.h"
#include "tests/support/TempFolder.h"

namespace {

#if defined(KARTA_SANITIZED)
constexpr bool AllocatorIsTaken = true;
#else
constexpr bool AllocatorIsTaken = false;
#endif

// Until a run whose memory lasts; with steps that grow, since every one is a process of its own.
template <class Run>
void Walk(Run run, const std::string& environment) {
    const bool whole = std::getenv("KARTA_WEAR_WHOLE") != nullptr;
    // More than any of the runs makes before its table is read: one that lasts until there may still fail
    // later.
    constexpr long MostAllocations = 5000;
    constexpr long Never = 200000;
    int failures = 0;
    for (long number = 1; number < Never; number += whole ? 1 : 1 + number / 12) {
        const std::string preload =
            environment + "LD_PRELOAD='" FAILING_MEMORY "' KARTA_FAIL_AT=" + std::to_string(number) +
            " timeout 30 ";
        const bool success = run(preload, number);
        if (success && number > MostAllocations) {
            std::printf("%d runs failed\n", failures);
            EXPECT_GT(failures, 50);
            return;
        }
        failures += success ? 0 : 1;
    }
    ADD_FAILURE() << "memory never lasted";
}

}  // namespace

class ProgramOutOfMemoryTest : public testing::TestWithParam<const char*> {};

TEST_P(ProgramOutOfMemoryTest, EndsWithItsStatusAndAMessage) {
    if (AllocatorIsTaken) {
        GTEST_SKIP() << "the sanitizer has an allocator of its own";
    }
    const TempFolder folder;
    const std::string sample = "'" KARTA_SOURCE_DIR "/samples/" + std::string(GetParam()) + "'";
    const CommandOutcome sound = RunInShell(folder.Path(""), ProgramPath() + " convert " + sample + " -o -");
    ASSERT_EQ(sound.status, 0);
    for (const char* environment : {"", "KARTA_FAIL_ON=1 "}) {
        Walk(
            [&](const std::string& preload, long number) {
                const std::string path = folder.Write("out.csv", "older");
                const CommandOutcome outcome =
                    RunInShell(folder.Path(""),
                               // libseccomp dies of a null pointer of its own where memory ends while it
                               // makes its rules.
                               preload + ProgramPath() + " convert --no-sandbox " + sample + " -o " + path);
                if (outcome.status == 0) {
                    EXPECT_EQ(ReadWholeFile(path), sound.out) << number;
                } else {
                    EXPECT_EQ(outcome.status, 1) << environment << number << outcome.err;
                    EXPECT_TRUE(outcome.err.starts_with("karta-import: "))
                        << environment << number << outcome.err;
                    EXPECT_EQ(ReadWholeFile(path), "older") << environment << number;
                }
                return outcome.status == 0;
            },
            environment);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path("")), {}), 3)
        << "a temporary file was left";
}

INSTANTIATE_TEST_SUITE_P(Samples, ProgramOutOfMemoryTest,
                         testing::Values("wine.txt", "moisture.xls", "excel2007.xlsx", "fermentation.kpf"),
                         [](const auto& info) {
                             return std::string(info.param).substr(0, std::string(info.param).find('.'));
                         });
