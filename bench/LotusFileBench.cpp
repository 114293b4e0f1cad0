#include <algorithm>
#include <ostream>
#include <string>

#include "bench/ReadBench.h"
#include "tests/support/ByteBuilder.h"

namespace {

constexpr int Rows = 8192;
constexpr int RowsForPeers = 1024;
constexpr int Cols = 256;

// The largest sheet that programs of the format made, every cell a number.
void Generate(std::ostream& stream, int rows) {
    ByteBuilder sheet;
    sheet.I16(0).I16(2).U16(0x0406);
    sheet.I16(6).I16(8).I16(0).I16(0).I16(Cols - 1).I16(rows - 1);
    for (int row = 0; row < rows; ++row) {
        for (int col = 0; col < Cols; ++col) {
            sheet.I16(14).I16(13).U8(0xff).I16(col).I16(row).Double(row / 7.0 + col);
        }
    }
    sheet.I16(1).I16(0);
    stream << sheet.Bytes();
}

const RegisterReadBench Sheet({"lotus_256_columns", "Lotus 1-2-3 File", "sheet.wk1",
                               [](std::ostream& stream) { Generate(stream, std::min(Scaled(Rows), Rows)); },
                               5.0, 0.0});
const RegisterReadBench Small({"lotus_small", "Lotus 1-2-3 File", "small.wk1",
                               [](std::ostream& stream) { Generate(stream, RowsForPeers); }, 0, 0, true});

}  // namespace
