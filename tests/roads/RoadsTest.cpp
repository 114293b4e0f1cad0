// The same table by every road: a reader called directly, the flat functions called from C, the driver, and
// the program. Nothing may differ but what the flat interface narrows.
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <sstream>
#include <utility>

#include "frame/ImportHelperBase.h"
#include "frame/SprFileFactory.h"
#include "karta/internal/FormatCatalogue.h"
#include "table/TableData.h"
#include "tests/roads/RecordedRead.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SameTables.h"
#include "tests/support/ShellCommand.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TestName.h"
#include "tools/TraceSink.h"
#include "tools/Utf8Text.h"

namespace fs = std::filesystem;

namespace {

const std::string Samples = std::string(KARTA_SOURCE_DIR) + "/samples/";
const std::string Library = std::string(KARTA_BINARY_DIR) + "/libkarta-import.so";
const std::string PlugIns = std::string(KARTA_BINARY_DIR) + "/tests/modules/key-value-log";

// The rows that a choosy sink wants; the second form is the program's.
const std::vector<int> SomeRows = {2, 4, 5};
constexpr const char* SomeRowsList = "2,4-5";

/** Names below the samples; several are read as one selection. */
using Selection = std::vector<std::string>;

// What each sample is made by, and the plug-in's own, which is read with the plug-in below.
bool IsSample(const fs::path& path) {
    return fs::is_regular_file(path) && path.extension() != ".py" &&
           path.parent_path().filename() != "plugin";
}

// Every file of the samples alone, and then sets of them for the formats that take several.
std::vector<Selection> AllSelections() {
    std::vector<Selection> all;
    for (const auto& entry : fs::recursive_directory_iterator(Samples)) {
        if (IsSample(entry.path())) {
            all.push_back({fs::relative(entry.path(), Samples).string()});
        }
    }
    std::sort(all.begin(), all.end());
    all.insert(all.end(), {{"soil-1.0", "soil-2.0"},
                           {"ethanol.jdx", "reaction.jdx"},
                           {"kinetics.spc", "kinetics.spc"},
                           {"caffeine.ch", "caffeine.ch"},
                           {"caffeine.uv", "caffeine.uv"},
                           {"chromatogram.cdf", "chromatogram.cdf"},
                           {"chromatogram.cdf", "spectra.nc"},
                           {"spectra.nc", "spectra.nc"},
                           {"brookside/L0417.xml", "brookside/L0417.xml"}});
    return all;
}

std::string NameOf(const Selection& selection) {
    std::string name;
    for (const std::string& file : selection) {
        name += (name.empty() ? "" : "_and_") + file;
    }
    return TestNameOf(std::move(name));
}

// Rows of fields, as RFC 4180 has them, with LF line ends.
std::vector<std::vector<std::string>> ParseCsv(const std::string& text) {
    std::vector<std::vector<std::string>> rows;
    std::vector<std::string> row(1);
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"' && quoted && text.substr(i + 1, 1) == "\"") {
            row.back() += text[++i];
        } else if (c == '"') {
            quoted = !quoted;
        } else if (c == ',' && !quoted) {
            row.emplace_back();
        } else if (c == '\n' && !quoted) {
            rows.push_back(row);
            row.assign(1, "");
        } else {
            row.back() += c;
        }
    }
    return rows;
}

template <class Number>
bool IsNumber(const std::string& field, Number expected) {
    Number found{};
    const auto result = std::from_chars(field.data(), field.data() + field.size(), found);
    return result.ec == std::errc() && result.ptr == field.data() + field.size() &&
           (found == expected || (found != found && expected != expected));
}

bool IsCell(const std::string& field, TableData& table, int col, int row) {
    switch (table.GetKind(col, row)) {
        case TableData::Missing:
            return field.empty();
        case TableData::Text:
            return field == AsUtf8(table.GetText(col, row));
        case TableData::Float:
            return IsNumber(field, table.GetFloat(col, row));
        case TableData::Double:
            return IsNumber(field, table.GetFloatValue(col, row));
        default:
            return IsNumber(field, table.GetInt64(col, row));
    }
}

