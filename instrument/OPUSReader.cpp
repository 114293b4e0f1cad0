#include "instrument/OPUSReader.h"

#include "base/CopyMessage.h"

void OPUSReader::Close() {
    selection.Clear();
    parts.Clear();
    FormatReader::Close();
}

void OPUSReader::GetErrorMessage(char* buffer, unsigned int size) {
    if (!failureText.empty()) {
        CopyMessage(failureText, buffer, size);
        return;
    }
    selection.CopyErrorText(buffer, size);
}

int OPUSReader::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
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
    if (!OpenFiles(fileName, options)) {
        status = StatusAbortedByUser;
        failurePlace.byte = selection.GetFailedByte();
    }
    return status;
}

bool OPUSReader::OpenFiles(const char* fileNames, const NvImportOpenOptions* options) {
    if (!IsComplete()) {
        return selection.Open(fileNames) && ConfirmSelection(selection);
    }
    if (!parts.Open(fileNames, GetAxes(), options, *GetContext())) {
        failureText = parts.GetErrorText();
        return false;
    }
    return true;
}

int OPUSReader::ReadRows(ReadSpreadSheetData* sink, std::vector<float>* grid,
                         const OPUSSelection::ValueSetter& setValues) {
    if (status != StatusOk) {
        return status;
    }
    if (IsComplete()) {
        return WithinBudget(StatusAbortedByUser, [&] {
            parts.Read(*sink, *GetContext());
            return status;
        });
    }
    if (!selection.Read(*sink, grid, setValues)) {
        status = StatusAbortedByUser;
        failurePlace.byte = selection.GetFailedByte();
    }
    return status;
}

int OPUSReader::EstablishSize() {
    if (status != StatusOk) {
        return status;
    }
    numRows = IsComplete() ? parts.GetNumRows() : selection.GetNumRows();
    numCols = IsComplete() ? parts.GetNumCols() : selection.GetNumCols();
    sizeKnown = true;
    return StatusOk;
}

std::vector<FileContents::Part> OPUSReader::ListParts() {
    return IsComplete() ? parts.ListParts() : selection.ListParts();
}

std::vector<FileContents::Fact> OPUSReader::ListFacts() {
    return IsComplete() ? parts.ListFacts() : selection.ListFacts();
}
