// Every file as columns, held against the same file as a grid of cells.
#include <gtest/gtest.h>

#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "karta/internal/TableSink.h"
#include "table/TableData.h"
#include "tests/support/SharedData.h"

using karta::Column;
using karta::ColumnType;
using karta::Table;

namespace {

/** A file and the format that the complete reading takes it for. */
struct KnownFile {
    std::string path;
    std::string format;
};

// The record of which format each file is taken for.
std::vector<KnownFile> FilesOf(const std::string& record, const std::string& folder) {
    std::ifstream list(std::string(KARTA_SOURCE_DIR) + "/tests/tools/" + record);
    std::vector<KnownFile> files;
    for (std::string line; std::getline(list, line);) {
        std::istringstream fields(line);
        std::string name;
        std::string format;
        if (line.front() != '#' && std::getline(fields, name, '\t') && std::getline(fields, format, '\t')) {
            files.push_back({folder + "/" + name, format});
        }
    }
    return files;
}

std::unique_ptr<FormatReader> MakeReader(const std::string& format) {
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (format == SprFileFactory::GetInfo(i)->formatName) {
            auto* const reader = SprFileFactory::GetSpreadsheetFile(i);
            return std::unique_ptr<FormatReader>(dynamic_cast<FormatReader*>(reader));
        }
    }
    return nullptr;
}

bool Read(const KnownFile& file, const std::shared_ptr<karta::ReadContext>& context,
          ReadSpreadSheetData& sink) {
    const auto reader = MakeReader(file.format);
    if (reader == nullptr) {
        return false;
    }
    context->reading = karta::Reading::Complete;
    context->budget.SetLimit(karta::Budget::Unlimited);
    context->question = [](const std::string& /*text*/) { return true; };
    reader->SetContext(context);
    bool isRead = false;
    try {
        isRead = reader->Open(true, file.path.c_str(), nullptr) == 0 && reader->Read(&sink) == 0;
    } catch (const std::exception&) {
        // Some formats raise one for a bad file.
    }
    reader->Close();
    return isRead;
}

/** Holds a table against the grid of the same file; counts what differs and keeps the first. */
class Comparison {
public:
    Comparison(const Table& columns, TableData& cells) : table(columns), grid(cells) {
        const auto& shape = table.GetShape();
        firstRow = shape.firstDataRow;
        const std::int64_t rows = std::max(0, grid.GetNumberOfRows() - firstRow + 1);
        Check(table.GetRowCount() == rows,
              "rows: " + std::to_string(table.GetRowCount()) + " for " + std::to_string(rows));
        Check(table.GetWidth() == grid.GetNumberOfColumns(), "columns: " + std::to_string(table.GetWidth()) +
                                                                 " for " +
                                                                 std::to_string(grid.GetNumberOfColumns()));
        if (differences > 0) {
            return;
        }
        int col = 1;
        for (std::size_t i = 0; i < table.GetColumnCount(); ++i) {
            if (i == table.GetBlockPlace()) {
                CompareBlock(col);
            }
            CompareColumn(table.GetColumn(i), col++);
        }
        if (table.GetBlockPlace() == table.GetColumnCount()) {
            CompareBlock(col);
        }
    }

    int GetDifferences() const { return differences; }
    const std::string& GetFirst() const { return first; }

private:
    void Check(bool isSame, const std::string& what) {
        if (!isSame && differences++ == 0) {
            first = what;
        }
    }

    // Heads that the columns took their names and units from.
    void CompareColumn(const Column& column, int col) {
        const auto& shape = table.GetShape();
        const int nameColumn = col - shape.firstNamedColumn + 1;
        const std::string name =
            nameColumn > 0 && shape.nameRow > 0 ? grid.GetString(nameColumn, shape.nameRow) : "";
        if (shape.nameRow > 0) {
            Check(column.GetName() == name,
                  "name of column " + std::to_string(col) + ": " + column.GetName() + " for " + name);
        }
        if (shape.unitRow > 0) {
            Check(column.GetUnit() == grid.GetString(col, shape.unitRow),
                  "unit of column " + std::to_string(col));
        }
        for (std::int64_t row = 0; row < column.GetRowCount(); ++row) {
            const int gridRow = firstRow + static_cast<int>(row);
            Check(IsSame(column, row, col, gridRow),
                  "column " + std::to_string(col) + " " + karta::GetTypeName(column.GetType()) + ", row " +
                      std::to_string(gridRow) + ": '" + column.ToText(row) + "' for '" +
                      grid.GetString(col, gridRow) + "'");
        }
    }