void Fill(TableData& table, const std::vector<SinkCall>& calls) {
    for (const SinkCall& call : calls) {
        call.Repeat(table);
    }
}

// The first line that differs says more than two long texts.
void ExpectSame(const std::string& found, const std::string& expected, const std::string& what) {
    if (found == expected) {
        return;
    }
    std::istringstream foundLines(found);
    std::istringstream expectedLines(expected);
    std::string foundLine;
    std::string expectedLine;
    int number = 0;
    do {
        ++number;
        foundLine = "(the end)";
        expectedLine = "(the end)";
        std::getline(foundLines, foundLine);
        std::getline(expectedLines, expectedLine);
    } while (foundLine == expectedLine && foundLines && expectedLines);
    ADD_FAILURE() << what << ", line " << number << "\nfound:    " << foundLine
                  << "\nexpected: " << expectedLine;
}

void ExpectCsv(const std::string& csv, const std::vector<SinkCall>& calls) {
    TableData table;
    Fill(table, calls);
    const auto rows = ParseCsv(csv);
    ASSERT_EQ(rows.size(), static_cast<std::size_t>(table.GetNumberOfRows()));
    for (std::size_t row = 0; row < rows.size(); ++row) {
        ASSERT_EQ(rows[row].size(), static_cast<std::size_t>(table.GetNumberOfColumns()))
            << "row " << row + 1;
        for (std::size_t col = 0; col < rows[row].size(); ++col) {
            EXPECT_TRUE(IsCell(rows[row][col], table, static_cast<int>(col) + 1, static_cast<int>(row) + 1))
                << "column " << col + 1 << " row " << row + 1 << ": " << rows[row][col];
        }
    }
}

/** A driver that tells of warnings as the program's does. */
class RecordingDriver : public ImportHelperBase {
public:
    explicit RecordingDriver(const char* plugInFolder)
        : ImportHelperBase(new FormatCatalogue, plugInFolder) {}
    std::string warnings;

protected:
    int PutMsg1(const char* text, const char*, MessageType, int defaultAnswer) override {
        warnings += "Warning " + QuoteForTrace(text) + "\n";
        return defaultAnswer;
    }
};

// What the driver does, in the words of `karta-import trace --through-driver`. Without a format it chooses
// one itself.
std::string DriverTrace(const std::string& format, const std::string& selection,
                        const std::vector<int>& rows = {}, const char* plugInFolder = nullptr) {
    FormatCatalogue formats;
    formats.Init(plugInFolder);
    RecordingDriver driver(plugInFolder);
    CallRecorder recorder(rows);
    const bool success =
        driver.ReadSpreadsheetFile(selection.c_str(), format.empty() ? 1 : formats.FindFormat(format),
                                   &recorder, nullptr, !format.empty(), nullptr);
    std::string trace;
    for (const SinkCall& call : recorder.calls) {
        trace += call.Line() + "\n";
    }
    trace += driver.warnings;
    if (!success) {
        trace += "Error " + QuoteForTrace(driver.GetErrorMessage()) + "\n";
    }
    return trace + (success ? "Driver true\n" : "Driver false\n");
}

bool DriverFills(const std::string& format, const std::string& selection, TableData& table) {
    FormatCatalogue formats;
    formats.Init(nullptr);
    RecordingDriver driver(nullptr);
    return driver.ReadSpreadsheetFile(selection.c_str(), formats.FindFormat(format), &table, nullptr, true,
                                      nullptr);
}

}  // namespace

/** All roads to one selection of files. */
class Roads : public testing::Test {
protected:
    // The names as the readers take them, and as the program does.
    std::string Names() const {
        std::string names;
        for (const std::string& file : files) {
            names += (names.empty() ? "" : "\n") + file;
        }
        return names;
    }
    std::string Words() const {
        std::string words;
        for (const std::string& file : files) {
            words += " " + ShellWord(file);
        }
        return words;
    }

