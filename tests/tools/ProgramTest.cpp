// karta-import as people run it: its output, its messages, its exit statuses.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/spreadsheet/WorkbookParts.h"
#include "tests/support/SharedData.h"
#include "tests/support/ShellCommand.h"
#include "tests/support/TempFolder.h"

namespace {

using Outcome = CommandOutcome;

class ProgramTest : public testing::Test {
protected:
    // Runs `karta-import ARGUMENTS` in the test's folder.
    Outcome Run(const std::string& arguments) { return Shell(ProgramPath() + " " + arguments); }

    Outcome Shell(const std::string& command) { return RunInShell(folder.Path(""), command); }

    // What lies in the folder beside the captured output.
    std::size_t CountFiles() {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path(""))) {
            count += entry.path().extension() == ".captured" ? 0 : 1;
        }
        return count;
    }

    TempFolder folder;
};

class ProgramOnTerminalTest : public ProgramTest {
protected:
    // A bare root may have no /dev/pts.
    void SetUp() override {
        if (Shell("python3 -c 'import os; os.openpty()'").status != 0) {
            GTEST_SKIP() << "no terminal can be had here";
        }
    }

    // Runs `karta-import ARGUMENTS` on a terminal, where the answers, parted by commas, are typed.
    Outcome RunOnTerminal(const std::string& answers, const std::string& arguments,
                          const std::string& environment = "") {
        return Shell(environment + "timeout 60 python3 '" KARTA_SOURCE_DIR "/tests/tools/on-terminal' '" +
                     answers + "' " + ProgramPath() + " " + arguments);
    }
};

std::string Modules(const std::string& name) {
    return std::string(KARTA_BINARY_DIR) + "/tests/modules/" + name;
}

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST_F(ProgramTest, ConvertRefusesATableThatNoFileOfItsSizeCanHold) {
    // A MATLAB level 4 header: type, rows, columns, no imaginary part, and a name of one letter.
    const std::string header("\0\0\0\0\0\x94\x35\x77\1\0\0\0\0\0\0\0\2\0\0\0a\0", 22);
    folder.Write("wide.mat", header + std::string(8, '\0'));
    const Outcome outcome = Run("convert --classic wide.mat -o wide.csv");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "karta-import: wide.mat: the file claims a table of 2000000000 rows and 1 columns, far more "
              "than it can "
              "hold; --want takes some of its rows, --limit allows more\n");
    EXPECT_EQ(Run("convert --classic wide.mat --want 1 -o -").out, "0\n");
}

}  // namespace

TEST_F(ProgramTest, HelpStartsWithTheLineThatReadsAFile) {
    const Outcome outcome = Run("--help");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.out.starts_with("karta-import show FILE... "));
    EXPECT_TRUE(Contains(outcome.out, "Examples:"));
}

TEST_F(ProgramTest, VersionAndHelpWorkEverywhere) {
    EXPECT_EQ(Run("--version").out, "karta-import 2.0.0\n");
    for (const char* verb : {"formats", "detect", "info", "show", "convert", "trace"}) {
        EXPECT_EQ(Run(std::string(verb) + " --help").status, 0) << verb;
        EXPECT_EQ(Run(std::string(verb) + " --version").out, "karta-import 2.0.0\n") << verb;
        EXPECT_EQ(Run(std::string("--help ") + verb).out, Run("--help").out) << verb;
        EXPECT_EQ(Run(std::string("--version ") + verb).out, "karta-import 2.0.0\n") << verb;
    }
}

TEST_F(ProgramTest, WrongUsageIsStatus2) {
    for (const char* arguments :
         {"", "nonsense", "show", "show --nonsense x", "convert x.txt", "show --want 0 a.txt",
          "show --include x a.txt", "show --setting x a.txt", "show --format None a.txt",
          "show --yes --no a.txt", "show --blocks x a.txt"}) {
        folder.Write("a.txt", "a\n");
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_NE(outcome.err, "") << arguments;
        EXPECT_EQ(outcome.out, "") << arguments;
    }
}

TEST_F(ProgramTest, IntervalsAndMeansThatAreNoneAreWrongUsage) {
    for (const char* option : {"--include nan:1", "--include 1:nan", "--include 1", "--average=-3"}) {
        const Outcome outcome =
            Run("show '" KARTA_SOURCE_DIR "/samples/kinetics.spc' " + std::string(option));
        EXPECT_EQ(outcome.status, 2) << option;
        EXPECT_TRUE(Contains(outcome.err, " takes a")) << outcome.err;
    }
}

TEST_F(ProgramTest, FormatsAreListed) {
    const Outcome outcome = Run("formats");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(Contains(outcome.out, "Text File\t.txt .dat\trw\tlibkarta-import.so\n"));
    EXPECT_TRUE(Contains(Run("formats --json").out, "\"formatName\": \"Text File\""));
    EXPECT_TRUE(Contains(Run("formats --json").out, "\"shortName\": \"xlsx\""));
}

TEST_F(ProgramTest, PlugInsAreListedLast) {
    const Outcome outcome = Run("formats --plugins '" + Modules("whole") + "'");
    EXPECT_TRUE(outcome.out.ends_with("Test Module File\t.tmf .tm2\trw\twhole.so\n"));
}

TEST_F(ProgramTest, DetectShowsEveryVerdictAndTheChoice) {
    folder.Write("a.txt", "a\tb\n");
    const Outcome outcome = Run("detect a.txt");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(Contains(outcome.out, "maybe\tText File\n"));
    EXPECT_TRUE(outcome.out.ends_with("chosen\tText File\n"));
    EXPECT_TRUE(Contains(Run("detect --json a.txt").out, "\"chosen\": \"Text File\""));
}

TEST_F(ProgramTest, ShowAlignsNumbersAtTheRight) {
    folder.Write("a.txt", "Name\tValue\nwater\t1.5\noil\t-12.25\n");
    EXPECT_EQ(Run("show a.txt").out,
              "       1       2\n"
              "1  Name   Value\n"
              "2  water     1.5\n"
              "3  oil    -12.25\n");
}

TEST_F(ProgramTest, ShowTellsWhatIsLeftOut) {
    std::string table;
    for (int row = 0; row < 30; ++row) {
        for (int col = 0; col < 40; ++col) {
            table += col == 0 ? "12345" : "\t12345";
        }
        table += "\n";
    }
    folder.Write("a.txt", table);
    EXPECT_TRUE(Contains(Run("show --classic a.txt").out, "(10 more rows and 29 more columns)\n"));
    // In the complete reading a read may end before the number of rows is known.
    EXPECT_TRUE(Contains(Run("show a.txt").out, "more rows and 29 more columns)\n"));
    EXPECT_TRUE(Contains(Run("show --rows 30 a.txt").out, "(29 more columns)\n"));
}

TEST_F(ProgramTest, InfoTellsFormatReasonAndSize) {
    folder.Write("a.txt", "a\tb\n1\t2\n");
    EXPECT_EQ(Run("info --classic a.txt").out,
              "file        a.txt\n"
              "format      Text File (possible by the content, chosen by the extension .txt)\n"
              "table       2 rows, 2 columns\n");
    EXPECT_TRUE(Contains(Run("info --format 'text file' a.txt").out, "Text File (named with --format)"));
    EXPECT_TRUE(Contains(Run("info --json a.txt").out, "\"rows\": 2"));
}

