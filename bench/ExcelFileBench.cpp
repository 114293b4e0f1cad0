#include <algorithm>
#include <ostream>
#include <string>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"
#include "tests/support/BiffBuilder.h"
#include "tests/support/CompoundBuilder.h"

namespace {

constexpr unsigned Rows = 65536;
constexpr unsigned RowsForPeers = 8192;
constexpr unsigned Cols = 40;

// As many rows as the format has, every number in a record of its own.
std::string NumericSheet(unsigned rows) {
    ByteBuilder cells;
    NumberSequence numbers;
    for (unsigned row = 0; row < rows; ++row) {
        for (unsigned col = 0; col < Cols; ++col) {
            cells.U16(0x0203).U16(14).U16(row).U16(col).U16(0).Double(numbers.Next() / 1000.0);
        }
    }
    BiffBuilder records;
    records.Bof(BiffBuilder::Biff8, BiffBuilder::Worksheet).Dimensions(rows, Cols);
    return records.Bytes() + cells.Bytes() + BiffBuilder().Eof().Bytes();
}

void GenerateWorkbook(std::ostream& stream, unsigned rows) {
    WorkbookBuilder book;
    book.Globals().Xf(0);
    book.RawSheet("Numbers", NumericSheet(rows));
    stream << CompoundBuilder().Stream("Workbook", book.Build()).Build();
}

const RegisterReadBench Numbers(
    {"excel_65536_rows_40_columns", "Excel File", "numbers.xls",
     [](std::ostream& stream) { GenerateWorkbook(stream, std::min(Scaled(Rows), Rows)); }, 5.0, 0});
const RegisterReadBench Small({"excel_small", "Excel File", "small.xls",
                               [](std::ostream& stream) { GenerateWorkbook(stream, RowsForPeers); }, 0, 0,
                               true});

}  // namespace