    // The formats that take such a selection.
    std::vector<std::string> Formats() const {
        std::vector<std::string> formats;
        for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
            const NvImportFileFormatInfo& info = *SprFileFactory::GetInfo(i);
            if (files.size() == 1 || info.canReadMany != 0) {
                formats.emplace_back(info.formatName);
            }
        }
        return formats;
    }

    // What the driver and the program choose without being told.
    std::string ChosenFormat() const {
        FormatCatalogue formats;
        formats.Init(nullptr);
        const int chosen = formats.GetSpreadsheetFileIndex(files.front().c_str());
        return chosen < 1 ? "" : formats.GetInfo(chosen)->formatName;
    }

    CommandOutcome Program(const std::string& arguments) {
        return RunInShell(folder.Path(""), ProgramPath() + " " + arguments + Words());
    }

    CommandOutcome FlatRoad(const std::string& rows, const std::vector<std::string>& formats) {
        std::string command =
            ShellWord(KARTA_FLAT_ROAD) + " " + ShellWord(Library) + " '" + rows + "' " + ShellWord(Names());
        for (const std::string& format : formats) {
            command += " " + ShellWord(format);
        }
        return RunInShell(folder.Path(""), command);
    }

    // A reader that refuses a file has to refuse it on each road, in the same words: so every format is
    // tried.
    void ExpectFlatRoadReads() {
        std::vector<std::string> formats;
        std::string expected;
        for (const std::string& format : Formats()) {
            const RecordedRead read(format, Names());
            // C can't catch what some readers raise.
            if (!read.IsException()) {
                formats.push_back(format);
                expected += "Format \"" + format + "\"\n" + read.FlatTrace();
            }
        }
        const CommandOutcome outcome = FlatRoad("", formats);
        ExpectSame(outcome.out, expected, "from C");
        EXPECT_EQ(outcome.status, 0) << outcome.err;
    }

    void ExpectDriverReads() {
        for (const std::string& format : Formats()) {
            const RecordedRead read(format, Names());
            ExpectSame(DriverTrace(format, Names()), read.DriverTrace(), "the driver with " + format);
            TableData found;
            TableData expected;
            EXPECT_EQ(DriverFills(format, Names(), found), read.Succeeded()) << format;
            Fill(expected, read.NarrowedCalls());
            ExpectSameTables(found, expected);
        }
    }

    // The format is named, or left to the program.
    void ExpectProgramTraces(const RecordedRead& read, const std::string& format) {
        const std::string named = format.empty() ? "" : " --format " + ShellWord(format);
        ExpectSame(Program("trace" + named).out, read.Trace(), "trace" + named);
        ExpectSame(Program("trace --through-driver" + named).out, read.DriverTrace(),
                   "trace --through-driver" + named);
    }

    void ExpectProgramConverts(const RecordedRead& read) {
        const CommandOutcome direct = Program("convert --classic --quiet -o -");
        const CommandOutcome driven = Program("convert --quiet --through-driver -o -");
        EXPECT_EQ(direct.status, read.Succeeded() ? 0 : 1) << direct.err;
        EXPECT_EQ(driven.status, direct.status) << driven.err;
        if (read.Succeeded()) {
            ExpectCsv(direct.out, read.Calls());
            ExpectCsv(driven.out, read.NarrowedCalls());
        } else {
            EXPECT_EQ(direct.out, "");
            EXPECT_EQ(driven.out, "");
        }
    }

    std::vector<std::string> files;
    TempFolder folder;
};

class SamplesByAllRoads : public Roads, public testing::WithParamInterface<Selection> {
protected:
    SamplesByAllRoads() {
        for (const std::string& file : GetParam()) {
            files.push_back(Samples + file);
        }
    }
};

TEST_P(SamplesByAllRoads, FlatFunctionsFromC) {
    ExpectFlatRoadReads();
}

TEST_P(SamplesByAllRoads, Driver) {
    ExpectDriverReads();
}

TEST_P(SamplesByAllRoads, ProgramWithTheFormatsThatRead) {
    const std::string chosen = ChosenFormat();
    for (const std::string& format : Formats()) {
        const RecordedRead read(format, Names());
        if (read.Succeeded() && format != chosen) {
            ExpectProgramTraces(read, format);
        }
    }
}

