#include "instrument/OPUSReader.h"

void OPUSReader::Close() {
    selection.Clear();
    FormatReader::Close();
}

void OPUSReader::GetErrorMessage(char* buffer, unsigned int size) {
    selection.CopyErrorText(buffer, size);
}

int OPUSReader::Open(bool forRead, const char* fileName, NvImportOpenOptions* /*options*/) {
    if (!forRead) {
        selection.SetWritingError();
        status = StatusWrongMode;
        return status;
    }
    if (status != StatusOk) {
        return status;
    }
    sizeKnown = false;
    numCols = -1;
    numRows = -1;
    if (!selection.Open(fileName) || !ConfirmSelection(selection)) {
        status = StatusAbortedByUser;
    }
    return status;
}

int OPUSReader::ReadRows(ReadSpreadSheetData* sink, std::vector<float>* grid,
                         const OPUSSelection::ValueSetter& setValues) {
    if (status != StatusOk) {
        return status;
    }
    if (!selection.Read(*sink, grid, setValues)) {
        status = StatusAbortedByUser;
    }
    return status;
}

int OPUSReader::EstablishSize() {
    if (status != StatusOk) {
        return status;
    }
    numRows = selection.GetNumRows();
    numCols = selection.GetNumCols();
    sizeKnown = true;
    return StatusOk;
}

std::vector<FileContents::Part> OPUSReader::ListParts() {
    return selection.ListParts();
}

std::vector<FileContents::Fact> OPUSReader::ListFacts() {
    return selection.ListFacts();
}
