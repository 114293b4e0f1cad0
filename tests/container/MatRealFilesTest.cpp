// Files that other programs wrote, held against what an independent reader found in them.
#include <gtest/gtest.h>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cmath>

#include "container/MatFile.h"
#include "table/TableData.h"
#include "tests/container/CompleteRead.h"
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

namespace {

// Whether a table has the numbers of a variable below its heads: those that the other reader told, and their
// sum.
bool HasNumbers(TableData& table, const ptree& variable) {
    std::vector<int> shape;
    for (const auto& size : variable.get_child("shape")) {
        shape.push_back(size.second.get_value<int>());
    }
    const int rows = shape.at(0);
    int columns = 1;
    for (std::size_t i = 1; i < shape.size(); ++i) {
        columns *= shape[i];
    }
    const int heads = shape.size() > 2 ? 1 : 0;
    if (table.GetNumberOfRows() != rows + heads || table.GetNumberOfColumns() != columns) {
        return false;
    }
    const auto numberAt = [&](int place) {
        const int col = place / rows + 1;
        const int row = place % rows + 1 + heads;
        return table.GetKind(col, row) == TableData::Bool ? static_cast<double>(table.GetInt64(col, row))
                                                          : NumberAt(table, col, row);
    };
    const auto isAll = [&](const char* key, int place) {
        const auto told = variable.get_child_optional(key);
        for (const auto& value : told ? *told : ptree()) {
            if (numberAt(place++) != value.second.get_value<double>()) {
                return false;
            }
        }
        return true;
    };
    double sum = 0;
    for (int place = 0; place < rows * columns; ++place) {
        sum += numberAt(place);
    }
    const int last = static_cast<int>(variable.get_child("last5_colmajor", ptree()).size());
    return isAll("first10_colmajor", 0) && isAll("last5_colmajor", rows * columns - last) &&
           std::fabs(sum - variable.get<double>("sum")) <= 1e-9 * std::fabs(sum);
}

bool HasTexts(TableData& table, const ptree& variable) {
    int row = 0;
    for (const auto& text : variable.get_child("rows")) {
        if (table.GetString(1, ++row) != text.second.get_value<std::string>()) {
            return false;
        }
    }
    return table.GetNumberOfRows() == row && table.GetNumberOfColumns() == 1;
}

// The names of the fields stand above a single structure's values.
bool HasFields(TableData& table, const ptree& variable) {
    int col = 0;
    for (const auto& field : variable.get_child("fields")) {
        if (table.GetString(++col, 1) != field.second.get_value<std::string>()) {
            return false;
        }
    }
    return table.GetNumberOfRows() == 2 && table.GetNumberOfColumns() == col;
}

// Of a cell array its size and what it says of the cells that are parts of their own.
bool HasCells(TableData& table, const ptree& variable) {
    std::vector<int> shape;
    for (const auto& size : variable.get_child("shape")) {
        shape.push_back(size.second.get_value<int>());
    }
    if (table.GetNumberOfRows() != shape.at(0) || table.GetNumberOfColumns() != shape.at(1)) {
        return false;
    }
    int place = 0;
    for (const auto& cell : variable.get_child("cells_colmajor")) {
        const auto told = cell.second.get_value<std::string>();
        const int col = place / shape[0] + 1;
        const int row = place++ % shape[0] + 1;
        const std::string size = told.substr(told.rfind('[') + 1, told.rfind(']') - told.rfind('[') - 1);
        const std::string text = table.GetString(col, row);
        const bool isArray = size != "1, 1" && told.find("<U") == std::string::npos;
        if (isArray &&
            !text.starts_with(size.substr(0, size.find(',')) + "x" + size.substr(size.find(' ') + 1))) {
            return false;
        }
    }
    return true;
}

bool IsTold(TableData& table, const ptree& variable) {
    if (variable.get_child_optional("cells_colmajor")) {
        return HasCells(table, variable);
    }
    if (variable.get_child_optional("fields")) {
        return HasFields(table, variable);
    }
    return variable.get_child_optional("rows") ? HasTexts(table, variable) : HasNumbers(table, variable);
}

bool ReadClassic(const std::string& path, int place, TableData& table) {
    MatFile reader;
    if (reader.Open(true, path.c_str(), nullptr) != 0 || !reader.SelectPart(place)) {
        return false;
    }
    try {
        table.SetDataSize(reader.GetNumCols(), reader.GetNumRows());
        return reader.Read(&table) == 0;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

TEST(MatRealFilesTest, EveryVariableIsToldInTheCompleteReading) {
    SKIP_WITHOUT_SHARED_DATA();
    int all = 0;
    int complete = 0;
    int classic = 0;
    for (const std::string& path : SharedFiles("data/instrument/mat")) {
        if (!path.ends_with(".mat") || path.find("/bad/") != std::string::npos) {
            continue;
        }
        ptree root;
        read_json(path + ".truth.json", root);
        int place = 0;
        for (const auto& entry : root.get_child("variables")) {
            const auto& variable = entry.second;
            const auto name = variable.get<std::string>("name");
            ++all;
            CompleteRead<MatFile> read(path, {{"Part", name}});
            const bool isTold = read.status == 0 && IsTold(read.table, variable);
            EXPECT_TRUE(isTold) << path << ": " << name;
            complete += isTold ? 1 : 0;
            TableData table;
            classic += ReadClassic(path, ++place, table) && IsTold(table, variable) ? 1 : 0;
        }
    }
    EXPECT_EQ(complete, all);
    // These may only rise.
    EXPECT_GE(complete, 38);
    EXPECT_GE(classic, 14);
    RecordProperty("variables", all);
    RecordProperty("classic", classic);
}

TEST(MatRealFilesTest, BadFilesAreRefusedOrReadAsFarAsTheyAreWhole) {
    SKIP_WITHOUT_SHARED_DATA();
    const auto path = [](const char* name) { return PathOf(std::string("bad/") + name); };
    CompleteRead<MatFile> cut(path("cut-als2004.mat"));
    EXPECT_EQ(cut.status, 0);
    EXPECT_EQ(cut.table.GetNumberOfColumns(), 96);
    EXPECT_NE(cut.NoteTexts().find("\"MATRIX\" (double) is cut off\n"), std::string::npos);
    EXPECT_EQ(CompleteRead<MatFile>(path("huge-v4.mat")).status, MatFile::StatusMatrix);
    EXPECT_EQ(CompleteRead<MatFile>(path("malformed.mat")).status, MatFile::StatusCorrupt);
    EXPECT_EQ(CompleteRead<MatFile>(path("zlib-data.mat")).status, MatFile::StatusCorrupt);
    EXPECT_NE(CompleteRead<MatFile>(path("octave-text.mat")).error.find("text file of Octave"),
              std::string::npos);
    EXPECT_NE(CompleteRead<MatFile>(path("v73.mat")).error.find("HDF5"), std::string::npos);
}
