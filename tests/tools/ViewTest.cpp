// The pages and pictures of `view`: what they hold, and that nothing of a file gets out of its text.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "table/TableData.h"
#include "tests/support/ShellCommand.h"
#include "tests/support/TempFolder.h"
#include "tools/CurveReduction.h"
#include "tools/PlotBlock.h"
#include "tools/PlotColumns.h"

namespace {

constexpr float None = std::numeric_limits<float>::quiet_NaN();

std::string Sample(const std::string& name) {
    return "'" KARTA_SOURCE_DIR "/samples/" + name + "'";
}

std::size_t CountOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/** Spectra as readers give them: names, an axis that falls, a label and a time. */
class SpectraTable : public TableData {
public:
    SpectraTable() {
        shape.isKnown = true;
        shape.nameRow = 1;
        shape.axisRow = 2;
        shape.firstDataRow = 3;
        shape.labelColumns = {1, 2};
        shape.firstBlockColumn = 3;
        shape.axisQuantity = "wavenumber";
        shape.axisUnit = "cm-1";
        shape.valueQuantity = "absorbance";
        shape.valueUnit = "AU";
        SetText(1, 1, "Name");
        SetText(2, 1, "Time (s)");
        for (int point = 0; point < 4; ++point) {
            Set(3 + point, 2, 4000.0 - 10.0 * point);
        }
        for (int curve = 0; curve < 3; ++curve) {
            SetText(1, 3 + curve, "spectrum " + std::to_string(curve));
            Set(2, 3 + curve, 2.5 * curve);
            for (int point = 0; point < 4; ++point) {
                Set(3 + point, 3 + curve, 10.0 * curve + point);
            }
        }
    }

    karta::TableShape shape;
};

class ViewTest : public testing::Test {
protected:
    CommandOutcome Run(const std::string& arguments) {
        return RunInShell(folder.Path(""), ProgramPath() + " " + arguments);
    }

    TempFolder folder;
};

}  // namespace

TEST(StretchesTest, CoverEveryPointOnce) {
    const Stretches stretches(10, 4);
    EXPECT_TRUE(stretches.IsReduced());
    EXPECT_EQ(stretches.Begin(0), 0U);
    for (std::size_t i = 1; i < stretches.Count(); ++i) {
        EXPECT_EQ(stretches.Begin(i), stretches.End(i - 1));
    }
    EXPECT_EQ(stretches.End(stretches.Count() - 1), 10U);
    EXPECT_FALSE(Stretches(3, 4).IsReduced());
}

TEST(CurveReductionTest, AnEnvelopeKeepsAPeakOfOnePoint) {
    std::vector<float> values(1000, 1.0F);
    values[637] = 9.0F;
    values[638] = -9.0F;
    values[10] = None;
    const Envelope envelope = FindEnvelope(values, Stretches(values.size(), 50));
    ASSERT_EQ(envelope.high.size(), 50U);
    EXPECT_EQ(envelope.high[31], 9.0F);
    EXPECT_EQ(envelope.low[31], -9.0F);
    EXPECT_EQ(envelope.low[0], 1.0F);
}

TEST(CurveReductionTest, AStretchWithoutNumbersIsMissing) {
    const Envelope envelope = FindEnvelope(std::vector<float>{None, None, 2.0F, 3.0F}, Stretches(4, 2));
    EXPECT_TRUE(std::isnan(envelope.low[0]));
    EXPECT_TRUE(std::isnan(envelope.high[0]));
    EXPECT_EQ(envelope.low[1], 2.0F);
}

