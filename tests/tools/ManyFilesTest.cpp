// Folders and patterns: every file by itself, or all as one table.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/ShellCommand.h"
#include "tests/support/TempFolder.h"
#include "tools/Failure.h"
#include "tools/FileList.h"

namespace {

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// A spectrum as JCAMP-DX has it: y = 10 x.
std::string Spectrum(int first, int step, int points) {
    std::string text =
        "##TITLE=s\n##JCAMP-DX=4.24\n##DATA TYPE=INFRARED SPECTRUM\n##XUNITS=NANOMETERS\n"
        "##YUNITS=ABSORBANCE\n##XFACTOR=1\n##YFACTOR=1\n##FIRSTX=" +
        std::to_string(first) + "\n##LASTX=" + std::to_string(first + step * (points - 1)) +
        "\n##NPOINTS=" + std::to_string(points) + "\n##FIRSTY=" + std::to_string(first * 10) +
        "\n##XYDATA=(X++(Y..Y))\n";
    for (int i = 0; i < points; ++i) {
        text += std::to_string(first + step * i) + " " + std::to_string(10 * (first + step * i)) + "\n";
    }
    return text + "##END=\n";
}

class ManyFilesTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(folder.Path("data/deep"));
        folder.Write("data/a.csv", "name,value\nx,1\n");
        folder.Write("data/deep/b.csv", "name,value\ny,2\n");
    }

    CommandOutcome Run(const std::string& arguments) {
        return Shell(ProgramPath() + " convert " + arguments);
    }
    CommandOutcome Shell(const std::string& command) { return RunInShell(folder.Path(""), command); }

    TempFolder folder;
};

}  // namespace

TEST_F(ManyFilesTest, FoldersAndPatternsAreFilesInTheOrderOfTheirNames) {
    folder.Write("data/.hidden", "x");
    folder.Write("data/c.txt", "x");
    const auto all = ListFiles({folder.Path("data")});
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].relative, "a.csv");
    EXPECT_EQ(all[1].relative, "c.txt");
    EXPECT_EQ(all[2].relative, "deep/b.csv");
    const auto some = ListFiles({folder.Path("data/**/*.csv")});
    ASSERT_EQ(some.size(), 2U);
    EXPECT_EQ(some[1].path, folder.Path("data/deep/b.csv"));
    EXPECT_EQ(ListFiles({folder.Path("data/*.csv")}).size(), 1U);
    EXPECT_THROW(ListFiles({folder.Path("data/*.spc")}), Failure);
}

TEST_F(ManyFilesTest, EachIsATableOfItsOwnInAFolder) {
    const CommandOutcome outcome = Run("data --each -o out");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(Shell("cat out/a.csv.csv").out, "name,value\nx,1\n");
    EXPECT_EQ(Shell("cat out/deep/b.csv.csv").out, "name,value\ny,2\n");
}

TEST_F(ManyFilesTest, StackedFilesAreOneTableThatNamesThem) {
    const CommandOutcome outcome = Run("'data/**/*.csv' --stack -o -");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "file,name,value\ndata/a.csv,x,1\ndata/deep/b.csv,y,2\n");
    EXPECT_EQ(Run("data --stack -j 1 --to tsv -o -").out,
              "file\tname\tvalue\ndata/a.csv\tx\t1\ndata/deep/b.csv\ty\t2\n");
}

TEST_F(ManyFilesTest, StackedTextsAreMadeSafe) {
    folder.Write("data/a.csv", "name,value\n=1+1,-1\n@a,-2\n");
    std::filesystem::remove(folder.Path("data/deep/b.csv"));
    const CommandOutcome outcome = Run("data --stack --safe-cells -o -");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "file,name,value\ndata/a.csv,'=1+1,-1\ndata/a.csv,'@a,-2\n");
    EXPECT_EQ(Run("data --stack --objects -o -").status, 2);
}

