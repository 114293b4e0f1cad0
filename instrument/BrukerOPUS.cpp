#include "instrument/BrukerOPUS.h"

#include "host/ByteCursor.h"

namespace {

void SetScaledValues(const BrukerOPUSRecord& record, ByteCursor values, ReadSpreadSheetData& sink, int row) {
    const auto scaleFactor = static_cast<float>(record.scaleFactor);
    for (int column = OPUSFirstValueColumn; !values.AtEnd(); ++column) {
        sink.Set(column, row, values.ReadFloat() * scaleFactor);
    }
}

}  // namespace

void BrukerOPUS::Close() {
    selection.Clear();
    warningText.clear();
    SpreadsheetFile::Close();
}

void BrukerOPUS::GetErrorMessage(char* buffer, unsigned int size) {
    selection.CopyErrorText(buffer, size);
}

const char* BrukerOPUS::GetWarningMessage() {
    return warningText.empty() ? nullptr : warningText.c_str();
}

int BrukerOPUS::Open(bool forRead, const char* fileName, NvImportOpenOptions* /*options*/) {
    if (!forRead) {
        selection.SetWritingError();
        status = StatusWrongMode;
        return status;
    }
    if (status != StatusOk) {
        return status;
    }
    if (!selection.Open(fileName) || !selection.ConfirmDifferentRanges()) {
        status = StatusAbortedByUser;
    }
    return status;
}

int BrukerOPUS::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (!selection.Read(*sink, nullptr, SetScaledValues)) {
        status = StatusAbortedByUser;
    }
    return status;
}

int BrukerOPUS::EstablishSize() {
    if (status != StatusOk) {
        return status;
    }
    numRows = selection.GetNumRows();
    numCols = selection.GetNumCols();
    sizeKnown = true;
    return StatusOk;
}

std::vector<FileContents::Part> BrukerOPUS::ListParts() {
    return selection.ListParts();
}

std::vector<FileContents::Fact> BrukerOPUS::ListFacts() {
    return selection.ListFacts();
}

BrukerOPUSFileFactory::BrukerOPUSFileFactory()
    : SprFileFactory("Bruker OPUS File", "Bruker OPUS File (*.*)", nullptr, 1, ".*\0", 0, 1, 1, 1, 0, 1) {}

MyKindOfFile BrukerOPUSFileFactory::IsMyKindOfFile(const char* fileName) {
    return OPUSSelection::GetKind(fileName);
}

SpreadsheetFile* BrukerOPUSFileFactory::GetSpreadsheetFile() {
    return new BrukerOPUS;
}

static BrukerOPUSFileFactory brukerOPUSFileFactory;
