#include "text/DialectSniffer.h"

#include <gtest/gtest.h>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cstdlib>
#include <random>
#include <sstream>
#include <vector>

#include "base/ReadContext.h"
#include "tests/support/SharedData.h"
#include "tests/support/ShellCommand.h"
#include "tests/support/TempFolder.h"
#include "text/TextSource.h"

namespace {

TextDialect Sniff(const std::string& text) {
    return SniffDialect(text, false);
}

std::string Repeat(const std::string& line, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) {
        text += line;
    }
    return text;
}

/** What is guessed of a file: encoding, delimiter, quote, escape. */
struct Guess {
    std::string encoding;
    std::string delimiter;
    std::string quote;
    std::string escape;

    bool operator==(const Guess& other) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Guess& guess) {
    return stream << guess.encoding << " [" << guess.delimiter << "] " << guess.quote << " " << guess.escape;
}

Guess GuessOf(const std::string& path) {
    karta::ReadContext context;
    TextSource source;
    source.Open(path.c_str(), std::nullopt, context);
    source.ExamineWhole(context);
    bool isCut = false;
    std::string beginning = source.GetBeginning(SniffedCharacters, isCut);
    std::erase(beginning, '\0');
    const TextDialect dialect = SniffDialect(beginning, isCut);
    static const std::vector<std::string> Names = {"utf-8", "windows-1252", "utf-16-le", "utf-16-be"};
    return {Names.at(source.GetEncoding().kind), dialect.delimiter, std::string(1, dialect.quote),
            dialect.escape == '\0' ? "" : std::string(1, dialect.escape)};
}

// What the rules' own program says of the files, one line each.
std::vector<Guess> GuessesOfProgram(const std::vector<std::string>& paths, const TempFolder& folder) {
    std::string names;
    for (const std::string& path : paths) {
        names += "'" + path + "'\n";
    }
    const std::string list = folder.Write("names", names);
    const CommandOutcome outcome =
        RunInShell(folder.Path("."), "xargs -a " + list + " -n 200 python3 " +
                                         ShellWord(SharedFolder() + "/dialects/sniff.py"));
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    std::vector<Guess> guesses;
    std::istringstream lines(outcome.out);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream stream(line);
        boost::property_tree::ptree root;
        boost::property_tree::read_json(stream, root);
        guesses.push_back({root.get<std::string>("encoding"), root.get<std::string>("delimiter"),
                           root.get<std::string>("quote"), root.get<std::string>("escape")});
    }
    return guesses;
}

void CompareWithProgram(const std::vector<std::string>& paths, const TempFolder& folder) {
    const std::vector<Guess> guesses = GuessesOfProgram(paths, folder);
    ASSERT_EQ(guesses.size(), paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i) {
        EXPECT_EQ(GuessOf(paths[i]), guesses[i]) << paths[i];
    }
}

/** Tables of all kinds, some of them broken, from a fixed sequence. */
class RandomTables {
public:
    std::string Make() {
        const std::string delimiter = Pick({"\t", ";", ",", "|", ":", " ", ", ", "; ", "^"});
        const std::string quote = Pick({"", "\"", "'", "\""});
        const std::string end = Pick({"\n", "\r\n", "\r", "\n"});
        const int width = 1 + Below(6);
        std::string text = Pick({"", "", "", "# remark\n", "A title\n\n", "sep=;\n", "Report of, today\n"});
        const int rows = Below(30);
        for (int row = 0; row < rows; ++row) {
            const int fields = Below(12) == 0 ? Below(8) : width;
            for (int col = 0; col < fields; ++col) {
                text += (col > 0 ? delimiter : "") + Field(quote);
            }
            text += Below(60) == 0 ? "\n\n" : end;
        }
        for (int change = Below(6); change > 0 && !text.empty(); --change) {
            if (Below(3) == 0) {
                Damage(text);
            }
        }
        return text;
    }

private:
    int Below(int limit) { return static_cast<int>(random() % static_cast<unsigned int>(limit)); }
    std::string Pick(const std::vector<std::string>& choices) {
        return choices[static_cast<std::size_t>(Below(static_cast<int>(choices.size())))];
    }
    std::string Field(const std::string& quote) {
        const std::string plain = Pick({std::to_string(Below(1000)),
                                        std::to_string(Below(100)) + "." + std::to_string(Below(1000)),
                                        std::to_string(Below(100)) + "," + std::to_string(Below(1000)),
                                        "word",
                                        "two words",
                                        "",
                                        "12:30",
                                        "2025-01-02",
                                        "3/4/99 10:00",
                                        "NA",
                                        "1,234,567",
                                        "1'234.50",
                                        "it's",
                                        "5\"",
                                        "http://x.org/a:b",
                                        "\u2212"
                                        "5",
                                        "\u00e4\u00f6",
                                        "-1e5",
                                        ".5",
                                        "inf",
                                        " x ",
                                        "a;b",
                                        "a,b",
                                        "a|b"});
        if (quote.empty() || Below(3) > 0) {
            return plain;
        }
        return quote + plain + Pick({"", quote + quote, "\\" + quote, "\n", ""}) + quote;
    }
    void Damage(std::string& text) {
        const auto at = static_cast<std::size_t>(Below(static_cast<int>(text.size())));
        switch (Below(4)) {
            case 0:
                text.erase(at, 1);
                break;
            case 1:
                text.insert(at,
                            Pick({"\"", "'", ",", ";", "\t", "\n", "\\", std::string(1, '\0'), "\xe4", ":"}));
                break;
            case 2:
                text[at] = static_cast<char>(' ' + Below(95));
                break;
            default:
                text.resize(at);
                break;
        }
    }

