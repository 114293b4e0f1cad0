#include "instrument/BrukerOPUSInterpolated.h"

#include <gtest/gtest.h>

#include "host/Question.h"
#include "tests/instrument/OPUSBuilder.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "Bruker OPUS Interpolated File";

class BrukerOPUSInterpolatedTest : public testing::Test {
protected:
    /** The cells of the second file's row from the sixth column on. */
    std::string SecondRow(const OPUSBuilder& first, const std::string& second, const TraceOptions& how = {}) {
        const std::string trace = ReadTrace(
            Format, folder.Write("scan.0", first.Build()) + "\n" + folder.Write("scan.1", second), how);
        std::string cells;
        for (int column = 6;; ++column) {
            const std::string start = "\nSet " + std::to_string(column) + " 4 ";
            const std::size_t found = trace.find(start);
            if (found == std::string::npos) {
                return cells;
            }
            const std::size_t begin = found + start.size();
            cells += (cells.empty() ? "" : "; ") + trace.substr(begin, trace.find('\n', begin) - begin);
        }
    }

    TempFolder folder;
};

OPUSBuilder Shifted(double shift) {
    OPUSBuilder file;
    file.firstX += shift;
    file.lastX += shift;
    return file;
}

}  // namespace

TEST_F(BrukerOPUSInterpolatedTest, OneFileIsAsItStands) {
    const std::string path = folder.Write("scan.0", OPUSBuilder().Build());
    std::string plain = ReadTrace("Bruker OPUS File", path);
    plain.replace(plain.find("Bruker OPUS File"), 16, Format);
    EXPECT_EQ(ReadTrace(Format, path), plain);
}

TEST_F(BrukerOPUSInterpolatedTest, ValuesComeOntoTheFirstAxis) {
    EXPECT_EQ(SecondRow(OPUSBuilder(), Shifted(-0.5).Build()), "float 1.5; float 3; float 5");
}

TEST_F(BrukerOPUSInterpolatedTest, RangesAreNotAskedAbout) {
    Question::SetHandler([](const std::string&) { return false; });
    EXPECT_EQ(SecondRow(OPUSBuilder(), Shifted(0.5).Build()), "float 0.5; float 1.5; float 3");
    Question::SetHandler({});
}

TEST_F(BrukerOPUSInterpolatedTest, FileFarAwayIsMissingAsADouble) {
    EXPECT_EQ(SecondRow(OPUSBuilder(), Shifted(2.5).Build()), "double -99; double -99; double -99");
    EXPECT_EQ(SecondRow(OPUSBuilder(), Shifted(2.0).Build()), "float -1; float 0; float 1");
}

TEST_F(BrukerOPUSInterpolatedTest, ScaleComesBehindTheInterpolation) {
    const OPUSBuilder file;
    auto blocks = file.Blocks();
    blocks[1].bytes = file.Status().Double("CSF", 0.5).End();
    blocks[2].bytes = OPUSValues({-99.0F, 2.0F, 4.0F});
    EXPECT_EQ(SecondRow(file, OPUSFile(blocks)), "float 0; float 1; float 2");
    blocks[2].bytes = OPUSValues({-99.0F, -99.0F, -99.0F});
    EXPECT_EQ(SecondRow(file, OPUSFile(blocks)), "double -99; double -99; double -99");
}

TEST_F(BrukerOPUSInterpolatedTest, WithoutTheXRowThereIsNoGrid) {
    EXPECT_EQ(SecondRow(OPUSBuilder(), OPUSBuilder().Build(), {nullptr, "4"}), "");
    EXPECT_EQ(SecondRow(OPUSBuilder(), OPUSBuilder().Build(), {nullptr, "2,4"}), "float 1; float 2; float 4");
}

TEST_F(BrukerOPUSInterpolatedTest, OnePointSetsNoValue) {
    OPUSBuilder file;
    file.values = {5.0F};
    const std::string trace = ReadTrace(Format, folder.Write("scan.0", file.Build()));
    EXPECT_NE(trace.find("Set 6 2 float nan\n"), std::string::npos);
    EXPECT_EQ(trace.find("Set 6 3 "), std::string::npos);
    EXPECT_NE(trace.find("Read 0x0\n"), std::string::npos);
}

TEST_F(BrukerOPUSInterpolatedTest, PointCountsThatDifferAreRefused) {
    OPUSBuilder other;
    other.values = {1.0F};
    EXPECT_NE(ReadTrace(Format, folder.Write("scan.0", OPUSBuilder().Build()) + "\n" +
                                    folder.Write("scan.1", other.Build()))
                  .find("Open 0x4\nError \"Not all files have the same number of x-values.\\n\\nThe file "
                        "scan.0 has 3 "
                        "values but the file scan.1 has 1.\"\n"),
              std::string::npos);
}

TEST_F(BrukerOPUSInterpolatedTest, CorruptFileEndsTheRead) {
    const std::string whole = OPUSBuilder().Build();
    EXPECT_NE(
        ReadTrace(Format, folder.Write("scan.0", whole.substr(0, whole.size() - 4)))
            .find("Read 0x4\nError \"The file '" + folder.Path("scan.0") + "' seems to be corrupt.\"\n"),
        std::string::npos);
}

TEST_F(BrukerOPUSInterpolatedTest, FailuresAndSizesAreAsInTheOtherReader) {
    BrukerOPUSInterpolated reader;
    EXPECT_EQ(reader.Open(false, "out.0", nullptr), 3);
    EXPECT_EQ(ErrorOf(reader), " 0oes not support writing OPUS files");
    reader.Close();
    EXPECT_EQ(reader.Open(true, folder.Write("other.0", "text").c_str(), nullptr), 4);
    EXPECT_EQ(ErrorOf(reader), folder.Path("other.0") + " does not seem to be a supported Bruker OPUS file.");
    EXPECT_EQ(reader.GetNumCols(), -1);
    reader.Close();
    EXPECT_EQ(reader.Open(true, folder.Write("scan.0", OPUSBuilder().Build()).c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumRows(), 3);
    EXPECT_EQ(reader.GetNumCols(), 8);
    EXPECT_EQ(reader.GetWarningMessage(), nullptr);
    EXPECT_EQ(reader.ListFacts().size(), 7U);
    EXPECT_EQ(reader.ListParts().size(), 1U);
}

TEST_F(BrukerOPUSInterpolatedTest, RealFileOnItsOwnAxisIsAsItStands) {
    SKIP_WITHOUT_SHARED_DATA();
    const std::string path = SharedFolder() + "/data/instrument/opus/soil-mir.1";
    std::string plain = ReadTrace("Bruker OPUS File", path);
    plain.replace(plain.find("Bruker OPUS File"), 16, Format);
    EXPECT_EQ(ReadTrace(Format, path), plain);
}
