#include "frame/DLLFile.h"

#include <string>
#include <utility>

#include "base/CopyMessage.h"
#include "frame/CellType.h"

namespace {

ReadSpreadSheetData* Sink(NvImportReadCallbacks* table) {
    return static_cast<ReadSpreadSheetData*>(table->sink);
}

WriteSpreadSheetData* Source(NvImportWriteCallbacks* table) {
    return static_cast<DLLFile::WriteSource*>(table->source)->data;
}

void SetFloat(NvImportReadCallbacks* table, int32_t row, int32_t col, float value) {
    Sink(table)->Set(col, row, value);
}

void SetString(NvImportReadCallbacks* table, int32_t row, int32_t col, const char* text) {
    // A module without a text for a cell may have no pointer either.
    Sink(table)->Set(col, row, text == nullptr ? "" : text);
}

void TakeSize(NvImportReadCallbacks* table) {
    table->numCols = Sink(table)->GetNumberOfColumns();
    table->numRows = Sink(table)->GetNumberOfRows();
}

void SetDataSize(NvImportReadCallbacks* table, int32_t rows, int32_t cols) {
    Sink(table)->SetDataSize(cols, rows);
    TakeSize(table);
}

int32_t NextRowToRead(NvImportReadCallbacks* table, int32_t row) {
    return Sink(table)->NextRowToRead(row);
}

// A host may have no table to write: that is one without cells.
char GetCellType(NvImportWriteCallbacks* table, int32_t row, int32_t col) {
    WriteSpreadSheetData* source = Source(table);
    if (source == nullptr || source->IsMissing(col, row)) {
        return CellMissing;
    }
    return source->IsFloat(col, row) ? CellNumber : CellText;
}

double GetFloat(NvImportWriteCallbacks* table, int32_t row, int32_t col) {
    return Source(table) == nullptr ? 0.0 : Source(table)->GetFloatValue(col, row);
}

const char* GetString(NvImportWriteCallbacks* table, int32_t row, int32_t col) {
    // Valid until the next call with this table.
    std::string& text = static_cast<DLLFile::WriteSource*>(table->source)->text;
    text = Source(table) == nullptr ? std::string() : Source(table)->GetString(col, row);
    return text.c_str();
}

bool GetDataOrigin(NvImportWriteCallbacks* table, int32_t* firstDataCol, int32_t* firstDataRow) {
    return Source(table) != nullptr && Source(table)->GetDataOrigin(firstDataCol, firstDataRow);
}

}  // namespace

DLLFile::DLLFile(const Functions& moduleFunctions, int formatIndex, const NvImportFileFormatInfo& info)
    : functions(moduleFunctions),
      canReadMany(info.canReadMany != 0),
      canWrite(info.canWrite != 0),
      index(formatIndex) {}

DLLFile::~DLLFile() {
    try {
        DLLFile::Close();
    } catch (...) {
        // A module that fails at its last call fails alone.
    }
}

void DLLFile::Close() {
    if (handle == nullptr) {
        return;
    }
    // All is forgotten first: a module whose close throws isn't asked again.
    void* const closing = std::exchange(handle, nullptr);
    status = StatusOk;
    readCallbacks.reset();
    writeCallbacks.reset();
    if (functions.close != nullptr) {
        functions.close(index, closing);
    }
}

int DLLFile::GetStatus() {
    return status;
}

void DLLFile::GetErrorMessage(char* buffer, unsigned int size) {
    if (status == StatusModuleFailed && functions.getLastError == nullptr) {
        status = StatusMissingFunction;
    }
    // Room for the NUL behind `size` bytes is part of this object's contract with its callers.
    switch (status) {
        case StatusModuleFailed: {
            const char* text = functions.getLastError(index, handle);
            CopyMessage(text == nullptr ? "" : text, buffer, size + 1);
            break;
        }
        case StatusMissingFunction:
            CopyMessage("The import dll is missing a function.", buffer, size + 1);
            break;
        case StatusNotOpened:
            CopyMessage("The file was not opened properly.", buffer, size + 1);
            break;
        default:
            SpreadsheetFile::GetErrorMessage(buffer, size);
            break;
    }
}

const char* DLLFile::GetWarningMessage() {
    if (handle == nullptr || functions.getWarning == nullptr) {
        return nullptr;
    }
    return functions.getWarning(index, handle);
}

int DLLFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    // What is open still is the module's to free.
    Close();
    if (!forRead && !canWrite) {
        status = StatusWrongMode;
    } else if (functions.open == nullptr) {
        status = StatusMissingFunction;
    } else if (!functions.open(index, fileName, forRead, &handle, options)) {
        status = StatusModuleFailed;
    }
    return status;
}

int DLLFile::EstablishSize() {
    if (handle == nullptr) {
        status = StatusNotOpened;
        return status;
    }
    if (functions.establishSize == nullptr) {
        return StatusMissingFunction;
    }
    int32_t rows = -1;
    int32_t cols = -1;
    if (!functions.establishSize(index, handle, &rows, &cols)) {
        status = StatusModuleFailed;
        return status;
    }
    numRows = rows;
    numCols = cols;
    sizeKnown = true;
    return StatusOk;
}

int DLLFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (handle == nullptr) {
        return StatusNotOpened;
    }
    if (functions.read == nullptr) {
        status = StatusMissingFunction;
        return status;
    }
    readCallbacks = std::make_unique<NvImportReadCallbacks>();
    readCallbacks->setFloat = SetFloat;
    readCallbacks->setString = SetString;
    readCallbacks->setDataSize = SetDataSize;
    readCallbacks->nextRowToRead = NextRowToRead;
    readCallbacks->sink = sink;
    TakeSize(readCallbacks.get());
    if (!functions.read(index, handle, readCallbacks.get())) {
        status = StatusModuleFailed;
    }
    return status;
}

int DLLFile::Write(WriteSpreadSheetData* source) {
    if (status != StatusOk) {
        return status;
    }
    if (handle == nullptr) {
        status = StatusNotOpened;
    } else if (!canWrite) {
        status = StatusWrongMode;
    } else if (functions.write == nullptr) {
        status = StatusMissingFunction;
    }
    if (status != StatusOk) {
        return status;
    }
    writeCallbacks = std::make_unique<NvImportWriteCallbacks>();
    writeCallbacks->getCellType = GetCellType;
    writeCallbacks->getFloat = GetFloat;
    writeCallbacks->getString = GetString;
    writeCallbacks->getDataOrigin = GetDataOrigin;
    writeSource.data = source;
    writeCallbacks->source = &writeSource;
    writeCallbacks->numCols = source == nullptr ? 0 : source->GetNumberOfColumns();
    writeCallbacks->numRows = source == nullptr ? 0 : source->GetNumberOfRows();
    if (!functions.write(index, handle, writeCallbacks.get())) {
        status = StatusModuleFailed;
    }
    return status;
}

void DLLFile::SetImportSpec(ImportSpecBase* spec) {
    if (functions.setSpec == nullptr || handle == nullptr) {
        SpreadsheetFile::SetImportSpec(spec);
        return;
    }
    functions.setSpec(handle, spec);
}