TEST_F(ProgramTest, ConvertQuotesOnlyWhatMustBe) {
    folder.Write("a.txt", "a,b\tsay \"x\"\tplain\n1.50\t\tend\n");
    EXPECT_EQ(Run("convert a.txt -o -").out, "\"a,b\",\"say \"\"x\"\"\",plain\n1.50,,end\n");
    EXPECT_EQ(Run("convert a.txt --to tsv -o -").out, "a,b\t\"say \"\"x\"\"\"\tplain\n1.50\t\tend\n");
    EXPECT_EQ(Run("convert a.txt --to JSONL -o -").out,
              "[\"a,b\",\"say \\\"x\\\"\",\"plain\"]\n[1.5,null,\"end\"]\n");
    EXPECT_EQ(Run("convert --classic a.txt --to jsonl -o -").out,
              "[\"a,b\",\"say \\\"x\\\"\",\"plain\"]\n[\"1.50\",\"\",\"end\"]\n");
}

TEST_F(ProgramTest, ConvertGoesByTheExtension) {
    folder.Write("a.txt", "a\tb\n");
    EXPECT_EQ(Run("convert a.txt -o out.csv").status, 0);
    EXPECT_EQ(ReadWholeFile(folder.Path("out.csv")), "a,b\n");
    EXPECT_EQ(Run("convert a.txt -o copy.txt").status, 0);
    EXPECT_EQ(ReadWholeFile(folder.Path("copy.txt")), "a\tb\n");
    EXPECT_EQ(Run("convert a.txt -o - --to 'text file'").out, "a\tb\n");
    EXPECT_EQ(Run("convert a.txt -o out.xyz").status, 2);
}

TEST_F(ProgramTest, TextThatIsNotUtf8IsTakenAsWindows1252) {
    folder.Write("a.txt", "\xe5 \x80\x81\t\xc3\xa5\n");
    EXPECT_EQ(Run("convert --classic a.txt -o -").out, "\xc3\xa5 \xe2\x82\xac\xc2\x81,\xc3\xa5\n");
    EXPECT_EQ(Run("convert --classic a.txt -o - --to 'Text File'").out,
              "\xc3\xa5 \xe2\x82\xac\xc2\x81\t\xc3\xa5\n");
}

TEST_F(ProgramTest, ThroughTheDriverTheTableIsTheSame) {
    folder.Write("a.txt", "a\tb\n1\t2\n");
    EXPECT_EQ(Run("convert --through-driver a.txt -o -").out, "a,b\n1,2\n");
    EXPECT_EQ(
        Run("trace --through-driver a.txt").out,
        "SetDataSize 2 2\nNextRowToRead 0 1\nSet 1 1 text \"a\"\nSet 2 1 text \"b\"\nNextRowToRead 1 2\n"
        "Set 1 2 text \"1\"\nSet 2 2 text \"2\"\nNextRowToRead 2 3\nDriver true\n");
}

TEST_F(ProgramTest, WhatTheDriverCannotPassOnIsRefused) {
    // Left out silently, it would give another table than the one that was asked for.
    folder.Write("m.uns", "%1 1 first\n7\n%1 1 second\n8\n");
    for (const char* verb : {"info", "show", "convert -o -", "trace"}) {
        for (const char* choice : {"--matrix 2", "--password yeast"}) {
            const Outcome outcome =
                Run(std::string(verb) + " --through-driver --format 'Unscrambler File' " + choice + " m.uns");
            EXPECT_EQ(outcome.status, 2) << verb << choice;
            EXPECT_EQ(outcome.out, "") << verb << choice;
            EXPECT_TRUE(Contains(outcome.err, "can't go with --through-driver\n")) << outcome.err;
        }
    }
}

TEST_F(ProgramTest, TraceThroughTheDriverEndsWithItsFailure) {
    folder.Write("empty.txt", "");
    const Outcome outcome = Run("trace --through-driver empty.txt");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "Error \"\"\nDriver false\n");
}

TEST_F(ProgramTest, TraceThroughTheDriverHoldsWhatItsChecksFind) {
    folder.Write("a.txt", "a\n");
    EXPECT_EQ(Run("trace --through-driver missing.txt").out, "Error \"\"\nDriver false\n");
    const Outcome directory = Run("trace --through-driver .");
    EXPECT_EQ(directory.out, "Error \"Directories can not be imported.\"\nDriver false\n");
    EXPECT_EQ(directory.status, 1);
    EXPECT_EQ(Run("trace --through-driver a.txt a.txt").out,
              "Error \"Text Files (*.txt; *.dat) can only be imported one at a time.\\n\\n Import will be "
              "aborted.\"\nDriver false\n");
}

TEST_F(ProgramTest, TraceKeepsTheChoicesAsTheOtherVerbsDo) {
    folder.Write("a.txt", "a;b\n");
    EXPECT_EQ(Run("show --classic --delimiter ';' --save-options shown a.txt").status, 0);
    EXPECT_EQ(Run("trace --delimiter ';' --save-options traced a.txt").status, 0);
    EXPECT_EQ(ReadWholeFile(folder.Path("traced")), ReadWholeFile(folder.Path("shown")));
    EXPECT_EQ(Run("show --classic --save-options shown a.txt").status, 0);
    for (const char* road : {"", "--through-driver "}) {
        EXPECT_EQ(Run(std::string("trace --save-options traced ") + road + "a.txt").status, 0) << road;
        EXPECT_EQ(ReadWholeFile(folder.Path("traced")), ReadWholeFile(folder.Path("shown"))) << road;
        std::filesystem::remove(folder.Path("traced"));
    }
}

TEST_F(ProgramTest, PlugInReadsAndWarns) {
    folder.Write("a.tmf", "warning\n");
    const std::string plugins = "--plugins '" + Modules("whole") + "' ";
    EXPECT_EQ(Run("convert " + plugins + "a.tmf -o -").out, "module\n");
    EXPECT_TRUE(Contains(Run("convert " + plugins + "a.tmf -o -").err, "a.tmf: warning: The module warns."));
    EXPECT_EQ(Run("convert --quiet " + plugins + "a.tmf -o -").err, "");
    EXPECT_TRUE(
        Contains(Run("trace --through-driver " + plugins + "a.tmf").out, "Warning \"The module warns.\"\n"));
    EXPECT_TRUE(Contains(Run("info " + plugins + "a.tmf").out, "warning     The module warns.\n"));
    EXPECT_TRUE(Contains(Run("info --json " + plugins + "a.tmf").out, "\"warning\": \"The module warns.\""));
    EXPECT_FALSE(Contains(Run("info --quiet " + plugins + "a.tmf").out, "warns"));
    EXPECT_FALSE(Contains(Run("info --quiet --json " + plugins + "a.tmf").out, "warns"));
}

TEST_F(ProgramTest, PlugInReplacesABuiltInFormat) {
    folder.Write("a.txt", "number\n");
    const Outcome outcome =
        Run("convert --plugins '" + Modules("replacing") + "' --format 'Text File' a.txt -o -");
    EXPECT_EQ(outcome.out, "1.5\n");
}

TEST_F(ProgramTest, FunctionsOfTheSameNamesElsewhereAreNotCalled) {
#if defined(__SANITIZE_ADDRESS__) || defined(__clang__)
    GTEST_SKIP() << "a sanitizer's runtime must be loaded before anything else";
#endif
    // The module's flat functions stand before the library's in the order of look-up.
    folder.Write("a.txt", "a\tb\n");
    const std::string preload = "LD_PRELOAD='" + Modules("whole") + "/whole.so' ";
    const std::string program = ProgramPath() + " ";
    EXPECT_EQ(Shell(preload + program + "convert --through-driver a.txt -o -").out, "a,b\n");
    EXPECT_EQ(Shell(preload + program + "formats").out, Run("formats").out);
}

