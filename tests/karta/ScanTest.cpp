// Many files as tables of one schema.
#include "karta/Scan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>

#include "karta/Read.h"
#include "karta/internal/AxisGrid.h"
#include "karta/internal/ScanSchema.h"
#include "karta/internal/TableRows.h"
#include "karta/internal/UnitName.h"
#include "tests/support/TempFolder.h"

namespace {

using karta::Error;
using karta::ErrorCode;
using karta::OnError;
using karta::Scan;
using karta::Table;

constexpr unsigned WorkerCounts[] = {1, 2, 8};

// Files of one to three rows, each with its number in them.
std::vector<std::string> WriteFiles(const TempFolder& folder, int count) {
    std::vector<std::string> files;
    for (int i = 0; i < count; ++i) {
        std::string text = "name,value\n";
        for (int row = 0; row <= i % 3; ++row) {
            text += "f" + std::to_string(i) + "," + std::to_string(i) + ".5\n";
        }
        files.push_back(folder.Write(std::to_string(i) + ".csv", text));
    }
    return files;
}

// A spectrum as JCAMP-DX has it: y = 10 x.
std::string Spectrum(double first, double step, int points, const std::string& unit = "NANOMETERS") {
    std::string text = "##TITLE=s\n##JCAMP-DX=4.24\n##DATA TYPE=INFRARED SPECTRUM\n##XUNITS=" + unit +
                       "\n##YUNITS=ABSORBANCE\n##XFACTOR=1\n##YFACTOR=1\n";
    text += "##FIRSTX=" + std::to_string(first) + "\n##LASTX=" + std::to_string(first + step * (points - 1)) +
            "\n##NPOINTS=" + std::to_string(points) + "\n##FIRSTY=" + std::to_string(first * 10) +
            "\n##XYDATA=(X++(Y..Y))\n";
    for (int i = 0; i < points; ++i) {
        text += std::to_string(first + step * i) + " " + std::to_string(10.0 * (first + step * i)) + "\n";
    }
    return text + "##END=\n";
}

std::vector<double> Axis(const Table& table) {
    const auto axis = table.GetBlock()->GetAxis();
    return {axis.begin(), axis.end()};
}

karta::Block MakeBlock(const std::vector<double>& axis, const std::vector<double>& values) {
    karta::BlockParts parts;
    parts.rows = 1;
    parts.points = static_cast<std::int64_t>(axis.size());
    parts.stride = parts.points;
    auto axisBuffer = std::make_shared<karta::Buffer>(axis.size() * sizeof(double));
    auto valueBuffer = std::make_shared<karta::Buffer>(axis.size() * sizeof(double));
    std::copy(axis.begin(), axis.end(), axisBuffer->As<double>());
    std::copy(values.begin(), values.end(), valueBuffer->As<double>());
    parts.axis = axisBuffer;
    parts.values = valueBuffer;
    return karta::Block(parts);
}

std::vector<double> Interpolated(const std::vector<double>& axis, const std::vector<double>& values,
                                 const std::vector<double>& points) {
    const karta::Block block = karta::PutOnGrid(MakeBlock(axis, values), points);
    std::vector<double> numbers;
    for (std::int64_t point = 0; point < block.GetPointCount(); ++point) {
        numbers.push_back(block.GetNumber(0, point));
    }
    return numbers;
}

}  // namespace

TEST(Scan, OrderAndBatchesAreTheSameWithAnyNumberOfWorkers) {
    const TempFolder folder;
    const std::vector<std::string> files = WriteFiles(folder, 25);
    for (const unsigned workers : WorkerCounts) {
        Scan scan(files, {.batch = 10, .workers = workers});
        std::vector<std::int64_t> rows;
        std::vector<std::string> seen;
        for (Table& batch : scan) {
            rows.push_back(batch.GetRowCount());
            for (std::int64_t row = 0; row < batch.GetRowCount(); ++row) {
                const std::string file(batch.GetColumn("file").GetText(row));
                if (seen.empty() || seen.back() != file) {
                    seen.push_back(file);
                }
                const auto place = static_cast<double>(seen.size() - 1);
                EXPECT_EQ(batch.GetColumn("value").GetNumber(row), place + 0.5);
            }
        }
        EXPECT_EQ(rows, (std::vector<std::int64_t>{19, 20, 10})) << workers;
        EXPECT_EQ(seen, files) << workers;
        EXPECT_TRUE(scan.Errors().empty());
        EXPECT_EQ(scan.Next(), nullptr);
    }
}

