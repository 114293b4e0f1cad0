#include "instrument/BrukerOPUSInterpolated.h"

#include "host/ByteCursor.h"
#include "instrument/InterPolateValues.h"

namespace {

// How many spacings a file's point may lie beside the grid's.
constexpr double MaxSpacings = 2.0;

}  // namespace

void BrukerOPUSInterpolated::Close() {
    selection.Clear();
    warningText.clear();
    grid.clear();
    SpreadsheetFile::Close();
}

void BrukerOPUSInterpolated::GetErrorMessage(char* buffer, unsigned int size) {
    selection.CopyErrorText(buffer, size);
}

const char* BrukerOPUSInterpolated::GetWarningMessage() {
    return warningText.empty() ? nullptr : warningText.c_str();
}

int BrukerOPUSInterpolated::Open(bool forRead, const char* fileName, NvImportOpenOptions* /*options*/) {
    if (!forRead) {
        selection.SetWritingError();
        status = StatusWrongMode;
        return status;
    }
    if (status != StatusOk) {
        return status;
    }
    if (!selection.Open(fileName)) {
        status = StatusAbortedByUser;
    }
    return status;
}

int BrukerOPUSInterpolated::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    grid.clear();
    const auto setValues = [this](const BrukerOPUSRecord& record, ByteCursor values,
                                  ReadSpreadSheetData& target,
                                  int row) { SetInterpolatedValues(record, values, target, row); };
    if (!selection.Read(*sink, &grid, setValues)) {
        status = StatusAbortedByUser;
    }
    return status;
}

void BrukerOPUSInterpolated::SetInterpolatedValues(const BrukerOPUSRecord& record, ByteCursor values,
                                                   ReadSpreadSheetData& sink, int row) {
    xs.clear();
    ys.clear();
    for (int i = 0; !values.AtEnd(); ++i) {
        xs.push_back(record.GetX(i));
        ys.push_back(values.ReadFloat());
    }
    const auto scaleFactor = static_cast<float>(record.scaleFactor);
    int column = OPUSFirstValueColumn;
    for (const float value : InterPolateValues(grid, xs, ys, MaxSpacings * record.GetSpacing())) {
        if (value == MissingValue) {
            sink.Set(column, row, static_cast<double>(MissingValue));
        } else {
            sink.Set(column, row, value * scaleFactor);
        }
        ++column;
    }
}

int BrukerOPUSInterpolated::EstablishSize() {
    if (status != StatusOk) {
        return status;
    }
    numRows = selection.GetNumRows();
    numCols = selection.GetNumCols();
    sizeKnown = true;
    return StatusOk;
}

std::vector<FileContents::Part> BrukerOPUSInterpolated::ListParts() {
    return selection.ListParts();
}

std::vector<FileContents::Fact> BrukerOPUSInterpolated::ListFacts() {
    return selection.ListFacts();
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