TEST_F(ProgramTest, EncryptedProjectWantsItsPassword) {
    const std::string sample = std::string(KARTA_SOURCE_DIR) + "/samples/encrypted.kpf";
    const Outcome refused = Run("show '" + sample + "'");
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(Contains(refused.err, "The file could not be decrypted."));
    EXPECT_EQ(Run("show --password wrong '" + sample + "'").status, 1);
    EXPECT_EQ(Run("show --password yeast '" + sample + "'").status, 0);
    EXPECT_EQ(Run("info --password yeast '" + sample + "'").status, 0);
    EXPECT_TRUE(Contains(Run("trace --format 'KARTA project file' '" + sample + "'").out, "Open 0x65\n"));
}

TEST_F(ProgramOnTerminalTest, PasswordIsAskedForOnATerminal) {
    const std::string show = "show '" KARTA_SOURCE_DIR "/samples/encrypted.kpf'";
    const Outcome second = RunOnTerminal("wrong,yeast", show);
    EXPECT_EQ(second.status, 0) << second.out;
    EXPECT_TRUE(Contains(second.out, "That is not its password.")) << second.out;
    EXPECT_FALSE(Contains(second.out, "yeast")) << "a password is not shown";
    const Outcome never = RunOnTerminal("one,two,three", show);
    EXPECT_EQ(never.status, 1);
    EXPECT_TRUE(Contains(never.out, "The file could not be decrypted.")) << never.out;
}

TEST_F(ProgramOnTerminalTest, PasswordIsAskedForOnceThoughTheFileIsOpenedTwice) {
    const Outcome outcome = RunOnTerminal("yeast", "info '" KARTA_SOURCE_DIR "/samples/encrypted.kpf'");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(outcome.out.find("Password of "), outcome.out.rfind("Password of ")) << outcome.out;
    EXPECT_TRUE(Contains(outcome.out, "matrix 1 ")) << outcome.out;
}

TEST_F(ProgramTest, WideCharactersAreAlignedByTheirWidth) {
    folder.Write("a.txt", "\u6e29\u5ea6\tx\nabc\t1\n");
    EXPECT_EQ(Run("show a.txt").out, "      1  2\n1  \u6e29\u5ea6  x\n2  abc   1\n");
}

TEST_F(ProgramOnTerminalTest, ProgressIsDrawnOnATerminalAndWipedOut) {
    std::string table;
    for (int row = 0; row < 4000000; ++row) {
        table += "some\ttext\tof\ta\trow\tthat\tis\tlong\n";
    }
    folder.Write("a.txt", table);
    const Outcome outcome = RunOnTerminal("", "info --classic a.txt", "ON_TERMINAL_PAUSE=1 ");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(Contains(outcome.out, "\rreading row ")) << outcome.out;
    EXPECT_TRUE(Contains(outcome.out, " of 4000000\x1b[K")) << outcome.out;
    EXPECT_TRUE(Contains(outcome.out, "\r\x1b[Kfile        a.txt")) << outcome.out;
    EXPECT_FALSE(
        Contains(RunOnTerminal("", "info --quiet a.txt", "ON_TERMINAL_PAUSE=1 ").out, "reading row"));
}

TEST_F(ProgramOnTerminalTest, ProgressOverFilesTellsTheTimeLeft) {
    std::string table;
    for (int row = 0; row < 20000; ++row) {
        table += "some\ttext\tof\ta\trow\tthat\tis\tlong\n";
    }
    for (int i = 10; i < 90; ++i) {
        folder.Write("t" + std::to_string(i) + ".txt", table);
    }
    const Outcome outcome = RunOnTerminal("", "convert 't*.txt' --each -o out", "ON_TERMINAL_PAUSE=2 ");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_TRUE(Contains(outcome.out, " of 80 files, ")) << outcome.out;
    EXPECT_TRUE(Contains(outcome.out, " left\x1b[K")) << outcome.out;
    EXPECT_TRUE(outcome.out.ends_with("\r\x1b[K")) << outcome.out;
}

TEST_F(ProgramTest, InfoListsThePartsAsJson) {
    const std::string out = Run("info --json '" KARTA_SOURCE_DIR "/samples/excel2007.xlsx'").out;
    EXPECT_TRUE(Contains(out,
                         "      \"kind\": \"sheet\",\n      \"name\": \"Summary\",\n      \"rows\": 3,\n"
                         "      \"columns\": 2,\n      \"hidden\": false,\n"))
        << out;
}

TEST_F(ProgramTest, FailureOfAPlugInIsNamed) {
    folder.Write("a.tmf", "fail\n");
    const Outcome outcome = Run("show --plugins '" + Modules("whole") + "' a.tmf");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "karta-import: a.tmf: The module's own reason.\n");
}

TEST_F(ProgramTest, DelimiterUnderstandsTab) {
    folder.Write("a.txt", "a;b\tc\n");
    EXPECT_EQ(Run("convert --delimiter ';' a.txt -o -").out, "a,b\tc\n");
    EXPECT_EQ(Run("convert --delimiter '\\t' a.txt -o -").out, "a;b,c\n");
    folder.Write("b.txt", "a;;b\n");
    EXPECT_EQ(Run("convert --delimiter ';' --merge-delimiters b.txt -o -").out, "a,b\n");
}

TEST_F(ProgramTest, SettingsAreTakenUnescaped) {
    folder.Write("a.txt", "a<b\n");
    EXPECT_EQ(Run("convert --setting 'Delimiter=<' a.txt -o -").out, "a,b\n");
    folder.Write("b.txt", "a%b\n");
    EXPECT_EQ(Run("convert --setting 'Delimiter=%' b.txt -o -").out, "a,b\n");
}

TEST_F(ProgramTest, ChoicesAreKeptAndReplayed) {
    folder.Write("a.txt", "a;b\n");
    EXPECT_EQ(Run("show --delimiter ';' --save-options kept a.txt").status, 0);
    EXPECT_EQ(Run("convert --options kept a.txt -o -").out, "a,b\n");
    EXPECT_EQ(Run("show --classic --save-options defaults a.txt").status, 0);
    EXPECT_TRUE(Contains(ReadWholeFile(folder.Path("defaults")), "<Delimiter>%09</Delimiter>"));
}

TEST_F(ProgramTest, ReplayedChoicesAreKeptAgain) {
    folder.Write("a.csv", "a,b\n");
    folder.Write("none", std::string(1, '\0'));
    folder.Write("empty", std::string("\1\0\0\0\0", 5));
    // CSV files have no classic choices, and the other records were made without any.
    EXPECT_EQ(Run("show --classic --save-options first a.csv").status, 0);
    for (const char* kept : {"first", "none", "empty"}) {
        for (const char* verb : {"show ", "trace ", "show --through-driver ", "trace --through-driver "}) {
            std::filesystem::remove(folder.Path("second"));
            EXPECT_EQ(Run(verb + std::string("--options ") + kept + " --save-options second a.csv").status,
                      0);
            const std::string expected =
                ReadWholeFile(folder.Path(kept == std::string("none") ? "empty" : kept));
            EXPECT_EQ(ReadWholeFile(folder.Path("second")), expected) << kept << verb;
        }
    }
}