    bool IsSame(const Column& column, std::int64_t row, int col, int gridRow) {
        const TableData::Kind kind = grid.GetKind(col, gridRow);
        if (kind == TableData::Missing || kind == TableData::Error) {
            return column.IsMissing(row);
        }
        if (column.GetType() == ColumnType::Text) {
            return !column.IsMissing(row) && column.GetText(row) == grid.GetString(col, gridRow);
        }
        if (kind == TableData::Text) {
            return grid.GetString(col, gridRow).empty() && column.IsMissing(row);
        }
        if (column.IsNumeric()) {
            const double number = column.GetNumber(row);
            const double expected = grid.GetFloatValue(col, gridRow);
            return !column.IsMissing(row) && grid.IsFloat(col, gridRow) &&
                   (number == expected || (std::isnan(number) && std::isnan(expected)));
        }
        if (column.GetType() == ColumnType::Timestamp && kind == TableData::Date) {
            return column.GetIntegers()[static_cast<std::size_t>(row)] ==
                   grid.GetInt64(col, gridRow) * 86'400'000'000;
        }
        if (column.GetType() == ColumnType::Bool) {
            return kind == TableData::Bool && column.GetBool(row) == (grid.GetInt64(col, gridRow) != 0);
        }
        if (column.GetType() == ColumnType::Date32) {
            return kind == TableData::Date &&
                   column.GetDays()[static_cast<std::size_t>(row)] == grid.GetInt64(col, gridRow);
        }
        const TableData::Kind expected = column.GetType() == ColumnType::Time64      ? TableData::Time
                                         : column.GetType() == ColumnType::Timestamp ? TableData::DateTime
                                                                                     : TableData::Duration;
        return kind == expected &&
               column.GetIntegers()[static_cast<std::size_t>(row)] == grid.GetInt64(col, gridRow);
    }

    void CompareBlock(int& col) {
        const karta::Block* const block = table.GetBlock();
        if (block == nullptr) {
            return;
        }
        for (std::int64_t point = 0; point < block->GetPointCount(); ++point, ++col) {
            if (!block->GetAxis().empty()) {
                const double axis = block->GetAxis()[static_cast<std::size_t>(point)];
                const bool isThere = grid.IsFloat(col, table.GetShape().axisRow);
                Check(isThere ? axis == grid.GetFloatValue(col, table.GetShape().axisRow) : std::isnan(axis),
                      "axis at column " + std::to_string(col));
            }
            for (std::int64_t row = 0; row < block->GetRowCount(); ++row) {
                const int gridRow = firstRow + static_cast<int>(row);
                const double number = block->GetNumber(row, point);
                const double expected = grid.GetFloatValue(col, gridRow);
                const bool isThere = grid.IsFloat(col, gridRow) && !std::isnan(expected);
                Check(isThere ? number == expected
                              : std::isnan(number) &&
                                    (grid.IsMissing(col, gridRow) || grid.IsFloat(col, gridRow) ||
                                     grid.GetKind(col, gridRow) == TableData::Error),
                      "block at column " + std::to_string(col) + ", row " + std::to_string(gridRow) + ": " +
                          std::to_string(number) + " for '" + grid.GetString(col, gridRow) + "'");
            }
        }
    }

    const Table& table;
    TableData& grid;
    int firstRow = 1;
    int differences = 0;
    std::string first;
};

// How many files could be compared.
int Compare(const std::vector<KnownFile>& files) {
    int compared = 0;
    for (const KnownFile& file : files) {
        TableData grid;
        if (!std::filesystem::is_regular_file(file.path) ||
            !Read(file, std::make_shared<karta::ReadContext>(), grid)) {
            continue;
        }
        const auto context = std::make_shared<karta::ReadContext>();
        karta::TableSink sink(context);
        EXPECT_TRUE(Read(file, context, sink)) << file.path;
        const Table table = sink.Finish();
        const Comparison comparison(table, grid);
        EXPECT_EQ(comparison.GetDifferences(), 0)
            << file.path << " (" << file.format << "): " << comparison.GetFirst();
        ++compared;
    }
    return compared;
}

TEST(TableOfFilesTest, HasTheCellsOfEverySample) {
    EXPECT_GT(
        Compare(FilesOf("complete-detection-of-samples.txt", std::string(KARTA_SOURCE_DIR) + "/samples")),
        25);
}

TEST(TableOfFilesTest, HasTheCellsOfEveryRealFile) {
    SKIP_WITHOUT_SHARED_DATA();
    EXPECT_GT(Compare(FilesOf("complete-detection-of-shared-data.txt", SharedFolder() + "/data")), 150);
}

}  // namespace
