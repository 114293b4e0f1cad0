#include "instrument/BrukerOPUSInterpolated.h"

#include <span>

#include "base/ByteCursor.h"
#include "frame/FormatRecogniser.h"
#include "instrument/InterPolateValues.h"

namespace {

// How many spacings a file's point may lie beside the grid's.
constexpr double MaxSpacings = 2.0;

}  // namespace

void BrukerOPUSInterpolated::Close() {
    grid.clear();
    OPUSReader::Close();
}

bool BrukerOPUSInterpolated::ConfirmSelection(OPUSSelection& /*files*/) {
    return true;
}

int BrukerOPUSInterpolated::Read(ReadSpreadSheetData* sink) {
    grid.clear();
    const auto setValues = [this](const BrukerOPUSRecord& record, ByteCursor values,
                                  ReadSpreadSheetData& target,
                                  int row) { SetInterpolatedValues(record, values, target, row); };
    return ReadRows(sink, &grid, setValues);
}

void BrukerOPUSInterpolated::SetInterpolatedValues(const BrukerOPUSRecord& record, ByteCursor values,
                                                   ReadSpreadSheetData& sink, int row) {
    ys.resize(static_cast<std::size_t>(values.GetRemaining()) / sizeof(float));
    values.ReadRun(std::span<float>(ys));
    xs.resize(ys.size());
    for (std::size_t i = 0; i < xs.size(); ++i) {
        xs[i] = record.GetX(static_cast<int>(i));
    }
    const auto scaleFactor = static_cast<float>(record.scaleFactor);
    int column = OPUSFirstValueColumn;
    for (const float value :
         InterPolateValues(grid, xs, ys, MaxSpacings * record.GetSpacing(), GetContext()->stop)) {
        if (value == MissingValue) {
            sink.Set(column, row, static_cast<double>(MissingValue));
        } else {
            sink.Set(column, row, value * scaleFactor);
        }
        ++column;
    }
}

BrukerOPUSInterpolatedFileFactory::BrukerOPUSInterpolatedFileFactory()
    : SprFileFactory("Bruker OPUS Interpolated File", "Bruker OPUS Interpolated File (*.*)", nullptr, 1,
                     ".*\0", 0, 1, 1, 1, 0, 1) {}

MyKindOfFile BrukerOPUSInterpolatedFileFactory::IsMyKindOfFile(const char* fileName) {
    return OPUSSelection::GetKind(fileName);
}

SpreadsheetFile* BrukerOPUSInterpolatedFileFactory::GetSpreadsheetFile() {
    return new BrukerOPUSInterpolated;
}

static BrukerOPUSInterpolatedFileFactory brukerOPUSInterpolatedFileFactory;

// The plain format is what an OPUS file is taken for; this one is chosen by name.
static const FormatRecogniser brukerOPUSInterpolatedRecogniser("Bruker OPUS Interpolated File",
                                                               "opus-interpolated", {}, nullptr);
