// Files and paths: NvFile, PathNames, FNClass, FileHandle, MappedFile, TemporaryFile, OutputFile.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <span>
#include <string>

#include "base/FileHandle.h"
#include "base/MappedFile.h"
#include "base/OutputFile.h"
#include "base/PathNames.h"
#include "base/TemporaryFile.h"
#include "host/FNClass.h"
#include "host/NvFile.h"
#include "tests/support/TempFolder.h"

TEST(NvFile, SelectionSplitsAtLineFeedsAndDropsEmptyNames) {
    EXPECT_EQ(NvFile::GetFileNames("a\n\nb c\n"), (std::vector<std::string>{"a", "b c"}));
    EXPECT_EQ(NvFile::GetFileNames("one"), std::vector<std::string>{"one"});
    EXPECT_TRUE(NvFile::GetFileNames("").empty());
    EXPECT_TRUE(NvFile::GetFileNames("\n").empty());
}

TEST(NvFile, EncodingGoesByTheMark) {
    const TempFolder folder;
    EXPECT_EQ(NvFile::GetEncoding(folder.Write("a", "abc").c_str()), 0);
    EXPECT_EQ(NvFile::GetEncoding(folder.Write("b", "\xff\xfe").c_str()), 1);
    EXPECT_EQ(NvFile::GetEncoding(folder.Write("c", "\xfe\xff").c_str()), 2);
    EXPECT_EQ(NvFile::GetEncoding(folder.Write("d", "\xef\xbb\xbf").c_str()), 3);
    EXPECT_EQ(NvFile::GetEncoding(folder.Write("e", "\xef\xbb").c_str()), 0);
    EXPECT_EQ(NvFile::GetEncoding(folder.Path("none").c_str()), 0);
}

TEST(NvFile, TextHasNoNulWithinTheLimit) {
    const TempFolder folder;
    const std::string path = folder.Write("a", std::string("abc\0def", 7));
    EXPECT_TRUE(IsTextFile(path.c_str(), 3));
    EXPECT_FALSE(IsTextFile(path.c_str(), 4));
    EXPECT_TRUE(IsTextFile(folder.Write("b", "").c_str(), 10));
    EXPECT_FALSE(IsTextFile(folder.Path("none").c_str(), 10));
    EXPECT_FALSE(IsTextFile(folder.Path("").c_str(), 10));
}

TEST(NvFile, TextIsSearchedBeyondOneChunk) {
    const TempFolder folder;
    std::string bytes(200000, 'x');
    bytes[150000] = '\0';
    const std::string path = folder.Write("a", bytes);
    EXPECT_TRUE(IsTextFile(path.c_str(), 150000));
    EXPECT_FALSE(IsTextFile(path.c_str(), 150001));
}

TEST(NvFile, TellsFilesFromFolders) {
    const TempFolder folder;
    const std::string path = folder.Write("a", "12345");
    EXPECT_TRUE(NvFile::Exists(path.c_str()));
    EXPECT_FALSE(NvFile::IsDirectory(path.c_str()));
    EXPECT_TRUE(NvFile::CanOpen(path.c_str()));
    EXPECT_EQ(NvFile::GetSize(path.c_str()), 5U);
    EXPECT_TRUE(NvFile::IsDirectory(folder.Path("").c_str()));
    EXPECT_FALSE(NvFile::CanOpen(folder.Path("").c_str()));
    EXPECT_FALSE(NvFile::Exists(folder.Path("none").c_str()));
}

TEST(PathNames, BothSlashesSeparate) {
    EXPECT_EQ(NvGetFileName("a/b\\c.x.spc"), "c.x.spc");
    EXPECT_EQ(NvGetFileTitle("a/b\\c.x.spc"), "c.x");
    EXPECT_EQ(NvGetFileExtension("a/b\\c.x.spc"), "spc");
    EXPECT_EQ(NvGetFileExtension("a.b/c"), "");
    EXPECT_EQ(NvGetFileTitle("c"), "c");
    EXPECT_EQ(NvGetFileName(""), "");
}

TEST(PathNames, ExtensionsCompareInAnyCase) {
    EXPECT_TRUE(HasExtension("A.SPC", "spc"));
    EXPECT_FALSE(HasExtension("spc", "spc"));
    EXPECT_TRUE(EqualIgnoringCase("aBc", "AbC"));
    EXPECT_FALSE(EqualIgnoringCase("abc", "abcd"));
    EXPECT_EQ(ToLowerCase("\xc3\x84X"), "\xc3\x84x");
}

TEST(FNClass, SplitsAndMerges) {
    FNClass name("/data/run.1/log.trn");
    EXPECT_EQ(name.folder, "/data/run.1/");
    EXPECT_EQ(name.title, "log");
    EXPECT_EQ(name.extension, ".trn");
    EXPECT_EQ(name.GetNameAndExt(), "log.trn");
    name.extension = ".dat";
    EXPECT_EQ(name.Merge(), "/data/run.1/log.dat");
}

