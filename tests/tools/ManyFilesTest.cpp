// Folders and patterns: every file by itself, or all as one table.
#include <gtest/gtest.h>

#include <algorithm>
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

TEST_F(ManyFilesTest, SpectraOfSeveralFormatsBecomeOneMatrix) {
    std::filesystem::create_directory(folder.Path("spectra"));
    folder.Write("spectra/1.jdx", Spectrum(1100, 10, 45));
    const std::string samples = KARTA_SOURCE_DIR "/samples/";
    Shell("cp " + samples + "kinetics.spc " + samples + "flour.da " + samples + "flour.dat spectra/");
    const std::string grid = "spectra --stack --quiet --grid 1100:1500:200 -o ";
    const CommandOutcome csv = Run(grid + "-");
    ASSERT_EQ(csv.status, 0) << csv.err;
    EXPECT_EQ(std::count(csv.out.begin(), csv.out.end(), '\n'), 1 + 1 + 6 + 6 + 12);
    EXPECT_TRUE(csv.out.starts_with("file,Primary ID,Name,Date,")) << csv.out;
    EXPECT_TRUE(Contains(csv.out, ",1100,1300,1500\n")) << csv.out;
    // The label that only one file has is missing in the others.
    EXPECT_TRUE(Contains(csv.out, ",SampleName,")) << csv.out;
    EXPECT_TRUE(Contains(csv.out, "spectra/1.jdx,2,s,")) << csv.out;

    const CommandOutcome lines = Run(grid + "- --to jsonl --objects");
    ASSERT_EQ(lines.status, 0) << lines.err;
    EXPECT_TRUE(lines.out.starts_with("{\"file\":\"spectra/1.jdx\",\"Primary ID\":2,\"Name\":\"s\","))
        << lines.out;
    EXPECT_TRUE(Contains(lines.out, "\"1100\":11000,\"1300\":13000,\"1500\":15000}\n")) << lines.out;

    ASSERT_EQ(Run(grid + "all.mat").status, 0);
    const CommandOutcome matrix = Shell(ProgramPath() + " info all.mat");
    EXPECT_TRUE(Contains(matrix.out, "25 rows")) << matrix.out;
    EXPECT_TRUE(Contains(Shell(ProgramPath() + " convert --quiet all.mat -o -").out, ",15000\n"));
}

TEST_F(ManyFilesTest, NotesOfStackedFilesAreTold) {
    folder.Write("a: b.csv", "name,value\n\xe9,1\n");
    folder.Write("c.csv", "name,value\nx,2\n");
    const CommandOutcome outcome = Run("'a: b.csv' c.csv --stack -o all.csv");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.err.starts_with("karta-import: a: b.csv: note: ")) << outcome.err;
    EXPECT_EQ(Run("'a: b.csv' c.csv --stack -o all.csv --quiet").err, "");
}

TEST_F(ManyFilesTest, AGridThatASpectrumDoesNotReachIsTold) {
    folder.Write("1.jdx", Spectrum(1000, 10, 6));
    folder.Write("2.jdx", Spectrum(3000, 10, 6));
    const CommandOutcome outcome = Run("1.jdx 2.jdx --stack --grid 3000:3040:20 -o all.csv");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(Contains(outcome.err,
                         "1.jdx: note: no point of the grid lies on the axis, which goes from 1000 "
                         "to 1050: all its numbers are missing\n"))
        << outcome.err;
    EXPECT_FALSE(Contains(outcome.err, "2.jdx")) << outcome.err;
}

TEST_F(ManyFilesTest, AFolderWithoutEitherIsToldWhatThereIs) {
    const CommandOutcome outcome = Run("data -o out.csv");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(Contains(outcome.err,
                         "data: Directories can not be imported. For the files of a folder there "
                         "are --each and --stack."))
        << outcome.err;
    EXPECT_TRUE(Contains(Run("data -o out.csv --json").out, "\"code\": \"not-a-file\""));
}

TEST_F(ManyFilesTest, AdviceBehindASentenceIsALineOfItsOwn) {
    folder.Write("data/a.spc", "no spectrum");
    const CommandOutcome outcome = Run("data --each -o out");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.ends_with("\n--skip-bad goes on without it\n")) << outcome.err;
    EXPECT_FALSE(Contains(outcome.err, ".;")) << outcome.err;
}

TEST_F(ManyFilesTest, WithoutAGridOtherLabelsAreToldWithWhatToDo) {
    const std::string samples = KARTA_SOURCE_DIR "/samples/";
    const CommandOutcome outcome = Run(samples + "flour.da " + samples + "flour.dat --stack -o -");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(Contains(outcome.err, "a grid takes the columns of all files")) << outcome.err;
    EXPECT_TRUE(Contains(outcome.err, "--skip-bad goes on without it")) << outcome.err;
}

TEST_F(ManyFilesTest, MessagesStandInTheOrderOfTheFilesHoweverManyAreReadAtOnce) {
    std::filesystem::create_directory(folder.Path("many"));
    std::string expected;
    for (int i = 10; i < 40; ++i) {
        const std::string name = "many/" + std::to_string(i) + (i % 7 == 0 ? ".spc" : ".csv");
        // Files of very different sizes, so that later ones are done before earlier ones.
        std::string text = "name,value\n\xe9,1\n";
        for (int row = 0; row < (i % 3 == 0 ? 20000 : 1); ++row) {
            text += "x,1\n";
        }
        folder.Write(name, i % 7 == 0 ? "no spectrum" : text);
        if (i % 7 != 0) {
            expected +=
                "karta-import: " + name +
                ": note: the text isn't UTF-8 and was read as Windows-1252; --encoding names another\n";
        }
    }
    std::string first;
    for (const char* const jobs : {"1", "2", "8"}) {
        const CommandOutcome outcome =
            Run(std::string("many --each --skip-bad -o out") + jobs + " -j " + jobs);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_TRUE(outcome.err.starts_with(expected)) << outcome.err;
        EXPECT_TRUE(Contains(outcome.err, "4 of 30 files could not be read:\nkarta-import: many/14.spc"))
            << outcome.err;
        first = first.empty() ? outcome.err : first;
        EXPECT_EQ(outcome.err, first);
        EXPECT_EQ(Shell(std::string("diff -r out1 out") + jobs).status, 0);
    }
    EXPECT_EQ(Shell("ls out8 | wc -l").out, "26\n");
}

TEST_F(ManyFilesTest, AnEarlierRunsTablesAreNotConvertedAgain) {
    ASSERT_EQ(Run(". --each -o ./tables").status, 0);
    const std::string before = Shell("find tables -type f | sort").out;
    ASSERT_EQ(Run(". --each -o ./tables").status, 0);
    EXPECT_EQ(Shell("find tables -type f | sort").out, before);
    EXPECT_EQ(Run("tables --each -o tables").status, 2);
}

TEST_F(ManyFilesTest, WhatIsForManyFilesIsRefusedOfOne) {
    EXPECT_EQ(Run("data/a.csv --grid first -o -").status, 2);
    EXPECT_EQ(Run("data/a.csv --skip-bad -o -").status, 2);
    EXPECT_EQ(Run("data --stack --want 1 -o -").status, 2);
    EXPECT_EQ(Run("data --stack -o all.parquet").status, 2);
    EXPECT_EQ(Run("data --stack --no-x-row -o all.csv").status, 2);
    EXPECT_EQ(Run("data --each --stack -o all.csv").status, 2);
}
