#include "container/NetCDF.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>

#include "tests/container/NetCDFBuilder.h"
#include "tests/support/TempFolder.h"

namespace {

class NetCDFTest : public testing::Test {
protected:
    std::string Write(const NetCDFBuilder& file) { return folder.Write("file.nc", file.File()); }

    TempFolder folder;
};

using Index2 = std::array<std::size_t, 2>;

}  // namespace

TEST_F(NetCDFTest, MissingFileStaysClosed) {
    const NetCDF file(folder.Path("none.nc").c_str());
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.FindVariable("v"), -1);
    EXPECT_EQ(file.GetDimension("x"), -1);
    EXPECT_FALSE(file.HasAttribute(NetCDF::Global, "a"));
    EXPECT_EQ(file.GetTextAttribute(NetCDF::Global, "a"), std::nullopt);
    EXPECT_TRUE(file.GetShape(0).empty());
    float value = 0.0F;
    EXPECT_FALSE(file.GetFirst(0, value));
}

TEST_F(NetCDFTest, NamesLikeAddressesAreFilesOnly) {
    EXPECT_FALSE(NetCDF("http://127.0.0.1:9/data.nc").IsOpen());
    EXPECT_FALSE(NetCDF("[mode=dap4]http://127.0.0.1:9/data.nc").IsOpen());
    EXPECT_FALSE(NetCDF("http://127.0.0.1:9/data.nc", NetCDF::ModeCreate).IsOpen());
    // A file whose path looks like an address is a file.
    std::filesystem::create_directories(folder.Path("http:/host"));
    folder.Write("http:/host/data.nc", NetCDFBuilder().File());
    EXPECT_TRUE(NetCDF(folder.Path("http://host/data.nc").c_str()).IsOpen());
}

TEST_F(NetCDFTest, DirectoryAndUnsoundFileStayClosed) {
    EXPECT_FALSE(NetCDF(folder.Path("").c_str()).IsOpen());
    EXPECT_FALSE(NetCDF(folder.Write("cut.nc", Chromatogram().File().substr(0, 100)).c_str()).IsOpen());
}

TEST_F(NetCDFTest, CreatesAFileAndOpensItForWriting) {
    const std::string path = folder.Path("new.nc");
    EXPECT_TRUE(NetCDF(path.c_str(), NetCDF::ModeCreate).IsOpen());
    EXPECT_TRUE(NetCDF(path.c_str(), NetCDF::ModeWrite).IsOpen());
    EXPECT_TRUE(NetCDF(path.c_str()).IsOpen());
    EXPECT_FALSE(NetCDF(path.c_str(), NetCDF::ModeCreateNew).IsOpen()) << "it is there already";
    EXPECT_FALSE(NetCDF(folder.Path("none.nc").c_str(), NetCDF::ModeWrite).IsOpen());
}

TEST_F(NetCDFTest, TextAttributeEndsAtItsFirstNul) {
    NetCDFBuilder builder;
    builder.Attribute("text", Chars(std::string_view("Y\0\0", 3))).Attribute("number", Doubles({1.0}));
    const NetCDF file(Write(builder).c_str());
    EXPECT_EQ(file.GetTextAttribute(NetCDF::Global, "text"), "Y");
    EXPECT_TRUE(file.HasAttribute(NetCDF::Global, "number"));
    EXPECT_EQ(file.GetTextAttribute(NetCDF::Global, "number"), std::nullopt);
}

TEST_F(NetCDFTest, ReadsAWindowOfAVariable) {
    NetCDFBuilder builder;
    builder.Dimension("row", 2).Dimension("column", 3);
    builder.Variable("table", {"row", "column"}, Floats({1, 2, 3, 4, 5, 6}));
    const NetCDF file(Write(builder).c_str());
    std::array<double, 2> values{};
    ASSERT_EQ(file.GetValues(file.FindVariable("table"), Index2{1, 1}, Index2{1, 2}, values.data()), 0);
    EXPECT_EQ(values[0], 5.0);
    EXPECT_EQ(values[1], 6.0);
    EXPECT_EQ(file.GetShape(0), (std::vector<std::size_t>{2, 3}));
}

TEST_F(NetCDFTest, WindowBeyondTheVariableFails) {
    NetCDFBuilder builder;
    builder.Dimension("row", 2).Dimension("column", 3);
    builder.Variable("table", {"row", "column"}, Floats({1, 2, 3, 4, 5, 6}));
    const NetCDF file(Write(builder).c_str());
    std::array<double, 8> values{};
    EXPECT_EQ(file.GetValues(0, Index2{2, 0}, Index2{1, 3}, values.data()), -1);
    EXPECT_EQ(file.GetValues(0, Index2{0, 0}, Index2{1, 4}, values.data()), -1);
    EXPECT_EQ(file.GetValues(7, Index2{0, 0}, Index2{1, 1}, values.data()), -1);
}

TEST_F(NetCDFTest, VariableOfMoreDimensionsThanAskedForFails) {
    NetCDFBuilder builder;
    builder.Dimension("x", 2).Variable("cube", {"x", "x", "x"}, Floats({1, 2, 3, 4, 5, 6, 7, 8}));
    const NetCDF file(Write(builder).c_str());
    std::array<float, 8> values{};
    EXPECT_EQ(file.GetValues(0, Index2{0, 0}, Index2{1, 1}, values.data()), -1);
}

TEST_F(NetCDFTest, VariableOfFewerDimensionsIsReadWhereTheRestIsOne) {
    NetCDFBuilder builder;
    builder.Dimension("x", 3).Variable("line", {"x"}, Floats({1, 2, 3}));
    const NetCDF file(Write(builder).c_str());
    std::array<float, 6> values{};
    EXPECT_EQ(file.GetValues(0, Index2{1, 0}, Index2{2, 1}, values.data()), 0);
    EXPECT_EQ(values[1], 3.0F);
    EXPECT_EQ(file.GetValues(0, Index2{0, 0}, Index2{3, 2}, values.data()), -1);
}

TEST_F(NetCDFTest, TextIsNoNumberAndANumberNoText) {
    NetCDFBuilder builder;
    builder.Dimension("x", 1).Variable("text", {"x"}, Chars("5")).Variable("number", {"x"}, Floats({5}));
    const NetCDF file(Write(builder).c_str());
    const std::array<std::size_t, 1> start{0};
    const std::array<std::size_t, 1> count{1};
    float number = 0.0F;
    char text = '\0';
    EXPECT_EQ(file.GetValues(file.FindVariable("text"), start, count, &number), -1);
    EXPECT_EQ(file.GetValues(file.FindVariable("number"), start, count, &text), -1);
    EXPECT_TRUE(file.IsText(file.FindVariable("text")));
    EXPECT_FALSE(file.GetFirst(file.FindVariable("text"), number));
}

TEST_F(NetCDFTest, ValueOutOfTheTypesRangeFails) {
    NetCDFBuilder builder;
    builder.Variable("large", {}, Doubles({1e300}));
    const NetCDF file(Write(builder).c_str());
    float number = 0.0F;
    EXPECT_FALSE(file.GetFirst(0, number));
}

TEST_F(NetCDFTest, FirstValueOfAnEmptyVariableFails) {
    NetCDFBuilder builder;
    builder.Dimension("r", 0).Variable("none", {"r"}, Floats({}));
    const NetCDF file(Write(builder).c_str());
    float number = 0.0F;
    EXPECT_FALSE(file.GetFirst(0, number));
}