    std::mt19937 random{20251122};
};

}  // namespace

TEST(DialectSnifferTest, DelimitersOfTables) {
    EXPECT_EQ(Sniff("a,b\n1,2\n").delimiter, ",");
    EXPECT_EQ(Sniff("a;b\n1,5;2,5\n").delimiter, ";");
    EXPECT_EQ(Sniff("a\tb, c\n1\t2\n").delimiter, "\t");
    EXPECT_EQ(Sniff("a|b\n1|2\n").delimiter, "|");
    EXPECT_EQ(Sniff("1  2   3\n4  5 6\n").delimiter, " ");
    EXPECT_TRUE(Sniff("1  2   3\n4  5 6\n").mergeRuns);
    EXPECT_EQ(Sniff("root:x:0:0\nbin:x:1:1\n").delimiter, ":");
}

TEST(DialectSnifferTest, ProseAndValuesAreOneColumn) {
    EXPECT_EQ(Sniff("").delimiter, "");
    EXPECT_EQ(Sniff("Once upon a time there was\na table, with legs.\nIt stood\nin a room.\n").delimiter, "");
    EXPECT_EQ(Sniff("1,5\n2,5\n3,5\n").delimiter, ",");
    EXPECT_EQ(Sniff("value\n1,5\n2,5\n3,5\n").delimiter, "");
    EXPECT_EQ(Sniff("12:30\n12:31\n").delimiter, "");
}

TEST(DialectSnifferTest, QuotesAndEscapesOnlyWhereTheyHelp) {
    EXPECT_EQ(Sniff("a,b\n'x,y',1\n'z',2\n'w',3\n").quote, '\'');
    EXPECT_EQ(Sniff("a,b\nit's,1\nours,2\n").quote, '"');
    EXPECT_EQ(Sniff("a,b\n\"x\\\",y\",1\n\"z\",2\n").escape, '\\');
    EXPECT_EQ(Sniff("a,b\n\"x\"\",y\",1\n\"z\",2\n").escape, '\0');
}

TEST(DialectSnifferTest, DirectiveNamesTheDelimiter) {
    EXPECT_EQ(Sniff("sep=^\na^b\n").delimiter, "^");
    EXPECT_EQ(Sniff("SEP=;\r\na,b\n").delimiter, ";");
    EXPECT_EQ(GetDirectiveLength("sep=;\r\na"), 7U);
    EXPECT_EQ(GetDirectiveLength("sep=;x\na"), 0U);
    EXPECT_EQ(GetDirectiveLength("sep="), 0U);
}

TEST(DialectSnifferTest, PreambleAndTrailerDoNotHideTheTable) {
    EXPECT_EQ(Sniff("Report, made today\nby us\n\n" + Repeat("1;2;3\n", 8) + "end\n").delimiter, ";");
}

TEST(DialectSnifferTest, RecordThatIsCutCountsWhereItIsTheOnlyOne) {
    EXPECT_EQ(SniffDialect("name;1000,5;1001,0;1001,5", true).delimiter, ";");
    EXPECT_EQ(SniffDialect("# made by us\nname,1000,1002,1004", true).delimiter, ",");
    EXPECT_EQ(SniffDialect("value\n1,5", true).delimiter, "");
    EXPECT_EQ(SniffDialect("once upon a time there was a", true).delimiter, "");
}

TEST(DialectSnifferTest, AgreesWithTheRulesProgramOnRealFiles) {
    SKIP_WITHOUT_SHARED_DATA();
    const TempFolder folder;
    std::vector<std::string> paths;
    for (const char* kind : {"data/spreadsheet/csv", "data/spreadsheet/txt"}) {
        for (const std::string& path : SharedFiles(kind)) {
            if (!path.ends_with(".json")) {
                paths.push_back(path);
            }
        }
    }
    CompareWithProgram(paths, folder);
}

TEST(DialectSnifferTest, AgreesWithTheRulesProgramOnRandomTables) {
    SKIP_WITHOUT_SHARED_DATA();
    const TempFolder folder;
    RandomTables tables;
    const char* const wanted = std::getenv("KARTA_RANDOM_TABLES");
    const int count = wanted == nullptr ? 400 : std::atoi(wanted);
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i) {
        paths.push_back(folder.Write("table" + std::to_string(i), tables.Make()));
    }
    CompareWithProgram(paths, folder);
}