TEST_F(ProgramTest, RecordTellsItsReading) {
    folder.Write("a.txt", "a;b\n");
    for (const char* reading : {"classic", "complete"}) {
        const std::string option = std::string("--") + reading;
        EXPECT_EQ(Run("show " + option + " --save-options kept a.txt").status, 0);
        EXPECT_TRUE(Contains(ReadWholeFile(folder.Path("kept")), std::string("<Reading>") + reading))
            << reading;
        EXPECT_TRUE(Contains(Run("info --json --options kept a.txt").out,
                             std::string("\"reading\": \"") + reading + "\""));
    }
    EXPECT_TRUE(Contains(Run("info --json --classic --options kept a.txt").out, "\"reading\": \"classic\""));
    // Records of old tell nothing and are replayed as they were made.
    EXPECT_EQ(Run("show --save-options kept --classic --delimiter ';' a.txt").status, 0);
    std::string old = ReadWholeFile(folder.Path("kept"));
    const std::string key = "<Reading>classic</Reading>";
    old.erase(old.find(key), key.size());
    old[1] = static_cast<char>(old.size() - 5);
    old[5] = static_cast<char>(old.size() - 9);
    folder.Write("old", old);
    EXPECT_TRUE(Contains(Run("info --json --options old a.txt").out, "\"reading\": \"classic\""));
    EXPECT_TRUE(Contains(Run("info --json --complete --options old a.txt").out, "\"reading\": \"complete\""));
    EXPECT_EQ(Run("convert --options old a.txt -o -").out, "a,b\n");
}

TEST_F(ProgramTest, SettingsOfListsMayHoldBlanks) {
    const std::string book = " '" + std::string(KARTA_SOURCE_DIR) + "/samples/excel2007.xlsx' -o -";
    const Outcome both = Run("convert --setting 'Sheets=0, 1' --setting 'Vertical= false '" + book);
    EXPECT_EQ(both.status, 0) << both.err;
    EXPECT_EQ(both.out, Run("convert --setting Sheets=0,1 --setting Vertical=0" + book).out);
}

TEST_F(ProgramTest, SettingWhoseKeyIsNoNameIsWrongUsage) {
    folder.Write("a.txt", "a;b\n");
    for (const char* setting : {"A B=1", "A<B=1", "=1", "[x]=1"}) {
        const Outcome outcome = Run(std::string("show a.txt --setting '") + setting + "'");
        EXPECT_EQ(outcome.status, 2) << setting;
        EXPECT_EQ(outcome.err,
                  std::string("karta-import: --setting takes KEY=VALUE, not '") + setting + "'\n");
    }
}

TEST_F(ProgramTest, ChoiceThatTheFileDoesNotOfferNamesTheFile) {
    const std::string samples = KARTA_SOURCE_DIR "/samples/";
    for (const auto& [file, choice] : {std::pair{"moisture.xls", "--sheets Nope"},
                                       {"moisture.xls", "--sheets 4"},
                                       {"moisture.xls", "--part Samples,Nope"},
                                       {"reaction.jdx", "--blocks 7"},
                                       {"wheat.mat", "--matrix 9"}}) {
        for (const char* reading : {"--classic ", "--complete "}) {
            const Outcome outcome = Run(std::string("show '") + samples + file + "' " + reading + choice);
            EXPECT_EQ(outcome.status, 1) << reading << choice;
            EXPECT_TRUE(outcome.err.starts_with("karta-import: " + samples + file + ": --")) << outcome.err;
        }
    }
}

TEST_F(ProgramTest, OptionThatTheFormatDoesNotKnowIsWrongUsage) {
    folder.Write("a.txt", "a\n");
    for (const char* choice : {"--sheets 1", "--side-by-side", "--blocks 3", "--matrix 3", "--include 1:2",
                               "--average 2", "--no-x-row", "--row-names x"}) {
        for (const char* verb : {"info ", "show ", "convert -o - "}) {
            const Outcome outcome = Run(verb + std::string("a.txt ") + choice);
            EXPECT_EQ(outcome.status, 2) << verb << choice;
            EXPECT_TRUE(Contains(outcome.err, "Text File doesn't know this option; these formats do: "))
                << outcome.err;
            EXPECT_EQ(outcome.out, "") << verb << choice;
        }
    }
    // A trace hands on what it is given.
    EXPECT_EQ(Run("trace a.txt --setting Nonsense=1 --include 1:2 --average 2 --no-x-row").status, 0);
    for (const char* choice : {"--encoding utf-8", "--decimal ,", "--header 1", "--no-types"}) {
        const Outcome outcome = Run(std::string("show --classic a.txt ") + choice);
        EXPECT_EQ(outcome.status, 2) << choice;
        EXPECT_TRUE(Contains(outcome.err, "only the complete reading knows this option")) << outcome.err;
    }
}

TEST_F(ProgramTest, UnknownSettingIsANote) {
    folder.Write("a.txt", "a;b\n");
    const Outcome outcome = Run("convert --classic a.txt --setting 'Delimiter=;' --setting Delimeter=, -o -");
    EXPECT_EQ(outcome.out, "a,b\n");
    EXPECT_EQ(outcome.err,
              "karta-import: a.txt: note: --setting: Text File doesn't know the key 'Delimeter'; it knows "
              "Delimiter, IgnoreConsecutiveDelimiters\n");
    EXPECT_EQ(Run("convert --quiet a.txt --setting Delimeter=, -o -").err, "");
    EXPECT_TRUE(
        Contains(Run("info --json a.txt --setting Delimeter=,").out, "\"code\": \"unknown-setting\""));
}

TEST_F(ProgramTest, IntervalOffTheAxisIsANote) {
    const std::string show = "show '" KARTA_SOURCE_DIR "/samples/kinetics.spc' ";
    EXPECT_TRUE(Contains(Run(show + "--include 5000:6000").err,
                         "note: --include 5000:6000 lies off the axis, which goes from 1100 to 2496\n"));
    EXPECT_EQ(Run(show + "--include 1200:1300").err, "");
}

TEST_F(ProgramTest, AFileWithoutAVerbIsShown) {
    folder.Write("a.txt", "a\tb\n1\t2\n");
    EXPECT_EQ(Run("a.txt").out, Run("show a.txt").out);
    EXPECT_EQ(Run("--rows 1 a.txt").out, Run("show --rows 1 a.txt").out);
    // A verb is a verb, whatever files there are.
    folder.Write("formats", "a\n");
    EXPECT_EQ(Run("formats").out.substr(0, 8), "Brimrose");
}

TEST_F(ProgramTest, StandardInputIsAFileToo) {
    folder.Write("a.txt", "a\tb\n1\t2\n");
    EXPECT_EQ(Shell(ProgramPath() + " show - <a.txt").out, Run("show a.txt").out);
    EXPECT_EQ(Shell("cat a.txt | " + ProgramPath() + " convert - -o -").out, "a,b\n1,2\n");
    EXPECT_EQ(Shell("cat a.txt | TMPDIR=$PWD " + ProgramPath() + " -").status, 0);
    EXPECT_EQ(CountFiles(), 1U);
    const Outcome missing = Shell(ProgramPath() + " show --format spc - <a.txt");
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.err.starts_with("karta-import: standard input: ")) << missing.err;
    EXPECT_EQ(Shell(ProgramPath() + " show - - <a.txt").status, 2);
}

TEST_F(ProgramTest, StandardInputIsKeptWithinTheLimit) {
    const Outcome outcome = Shell("yes | TMPDIR=$PWD " + ProgramPath() + " show --limit 2M -");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(Contains(outcome.err, "standard input: ")) << outcome.err;
    EXPECT_EQ(CountFiles(), 0U);
}

TEST_F(ProgramTest, VerboseTellsWhatItTook) {
    folder.Write("a.txt", "a\n");
    EXPECT_TRUE(Contains(Run("show --verbose a.txt").err, " MB of memory\n"));
    EXPECT_FALSE(Contains(Run("show a.txt").err, "memory"));
}