TEST(CurveReductionTest, EvenlyChosenCurvesIncludeTheFirstAndTheLast) {
    const std::vector<std::size_t> places = ChooseEvenly(10'000, 200);
    EXPECT_EQ(places.size(), 200U);
    EXPECT_EQ(places.front(), 0U);
    EXPECT_EQ(places.back(), 9'999U);
    EXPECT_EQ(ChooseEvenly(3, 200), (std::vector<std::size_t>{0, 1, 2}));
    EXPECT_EQ(ChooseEvenly(5, 1), std::vector<std::size_t>{0});
}

TEST(PlotBlockTest, PutsTheAxisInOrderAndTheCurvesWithIt) {
    SpectraTable table;
    const auto block = PlotBlock::Find(table, table.shape);
    ASSERT_TRUE(block);
    EXPECT_EQ(block->GetAxis().values, (std::vector<double>{3970, 3980, 3990, 4000}));
    EXPECT_TRUE(block->GetAxis().isReversed);
    EXPECT_EQ(block->GetAxis().GetTitle(), "wavenumber (cm-1)");
    EXPECT_EQ(block->GetValueName(), "absorbance (AU)");
    ASSERT_EQ(block->CountCurves(), 3U);
    EXPECT_EQ(block->NameOf(1), "spectrum 1");
    std::vector<float> values(2);
    block->GetPart(1, 1, values);
    EXPECT_EQ(values, (std::vector<float>{12.0F, 11.0F}));
}

TEST(PlotBlockTest, ALabelThatGrowsIsTheCurvesCoordinate) {
    SpectraTable table;
    const auto block = PlotBlock::Find(table, table.shape);
    ASSERT_TRUE(block && block->GetCoordinate());
    EXPECT_EQ(block->GetCoordinate()->GetTitle(), "Time (s)");
    EXPECT_EQ(block->GetCoordinate()->values, (std::vector<double>{0.0, 2.5, 5.0}));
    table.Set(2, 5, 1.0);
    EXPECT_FALSE(PlotBlock::Find(table, table.shape)->GetCoordinate());
}

TEST(PlotBlockTest, RowNumbersAreNoCoordinate) {
    SpectraTable table;
    for (int curve = 0; curve < 3; ++curve) {
        table.Set(1, 3 + curve, 2.0 + curve);  // as files begin to count below their heads
    }
    const auto block = PlotBlock::Find(table, table.shape);
    ASSERT_TRUE(block && block->GetCoordinate());
    EXPECT_EQ(block->GetCoordinate()->name, "Time");
}

TEST(PlotBlockTest, UnitsHaveTheirUsualNames) {
    SpectraTable table;
    table.shape.axisUnit = "1/CM";
    EXPECT_EQ(PlotBlock::Find(table, table.shape)->GetAxis().unit, "cm-1");
    EXPECT_TRUE(PlotBlock::Find(table, table.shape)->GetAxis().isReversed);
}

TEST(PlotBlockTest, FrequenciesThatFallInTheFileFallInThePlot) {
    SpectraTable table;
    table.shape.axisQuantity = "frequency";
    table.shape.axisUnit = "HZ";
    EXPECT_TRUE(PlotBlock::Find(table, table.shape)->GetAxis().isReversed);
    for (int point = 0; point < 4; ++point) {
        table.Set(3 + point, 2, 10.0 * point);
    }
    EXPECT_FALSE(PlotBlock::Find(table, table.shape)->GetAxis().isReversed);
}

TEST(PlotBlockTest, APlainTableHasNone) {
    SpectraTable table;
    EXPECT_FALSE(PlotBlock::Find(table, karta::TableShape()));
}

TEST(PlotBlockTest, QuantilesAreOfAllCurves) {
    SpectraTable table;
    const auto block = PlotBlock::Find(table, table.shape);
    const Quantiles quantiles = FindQuantiles(*block, Stretches(4, 4));
    EXPECT_EQ(quantiles[0], (std::vector<float>{3, 2, 1, 0}));
    EXPECT_EQ(quantiles[2], (std::vector<float>{13, 12, 11, 10}));
    EXPECT_EQ(quantiles[4], (std::vector<float>{23, 22, 21, 20}));
}

TEST(PlotBlockTest, AMapKeepsTheGreatestOfEachCell) {
    SpectraTable table;
    const auto block = PlotBlock::Find(table, table.shape);
    EXPECT_EQ(FindMap(*block, Stretches(3, 1), Stretches(4, 2)), (std::vector<float>{23, 21}));
}

TEST(PlotColumnsTest, TimeThatGrowsIsTheAxis) {
    TableData table;
    for (int col = 1; col <= 3; ++col) {
        table.SetText(col, 1, "c" + std::to_string(col));
    }
    for (int row = 2; row <= 5; ++row) {
        table.Set(1, row, 7.0 - row);
        table.SetDateTime(2, row, row * 1'000'000LL);
        table.SetText(3, row, "remark");
    }
    const auto columns = PlotColumns::Find(table, karta::TableShape());
    ASSERT_TRUE(columns);
    ASSERT_EQ(columns->GetColumns().size(), 2U);
    EXPECT_EQ(columns->GetAxis(), 1U);
    EXPECT_EQ(columns->GetValue(1, 3), 3000.0);
    EXPECT_EQ(columns->GetFirstRow(), 2);
}

TEST(PlotColumnsTest, TextsAloneAreNothingToDraw) {
    TableData table;
    table.SetText(1, 1, "a");
    table.SetText(1, 2, "b");
    table.SetText(1, 3, "c");
    EXPECT_FALSE(PlotColumns::Find(table, karta::TableShape()));
}

TEST_F(ViewTest, APageReachesForNothingBeyondItself) {
    const CommandOutcome outcome = Run("view " + Sample("kinetics.spc") + " -o -");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(Contains(outcome.out, "content=\"default-src 'none'; script-src 'sha256-"));
    EXPECT_FALSE(Contains(outcome.out, "unsafe-inline"));
    // The only addresses in it are names: of a licence and of a kind of XML.
    for (const char* const asking :
         {"<link", " src=", "@import", "url(", "sourceMappingURL", "XMLHttpRequest.open"}) {
        EXPECT_FALSE(Contains(outcome.out, asking)) << asking;
    }
}

TEST_F(ViewTest, TextsOfAFileStayInsideTheirElement) {
    folder.Write("a.csv", "</script><b>,b&c,\xe2\x80\xa8\n1,2,3\n4,5,6\n");
    const CommandOutcome outcome = Run("view a.csv -o -");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(CountOf(outcome.out, "</script>"), 3U);
    EXPECT_TRUE(Contains(outcome.out, "\\u003c/script\\u003e\\u003cb\\u003e"));
    EXPECT_TRUE(Contains(outcome.out, "b\\u0026c"));
    EXPECT_TRUE(Contains(outcome.out, "\\u2028"));
    EXPECT_FALSE(Contains(outcome.out, "\xe2\x80\xa8"));
}

TEST_F(ViewTest, WithoutAPlaceThePageIsTemporaryAndOpened) {
    std::filesystem::create_directory(folder.Path("bin"));
    folder.Write("bin/xdg-open", "#!/bin/sh\ncp \"$1\" \"$OPENED\"\n");
    std::filesystem::permissions(folder.Path("bin/xdg-open"), std::filesystem::perms::owner_all);
    const CommandOutcome outcome =
        RunInShell(folder.Path(""), "export OPENED=$PWD/opened TMPDIR=$PWD PATH=$PWD/bin:$PATH; " +
                                        ProgramPath() + " view " + Sample("wine.txt") +
                                        "; for i in 1 2 3 4 5 6 7 8 9; do [ -s opened ] || sleep 0.3; done; "
                                        "head -c 15 opened");
    EXPECT_TRUE(Contains(outcome.out, "wine.txt.html\n<!DOCTYPE html>")) << outcome.out << outcome.err;
}

TEST_F(ViewTest, APictureIsForDocuments) {
    ASSERT_EQ(Run("view --svg " + Sample("kinetics.spc") + " -o k.svg").status, 0);
    const std::string svg = RunInShell(folder.Path(""), "cat k.svg").out;
    EXPECT_TRUE(svg.starts_with("<svg xmlns"));
    EXPECT_EQ(CountOf(svg, "<path "), 12U);
    EXPECT_TRUE(Contains(svg, ">wavelength (nm)</text>"));
    EXPECT_TRUE(Contains(svg, ">absorbance (AU)</text>"));
    EXPECT_TRUE(Contains(svg, ">kinetics_12</text>"));
    EXPECT_EQ(
        RunInShell(folder.Path(""), "python3 -c 'import xml.dom.minidom; xml.dom.minidom.parse(\"k.svg\")'")
            .status,
        0);
}

TEST_F(ViewTest, APicturesNameIsEnoughForAPicture) {
    ASSERT_EQ(Run("view " + Sample("kinetics.spc") + " -o k.svg").status, 0);
    EXPECT_TRUE(RunInShell(folder.Path(""), "cat k.svg").out.starts_with("<svg xmlns"));
}

TEST_F(ViewTest, APictureEscapesTheTextsOfAFile) {
    folder.Write("a.csv", "x,<b>&\"\n1,2\n2,3\n3,1\n");
    const CommandOutcome outcome = Run("view --svg a.csv -o -");
    EXPECT_TRUE(Contains(outcome.out, "&lt;b&gt;&amp;")) << outcome.out << outcome.err;
    EXPECT_FALSE(Contains(outcome.out, "<b>"));
}

TEST_F(ViewTest, APictureWantsAPlaceAndSomethingToDraw) {
    EXPECT_EQ(Run("view --svg " + Sample("wine.txt")).status, 2);
    folder.Write("a.csv", "a,b\nc,d\ne,f\n");
    const CommandOutcome outcome = Run("view --svg a.csv -o x.svg");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(Contains(outcome.err, "nothing to draw"));
    EXPECT_FALSE(std::filesystem::exists(folder.Path("x.svg")));
}

TEST_F(ViewTest, WhyNothingCouldBeReadIsSaidOnce) {
    folder.Write("bad.spc", "x");
    for (const char* files : {"bad.spc", "bad.spc " KARTA_SOURCE_DIR "/samples/kinetics.spc"}) {
        const CommandOutcome outcome = Run(std::string("view ") + files + " -o page.html");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(CountOf(outcome.err, "bad.spc: "), 1U) << outcome.err;
    }
}

TEST_F(ViewTest, SpectraOfSeveralFormatsAreDrawnOverEachOther) {
    std::filesystem::create_directory(folder.Path("data"));
    for (const char* const name : {"flour.da", "flour.dat", "kinetics.spc", "ethanol.jdx", "wine.txt"}) {
        RunInShell(folder.Path("data"), "cp " + Sample(name) + " .");
    }
    const CommandOutcome outcome = Run("view data -o page.html");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::string page = RunInShell(folder.Path(""), "cat page.html").out;
    // Kinds of ordinates that files don't tell go together; other axes and plain tables are tabs of their
    // own.
    EXPECT_TRUE(Contains(page, "\"title\": \"flour.da and 2 more\"")) << page.substr(0, 2000);
    EXPECT_TRUE(Contains(page, "\"title\": \"ethanol.jdx\""));
    EXPECT_TRUE(Contains(page, "kinetics.spc: kinetics_12"));
    EXPECT_TRUE(Contains(page, "\"title\": \"wine.txt\""));
    EXPECT_TRUE(Contains(page, "flour.dat: 3"));
    const CommandOutcome picture = Run("view data/flour.da data/flour.dat --svg -o -");
    std::size_t curves = 0;
    for (std::size_t at = picture.out.find("<path"); at != std::string::npos;
         at = picture.out.find("<path", at + 1)) {
        ++curves;
    }
    EXPECT_EQ(curves, 12U);
}

TEST_F(ViewTest, FilesThatTheOneTableLeavesOutAreDrawnToo) {
    // One table of the format holds the first of them alone, since their axes differ.
    const CommandOutcome picture =
        Run("view " + Sample("soil-1.0") + " " + Sample("soil-2.0") + " --svg -o -");
    ASSERT_EQ(picture.status, 0) << picture.err;
    EXPECT_EQ(CountOf(picture.out, "<path "), 2U);
    EXPECT_TRUE(Contains(picture.out, ">soil-2.0</text>"));
    EXPECT_FALSE(Contains(picture.err, "--part")) << picture.err;
}

TEST_F(ViewTest, AnOverlayTellsWhatItsFilesHaveInCommon) {
    const std::string page = Run("view " + Sample("flour.da") + " " + Sample("kinetics.spc") + " -o -").out;
    // The first file doesn't tell what its numbers are.
    EXPECT_TRUE(Contains(page, "\"value\": \"absorbance (AU)\""));
    EXPECT_TRUE(Contains(page, "NSAS File, GalacticSPC File"));
    EXPECT_FALSE(Contains(page, "\"near infrared\"")) << "a fact of one of them";
}

TEST_F(ViewTest, NamesOfManyFilesStandInAListOfTheirOwn) {
    std::filesystem::create_directories(folder.Path("data/more"));
    std::string all;
    for (const char* const name : {"data/a.csv", "data/b.csv", "data/c.csv", "data/more/d.csv"}) {
        folder.Write(name, "x,y\n1,2\n2,5\n");
        all += std::string(" ") + name;
    }
    const std::string page = Run("view" + all + " -o -").out;
    EXPECT_TRUE(Contains(page, "\"subtitle\": \"4 files of data/\""));
    EXPECT_TRUE(Contains(page, "\"data/more/d.csv\""));
    EXPECT_TRUE(
        Contains(Run("view data/a.csv data/b.csv -o -").out, "\"subtitle\": \"data/a.csv, data/b.csv\""));
}

TEST_F(ViewTest, ASteepCurveOfReducedPointsDoesNotGoToAndFro) {
    std::string text = "x,y\n";
    for (int i = 0; i < 6000; ++i) {
        text += std::to_string(i) + "," + std::to_string(6000 - i) + "\n";
    }
    folder.Write("falling.csv", text);
    const std::string svg = Run("view falling.csv --svg -o -").out;
    const std::size_t begin = svg.find("<path d=\"M") + std::string("<path d=\"M").size();
    std::istringstream path(svg.substr(begin, svg.find('"', begin) - begin));
    double last = 0.0;
    std::size_t points = 0;
    for (std::string point; std::getline(path, point, 'L'); ++points) {
        const double y = std::stod(point.substr(point.find(' ')));
        ASSERT_GE(y, last) << "downwards, as y of a picture grows";
        last = y;
    }
    EXPECT_GT(points, 1000U);
}

TEST_F(ViewTest, AFileThatCantBeReadIsATabBesideTheOthers) {
    folder.Write("bad.spc", "no spectrum");
    const CommandOutcome outcome = Run("view " + Sample("wine.txt") + " bad.spc -o page.html");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(Contains(outcome.err, "bad.spc"));
    EXPECT_TRUE(Contains(RunInShell(folder.Path(""), "cat page.html").out, "\"error\": \"bad.spc: "));
    EXPECT_EQ(Run("view bad.spc -o none.html").status, 1);
    EXPECT_FALSE(std::filesystem::exists(folder.Path("none.html")));
}
