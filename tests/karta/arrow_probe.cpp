// Tables for consumers of the Arrow C data interface in other languages, loaded by arrow-consumers.
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/ReadContext.h"
#include "karta/Arrow.h"
#include "karta/internal/TableSink.h"

namespace {

constexpr int Rows = 100;

// A column of each type, each with a row that is missing.
karta::Table MakeTypes() {
    const auto context = std::make_shared<karta::ReadContext>();
    karta::TableSink sink(context);
    const char* names[] = {"whole", "float", "double",   "truth", "text",  "repeated", "date",
                           "time",  "stamp", "duration", "null",  "twice", "twice",    ""};
    int col = 0;
    for (const char* name : names) {
        sink.SetText(++col, 1, name);
    }
    for (int row = 2; row <= Rows + 1; ++row) {
        if (row == 5) {
            continue;
        }
        sink.Set(1, row, static_cast<double>(row));
        sink.Set(2, row, 0.5F * static_cast<float>(row));
        sink.Set(3, row, row + 0.25);
        sink.SetBool(4, row, row % 3 == 0);
        sink.SetText(5, row, "text \xC3\xA9 " + std::to_string(row));
        sink.SetText(6, row, row % 2 == 0 ? "fermentation" : "distillation");
        sink.SetDate(7, row, 20000 + row);
        sink.SetTime(8, row, std::int64_t{row} * 1'000'000);
        sink.SetDateTime(9, row, std::int64_t{row} * 86'400'000'000);
        sink.SetDuration(10, row, -std::int64_t{row});
        sink.Set(12, row, 1.5);
        sink.Set(13, row, 2.5);
        sink.Set(14, row, 3.5);
    }
    context->shape.isKnown = true;
    context->shape.nameRow = 1;
    context->shape.firstDataRow = 2;
    return sink.Finish();
}

// Spectra: a label and a block, by rows or by columns.
karta::Table MakeSpectra(bool inRows) {
    const auto context = std::make_shared<karta::ReadContext>();
    karta::TableShape& shape = context->shape;
    shape.isKnown = true;
    shape.nameRow = shape.axisRow = 1;
    shape.firstDataRow = 2;
    shape.labelColumns = {1};
    shape.firstBlockColumn = 2;
    shape.axisQuantity = "wavelength";
    shape.axisUnit = "nm";
    shape.valueQuantity = "absorbance";
    shape.valueUnit = "AU";
    karta::TableSink sink(context);
    constexpr int Points = 50;
    sink.SetDataSize(Points + 1, Rows + 1);
    sink.SetText(1, 1, "sample");
    std::vector<double> values;
    for (int point = 0; point < Points; ++point) {
        values.push_back(400.0 + 2 * point);
    }
    sink.SetRowRun(2, 1, std::span<const double>(values));
    for (int row = 0; row < Rows; ++row) {
        sink.SetText(1, row + 2, "s" + std::to_string(row));
    }
    for (int line = 0; line < (inRows ? Rows : Points); ++line) {
        values.clear();
        for (int place = 0; place < (inRows ? Points : Rows); ++place) {
            values.push_back(inRows ? line * 1000 + place : place * 1000 + line);
        }
        if (inRows) {
            sink.SetRowRun(2, line + 2, std::span<const double>(values));
        } else {
            sink.SetColumnRun(line + 2, 2, std::span<const double>(values));
        }
    }
    return sink.Finish();
}

}  // namespace

// Fills the stream with the table of this name: "types", "slice" of it, "rows", "columns", "lists" of the
// columns, "batches" of the rows, or "empty". Returns 0.
extern "C" __attribute__((visibility("default"))) int KartaProbeStream(const char* name,
                                                                       ArrowArrayStream* stream) {
    const std::string_view wanted = name;
    if (wanted == "types") {
        karta::ExportStream(MakeTypes(), stream);
    } else if (wanted == "slice") {
        karta::ExportStream(MakeTypes().Slice(3, 50), stream);
    } else if (wanted == "rows") {
        karta::ExportStream(MakeSpectra(true), stream);
    } else if (wanted == "columns") {
        karta::ExportStream(MakeSpectra(false), stream);
    } else if (wanted == "lists") {
        karta::ExportStream(MakeSpectra(false), stream, karta::BlockForm::List);
    } else if (wanted == "batches") {
        int row = 0;
        karta::ExportStream(
            [table = MakeSpectra(true), row]() mutable {
                row += 30;
                return row > Rows ? std::optional<karta::Table>() : std::optional(table.Slice(row - 30, 30));
            },
            stream);
    } else {
        karta::ExportStream(karta::Table(), stream);
    }
    return 0;
}
