// Files that other programs wrote, held against what an independent reader found in them.
#include <gtest/gtest.h>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cmath>

#include "container/MatFile.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"

using boost::property_tree::ptree;

namespace {

constexpr const char* Format = "Matlab File";

std::string PathOf(const std::string& name) {
    return SharedFolder() + "/data/instrument/mat/" + name;
}

// The first variable of a file as the other reader found it.
struct Truth {
    explicit Truth(const std::string& name) {
        ptree root;
        read_json(PathOf(name) + ".truth.json", root);
        const ptree& first = root.get_child("first_variable");
        variable = first.get<std::string>("name");
        for (const auto& size : first.get_child("shape")) {
            shape.push_back(size.second.get_value<int>());
        }
        for (const auto& value : first.get_child("first10_colmajor")) {
            values.push_back(value.second.get_value<double>());
        }
        sum = first.get<double>("sum");
    }

    std::string variable;
    std::vector<int> shape;
    std::vector<double> values;  // the first ten, column by column
    double sum = 0;
};

double NumberAt(TableData& table, int col, int row) {
    return table.IsFloat(col, row) ? table.GetFloatValue(col, row) : 0.0;
}

void ExpectTheTruth(const std::string& name) {
    SCOPED_TRACE(name);
    const Truth truth(name);
    MatFile reader;
    ASSERT_EQ(reader.Open(true, PathOf(name).c_str(), nullptr), 0);
    EXPECT_EQ(reader.ListParts().at(0).name, truth.variable.substr(0, 31));
    TableData table;
    table.SetDataSize(reader.GetNumCols(), reader.GetNumRows());
    ASSERT_EQ(reader.Read(&table), 0);
    const int rows = truth.shape.at(0);
    ASSERT_EQ(table.GetNumberOfRows(), rows);
    ASSERT_EQ(table.GetNumberOfColumns(), truth.shape.at(1));
    for (int i = 0; i < static_cast<int>(truth.values.size()); ++i) {
        EXPECT_EQ(NumberAt(table, i / rows + 1, i % rows + 1), truth.values[static_cast<std::size_t>(i)]);
    }
    double sum = 0;
    for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
        for (int row = 1; row <= rows; ++row) {
            sum += NumberAt(table, col, row);
        }
    }
    EXPECT_NEAR(sum, truth.sum, 1e-9 * std::fabs(truth.sum));
}

std::string CellsOfFile(const std::string& name) {
    return CellsOf(ReadTrace(Format, PathOf(name)));
}

}  // namespace

TEST(MatRealFilesTest, NumbersAreThoseOfAnIndependentReader) {
    SKIP_WITHOUT_SHARED_DATA();
    for (const char* name : {"m4-double-be.mat", "m4-double-le.mat", "m4-gcms-le.mat", "m4-int16-le.mat",
                             "m4-multi-be.mat", "m4-sparse-be.mat", "m5-cytometry-be.mat",
                             "m5-uint32-for-int32.mat", "m7-logical.mat", "m7-matrix.mat", "m7-sparse.mat"}) {
        ExpectTheTruth(name);
    }
}

TEST(MatRealFilesTest, Level4TextIsTheSame) {
    SKIP_WITHOUT_SHARED_DATA();
    EXPECT_EQ(CellsOfFile("m4-string-be.mat"),
              "Set 1 1 text \"\\\"Do nine men interpret?\\\" \\\"Nine men,\\\" I nod.\"\n");
}

TEST(MatRealFilesTest, Level5TextStoredAsNumbersIsNumbers) {
    SKIP_WITHOUT_SHARED_DATA();
    // The class of an array isn't looked at, and this one's characters are stored as 16-bit numbers.
    EXPECT_TRUE(
        CellsOfFile("m5-string-le.mat").starts_with("Set 1 1 int 34\nSet 2 1 int 68\nSet 3 1 int 111\n"));
}

TEST(MatRealFilesTest, ThirdDimensionTakesTheNameForTheData) {
    SKIP_WITHOUT_SHARED_DATA();
    EXPECT_EQ(CellsOfFile("m5-3d-le.mat"),
              "Set 1 1 int 116\nSet 1 2 int 101\nSet 2 1 int 115\nSet 2 2 int 116\nSet 3 1 int 51\nSet 3 2 "
              "int 100\n");
}

TEST(MatRealFilesTest, ObjectsAndStructuresGiveTheirFirstElementAndCellsAreRefused) {
    SKIP_WITHOUT_SHARED_DATA();
    EXPECT_EQ(CellsOfFile("m5-object-witec.mat"), "Set 1 1 int 100\n");
    EXPECT_EQ(CellsOfFile("m7-types-be.mat"), "Set 1 1 int 4\n");
    EXPECT_NE(ReadTrace(Format, PathOf("m7-cell.mat")).find("Read 0x409\n"), std::string::npos);
}

TEST(MatRealFilesTest, BadFilesEndInAStatus) {
    SKIP_WITHOUT_SHARED_DATA();
    const auto has = [](const char* name, const char* line) {
        return ReadTrace(Format, PathOf(std::string("bad/") + name)).find(line) != std::string::npos;
    };
    // What is damaged lies behind the first array.
    EXPECT_TRUE(has("cut-als2004.mat", "Read 0x0\n"));
    // The count ends with the file, quietly.
    EXPECT_TRUE(has("huge-v4.mat", "GetNumRows 134217728\n"));
    EXPECT_TRUE(has("malformed.mat", "Read 0x402\n"));
    EXPECT_TRUE(has("octave-text.mat", "Open 0x401\n"));
    EXPECT_TRUE(has("v73.mat", "Open 0x40a\n"));
    // Its first array is an empty cell array, behind whose name nothing follows.
    EXPECT_TRUE(has("zlib-data.mat", "Read 0x402\n"));
}