TEST(Scan, BadFilesAreRaisedSkippedOrCollected) {
    const TempFolder folder;
    std::vector<std::string> files = WriteFiles(folder, 4);
    files.insert(files.begin() + 2, folder.Path("missing.csv"));
    files.push_back(folder.Write("other.csv", "name,size\nx,1\n"));
    for (const unsigned workers : WorkerCounts) {
        Scan collecting(files, {.onError = OnError::Collect, .workers = workers});
        ASSERT_NE(collecting.Next(), nullptr);
        ASSERT_EQ(collecting.Errors().size(), 2U);
        EXPECT_EQ(collecting.Errors()[0].GetCode(), ErrorCode::NotFound);
        EXPECT_EQ(collecting.Errors()[0].GetFile(), files[2]);
        EXPECT_EQ(collecting.Errors()[1].GetCode(), ErrorCode::DoesNotFit);
        EXPECT_NE(collecting.Errors()[1].GetText().find("there is no column 'value'"), std::string::npos);
        EXPECT_EQ(collecting.Next(), nullptr);

        Scan skipping(files, {.onError = OnError::Skip, .batch = 1, .workers = workers});
        int batches = 0;
        for ([[maybe_unused]] Table& batch : skipping) {
            ++batches;
        }
        EXPECT_EQ(batches, 4);
        EXPECT_TRUE(skipping.Errors().empty());

        Scan raising(files, {.workers = workers});
        Table* const before = raising.Next();
        ASSERT_NE(before, nullptr);
        EXPECT_EQ(before->GetRowCount(), 3) << "what was read before the bad file";
        EXPECT_THROW(raising.Next(), Error);
        EXPECT_EQ(raising.Next(), nullptr);
    }
}

TEST(Scan, FirstBatchFixesTheTypes) {
    const TempFolder folder;
    const std::vector<std::string> files = {
        folder.Write("1.csv", "a,b\n1,x\n2,y\n"), folder.Write("2.csv", "b,a\nz,2.5\nz,3.5\n"),
        folder.Write("3.csv", "a,b\n4,z\n5,z\n"), folder.Write("4.csv", "a,b\ntext,z\nmore,z\n")};
    Scan scan(files, {.onError = OnError::Collect, .batch = 2});
    Table* batch = scan.Next();
    ASSERT_NE(batch, nullptr);
    EXPECT_EQ(batch->GetColumn("a").GetType(), karta::ColumnType::Float64);
    EXPECT_EQ(batch->GetColumn("a").GetNumber(2), 2.5);
    EXPECT_EQ(batch->GetColumn("b").GetText(2), "z");
    batch = scan.Next();
    ASSERT_NE(batch, nullptr);
    EXPECT_EQ(batch->GetColumn("a").GetType(), karta::ColumnType::Float64);
    EXPECT_EQ(batch->GetRowCount(), 2);
    ASSERT_EQ(scan.Errors().size(), 1U);
    EXPECT_NE(scan.Errors()[0].GetText().find("column 'a' is text"), std::string::npos)
        << scan.Errors()[0].what();
}

TEST(Scan, GridPutsSpectraOnOneAxis) {
    const TempFolder folder;
    const std::vector<std::string> files = {folder.Write("1.jdx", Spectrum(100, 10, 6)),
                                            folder.Write("2.jdx", Spectrum(115, 10, 6))};
    Scan none(files, {.onError = OnError::Collect});
    ASSERT_NE(none.Next(), nullptr);
    EXPECT_EQ(none.Errors().size(), 1U) << "another axis";

    const auto scanned = [&](karta::Grid grid) {
        Scan scan(files, {.grid = std::move(grid)});
        Table* const table = scan.Next();
        return table == nullptr ? Table() : *table;
    };
    const Table first = scanned(karta::Grid::First);
    EXPECT_EQ(Axis(first), (std::vector<double>{100, 110, 120, 130, 140, 150}));
    ASSERT_EQ(first.GetRowCount(), 2);
    EXPECT_TRUE(std::isnan(first.GetBlock()->GetNumber(1, 1))) << "in front of the spectrum's first point";
    EXPECT_DOUBLE_EQ(first.GetBlock()->GetNumber(1, 2), 1200.0);
    EXPECT_EQ(Axis(scanned(karta::Grid::Common)), (std::vector<double>{120, 130, 140, 150}));
    const Table all = scanned(karta::Grid::Union);
    EXPECT_EQ(Axis(all), (std::vector<double>{100, 110, 115, 120, 125, 130, 135, 140, 145, 150, 155, 165}));
    EXPECT_DOUBLE_EQ(all.GetBlock()->GetNumber(0, 2), 1150.0);
    EXPECT_TRUE(std::isnan(all.GetBlock()->GetNumber(0, 11)));
    const Table given = scanned(std::vector<double>{150, 125, 90});
    EXPECT_EQ(Axis(given), (std::vector<double>{150, 125, 90}));
    EXPECT_DOUBLE_EQ(given.GetBlock()->GetNumber(1, 0), 1500.0);
    EXPECT_TRUE(std::isnan(given.GetBlock()->GetNumber(1, 2)));
    EXPECT_THROW(Scan(files, {.grid = std::vector<double>{1, 3, 2}}), Error);
    EXPECT_THROW(Scan(files, {.grid = std::vector<double>{}}), Error);
}

