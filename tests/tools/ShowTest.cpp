// What `show` shows on paper and on a terminal.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/ShellCommand.h"
#include "tests/support/TempFolder.h"

namespace {

class ShowTest : public testing::Test {
protected:
    void SetUp() override { folder.Write("a.csv", "name,first,second,third\nx,1,2,3\ny,4,,6\n"); }

    CommandOutcome Run(const std::string& arguments, const std::string& environment = "") {
        return RunInShell(folder.Path(""), environment + ProgramPath() + " show " + arguments);
    }

    TempFolder folder;
};

class ShowOnTerminalTest : public ShowTest {
protected:
    // A bare root may have no /dev/pts.
    void SetUp() override {
        ShowTest::SetUp();
        if (RunInShell(folder.Path(""), "python3 -c 'import os; os.openpty()'").status != 0) {
            GTEST_SKIP() << "no terminal can be had here";
        }
    }

    std::string RunOnTerminal(const std::string& arguments, const std::string& environment = "") {
        return RunInShell(folder.Path(""), environment +
                                               "timeout 60 python3 '" KARTA_SOURCE_DIR
                                               "/tests/tools/on-terminal' '' " +
                                               ProgramPath() + " show " + arguments)
            .out;
    }
};

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

TEST_F(ShowTest, ColumnsAreShownInTheOrderInWhichTheyAreNamed) {
    EXPECT_EQ(Run("a.csv --columns 4,1-2").out,
              "       4     1      2\n"
              "1  third  name  first\n"
              "2      3  x         1\n"
              "3      6  y         4\n");
}

TEST_F(ShowTest, ColumnsThatArentThereAreRefused) {
    const CommandOutcome outcome = Run("a.csv --columns 9");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "karta-import: --columns: there is no column 9; the table has 4 columns\n");
    EXPECT_EQ(Run("a.csv --columns 2-x").status, 2);
    EXPECT_EQ(Run("a.csv --columns 3-2").status, 2);
    EXPECT_TRUE(Run("a.csv --columns 3-99999999").out.starts_with("        3      4\n"));
}

TEST_F(ShowTest, WideShowsEveryColumn) {
    const std::string narrow = Run("a.csv", "COLUMNS=12 ").out;
    EXPECT_TRUE(Contains(narrow, "(3 more columns)")) << narrow;
    const std::string wide = Run("a.csv --wide", "COLUMNS=12 ").out;
    EXPECT_TRUE(Contains(wide, "third")) << wide;
    EXPECT_FALSE(Contains(wide, "more"));
}

TEST_F(ShowTest, FactsStandAboveTheTable) {
    const std::string text = Run("a.csv --facts").out;
    EXPECT_TRUE(text.starts_with("format      CSV File (")) << text;
    EXPECT_LT(text.find("\ndelimiter   ,\n"), text.find("name"));
}

TEST_F(ShowTest, NoColourLeavesThePaper) {
    EXPECT_FALSE(Contains(Run("a.csv").out, "\x1b"));
}

TEST_F(ShowOnTerminalTest, HeadsAreBoldAndMissingCellsMarked) {
    const std::string text = RunOnTerminal("a.csv");
    EXPECT_TRUE(Contains(text, "\x1b[1m1  name")) << text;
    EXPECT_TRUE(Contains(text, "\x1b[2m\u00b7\x1b[0m")) << text;
}

TEST_F(ShowOnTerminalTest, NoColorIsRespected) {
    const std::string text = RunOnTerminal("a.csv", "NO_COLOR=1 ");
    EXPECT_TRUE(Contains(text, "name"));
    EXPECT_FALSE(Contains(text, "\x1b[1m"));
    EXPECT_FALSE(Contains(text, "\u00b7"));
}

TEST_F(ShowOnTerminalTest, WideGoesThroughThePager) {
    const std::string text = RunOnTerminal("a.csv --wide", "PAGER='tr a-z A-Z' ");
    EXPECT_TRUE(Contains(text, "NAME  FIRST")) << text;
    EXPECT_FALSE(Contains(RunOnTerminal("a.csv", "PAGER='tr a-z A-Z' "), "NAME"));
}

TEST_F(ShowOnTerminalTest, APagerThatIsntThereLosesNoText) {
    const std::string text = RunOnTerminal("a.csv --wide", "PAGER= TERM=xterm ");
    EXPECT_TRUE(Contains(text, "third")) << text;
}

TEST_F(ShowOnTerminalTest, AFilesControlCharactersAreShownInColourToo) {
    folder.Write("b.csv", "a,b\n\x1b[31mred,2\n");
    const std::string text = RunOnTerminal("b.csv");
    EXPECT_TRUE(Contains(text, "\\x1b[31mred")) << text;
    EXPECT_FALSE(Contains(text, "\x1b[31m"));
}