TEST_P(SamplesByAllRoads, DriverAndProgramWithTheFormatThatTheyChoose) {
    const RecordedRead read(ChosenFormat(), Names());
    ExpectSame(DriverTrace("", Names()), read.DriverTrace(), "the driver by its own choice");
    ExpectProgramTraces(read, "");
    ExpectProgramConverts(read);
}

TEST_P(SamplesByAllRoads, WantedRowsAlone) {
    const std::string format = ChosenFormat();
    const RecordedRead read(format, Names(), SomeRows);
    ExpectSame(FlatRoad("2,4,5", {format}).out, "Format \"" + format + "\"\n" + read.FlatTrace(), "from C");
    ExpectSame(DriverTrace(format, Names(), SomeRows), read.DriverTrace(), "the driver");
    const std::string want = std::string(" --want ") + SomeRowsList;
    ExpectSame(Program("trace" + want).out, read.Trace(), "trace");
    ExpectSame(Program("trace --through-driver" + want).out, read.DriverTrace(), "trace --through-driver");
}

INSTANTIATE_TEST_SUITE_P(Roads, SamplesByAllRoads, testing::ValuesIn(AllSelections()),
                         [](const auto& parameters) { return NameOf(parameters.param); });

// The samples hold no number that the flat interface sends as text; this matrix does, and numbers beside
// them that lose digits or all of their size.
TEST_F(Roads, NumbersAtTheLimitsOfTheFlatInterface) {
    files = {folder.Write("limits.uns",
                          "%2 6 limits\n"
                          "999990 999991 1000000.3 -1000000 16777217 0.1\n"
                          "9007199254740992 1125899906842624 9223372036854775808 1e300 -1e300 1e-300\n")};
    const RecordedRead read("Unscrambler File", Names());
    ASSERT_TRUE(read.Succeeded());
    const std::string narrowed = read.DriverTrace();
    for (const char* cell : {"float 999990\n", "text \"999991\"\n", "float 1000000.31\n", "float -1000000\n",
                             "text \"16777217\"\n", "float 0.100000001\n", "text \"9007199254740992\"\n",
                             "text \"1125899906842624\"\n", "float 9.22337204e+18\n", "float inf\n",
                             "float -inf\n", "float 0\n"}) {
        EXPECT_NE(narrowed.find(cell), std::string::npos) << cell << " in\n" << narrowed;
    }
    ExpectFlatRoadReads();
    ExpectDriverReads();
    ExpectProgramTraces(read, "");
    ExpectProgramConverts(read);
}

// The plug-in's table has no reader in C++; there are three roads to it.
TEST(PlugInRoadsTest, ThreeRoadsGiveOneTable) {
    const TempFolder folder;
    const std::string sample = Samples + "plugin/greenhouse.kvl";
    const std::string format = "Key-Value Log";
    const std::string driven = DriverTrace(format, sample, {}, PlugIns.c_str());
    EXPECT_TRUE(driven.ends_with("Driver true\n")) << driven;
    EXPECT_EQ(DriverTrace("", sample, {}, PlugIns.c_str()), driven);

    const std::string calls = driven.substr(0, driven.size() - std::string("Driver true\n").size());
    const CommandOutcome flat = RunInShell(
        folder.Path(""), ShellWord(KARTA_FLAT_ROAD) + " " + ShellWord(PlugIns + "/key-value-log.so") +
                             " '' " + ShellWord(sample) + " " + ShellWord(format));
    EXPECT_EQ(flat.out, "Format \"" + format + "\"\nVerdict 1\nSize 4 5\n" + calls + "Close\n") << flat.err;

    const std::string program = ProgramPath() + " ";
    const std::string arguments = " --plugins " + ShellWord(PlugIns) + " " + ShellWord(sample);
    EXPECT_EQ(RunInShell(folder.Path(""), program + "trace --through-driver" + arguments).out, driven);
    EXPECT_EQ(
        RunInShell(folder.Path(""), program + "trace" + arguments).out,
        "Format \"" + format + "\"\nOpen 0x0\nGetNumRows 5\nGetNumCols 4\n" + calls + "Read 0x0\nClose\n");
}