TEST_F(ManyFilesTest, StackOnATerminalHasNoControlCharacters) {
    if (Shell("python3 -c 'import os; os.openpty()'").status != 0) {
        GTEST_SKIP() << "no terminal can be had here";
    }
    folder.Write("data/a.csv", "name,value\n\x1b[31mred,1\n");
    const CommandOutcome outcome =
        Shell("timeout 60 python3 '" KARTA_SOURCE_DIR "/tests/tools/on-terminal' '' " + ProgramPath() +
              " convert data --stack -o -");
    EXPECT_EQ(outcome.out.find('\x1b'), std::string::npos) << outcome.out;
    EXPECT_TRUE(Contains(outcome.out, "data/a.csv,\\x1b[31mred,1")) << outcome.out;
}

TEST_F(ManyFilesTest, ABadFileEndsItUnlessItIsSkipped) {
    folder.Write("data/bad.spc", "no spectrum");
    const CommandOutcome ended = Run("data --stack -o all.csv");
    EXPECT_EQ(ended.status, 1);
    EXPECT_TRUE(Contains(ended.err, "data/bad.spc: ")) << ended.err;
    EXPECT_FALSE(std::filesystem::exists(folder.Path("all.csv")));
    const CommandOutcome stacked = Run("data --stack --skip-bad -o all.csv");
    EXPECT_EQ(stacked.status, 1);
    EXPECT_TRUE(Contains(stacked.err, "1 of 3 files could not be read:\nkarta-import: data/bad.spc: "))
        << stacked.err;
    EXPECT_EQ(Shell("wc -l <all.csv").out, "3\n");
    const CommandOutcome each = Run("data --each --skip-bad -o out");
    EXPECT_EQ(each.status, 1);
    EXPECT_TRUE(Contains(each.err, "1 of 3 files could not be read:\nkarta-import: data/bad.spc: "))
        << each.err;
    EXPECT_TRUE(std::filesystem::exists(folder.Path("out/deep/b.csv.csv")));
    EXPECT_EQ(Run("data/bad.spc --stack --skip-bad -o none.csv").status, 1);
    EXPECT_FALSE(std::filesystem::exists(folder.Path("none.csv")));
}

TEST_F(ManyFilesTest, SpectraArePutOnAGrid) {
    std::filesystem::create_directory(folder.Path("spectra"));
    folder.Write("spectra/1.jdx", Spectrum(100, 10, 11));
    folder.Write("spectra/2.jdx", Spectrum(105, 10, 11));
    const CommandOutcome differing = Run("spectra --stack -o -");
    EXPECT_EQ(differing.status, 1);
    EXPECT_TRUE(Contains(differing.err, "spectra/2.jdx")) << differing.err;
    EXPECT_TRUE(Contains(differing.err, "100")) << differing.err;
    EXPECT_TRUE(Contains(differing.err, "105")) << differing.err;
    const CommandOutcome gridded = Run("spectra --stack --grid 110:140:15 --quiet -o -");
    ASSERT_EQ(gridded.status, 0) << gridded.err;
    EXPECT_TRUE(Contains(gridded.out, ",1100,1250,1400\n")) << gridded.out;
    EXPECT_EQ(Shell(ProgramPath() + " convert spectra --stack --grid common --quiet -o - | wc -l").out,
              "3\n");
    EXPECT_EQ(Run("spectra --stack --grid 1:2 -o -").status, 2);
    EXPECT_EQ(Run("spectra --stack --grid 1:1e9:0.001 -o -").status, 2);
}

TEST_F(ManyFilesTest, WhatIsForManyFilesIsRefusedOfOne) {
    EXPECT_EQ(Run("data/a.csv --grid first -o -").status, 2);
    EXPECT_EQ(Run("data/a.csv --skip-bad -o -").status, 2);
    EXPECT_EQ(Run("data --stack --want 1 -o -").status, 2);
    EXPECT_EQ(Run("data --stack -o all.mat").status, 2);
    EXPECT_EQ(Run("data --each --stack -o all.csv").status, 2);
}
