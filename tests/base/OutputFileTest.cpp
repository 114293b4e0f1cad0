#include "base/OutputFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>

#include "tests/support/TempFolder.h"

namespace {

mode_t ModeOf(const std::string& path) {
    struct stat info{};
    return stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

/** The process's mask for new files, put back afterwards. */
class Mask {
public:
    explicit Mask(mode_t mask) : before(umask(mask)) {}
    Mask(const Mask&) = delete;
    Mask& operator=(const Mask&) = delete;
    ~Mask() { umask(before); }

private:
    mode_t before;
};

}  // namespace

TEST(OutputFileTest, NewFileHasTheModeOfTheUsersMask) {
    const TempFolder folder;
    const Mask mask(027);
    OutputFile file(folder.Path("new.txt"));
    file.Write("text");
    ASSERT_TRUE(file.Commit());
    EXPECT_EQ(ModeOf(folder.Path("new.txt")), 0640U);
}

TEST(OutputFileTest, ReplacedFileKeepsItsMode) {
    const TempFolder folder;
    const std::string path = folder.Write("old.txt", "old");
    ASSERT_EQ(chmod(path.c_str(), 0604), 0);
    OutputFile file(path);
    file.Write("new");
    ASSERT_TRUE(file.Commit());
    EXPECT_EQ(ModeOf(path), 0604U);
}

// The mask is the process's: to ask for it by setting it opens the files of other threads to the world.
TEST(OutputFileTest, WritingLeavesTheMaskOfOtherThreadsAlone) {
    const TempFolder folder;
    const Mask mask(077);
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (int i = 0; i < 2000; ++i) {
            OutputFile(folder.Path("written.txt")).Commit();
        }
        done = true;
    });
    bool wasOpen = false;
    while (!done) {
        const std::string other = folder.Write("other.txt", "x");
        wasOpen = wasOpen || (ModeOf(other) & 077) != 0;
        unlink(other.c_str());
    }
    writer.join();
    EXPECT_FALSE(wasOpen);
}

// Large ones go out without being gathered.
TEST(OutputFileTest, PiecesOfAllSizesAreInTheirOrder) {
    const TempFolder folder;
    std::string expected;
    OutputFile file(folder.Path("pieces"));
    const std::size_t sizes[] = {1, 40'000, 3, 100'000, 0, 32'767, 32'768, 7, 300'000, 2};
    for (int round = 0; round < 20; ++round) {
        for (const std::size_t size : sizes) {
            const std::string piece(size, static_cast<char>('a' + expected.size() % 26));
            file.Write(piece);
            expected += piece;
        }
    }
    ASSERT_TRUE(file.Commit());
    EXPECT_EQ(ReadWholeFile(folder.Path("pieces")), expected);
}

TEST(OutputFileTest, ALargePieceBeyondTheBudgetLeavesTheOlderFile) {
    const TempFolder folder;
    const std::string path = folder.Write("older", "older");
    karta::Budget budget;
    budget.SetLimit(100'000);
    {
        OutputFile file(path);
        file.SetBudget(&budget);
        EXPECT_THROW(
            {
                for (int i = 0; i < 100; ++i) {
                    file.Write(std::string(1'000'000, 'x'));
                }
            },
            karta::BudgetExceeded);
    }
    EXPECT_EQ(ReadWholeFile(path), "older");
}