TEST_F(ProgramTest, AMistypedOptionIsGuessed) {
    folder.Write("a.txt", "a\n");
    EXPECT_EQ(Run("show --colums 2 a.txt").err,
              "karta-import: there is no option --colums; did you mean --columns? karta-import show --help "
              "lists them\n");
    EXPECT_EQ(Run("show --qqqqqq a.txt").err,
              "karta-import: there is no option --qqqqqq; karta-import show --help lists them\n");
    EXPECT_EQ(Run("show --colums 2 a.txt").status, 2);
    EXPECT_EQ(
        Run("show --format 'CVS File' a.txt").err,
        "karta-import: there is no format 'CVS File' (did you mean 'CSV File'?); karta-import formats lists "
        "them\n");
    // Short names too, and names without the word that most of them end in.
    EXPECT_TRUE(Contains(Run("show --format xlxs a.txt").err, "did you mean 'xlsx'?"));
    EXPECT_TRUE(Contains(Run("show --format GalaticSPC a.txt").err, "did you mean 'GalacticSPC File'?"));
}

TEST_F(ProgramTest, FactsOfOneNameAreAllInTheJson) {
    const std::string json = Run("info --json " KARTA_SOURCE_DIR "/samples/brookside/L0417.trn").out;
    EXPECT_TRUE(Contains(json, "\"skipped\": \"phases whose data are all missing"));
    EXPECT_TRUE(Contains(json, "\"skipped (2)\": \"1 wafer(s) with the ID 'unknown'\""));
}

TEST_F(ProgramTest, HintsStandInPlaceOfRiddles) {
    folder.Write("a.txt", "a\n");
    EXPECT_EQ(Run("show --rows -1 a.txt").err,
              "karta-import: --rows takes a number of rows, 0 or more, not -1 (karta-import --help tells the "
              "usage)\n");
    EXPECT_EQ(Run("shwo a.txt").err,
              "karta-import: there is no verb 'shwo'; did you mean show? karta-import --help lists them\n");
    EXPECT_EQ(
        Run("table.xlsx").err,
        "karta-import: there is no file 'table.xlsx', and no verb of this name; karta-import --help lists "
        "the verbs\n");
    EXPECT_TRUE(
        Contains(Run("convert '" KARTA_SOURCE_DIR "/samples/excel2007.xlsx' --sheets Sumary -o -").err,
                 "there is no 'Sumary' in the file, which has 2 parts; did you mean 'Summary'? "
                 "karta-import info lists them\n"));
    EXPECT_TRUE(Contains(Run("convert a.txt -o a.parquet").err, "Parquet is written from Python"));
    EXPECT_TRUE(
        Contains(Run("convert a.txt b.csv").err, "did you mean: karta-import convert a.txt -o b.csv\n"));
    for (const char* arguments : {"show --rows -1 a.txt", "shwo a.txt", "convert a.txt b.csv"}) {
        EXPECT_EQ(Run(arguments).status, 2) << arguments;
    }
}

TEST_F(ProgramTest, WhatIsNoRegularFileIsRefusedAtOnce) {
    EXPECT_EQ(Shell("mkfifo pipe").status, 0);
    for (const char* file : {"pipe", "/dev/zero", "/dev/null"}) {
        for (const char* verb : {"show ", "info ", "detect ", "trace ", "trace --format 'Text File' "}) {
            const Outcome outcome = Shell("timeout 5 " + ProgramPath() + " " + verb + file);
            EXPECT_EQ(outcome.status, 1) << verb << file;
            EXPECT_TRUE(
                outcome.err.starts_with(std::string("karta-import: ") + file + ": not a regular file"))
                << outcome.err;
        }
    }
}

TEST_F(ProgramTest, SheetsAreFoundInAnyCaseAndAsInfoPrintsThem) {
    const std::string book = " '" KARTA_SOURCE_DIR "/samples/moisture.xls' --want 1 -o -";
    for (const char* reading : {"--classic", "--complete"}) {
        const std::string convert = std::string("convert ") + reading + " ";
        const std::string expected = Run(convert + "--sheets Absorbance" + book).out;
        EXPECT_NE(expected, Run(convert + "--sheets Samples" + book).out);
        EXPECT_EQ(Run(convert + "--sheets aBSORBANCE" + book).out, expected) << reading;
        EXPECT_EQ(Run(convert + "--sheets 2" + book).out, expected) << reading;
        EXPECT_EQ(Run(convert + "--part absorbance" + book).out, expected) << reading;
    }
}

TEST_F(ProgramTest, NumbersThatCameAsTextsAreNumbersInAMatrix) {
    folder.Write("a.csv", "Sample,x,y\nfirst,1.5,2\n007,-3e2,\n");
    for (const char* reading : {"--classic ", "--complete "}) {
        const Outcome outcome = Run(std::string("convert ") + reading + "a.csv -o a.mat");
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const std::string table = Run("convert --classic a.mat -o -").out;
        EXPECT_TRUE(Contains(table, "1.5,2")) << table;
        EXPECT_TRUE(Contains(table, "-300,")) << table;
    }
    // Text stays as it was written.
    EXPECT_EQ(Run("convert --classic a.csv --to 'Text File' -o -").out,
              "Sample\tx\ty\nfirst\t1.5\t2\n007\t-3e2\t\n");
}

TEST_F(ProgramTest, FilesThatNoFormatProvesAreNotGuessed) {
    folder.Write("a.xyz", std::string("\1\2\3\0\5\6\7\x8\xe\xf", 10) + std::string(2000, '\2'));
    for (const char* reading : {"--classic ", ""}) {
        const Outcome outcome = Run(std::string("show ") + reading + "a.xyz");
        EXPECT_EQ(outcome.status, 1) << reading;
        EXPECT_TRUE(outcome.err.starts_with(
            "karta-import: a.xyz: The file type could not be determined: no format is "
            "proved by the content, and none with the extension .xyz is possible. Name it with --format."))
            << outcome.err;
        EXPECT_FALSE(Contains(outcome.err, "does not seem to be a Brookside")) << outcome.err;
    }
    folder.Write("a.tsv", "a\tb\n");
    folder.Write("noextension", "a\tb\n");
    EXPECT_EQ(Run("convert a.tsv -o -").out, "a,b\n");
    EXPECT_EQ(Run("convert noextension -o -").out, "a,b\n");
    folder.Write("a.txt.gz", "\x1f\x8b\x08");
    EXPECT_EQ(Run("show a.txt.gz").err,
              "karta-import: a.txt.gz: This is gzip-compressed data, which isn't read; unpack it first, with "
              "gunzip.\n");
}

TEST_F(ProgramTest, BlocksThatDoNotGoTogetherAreListedWithAChoice) {
    const auto block = [](const std::string& title, int first) {
        return "##TITLE=" + title +
               "\n##DATA TYPE=INFRARED SPECTRUM\n##XUNITS=1/CM\n##YUNITS=ABSORBANCE\n##FIRSTX=" +
               std::to_string(first) + "\n##LASTX=" + std::to_string(first + 2) +
               "\n##NPOINTS=3\n##FIRSTY=1\n##XFACTOR=1\n##YFACTOR=1\n##XYDATA=(X++(Y..Y))\n" +
               std::to_string(first) + " 1 2 3\n##END=\n";
    };
    folder.Write("link.jdx", "##TITLE=all\n##DATA TYPE=LINK\n##BLOCKS=3\n" + block("a", 100) +
                                 block("b", 100) + block("c", 500) + "##END=\n");
    const std::string advice =
        "karta-import: link.jdx: The blocks of this file don't go into one table: choose blocks with "
        "--blocks; "
        "blocks 1 and 2 share one axis, block 3 stands alone\n";
    const Outcome shown = Run("show --classic link.jdx");
    EXPECT_EQ(shown.status, 1);
    EXPECT_EQ(shown.err, advice);
    const Outcome info = Run("info --classic link.jdx");
    EXPECT_EQ(info.status, 1);
    EXPECT_EQ(info.err, advice);
    EXPECT_TRUE(Contains(info.out, "block 3     c,")) << info.out;
    const Outcome json = Run("info --classic --json link.jdx");
    EXPECT_EQ(json.status, 1);
    EXPECT_TRUE(Contains(json.out, "\"name\": \"c\"")) << json.out;
    EXPECT_TRUE(Contains(json.out, "\"error\": {\n    \"message\": \"link.jdx: The blocks of")) << json.out;
    EXPECT_EQ(Run("show --classic --blocks 1,2 link.jdx").status, 0);
}

