// A table that is written while it is read is the same as one that was held, and costs less.
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "base/OutputFile.h"
#include "tests/support/ShellCommand.h"
#include "tests/support/TempFolder.h"
#include "tools/ReadRequest.h"
#include "tools/Sandbox.h"
#include "tools/TableRead.h"
#include "tools/TableWriter.h"

namespace {

class StreamingTest : public testing::Test {
protected:
    CommandOutcome Shell(const std::string& command) { return RunInShell(folder.Path(""), command); }

    // Makes a file whose table is far from small: its rows by Python.
    void MakeRows(const std::string& name, const std::string& code) {
        const CommandOutcome made =
            Shell("python3 -c 'import sys\nf = open(\"" + name + "\", \"wb\")\n" + code + "'");
        ASSERT_EQ(made.status, 0) << made.err;
    }

    // What the table would be if all of it were held.
    void WriteHeld(const std::string& path, TableForm form = TableForm::Csv, bool objects = false) {
        ReadRequest request;
        request.files = {path};
        request.reading = karta::Reading::Complete;
        request.limit = karta::Budget::Unlimited;
        request.quiet = true;
        TableRead read;
        ReadTable(request, read);
        ASSERT_TRUE(read.table->KeepsRows());
        OutputFile file(folder.Path("held.csv"));
        WriteTable(*read.table, read.Rows(request), FormRequest{form, false, objects, &read.report.shape},
                   file);
        ASSERT_TRUE(file.Commit());
    }

    void ExpectSameCsv(const std::string& name) {
        const std::string convert = ProgramPath() + " convert --quiet --limit none " + name;
        ASSERT_EQ(Shell(convert + " -o streamed.csv").status, 0);
        ASSERT_EQ(Shell(convert + " -o - >piped.csv").status, 0);
        WriteHeld(folder.Path(name));
        EXPECT_EQ(Shell("cmp streamed.csv held.csv && cmp piped.csv held.csv").status, 0);
        EXPECT_GT(std::filesystem::file_size(folder.Path("streamed.csv")), 1'000'000U);
    }

    void ExpectSameOnAllWays(const std::string& name) {
        ExpectSameCsv(name);
        ExpectSameJsonLines(name);
    }

    void ExpectSameJsonLines(const std::string& name) {
        const std::string convert = ProgramPath() + " convert --quiet --limit none " + name;
        for (const bool objects : {false, true}) {
            const std::string lines = convert + (objects ? " --objects" : "") + " --to jsonl";
            ASSERT_EQ(Shell(lines + " -o streamed.jsonl").status, 0);
            ASSERT_EQ(Shell(lines + " -o - >piped.jsonl").status, 0);
            WriteHeld(folder.Path(name), TableForm::JsonLines, objects);
            EXPECT_EQ(Shell("cmp streamed.jsonl held.csv && cmp piped.jsonl held.csv").status, 0) << objects;
        }
    }

    TempFolder folder;
};

}  // namespace

TEST_F(StreamingTest, EverySampleIsTheSameOnBothWays) {
    int compared = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(KARTA_SOURCE_DIR "/samples")) {
        const std::string path = entry.path().string();
        if (!entry.is_regular_file() || path.find("/plugin/") != std::string::npos ||
            entry.path().extension() == ".py") {
            continue;
        }
        const CommandOutcome streamed =
            Shell(ProgramPath() + " convert '" + path + "' --quiet -o streamed.csv");
        if (streamed.status == 0) {
            WriteHeld(path);
            EXPECT_EQ(Shell("cmp streamed.csv held.csv").status, 0) << path;
            ASSERT_EQ(Shell(ProgramPath() + " convert '" + path + "' --quiet --objects -o x.jsonl").status,
                      0);
            WriteHeld(path, TableForm::JsonLines, true);
            EXPECT_EQ(Shell("cmp x.jsonl held.csv").status, 0) << path;
            ++compared;
        }
    }
    EXPECT_GT(compared, 20);
}

TEST_F(StreamingTest, ALongTextIsTheSame) {
    MakeRows("long.csv",
             "f.write(b\"name,a,b\\n\")\n"
             "for i in range(300000): f.write(b\"n%d,%d.50,%d\\n\" % (i, i, i % 7))\n");
    ExpectSameOnAllWays("long.csv");
    EXPECT_EQ(Shell("cmp streamed.csv long.csv").status, 0);
}