TEST(FileHandle, ReadsAllThereIs) {
    const TempFolder folder;
    FileHandle file(folder.Write("a", "0123456789").c_str());
    char buffer[8];
    EXPECT_EQ(file.Read(buffer, 4), 4U);
    EXPECT_EQ(file.ReadAt(8, buffer, 8), 2U);
    EXPECT_EQ(file.Read(buffer, 8), 6U);
    EXPECT_EQ(file.Read(buffer, 8), 0U);
    EXPECT_TRUE(file.Seek(9));
    EXPECT_EQ(file.Read(buffer, 8), 1U);
    EXPECT_EQ(file.GetSize(), 10U);
}

TEST(FileHandle, WhatIsNotThereGivesNothing) {
    const TempFolder folder;
    FileHandle file(folder.Path("none").c_str());
    char buffer[4];
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.Read(buffer, 4), 0U);
    EXPECT_EQ(file.GetSize(), 0U);
    EXPECT_FALSE(FileHandle(folder.Path("").c_str()).IsOpen());
}

TEST(MappedFile, HoldsTheWholeFile) {
    const TempFolder folder;
    MappedFile file(folder.Write("a", "abc").c_str());
    ASSERT_TRUE(file.IsOpen());
    ASSERT_EQ(file.GetBytes().size(), 3U);
    EXPECT_EQ(file.GetBytes()[2], 'c');
    MappedFile moved(std::move(file));
    EXPECT_EQ(moved.GetBytes().size(), 3U);
    moved.Close();
    EXPECT_FALSE(moved.IsOpen());
    EXPECT_TRUE(moved.GetBytes().empty());
}

TEST(MappedFile, HoldsFilesOfAnySizeWhereverItIsMovedTo) {
    const TempFolder folder;
    for (const std::size_t size : {1U, 4096U, 65535U, 65536U, 65537U, 300'000U}) {
        std::string text;
        for (std::size_t i = 0; i < size; ++i) {
            text += static_cast<char>(i * 7 % 253);
        }
        MappedFile file(folder.Write("a", text).c_str());
        MappedFile moved;
        moved = std::move(file);
        moved.LetGo(size);
        const std::span<const std::uint8_t> bytes = moved.GetBytes();
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), text) << size;
    }
}

TEST(MappedFile, SmallFileThatIsCutAfterwardsIsThereAsItWas) {
    const TempFolder folder;
    const std::string path = folder.Write("a", std::string(5000, 'x'));
    const MappedFile file(path.c_str());
    std::filesystem::resize_file(path, 10);
    ASSERT_EQ(file.GetBytes().size(), 5000U);
    EXPECT_EQ(file.GetBytes()[4999], 'x');
}

TEST(MappedFile, EmptyFileOpensAndMissingOneDoesNot) {
    const TempFolder folder;
    EXPECT_TRUE(MappedFile(folder.Write("a", "").c_str()).IsOpen());
    EXPECT_FALSE(MappedFile(folder.Path("none").c_str()).IsOpen());
}

TEST(TemporaryFile, IsNewEmptyAndTheOwnersAlone) {
    const std::string first = MakeTemporaryFile("karta-test-");
    const std::string second = MakeTemporaryFile("karta-test-");
    ASSERT_FALSE(first.empty());
    EXPECT_NE(first, second);
    struct stat info{};
    ASSERT_EQ(stat(first.c_str(), &info), 0);
    EXPECT_EQ(info.st_size, 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
    unlink(first.c_str());
    unlink(second.c_str());
}

TEST(OutputFile, TakesItsNameOnlyInCommit) {
    const TempFolder folder;
    const std::string path = folder.Write("out", "older");
    OutputFile file(path);
    file.Write("newer");
    EXPECT_EQ(ReadWholeFile(path), "older");
    EXPECT_TRUE(file.Commit());
    EXPECT_EQ(ReadWholeFile(path), "newer");
}

TEST(OutputFile, WhatIsGivenUpLeavesNothingBehind) {
    const TempFolder folder;
    const std::string path = folder.Write("out", "older");
    {
        OutputFile(path).Write("newer");
    }
    EXPECT_EQ(ReadWholeFile(path), "older");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path("")), {}), 1);
}

TEST(OutputFile, KeepsTheOlderFilesRights) {
    const TempFolder folder;
    const std::string path = folder.Write("out", "older");
    chmod(path.c_str(), 0640);
    OutputFile file(path);
    file.Write("newer");
    ASSERT_TRUE(file.Commit());
    struct stat info{};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640U);
}

TEST(OutputFile, ReplacesALinksTargetAndNotTheLink) {
    const TempFolder folder;
    const std::string target = folder.Write("target", "older");
    const std::string link = folder.Path("link");
    std::filesystem::create_symlink(target, link);
    OutputFile file(link);
    file.Write("newer");
    ASSERT_TRUE(file.Commit());
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(ReadWholeFile(target), "newer");
}

TEST(OutputFile, FailureTellsItsReason) {
    const TempFolder folder;
    OutputFile file(folder.Path("none/out"));
    EXPECT_TRUE(file.HasFailed());
    EXPECT_EQ(file.GetError(), ENOENT);
    file.Write("text");
    EXPECT_FALSE(file.Commit());
}

TEST(OutputFile, FullDiskFails) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "there is no /dev/full here";
    }
    OutputFile file("/dev/full");
    file.Write("text");
    EXPECT_FALSE(file.Commit());
    EXPECT_EQ(file.GetError(), ENOSPC);
}