TEST(Scan, OtherUnitsDontFit) {
    const TempFolder folder;
    const std::vector<std::string> files = {folder.Write("1.jdx", Spectrum(100, 10, 6)),
                                            folder.Write("2.jdx", Spectrum(100, 10, 6, "1/CM"))};
    Scan scan(files, {.grid = karta::Grid::First, .onError = OnError::Collect});
    ASSERT_NE(scan.Next(), nullptr);
    ASSERT_EQ(scan.Errors().size(), 1U);
    EXPECT_EQ(scan.Errors()[0].GetCode(), ErrorCode::DoesNotFit);
}

TEST(Scan, TheSameUnitInAnotherSpellingFits) {
    const TempFolder folder;
    const std::vector<std::string> files = {folder.Write("1.jdx", Spectrum(100, 10, 6, "1/CM")),
                                            folder.Write("2.jdx", Spectrum(100, 10, 6, "cm-1"))};
    Scan scan(files);
    Table* const table = scan.Next();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->GetRowCount(), 2);
    EXPECT_EQ(karta::UsualUnit("NANOMETERS"), "nm");
    EXPECT_EQ(karta::UsualUnit("mAu"), karta::UsualUnit("mAU")) << "of two detectors of one instrument";
    EXPECT_EQ(karta::UsualUnit("furlongs"), "furlongs");
    EXPECT_EQ(karta::OrdinateOf("", "ABSORBANCE"), karta::OrdinateOf("absorbance", "AU"));
    EXPECT_EQ(karta::OrdinateOf("absorbance", ""), karta::OrdinateOf("absorbance", "AU"));
    EXPECT_NE(karta::OrdinateOf("transmission", ""), karta::OrdinateOf("absorbance", ""));
    EXPECT_EQ(karta::OrdinateOf("absorbance", "mAU"), "") << "another scale";
}

TEST(Scan, ColumnsOfAllFilesAreMissingWhereAFileHasNone) {
    const TempFolder folder;
    const std::vector<std::string> files = {folder.Write("1.csv", "a,b\n1,x\n"),
                                            folder.Write("2.csv", "b,c\ny,2025-01-02\n"),
                                            folder.Write("3.csv", "a,a\ntext,7\n")};
    for (const std::size_t batch : {std::size_t{10}, std::size_t{1}}) {
        Scan scan(files, {.columns = karta::ScanColumns::Union, .batch = batch});
        std::vector<std::string> rows;
        for (Table& table : scan) {
            ASSERT_EQ(table.GetColumnCount(), 5U);
            EXPECT_EQ(table.GetColumn(1).GetType(), karta::ColumnType::Text) << "numbers and texts";
            EXPECT_EQ(table.GetColumn(3).GetType(), karta::ColumnType::Date32);
            for (std::int64_t row = 0; row < table.GetRowCount(); ++row) {
                std::string text;
                for (std::size_t column = 1; column < 5; ++column) {
                    text += table.GetColumn(column).ToText(row) + "|";
                }
                rows.push_back(text);
            }
        }
        EXPECT_EQ(rows, (std::vector<std::string>{"1|x|||", "|y|2025-01-02||", "text|||7|"})) << batch;
    }
}

TEST(Scan, OptionIsForTheFormatsThatKnowIt) {
    const TempFolder folder;
    const std::vector<std::string> mixed = {folder.Write("1.jdx", Spectrum(100, 10, 6)),
                                            folder.Write("2.csv", "a;b\n1;2\n")};
    Scan scan(mixed, {.onError = OnError::Collect, .read = {.delimiter = ";"}});
    EXPECT_NE(scan.Next(), nullptr);
    Scan refused({mixed[0], mixed[0]}, {.onError = OnError::Skip, .read = {.delimiter = ";"}});
    try {
        refused.Next();
        ADD_FAILURE() << "no format knows it";
    } catch (const Error& error) {
        EXPECT_EQ(error.GetCode(), ErrorCode::UnknownOption) << error.what();
        EXPECT_EQ(error.GetOption(), "delimiter");
    }
}

