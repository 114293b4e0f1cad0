// The cells of a workbook that are taken without a call for each make the table of all others.
#include "spreadsheet/PlainCells.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <random>
#include <string>

#include "frame/CellOutput.h"
#include "karta/internal/TableSink.h"
#include "spreadsheet/BinaryBook.h"
#include "spreadsheet/WorkbookCells.h"
#include "spreadsheet/XmlBook.h"
#include "tests/support/BinaryRecords.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/TempFolder.h"
#include "tests/support/ZipBuilder.h"

namespace {

constexpr int Texts = 6;

// A receiver that takes each cell by a call.
class EachCell : public SheetReceiver {
public:
    explicit EachCell(CompleteCells& cellsBehind) : cells(cellsBehind) {}
    bool StartRow(int number, int claimedColumns) override { return cells.StartRow(number, claimedColumns); }
    bool TakeCell(const SheetCell& cell) override { return cells.TakeCell(cell); }

private:
    CompleteCells& cells;
};

std::string Describe(const karta::Table& table) {
    std::string text = std::to_string(table.GetRowCount()) + " rows\n";
    for (const karta::Column& column : table.GetColumns()) {
        text += std::string(karta::GetTypeName(column.GetType())) + ":";
        for (std::int64_t row = 0; row < column.GetRowCount(); ++row) {
            const bool isMissing = column.GetType() == karta::ColumnType::Null || column.IsMissing(row);
            text += isMissing ? " -" : " [" + column.ToText(row) + "]";
        }
        text += "\n";
    }
    for (const karta::Note& note : table.GetNotes()) {
        text += note.place + " " + note.text + "\n";
    }
    return text;
}

struct Read {
    bool isWhole = false;
    std::string table;
    SheetSize extent;
    SheetSize lastCell;
};

template <class Flavour, class Form>
Read ReadSheet(const std::string& path, const BookParts& parts, const std::string& sheet, Form form,
               bool byEach) {
    const auto context = std::make_shared<karta::ReadContext>();
    const WorkbookPackage package(path.c_str(), WorkbookPackage::Names::AsStored, context);
    Flavour book(package, parts, form, context);
    EXPECT_TRUE(book.ReadTables());
    karta::TableSink sink(context, 0);
    CellOutput output(sink);
    CompleteCells cells(book, sink, output, context);
    EachCell each(cells);
    cells.BeginSheet("", 1, 2, true);
    Read read;
    read.isWhole = book.ReadSheet(sheet, byEach ? static_cast<SheetReceiver&>(each) : cells);
    cells.EndSheet();
    read.extent = cells.GetExtent();
    read.lastCell = cells.GetLastCell();
    cells.AddNotes(context->notes);
    read.table = Describe(sink.Finish());
    return read;
}

template <class Flavour, class Form>
void ExpectSame(const ZipBuilder& zip, const BookParts& parts, const std::string& sheet, Form form) {
    const TempFolder folder;
    const std::string path = folder.Path("book");
    std::ofstream(path, std::ios::binary) << zip.Build();
    const Read plain = ReadSheet<Flavour>(path, parts, sheet, form, false);
    const Read each = ReadSheet<Flavour>(path, parts, sheet, form, true);
    EXPECT_EQ(plain.isWhole, each.isWhole);
    ASSERT_EQ(plain.table, each.table);
    EXPECT_EQ(plain.extent.cols, each.extent.cols);
    EXPECT_EQ(plain.extent.rows, each.extent.rows);
    EXPECT_EQ(plain.lastCell.cols, each.lastCell.cols);
    EXPECT_EQ(plain.lastCell.rows, each.lastCell.rows);
}

ZipBuilder BinaryBookOf(const std::string& sheet) {
    ByteBuilder strings;
    PutRecord(strings, 159, ByteBuilder().U32(Texts).U32(Texts));
    for (int i = 0; i < Texts; ++i) {
        PutRecord(strings, 19, PutWide(ByteBuilder().U8(0), i == 2 ? "" : "text " + std::to_string(i % 4)));
    }
    PutRecord(strings, 160);
    ByteBuilder styles;
    PutRecord(styles, 617, ByteBuilder().U32(2));
    PutRecord(styles, 47, ByteBuilder().U16(0).U16(0).Zeros(12));
    PutRecord(styles, 47, ByteBuilder().U16(0).U16(14).Zeros(12));
    PutRecord(styles, 618);
    ZipBuilder zip;
    zip.AddDeflated("strings", strings.Bytes());
    zip.AddDeflated("styles", styles.Bytes());
    zip.AddDeflated("sheet", sheet);
    return zip;
}

// Rows now and then a second time or out of order, columns of a kind with cells of others among them.
std::string RandomRecords(unsigned seed) {
    std::mt19937 random(seed);
    const auto below = [&random](std::uint32_t limit) {
        return static_cast<std::uint32_t>(random() % limit);
    };
    const std::uint32_t columns = 1 + below(300);
    const std::uint32_t rows = 1 + below(100);
    const auto oneIn = 2 + below(200);
    ByteBuilder sheet;
    PutRecord(sheet, 145);
    std::uint32_t row = below(3);
    for (std::uint32_t i = 0; i < rows; ++i) {
        PutRecord(sheet, 0, ByteBuilder().U32(row).Zeros(13));
        for (std::uint32_t col = 0; col < columns; ++col) {
            const bool isOdd = below(oneIn) == 0;
            ByteBuilder cell;
            cell.U32(isOdd && below(4) == 0 ? below(columns) : col);
            const std::uint32_t kind = isOdd ? below(9) : col % 3;
            const auto chance = below(100);
            switch (kind) {
                case 0:
                    PutRecord(sheet, 5, cell.U32(0).Double(0.5 * chance));
                    break;
                case 1:
                    PutRecord(sheet, 7, cell.U32(0).U32(chance % (Texts + (isOdd ? 2 : 0))));
                    break;
                case 2:
                    PutRecord(sheet, 2, cell.U32(0).U32(chance * 4 + 2));
                    break;
                case 3:
                    PutRecord(sheet, 5, cell.U32(1).Double(44000.0 + chance));
                    break;
                case 4:
                    PutRecord(sheet, 6, PutWide(cell.U32(0), "text"));
                    break;
                case 5:
                    PutRecord(sheet, 4, cell.U32(0).U8(1));
                    break;
                case 6:
                    PutRecord(sheet, 3, cell.U32(0).U8(42));
                    break;
                case 7:
                    PutRecord(sheet, 18, ByteBuilder().U32(0).U32(chance % Texts));
                    break;
                default:
                    PutRecord(sheet, 9, cell.U32(0).U32(chance));
                    break;
            }
        }
        row = below(4 * oneIn) == 0 ? below(200) : row + 1;
    }
    PutRecord(sheet, 146);
    return sheet.Bytes();
}

const BookParts Parts{"workbook", "strings", "styles"};

}  // namespace

