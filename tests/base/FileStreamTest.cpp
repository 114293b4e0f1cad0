#include "base/FileStream.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "tests/support/TempFolder.h"

TEST(FileStreamTest, ReadsLinesToTheEnd) {
    const TempFolder folder;
    FileStream stream(folder.Write("lines.txt", "one\r\ntwo").c_str());
    std::string line;
    ASSERT_TRUE(std::getline(stream, line));
    EXPECT_EQ(line, "one\r");
    ASSERT_TRUE(std::getline(stream, line));
    EXPECT_EQ(line, "two");
    EXPECT_TRUE(stream.eof());
    EXPECT_FALSE(std::getline(stream, line));
}

TEST(FileStreamTest, SeeksFromTheStartAndTellsTheSize) {
    const TempFolder folder;
    FileStream stream(folder.Write("bytes.bin", std::string(200'000, 'a') + "b").c_str());
    stream.seekg(0, std::ios_base::end);
    EXPECT_EQ(stream.tellg(), 200'001);
    stream.seekg(200'000);
    EXPECT_EQ(stream.get(), 'b');
    stream.seekg(0);
    EXPECT_EQ(stream.get(), 'a');
    EXPECT_EQ(stream.tellg(), 1);
    stream.seekg(-1, std::ios_base::beg);
    EXPECT_TRUE(stream.fail());
}

TEST(FileStreamTest, PipesAndDevicesDoNotOpen) {
    const TempFolder folder;
    ASSERT_EQ(mkfifo(folder.Path("pipe").c_str(), 0600), 0);
    EXPECT_TRUE(FileStream(folder.Path("pipe").c_str()).fail());
    EXPECT_TRUE(FileStream("/dev/zero").fail());
}

TEST(FileStreamTest, MissingFileAndDirectoryHaveFailedFromTheStart) {
    const TempFolder folder;
    EXPECT_TRUE(FileStream(folder.Path("none").c_str()).fail());
    EXPECT_TRUE(FileStream(folder.Path("").c_str()).fail());
}

TEST(FileStreamTest, EmptyFileIsAtItsEnd) {
    const TempFolder folder;
    FileStream stream(folder.Write("empty", "").c_str());
    EXPECT_FALSE(stream.fail());
    EXPECT_EQ(stream.get(), std::char_traits<char>::eof());
}
