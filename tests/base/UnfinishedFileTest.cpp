// Files that must not outlive the program.
#include "base/UnfinishedFile.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "base/OutputFile.h"
#include "tests/support/TempFolder.h"

namespace fs = std::filesystem;

TEST(UnfinishedFile, WhatIsHeldIsRemoved) {
    const TempFolder folder;
    const std::string file = folder.Write("file", "x");
    const std::string released = folder.Write("released", "x");
    const std::string inside = folder.Path("inside");
    fs::create_directory(inside);
    folder.Write("inside/x", "x");
    UnfinishedFile first;
    UnfinishedFile second;
    UnfinishedFile third;
    first.Hold(file.c_str());
    second.Hold(released.c_str());
    third.Hold(inside.c_str());
    second.Release();
    second.Release();
    UnfinishedFile::RemoveAll();
    EXPECT_FALSE(fs::exists(file));
    EXPECT_FALSE(fs::exists(inside));
    EXPECT_TRUE(fs::exists(released));
}

TEST(UnfinishedFile, OutputInTheMakingIsHeldAndTheOlderFileIsNot) {
    const TempFolder folder;
    const std::string path = folder.Write("out", "older");
    {
        OutputFile file(path);
        file.Write("newer");
        EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path("")), {}), 2);
        UnfinishedFile::RemoveAll();
        EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path("")), {}), 1);
    }
    EXPECT_EQ(ReadWholeFile(path), "older");
    OutputFile committed(path);
    committed.Write("newer");
    EXPECT_TRUE(committed.Commit());
    UnfinishedFile::RemoveAll();
    EXPECT_EQ(ReadWholeFile(path), "newer");
}