TEST_F(ProgramTest, FailureIsAnObjectWithJson) {
    for (const char* verb : {"info", "detect", "convert -o out.csv"}) {
        const Outcome outcome = Run(std::string(verb) + " --json none.txt");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out,
                  "{\n  \"error\": {\n    \"message\": \"none.txt: No such file or directory\",\n    "
                  "\"status\": 1,\n"
                  "    \"code\": \"not-found\",\n    \"file\": \"none.txt\"\n  }\n}\n");
        EXPECT_EQ(outcome.err, "karta-import: none.txt: No such file or directory\n");
    }
}

TEST_F(ProgramTest, NothingThatATerminalObeysIsShown) {
    const std::string nasty = "a\x1b[31m\x7f\u009b\u202eb";
    const std::string shown = "a\\x1b[31m\\x7f\\x9b\\u202eb";
    folder.Write(nasty + ".txt", nasty + "\t1\n");
    for (const std::string arguments :
         {"show ", "info ", "show --format nonsense ", "show --verbose ", "detect "}) {
        const Outcome outcome = Run(arguments + "'" + nasty + ".txt'");
        for (const std::string& text : {outcome.out, outcome.err}) {
            for (const char* control : {"\x1b", "\x7f", "\u009b", "\u202e"}) {
                EXPECT_FALSE(Contains(text, control)) << arguments << text;
            }
        }
    }
    EXPECT_TRUE(Contains(Run("show '" + nasty + ".txt'").out, shown));
    EXPECT_TRUE(Contains(Run("show '" + nasty + "'").err, shown + ": No such file"));
    EXPECT_TRUE(
        Contains(Run("info --json '" + nasty + ".txt'").out, "a\\u001b[31m\\u007f\\u009b\\u202eb.txt"));
    // A file keeps its bytes, also one that standard output is sent to.
    EXPECT_EQ(Run("convert '" + nasty + ".txt' -o -").out, nasty + ",1\n");
}

TEST_F(ProgramTest, SafeCellsAreNoFormulas) {
    folder.Write("a.txt", "=1+1\t+49 30\t-5\t@x\t-x\n");
    EXPECT_EQ(Run("convert --safe-cells a.txt -o -").out, "'=1+1,'+49 30,-5,'@x,'-x\n");
    EXPECT_EQ(Run("convert --safe-cells a.txt --to text -o -").out.substr(0, 6), "'=1+1\t");
    EXPECT_EQ(Run("convert a.txt -o -").out, "=1+1,+49 30,-5,@x,-x\n");
}

TEST_F(ProgramTest, JsonLinesAsObjects) {
    folder.Write("a.txt", "name\tx\tx\t\nfirst\ta\tb\tc\nsecond\td\te\tf\n");
    EXPECT_EQ(Run("convert --classic --objects a.txt --to jsonl --want 3 -o -").out,
              "{\"name\":\"second\",\"x\":\"d\",\"x (column 3)\":\"e\",\"column 4\":\"f\"}\n");
    EXPECT_EQ(Run("convert --objects a.txt -o -").status, 2);
}

TEST_F(ProgramTest, DatesInJsonLinesAreIsoWhateverTheFileWrote) {
    folder.Write("a.csv", "day,at\n13/02/2025,2025-03-01 07:05:00\n14/02/2025,2025-03-02 07:05:00\n");
    EXPECT_EQ(Run("convert a.csv --date-order DMY --to jsonl --objects -o -").out,
              "{\"day\":\"2025-02-13\",\"at\":\"2025-03-01T07:05:00\"}\n"
              "{\"day\":\"2025-02-14\",\"at\":\"2025-03-02T07:05:00\"}\n");
    EXPECT_EQ(Run("convert a.csv -o -").out, Shell("cat a.csv").out);
}

TEST_F(ProgramTest, WhatIsNoNumberInANetCdfFileIsNullInJsonLines) {
    const Outcome made = Shell(
        "python3 -c 'import struct\n"
        "data = bytearray(open(\"" KARTA_SOURCE_DIR
        "/samples/chromatogram.cdf\", \"rb\").read())\n"
        "at = data.index(struct.pack(\">fff\", 0.4, 0.402, 0.404))\n"
        "data[at + 4:at + 8] = struct.pack(\">f\", float(\"nan\"))\n"
        "open(\"a.cdf\", \"wb\").write(data)'");
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_NE(Run("convert a.cdf --quiet --to jsonl -o -").out.find(",0.4,null,0.404,"), std::string::npos);
    EXPECT_NE(Run("convert a.cdf --quiet -o -").out.find(",0.4,nan,0.404,"), std::string::npos);
}

TEST_F(ProgramTest, LimitIsASize) {
    folder.Write("a.txt", "a\tb\n");
    for (const char* size : {"none", "4G", "500M", "1.5g", "100000", "2GB"}) {
        EXPECT_EQ(Run(std::string("show --limit ") + size + " a.txt").status, 0) << size;
    }
    for (const char* size : {"x", "-1", "", "G", "1e300T"}) {
        EXPECT_EQ(Run(std::string("show --limit '") + size + "' a.txt").status, 2) << size;
    }
}

TEST_F(ProgramTest, VerboseTellsWhatIsDone) {
    folder.Write("a.txt", "a\tb\n");
    EXPECT_TRUE(
        Run("show --verbose a.txt")
            .err.starts_with("karta-import: a.txt: read as Text File (possible by the content, chosen by the "
                             "extension .txt), completely, by "));
    EXPECT_TRUE(
        Contains(Run("show --verbose --through-driver a.txt").err, ", classically, through the driver, by "));
    EXPECT_EQ(Run("show --complete --through-driver a.txt").status, 2);
}

TEST_F(ProgramTest, FailureWithoutAReasonSaysSo) {
    folder.Write("empty.txt", "");
    const std::string direct = Run("show --classic empty.txt").err;
    EXPECT_NE(direct, "karta-import: empty.txt: \n");
    EXPECT_EQ(Run("show --through-driver empty.txt").err, direct);
}

TEST_F(ProgramTest, OptionsFileThatIsNoneIsRefused) {
    folder.Write("a.txt", "a;b\n");
    folder.Write("bad", "\1\xff\xff");
    const Outcome outcome = Run("show --options bad a.txt");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.starts_with("karta-import: bad: "));
    EXPECT_EQ(Run("show --options none a.txt").status, 1);
}

TEST_F(ProgramTest, WantedRowsAlone) {
    folder.Write("a.txt", "1\n2\n3\n4\n");
    EXPECT_EQ(
        Run("trace --want 2,4 a.txt").out,
        "Format \"Text File\"\nOpen 0x0\nGetNumRows 4\nGetNumCols 1\nSetDataSize 1 4\nNextRowToRead 0 2\n"
        "Set 1 2 text \"2\"\nNextRowToRead 2 4\nSet 1 4 text \"4\"\nNextRowToRead 4 -1\nRead 0x0\nClose\n");
}