// Rows go out as text where that is what they would become as cells: quoted or not, short, empty, remarks,
// with what parts the output's fields in them.
TEST_F(StreamingTest, RowsOfAllKindsAreTheSame) {
    struct Case {
        const char* name;
        std::string delimiter;
        int quoteEvery;
        const char* lineEnd;
        bool hasZones;
    };
    for (const Case& one :
         {Case{"semicolons.txt", ";", 1000, "\n", true}, Case{"commas.csv", ",", 3, "\r\n", false},
          Case{"tabs.txt", "\t", 100'000, "\n", false}, Case{"blanks.txt", " ", 5, "\n", false},
          Case{"after.csv", ", ", 50, "\n", true}, Case{"returns.txt", ";", 1000, "\r", false},
          Case{"bars.txt", "|", 1'000'000, "\r\n", false}}) {
        const std::string& part = one.delimiter;
        std::string text = "a" + part + "b" + part + "when" + part + "name" + part + "n" + one.lineEnd;
        for (int i = 0; i < 120'000; ++i) {
            const bool isQuoted = i % one.quoteEvery == 0;
            const bool hasZone = one.hasZones && i % 7 == 0;
            text += std::to_string(i) + part + std::to_string(i % 97) + ".50" + part + "2024-01-01T00:00:0" +
                    std::to_string(i % 10) + (hasZone ? "Z" : "") + part +
                    (isQuoted         ? "\"a " + part + "\"\"b\"\",\tc\""
                     : part == " "    ? "word"
                     : part[0] == ',' ? "x;y"
                                      : "x,y") +
                    part + (i % 11 == 0 ? "-5" : std::to_string(i)) + one.lineEnd;
            if (i % 10'007 == 10'006) {
                text += i % 2 == 0 ? "# a remark" : "1" + part + "2";
                text += one.lineEnd;
                text += i % 3 == 0 ? one.lineEnd : "";
            }
        }
        folder.Write(one.name, text);
        ExpectSameOnAllWays(one.name);
        const CommandOutcome told = Shell(ProgramPath() + " convert " + one.name + " -o x.csv");
        EXPECT_EQ(told.err.find("17,143 times with a zone became UTC (first: line 2)") != std::string::npos,
                  one.hasZones)
            << told.err;
        // Nothing of a text is made harmless as it stands.
        ASSERT_EQ(Shell(ProgramPath() + " convert --quiet --safe-cells " + one.name + " -o safe.csv").status,
                  0);
        EXPECT_EQ(Shell("wc -l <safe.csv").out, Shell("wc -l <x.csv").out);
    }
}

// Records with quotes are divided in pieces too, but for those that can be divided in more than one way:
// these come between the others, in their places.
TEST_F(StreamingTest, RecordsWithQuotesAreTheSame) {
    struct Case {
        const char* name;
        char part;
        char quote;
        const char* lineEnd;
        int oddEvery;
    };
    for (const Case& one :
         {Case{"all.csv", ',', '"', "\n", 1'000'000}, Case{"odd.csv", ';', '"', "\r\n", 3001},
          Case{"single.txt", '\t', '\'', "\n", 7001}}) {
        const auto quoted = [&](const std::string& text) { return one.quote + text + one.quote; };
        const std::string twice = std::string(2, one.quote);
        const std::string part(1, one.part);
        const std::string odd[] = {
            "# " + quoted("remark") + part + quoted("a"),
            quoted("behind") + "text" + part + "2" + part + "3" + part + "4" + part + "5",
            quoted("blank") + "  " + part + "2" + part + " " + quoted("before") + part + "4" + part + "5",
            part + part,
            "5" + twice + " pipe" + part + "x" + quoted("y") + part + "3" + part + "4" + part + "5",
            quoted("late") + part + "no number" + part + "3" + part + "4" + part + "5"};
        std::string text = "a" + part + "n" + part + "when" + part + "name" + part + "flag" + one.lineEnd;
        for (int i = 0; i < 120'000; ++i) {
            const std::string number = std::to_string(i);
            const std::string value = i % 4 == 0   ? twice + number + twice
                                      : i % 4 == 1 ? "\u00e9" + part + number + "\u2028\u200e"
                                      : i % 4 == 2 ? "line" + std::string(one.lineEnd) + number
                                                   : "";
            text += quoted(value) + part + (i % 2 == 0 ? quoted(number + ".5") : number) + part +
                    quoted("2024-01-01 00:00:0" + std::to_string(i % 10) + (i % 9 == 0 ? "Z" : "")) + part +
                    (i % 3 == 0 ? "plain \x7f\\" : quoted("all of it \t")) + part +
                    (i % 2 == 0 ? "true" : quoted("FALSE")) + one.lineEnd;
            if (i % one.oddEvery == one.oddEvery - 1) {
                text += odd[static_cast<std::size_t>(i / one.oddEvery) % std::size(odd)] + one.lineEnd;
            }
        }
        folder.Write(one.name, text + one.quote + "never closed" + part + "1");
        ExpectSameOnAllWays(one.name);
    }
}

TEST_F(StreamingTest, LateWiderRecordWithQuotesWidensAll) {
    MakeRows("wide.csv",
             "f.write(b\"name,a\\n\")\n"
             "for i in range(300000): f.write(b\"\\\"n,%d\\\",%d\\n\" % (i, i))\n"
             "f.write(b\"\\\"x\\\",1,2,\\\"3\\\",4\\n\")\n"
             "for i in range(100): f.write(b\"\\\"n,%d\\\",%d\\n\" % (i, i))\n");
    ExpectSameOnAllWays("wide.csv");
    EXPECT_EQ(Shell("head -n 1 streamed.csv").out, "name,a,,,\n");
}

// Numbers of all forms go out as the numbers that they are, in the shortest characters.
TEST_F(StreamingTest, NumbersOfAllFormsAreTheSameInJsonLines) {
    const std::vector<std::string> forms = {"1",
                                            "-1",
                                            "+1",
                                            "0",
                                            "-0",
                                            "00",
                                            "007",
                                            "1.5",
                                            "1.50",
                                            "-1.5",
                                            "+1.5",
                                            ".5",
                                            "5.",
                                            "0.5",
                                            "00.5",
                                            "0.001",
                                            "0.0001",
                                            "0.00012345",
                                            "-0.0",
                                            "100000",
                                            "500000",
                                            "123400000",
                                            "1e5",
                                            "1E-7",
                                            "1.5e300",
                                            "inf",
                                            "-inf",
                                            "nan",
                                            "NA",
                                            "",
                                            "  ",
                                            " 1.5",
                                            "1.5 ",
                                            "0.1",
                                            "0.30000000000000004",
                                            "123456.7",
                                            "1234567.25",
                                            "12345678.125",
                                            "123456789.5",
                                            "9007199254740992",
                                            "9007199254740993",
                                            "9223372036854775807",
                                            "123456789012345.6",
                                            "1234567890.123456789",
                                            "0.000001",
                                            "1.000",
                                            "999999999999999",
                                            "99999999999999.9",
                                            "1e-320",
                                            "-12.375"};
    for (const char* const part : {",", ";", "\t", "; "}) {
        std::string text = std::string("a") + part + "b" + part + "c\n";
        for (int i = 0; i < 160'000; ++i) {
            // The middle column has forms that come rarely, so that most lines are plain.
            text += std::to_string(i) + ".5" + part;
            text += i % 20 == 0 ? forms[static_cast<std::size_t>(i / 20) % forms.size()] : "2.25";
            text += part + forms[static_cast<std::size_t>(i) % forms.size()] + "\n";
        }
        folder.Write("forms.csv", text);
        ExpectSameJsonLines("forms.csv");
        EXPECT_EQ(Shell("sed -n 3p piped.jsonl").out.substr(0, 8), "{\"a\":2.5") << part;
    }
}

// What is a text, a truth value, a date and a time stays one, whatever stands beside it.
TEST_F(StreamingTest, TypedFieldsAreTheSameInJsonLines) {
    std::string text = "id,name,flag,day,at,when,mixed\n";
    for (int i = 0; i < 150'000; ++i) {
        text += "\u00fc" + std::to_string(i) + ",back" + (i < 140'000 ? "\\," : "\x7f\t\\,") +
                (i % 2 == 0 ? "TRUE" : "false") + ",2024-01-0" + std::to_string(1 + i % 9) + ",1" +
                std::to_string(i % 10) + ":30,2024-01-05 10:00:0" + std::to_string(i % 10) +
                (i % 5 == 0 ? ".250" : "") + "," + (i % 1000 == 999 ? "\"quoted, \"\"twice\"\"\"" : "1.5") +
                "\n";
        text += i % 20'011 == 20'010 ? "# remark,1,2\n\nshort,row\n" : "";
    }
    folder.Write("typed.csv", text);
    ExpectSameJsonLines("typed.csv");
    EXPECT_EQ(Shell("head -n 1 streamed.jsonl").out,
              "{\"id\":\"\u00fc0\",\"name\":\"back\\\\\",\"flag\":true,\"day\":\"2024-01-01\",\"at\":"
              "\"10:30:00\",\"when\":\"2024-01-05T10:00:00.25\",\"mixed\":\"1.5\"}\n");
    EXPECT_EQ(Shell("tail -n 1 streamed.jsonl | cut -d, -f2").out, "\"name\":\"back\\u007f\\t\\\\\"\n");
}

TEST_F(StreamingTest, ALateWiderRowWidensAll) {
    MakeRows("wide.csv",
             "f.write(b\"name,a\\n\")\n"
             "for i in range(300000): f.write(b\"n%d,%d\\n\" % (i, i))\n"
             "f.write(b\"x,1,2,3,4\\n\")\n");
    ExpectSameOnAllWays("wide.csv");
    EXPECT_EQ(Shell("head -n 1 streamed.csv").out, "name,a,,,\n");
}

TEST_F(StreamingTest, LateTextsAndDatesStandAsTheyAre) {
    MakeRows("late.csv",
             "f.write(b\"when,a\\n\")\n"
             "for i in range(300000): f.write(b\"2024-01-%02d,%d\\n\" % (1 + i % 28, i))\n"
             "f.write(b\"yesterday,none\\n\")\n");
    ExpectSameOnAllWays("late.csv");
    EXPECT_EQ(Shell(ProgramPath() + " convert late.csv -o x.csv").err, "");
}

TEST_F(StreamingTest, ALateByteThatIsNoUtf8ChangesTheWholeEncoding) {
    MakeRows("late.csv",
             "f.write(b\"name,a\\n\")\n"
             "for i in range(300000): f.write(b\"\\xc3\\xa9%d,%d\\n\" % (i, i))\n"
             "f.write(b\"\\xe9,1\\n\")\n");
    ExpectSameOnAllWays("late.csv");
}

TEST_F(StreamingTest, AFailureLeavesTheOlderFile) {
    folder.Write("out.csv", "older\n");
    MakeRows("long.csv", "for i in range(400000): f.write(b\"n%d,%d\\n\" % (i, i))\n");
    const CommandOutcome outcome = Shell("ulimit -f 1000; " + ProgramPath() + " convert long.csv -o out.csv");
    EXPECT_NE(outcome.status, 0);
    EXPECT_EQ(Shell("cat out.csv").out, "older\n");
}

TEST_F(StreamingTest, WhatTurnsOutLateIsLookedForBeforeJsonLinesAreWritten) {
    MakeRows("late.csv",
             "f.write(b\"n,when,city,a\\n\")\n"
             "for i in range(300000): f.write(b\"%d,2024-01-%02d,Bern,\\n\" % (i, 1 + i % 28))\n"
             "f.write(b\"none,yesterday,Z\\xfcrich,2024-01-01\\n\")\n");
    ExpectSameOnAllWays("late.csv");
    EXPECT_EQ(Shell("sed -n '2p;$p' streamed.jsonl").out,
              "{\"n\":\"1\",\"when\":\"2024-01-02\",\"city\":\"Bern\",\"a\":null}\n"
              "{\"n\":\"none\",\"when\":\"yesterday\",\"city\":\"Z\u00fcrich\",\"a\":\"2024-01-01\"}\n");
    const CommandOutcome told = Shell(ProgramPath() + " convert late.csv -o x.jsonl");
    EXPECT_EQ(told.err.find("late"), told.err.find("late.csv")) << told.err;
}

TEST_F(StreamingTest, ALongTextTakesTheMemoryOfASmallOne) {
    if (!Sandbox::IsPossible()) {
        GTEST_SKIP() << "sanitizers and counters take memory of their own";
    }
    // The last line is of another type and no UTF-8, so that all of it is looked at before JSON lines go out.
    MakeRows("long.csv",
             "block = b\"\".join(b\"%d,%d.25,text %d\\n\" % (i, i, i) for i in range(100000))\n"
             "f.write(b\"a,b,c\\n\")\nfor i in range(35): f.write(block)\nf.write(b\"n/a,1,\\xe9\\n\")\n");
    for (const char* const name : {"out.csv", "out.jsonl"}) {
        const CommandOutcome outcome = Shell(
            "python3 -c 'import resource, subprocess, sys\nsubprocess.run(sys.argv[1:], check=True)\n"
            "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)' " +
            ProgramPath() + " convert --quiet long.csv -o " + name);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_LT(std::stol(outcome.out), 64 * 1024) << name;
    }
    EXPECT_EQ(Shell("iconv -f latin1 -t utf-8 long.csv | cmp - out.csv").status, 0);
    EXPECT_EQ(Shell("wc -l <out.jsonl").out, "3500002\n");
}