TEST(PlainCellsTest, BinarySheetsMakeTheTableOfTheirCells) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        ExpectSame<BinaryBook>(BinaryBookOf(RandomRecords(seed)), Parts, "sheet", RecordForm::Full);
    }
}

// The sheet ends amid a record, or a position is none.
TEST(PlainCellsTest, DamagedBinarySheetsKeepTheCellsBefore) {
    const std::string records = RandomRecords(7);
    for (std::size_t size = records.size() / 2; size < records.size() / 2 + 60; ++size) {
        ExpectSame<BinaryBook>(BinaryBookOf(records.substr(0, size)), Parts, "sheet", RecordForm::Full);
    }
    for (const std::uint32_t column : {16383U, 16384U, 0xffffffffU}) {
        ByteBuilder sheet;
        PutRecord(sheet, 145);
        PutRecord(sheet, 5, ByteBuilder().U32(0).U32(0).Double(1.5));
        PutRecord(sheet, 0, ByteBuilder().U32(1).Zeros(13));
        PutRecord(sheet, 5, ByteBuilder().U32(0).U32(0).Double(2.5));
        PutRecord(sheet, 5, ByteBuilder().U32(column).U32(0).Double(3.5));
        PutRecord(sheet, 146);
        ExpectSame<BinaryBook>(BinaryBookOf(sheet.Bytes()), Parts, "sheet", RecordForm::Full);
    }
}

TEST(PlainCellsTest, SheetsOfXmlMakeTheTableOfTheirCells) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        std::mt19937 random(seed);
        const int columns = 1 + static_cast<int>(random() % 26);
        const auto oneIn = 2 + random() % 100;
        std::string rows;
        int row = 1;
        for (int i = 0; i < 60; ++i) {
            rows += "<row r=\"" + std::to_string(row) + "\">";
            for (int col = 0; col < columns; ++col) {
                const bool isOdd = random() % oneIn == 0;
                const auto kind = isOdd ? random() % 7 : static_cast<unsigned>(col % 2);
                const std::string number = std::to_string(random() % (isOdd ? 9 : Texts));
                rows += "<c r=\"" + std::string(1, static_cast<char>('A' + col)) + std::to_string(row);
                rows += kind == 0   ? "\"><v>" + number + ".5</v></c>"
                        : kind == 1 ? "\" t=\"s\"><v>" + number + "</v></c>"
                        : kind == 2 ? "\" s=\"1\"><v>4400" + number + "</v></c>"
                        : kind == 3 ? "\" t=\"b\"><v>" + number + "</v></c>"
                        : kind == 4 ? "\" t=\"e\"><v>#N/A</v></c>"
                        : kind == 5 ? "\" t=\"n\"><v>1e" + number + "</v></c>"
                                    : "\" t=\"inlineStr\"><is><t>in</t></is></c>";
            }
            rows += "</row>";
            row = random() % (2 * oneIn) == 0 ? 1 + static_cast<int>(random() % 90) : row + 1;
        }
        ZipBuilder zip;
        zip.AddDeflated("strings",
                        "<sst><si><t>a</t></si><si><t>b</t></si><si><t/></si><si><t>a</t></si></sst>");
        zip.AddDeflated("styles",
                        "<styleSheet><cellXfs><xf numFmtId=\"0\"/><xf numFmtId=\"14\"/></cellXfs>"
                        "</styleSheet>");
        zip.AddDeflated("sheet", "<worksheet><sheetData>" + rows + "</sheetData></worksheet>");
        SCOPED_TRACE(seed);
        ExpectSame<XmlBook>(zip, Parts, "sheet", XmlForm::Full);
    }
}