TEST_F(ProgramTest, OnlyWantedRowsAreShownAndConverted) {
    folder.Write("a.txt", "1\n2\n3\n4\n");
    EXPECT_EQ(Run("convert --want 2,4 a.txt -o -").out, "2\n4\n");
    EXPECT_EQ(Run("convert --want 2,4-9 a.txt --to 'Text File' -o -").out, "2\n4\n");
    EXPECT_EQ(Run("show --want 2,4 a.txt").out, "   1\n2  2\n4  4\n");
    EXPECT_EQ(Run("show --want 2-4 --rows 1 a.txt").out, "   1\n2  2\n(2 more rows)\n");
}

TEST_F(ProgramTest, TraceHandsAnyNameToANamedFormat) {
    const Outcome outcome = Run("trace --format 'Text File' none.txt");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.out.starts_with("Format \"Text File\"\nOpen 0x202\nError \""));
    EXPECT_TRUE(outcome.out.ends_with("Close\n"));
}

TEST_F(ProgramTest, TraceIsWholeWhereNoSheetCanBeChosen) {
    for (const char* choice : {"--sheets 1", "--side-by-side", "--blocks 1"}) {
        const Outcome outcome = Run(std::string("trace --format 'Excel File' none.xls ") + choice);
        EXPECT_EQ(outcome.status, 1) << choice;
        EXPECT_EQ(outcome.out, Run("trace --format 'Excel File' none.xls").out) << choice;
        EXPECT_NE(outcome.out, "");
    }
}

TEST_F(ProgramTest, MatrixAndDriverAreWrongUsageInEveryVerb) {
    folder.Write("m.uns", "%1 1 only\n7\n");
    for (const char* verb : {"show", "info", "trace"}) {
        const Outcome outcome = Run(std::string(verb) + " --through-driver --matrix 1 m.uns");
        EXPECT_EQ(outcome.status, 2) << verb;
        EXPECT_EQ(outcome.out, "") << verb;
    }
}

TEST_F(ProgramTest, TraceHandsMatrixZeroToTheReader) {
    folder.Write("m.uns", "%1 1 only\n7\n");
    const Outcome outcome = Run("trace --matrix 0 m.uns");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out,
              "Format \"Unscrambler File\"\nOpen 0x0\nGetNumRows -1\nGetNumCols -1\n"
              "Error \"No further information available.\"\nClose\n");
}

TEST_F(ProgramTest, BadFilesAreNamedWithTheReason) {
    folder.Write("empty.txt", "");
    folder.Write("binary.txt", std::string(10, '\0'));
    std::filesystem::create_directory(folder.Path("folder"));
    const auto expect = [&](const std::string& arguments, const std::string& text) {
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 1) << arguments;
        EXPECT_TRUE(Contains(outcome.err, text)) << arguments << ": " << outcome.err;
        EXPECT_EQ(outcome.out, "") << arguments;
    };
    expect("show none.txt", "karta-import: none.txt: No such file or directory");
    expect("show folder", "karta-import: folder: Directories can not be imported.");
    expect("show --classic --format 'Text File' binary.txt",
           "karta-import: binary.txt: This file appears to be a binary file");
    expect("show --classic --format 'Text File' empty.txt", "karta-import: empty.txt: ");
    expect("show 'a\nb'", "karta-import: a\\nb: a file name with a line feed");
    expect("show --format 'Text File' empty.txt empty.txt", "one at a time");
}

TEST_F(ProgramTest, StandardInputIsCalledSoWhereverItIsNamed) {
    const Outcome shown = Shell("printf 'a\\377,1\\n' | " + ProgramPath() + " show --format csv --verbose -");
    EXPECT_EQ(shown.status, 0);
    EXPECT_TRUE(Contains(shown.err, "karta-import: standard input: read as CSV File")) << shown.err;
    EXPECT_TRUE(Contains(shown.err, "karta-import: standard input: note: ")) << shown.err;
    EXPECT_TRUE(Contains(Shell("echo a | " + ProgramPath() + " info -").out, "file        standard input\n"));
    EXPECT_TRUE(Contains(Shell("echo a | " + ProgramPath() + " info --json -").out, "\"standard input\""));
}

TEST_F(ProgramTest, NameInAFileForgesNoMessage) {
    const std::string office = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
    const auto relation = [&](const std::string& number) {
        return "<Relationship Id=\"r" + number + "\" Type=\"" + office +
               "/worksheet\" Target=\"worksheets/sheet" + number + ".xml\"/>";
    };
    WorkbookParts book;
    book.workbook = "<workbook xmlns:r=\"" + office +
                    "\"><sheets><sheet name=\"x&#10;karta-import: forged\" sheetId=\"1\" r:id=\"r1\"/>"
                    "<sheet name=\"y\" sheetId=\"2\" r:id=\"r2\"/></sheets></workbook>";
    book.relationships = "<Relationships>" + relation("1") + relation("2") + "</Relationships>";
    const std::string sheet =
        "<worksheet><sheetData><row r=\"1\"><c r=\"A1\"><v>1</v></c></row></sheetData></worksheet>";
    book.sheets = {sheet, sheet};
    folder.Write("book.xlsx", book.Build("xml"));
    for (const char* verb : {"show", "show --wide", "convert -o -"}) {
        const Outcome outcome = Run(std::string(verb) + " book.xlsx");
        EXPECT_EQ(outcome.status, 0) << verb;
        EXPECT_TRUE(Contains(outcome.err, "note: the table is the sheet \"x\\nkarta-import: forged\""))
            << outcome.err;
    }
}

TEST_F(ProgramTest, NamesWithSpacesAndUtf8Work) {
    folder.Write(
        "my t\xc3\xa5"
        "ble.txt",
        "a\n");
    EXPECT_EQ(Run("convert 'my t\xc3\xa5"
                  "ble.txt' -o 'out \xc3\xa5.csv'")
                  .status,
              0);
    EXPECT_EQ(ReadWholeFile(folder.Path("out \xc3\xa5.csv")), "a\n");
}

TEST_F(ProgramTest, NameInBracketsIsNoList) {
    for (const char* name : {"[a]", "[a,b]", "[]", "[[a]]", "++", "{}", "show"}) {
        folder.Write(name, "a\tb\n");
        const Outcome outcome = Run(std::string("convert --format 'Text File' '") + name + "' -o -");
        EXPECT_EQ(outcome.out, "a,b\n") << name << ": " << outcome.err;
    }
    EXPECT_EQ(Run("show '[none]'").err, "karta-import: [none]: No such file or directory\n");
    folder.Write("a.txt", "a[1]b\n");
    EXPECT_EQ(Run("convert --delimiter '[1]' a.txt -o -").out, "a,b\n");
    EXPECT_TRUE(Contains(Run("show --format '[x]' a.txt").err, "no format '[x]';"));
    EXPECT_TRUE(Contains(Run("formats '[x]'").err, "not expected: [x] ("));
    folder.Write("a.txt",
                 "a\x1f"
                 "b\n");
    EXPECT_EQ(Run("convert --delimiter '\x1f' a.txt -o -").out, "a,b\n");
}

TEST_F(ProgramTest, LongestNameCanBeWritten) {
    folder.Write("a.txt", "a\n");
    const std::string name = std::string(251, 'n') + ".csv";
    const Outcome outcome = Run("convert a.txt -o " + name);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(ReadWholeFile(folder.Path(name)), "a\n");
    EXPECT_EQ(CountFiles(), 2U);
}

