#include "frame/SpreadsheetFile.h"

#include "base/CopyMessage.h"
#include "host/ImportSpecBase.h"

SpreadsheetFile::~SpreadsheetFile() = default;

void SpreadsheetFile::Close() {
    status = StatusOk;
}

int SpreadsheetFile::GetNumCols() {
    if (!sizeKnown && EstablishSize() != StatusOk) {
        return -1;
    }
    return numCols;
}

int SpreadsheetFile::GetNumRows() {
    if (!sizeKnown && EstablishSize() != StatusOk) {
        return -1;
    }
    return numRows;
}

int SpreadsheetFile::GetStatus() {
    return status;
}

void SpreadsheetFile::GetErrorMessage(char* buffer, unsigned int size) {
    const char* text = "No further information available.";
    switch (status) {
        case StatusOk:
            text = "";
            break;
        case StatusNotImplemented:
            text = "This function is not implemented for this file format.";
            break;
        case StatusSizeFailed:
            text = "An error occurred when trying to establish the size of the data in the file.";
            break;
        case StatusWrongMode:
            text = "Tried to write to the file when it was opened for reading or vice versa.";
            break;
        case StatusAbortedByUser:
            // A key, not a message: the driver knows it and then shows nothing.
            text = "AbortedByUser";
            break;
        default:
            break;
    }
    CopyMessage(text, buffer, size);
}

const char* SpreadsheetFile::GetWarningMessage() {
    return nullptr;
}

int SpreadsheetFile::Write(WriteSpreadSheetData* /*source*/) {
    status = StatusNotImplemented;
    return StatusNotImplemented;
}

int SpreadsheetFile::operator!() const {
    return status;
}

void SpreadsheetFile::SetImportSpec(ImportSpecBase* spec) {
    spec->honoured = false;
}