TEST(Scan, StopAndEarlyEnd) {
    const TempFolder folder;
    const std::vector<std::string> files = WriteFiles(folder, 40);
    std::stop_source source;
    Scan scan(files,
              {.onError = OnError::Collect, .batch = 1, .workers = 2, .read = {.stop = source.get_token()}});
    ASSERT_NE(scan.Next(), nullptr);
    source.request_stop();
    bool isStopped = false;
    try {
        while (scan.Next() != nullptr) {
        }
    } catch (const Error& error) {
        isStopped = error.GetCode() == ErrorCode::Stopped;
    }
    EXPECT_TRUE(isStopped);
    // Left in the middle: nothing is waited for.
    Scan left(files, {.batch = 1, .workers = 8});
    ASSERT_NE(left.Next(), nullptr);
    Scan moved = std::move(left);
    EXPECT_NE(moved.Next(), nullptr);
    EXPECT_EQ(Scan({}, {}).Next(), nullptr);
}

TEST(AxisGrid, InterpolatesWithinTheEndsInBothDirections) {
    const std::vector<double> rising = {1, 2, 4};
    const std::vector<double> falling = {4, 2, 1};
    const std::vector<double> points = {1, 1.5, 2, 3, 4};
    EXPECT_EQ(Interpolated(rising, {10, 20, 40}, points), (std::vector<double>{10, 15, 20, 30, 40}));
    EXPECT_EQ(Interpolated(falling, {40, 20, 10}, points), (std::vector<double>{10, 15, 20, 30, 40}));
    EXPECT_TRUE(std::isnan(Interpolated(rising, {10, 20, 40}, {0.999})[0]));
    EXPECT_TRUE(std::isnan(Interpolated(falling, {40, 20, 10}, {4.001})[0]));
    EXPECT_EQ(Interpolated({5}, {7}, {5})[0], 7.0);
    EXPECT_TRUE(karta::IsAxis(rising));
    EXPECT_TRUE(karta::IsAxis(falling));
    EXPECT_FALSE(karta::IsAxis(std::vector<double>{1, 1, 2}));
    EXPECT_FALSE(karta::IsAxis(std::vector<double>{1, 3, 2}));
}

TEST(TableRows, JoinsColumnsOfAllTypes) {
    const TempFolder folder;
    const Table one = karta::Read(folder.Write("1.csv", "t,d,b,e\nx,2020-01-02,TRUE,\n,2020-01-03,FALSE,\n"));
    const Table two = karta::Read(folder.Write("2.csv", "t,d,b,e\nyy,2021-01-02,TRUE,5\nz,,TRUE,6\n"));
    const Table joined = karta::JoinRows({one, two});
    ASSERT_EQ(joined.GetRowCount(), 4);
    for (std::int64_t row = 0; row < 4; ++row) {
        const Table& piece = row < 2 ? one : two;
        for (std::size_t column = 0; column < 4; ++column) {
            EXPECT_EQ(joined.GetColumn(column).ToText(row), piece.GetColumn(column).ToText(row % 2))
                << column << " " << row;
            EXPECT_EQ(joined.GetColumn(column).IsMissing(row), piece.GetColumn(column).IsMissing(row % 2));
        }
    }
}

TEST(Scan, LookingAtAllFilesFirstReadsEachOnce) {
    for (const karta::Grid::Kind kind : {karta::Grid::Union, karta::Grid::Common}) {
        const TempFolder folder;
        std::vector<std::string> files;
        for (int i = 0; i < 5; ++i) {
            files.push_back(folder.Write(std::to_string(i) + ".dx", Spectrum(1000 + i, 1, 20)));
        }
        Scan scan(files, {.grid = kind, .batch = 1, .workers = 2});
        ASSERT_NE(scan.Next(), nullptr);
        // All of them have been read: they may be gone.
        for (const std::string& file : files) {
            std::filesystem::remove(file);
        }
        int more = 0;
        while (scan.Next() != nullptr) {
            ++more;
        }
        EXPECT_EQ(more, 4);
    }
}

TEST(ScanTest, TheColumnOfFilesIsUtf8WhateverTheirNames) {
    const TempFolder folder;
    const std::string path = folder.Write("H\xF6he.csv", "a,b\n1,2\n3,4\n");
    karta::Scan scan({path});
    const karta::Table* const table = scan.Next();
    ASSERT_NE(table, nullptr);
    EXPECT_TRUE(table->GetColumn("file").GetText(0).ends_with("H\xC3\xB6he.csv"));
}