TEST_F(ProgramTest, WritersOutputOfNoBytesIsPassedOn) {
    folder.Write("a.txt", "a\n");
    const Outcome outcome = Run("convert a.txt --want 9 --to 'Text File' -o -");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(ProgramTest, WritersOutputIsTheSameEachTime) {
    folder.Write("a.txt", "a\n");
    const Outcome outcome = Run("convert a.txt --to 'DIF File' -o -");
    EXPECT_TRUE(outcome.out.starts_with("TABLE\n0,1\n\"-\"\n")) << outcome.out;
    EXPECT_EQ(Run("convert a.txt --to mat -o -").err.substr(0, 38), "karta-import: -: could not be written:");
}

TEST_F(ProgramTest, ClosedOutputIsNamedWithItsReason) {
    folder.Write("a.txt", "a\n");
    EXPECT_EQ(Run("convert a.txt -o - >&-").err,
              "karta-import: -: could not be written: Bad file descriptor\n");
}

TEST_F(ProgramTest, FailedConversionLeavesTheOlderFile) {
    folder.Write("empty.txt", "");
    folder.Write("out.csv", "older");
    EXPECT_EQ(Run("convert --classic --format 'Text File' empty.txt -o out.csv").status, 1);
    EXPECT_EQ(ReadWholeFile(folder.Path("out.csv")), "older");
    EXPECT_EQ(CountFiles(), 2U);
}

TEST_F(ProgramTest, FolderThatIsNotThereCannotBeWritten) {
    folder.Write("a.txt", "a\n");
    const Outcome outcome = Run("convert a.txt -o none/out.csv");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "karta-import: none/out.csv: could not be written: No such file or directory\n");
    EXPECT_EQ(Run("convert a.txt -o none/out.txt").status, 1);
}

TEST_F(ProgramTest, FullDiskIsAFailure) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "there is no /dev/full here";
    }
    folder.Write("a.txt", "a\n");
    EXPECT_EQ(Run("convert a.txt --to csv -o /dev/full").status, 1);
    EXPECT_EQ(Run("convert a.txt --to 'Text File' -o /dev/full").status, 1);
    EXPECT_EQ(Run("trace a.txt >/dev/full").status, 1);
    EXPECT_EQ(Run("convert a.txt -o - >/dev/full").status, 1);
}

TEST_F(ProgramTest, ReadOnlyFolderKeepsTheOlderFile) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may write everywhere";
    }
    folder.Write("a.txt", "a\n");
    std::filesystem::create_directory(folder.Path("kept"));
    folder.Write("kept/out.csv", "older");
    std::filesystem::permissions(folder.Path("kept"), std::filesystem::perms(0555));
    EXPECT_EQ(Run("convert a.txt -o kept/out.csv").status, 1);
    EXPECT_EQ(ReadWholeFile(folder.Path("kept/out.csv")), "older");
    std::filesystem::permissions(folder.Path("kept"), std::filesystem::perms(0755));
}

TEST_F(ProgramTest, PipeClosedEarlyIsNoError) {
    std::string table;
    for (int row = 0; row < 200000; ++row) {
        table += "some\ttext\n";
    }
    folder.Write("a.txt", table);
    const std::string program = ProgramPath() + " ";
    for (const char* arguments : {"convert a.txt -o -", "trace a.txt"}) {
        const Outcome outcome = Shell("{ " + program + arguments +
                                      "; echo $? >status; } | head -n 1 >/dev/null; exit $(cat status)");
        EXPECT_EQ(outcome.status, 0) << arguments;
        EXPECT_EQ(outcome.err, "") << arguments;
    }
}

class ProgramInterruptedTest : public ProgramTest {
protected:
    // "STATUS HOW" of a program that is sent a signal so many seconds after it began to listen.
    std::string Interrupted(const std::string& signal, const std::string& seconds,
                            const std::string& arguments) {
        const Outcome outcome = Shell("'" KARTA_SOURCE_DIR "/tests/tools/interrupted' " + signal + " " +
                                      seconds + " " + ProgramPath() + " " + arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.out;
    }

    // Large enough to be met in the middle of each stage.
    void WriteLargeFiles() {
        std::string text;
        std::string csv;
        for (int row = 0; row < 1000000; ++row) {
            text += "some\ttext\t12.5\ta\trow\n";
            csv += "some,1.5,2.5,3.5,4.5\n";
        }
        folder.Write("a.txt", text);
        folder.Write("a.csv", csv);
        // A MATLAB level 4 header: type, rows, columns, no imaginary part, and a name of one letter.
        folder.Write("a.mat", std::string("\0\0\0\0\x40\x42\x0f\0\5\0\0\0\0\0\0\0\2\0\0\0a\0", 22) +
                                  std::string(std::size_t{8} * 1000000 * 5, '\0'));
    }
};

TEST_F(ProgramInterruptedTest, EveryStageEndsWithinASecondAndLeavesTheOlderFile) {
    WriteLargeFiles();
    const std::size_t before = CountFiles() + 1;
    int interrupted = 0;
    for (const char* signal : {"SIGINT", "SIGTERM"}) {
        const std::string status = signal == std::string("SIGINT") ? "130" : "143";
        for (const auto& [input, output] : {std::pair{"a.txt", "out.csv"},
                                            {"a.csv", "out.mat"},
                                            {"a.csv", "out.dif"},
                                            {"a.mat", "out.jsonl"},
                                            {"a.mat", "out.txt"}}) {
            for (const char* reading : {"--classic ", "--complete "}) {
                for (const char* seconds : {"0", "0.05", "0.2", "0.5"}) {
                    folder.Write(output, "older");
                    const std::string what = std::string(reading) + input + " -o " + output;
                    const std::string end = Interrupted(signal, seconds, "convert " + what);
                    EXPECT_FALSE(Contains(end, "late")) << seconds << what << end;
                    if (!Contains(end, "before")) {
                        ++interrupted;
                        EXPECT_TRUE(end.starts_with(status) || end.starts_with("0"))
                            << seconds << what << end;
                    }
                    if (end.starts_with(status)) {
                        EXPECT_EQ(ReadWholeFile(folder.Path(output)), "older") << seconds << what;
                    }
                    EXPECT_EQ(CountFiles(), before) << seconds << what;
                    std::filesystem::remove(folder.Path(output));
                }
            }
        }
    }
    EXPECT_GT(interrupted, 20);
}

TEST_F(ProgramInterruptedTest, OtherVerbsEndToo) {
    WriteLargeFiles();
    for (const char* arguments : {"trace a.txt", "trace --through-driver a.txt", "info a.txt",
                                  "info --classic a.csv", "info a.mat"}) {
        const std::string end = Interrupted("SIGTERM", "0.05", arguments);
        EXPECT_TRUE(end.starts_with("143 at once") || Contains(end, "before")) << arguments << end;
    }
    EXPECT_TRUE(Interrupted("SIGINT", "0.05", "trace a.txt").starts_with("130 at once"));
}

TEST_F(ProgramInterruptedTest, ASecondSignalEndsAtOnce) {
    WriteLargeFiles();
    folder.Write("out.csv", "older");
    const std::size_t before = CountFiles();
    EXPECT_EQ(Interrupted("SIGTERM", "0.05,0", "convert a.txt -o out.csv"), "143 at once\n");
    EXPECT_EQ(ReadWholeFile(folder.Path("out.csv")), "older");
    EXPECT_EQ(CountFiles(), before);
}

TEST_F(ProgramTest, HostileTextsEndInGoodTime) {
    folder.Write("one-line.txt", std::string(20000000, 'x'));
    EXPECT_EQ(Run("convert --format 'Text File' one-line.txt -o out.csv").status, 0);
    folder.Write("empty-lines.txt", std::string(10000000, '\n'));
    const Outcome outcome = Run("info --classic --format 'Text File' empty-lines.txt");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.starts_with("karta-import: empty-lines.txt: "));
}
