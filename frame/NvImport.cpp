// The flat functions over this library's own formats. A reader's exception passes to the caller, and an
// index is not checked: both are the contract's.
#include "frame/NvImport.h"

#include "frame/DLLReadSpreadSheetData.h"
#include "frame/DLLWriteSpreadSheetData.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "frame/SpreadsheetFile.h"

namespace {

// 254 characters and the NUL.
constexpr unsigned int ErrorTextSize = 255;

SpreadsheetFile* Reader(void* handle) {
    return static_cast<SpreadsheetFile*>(handle);
}

}  // namespace

void NvImportInitPackage() {
    SprFileFactory::CloseRegistry();
}

void NvImportReleasePackage() {}

int NvImportSizeFileFormatsSupported() {
    SprFileFactory::CloseRegistry();
    return SprFileFactory::SizeInfos();
}

const NvImportFileFormatInfo* NvImportGetFileFormatInfo(int index) {
    SprFileFactory::CloseRegistry();
    return SprFileFactory::GetInfo(index);
}

char NvImportIsCorrectFileType(int index, const char* fileName) {
    SprFileFactory::CloseRegistry();
    switch (SprFileFactory::IsMyKindOfFile(index, fileName)) {
        case KindYes:
            return 2;
        case KindProbably:
        case KindUnknown:
            return 1;
        case KindNo:
            break;
    }
    return 0;
}

bool NvImportOpen(int index, const char* fileName, bool forRead, void** handle,
                  NvImportOpenOptions* options) {
    SprFileFactory::CloseRegistry();
    SpreadsheetFile* reader = SprFileFactory::GetSpreadsheetFile(index);
    *handle = reader;
    if (reader == nullptr) {
        return false;  // a factory that makes none
    }
    if (auto* own = dynamic_cast<FormatReader*>(reader); own != nullptr && forRead) {
        // The flat interface has no words for limits: those that fit the files hold.
        own->SetContext(std::make_shared<karta::ReadContext>());
        own->AddInputs(fileName);
    }
    return reader->Open(forRead, fileName, options) == SpreadsheetFile::StatusOk;
}

void NvImportClose(int /*index*/, void* handle) {
    if (SpreadsheetFile* reader = Reader(handle)) {
        reader->Close();
        delete reader;
    }
}

const char* NvImportGetLastError(int /*index*/, void* handle) {
    thread_local char text[ErrorTextSize];
    if (handle == nullptr) {
        return "";  // of a factory that made none
    }
    Reader(handle)->GetErrorMessage(text, ErrorTextSize);
    return text;
}

const char* NvImportGetWarning(int /*index*/, void* handle) {
    return Reader(handle)->GetWarningMessage();
}

bool NvImportEstablishSize(int /*index*/, void* handle, int32_t* rows, int32_t* cols) {
    *rows = Reader(handle)->GetNumRows();
    *cols = Reader(handle)->GetNumCols();
    return *rows >= 0 && *cols >= 0;
}

bool NvImportRead(int /*index*/, void* handle, NvImportReadCallbacks* callbacks) {
    DLLReadSpreadSheetData sink(callbacks);
    return Reader(handle)->Read(&sink) == SpreadsheetFile::StatusOk;
}

bool NvImportWrite(int /*index*/, void* handle, NvImportWriteCallbacks* callbacks) {
    DLLWriteSpreadSheetData source(callbacks);
    return Reader(handle)->Write(&source) == SpreadsheetFile::StatusOk;
}

void NvImportSetSpec(void* handle, ImportSpecBase* spec) {
    Reader(handle)->SetImportSpec(spec);
}
