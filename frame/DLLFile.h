#pragma once

#include <memory>
#include <string>

#include "frame/SpreadsheetFile.h"

/**
 * One format of one module, seen as a reader: turns the module's flat functions back into a
 * SpreadsheetFile. Made by ImportDLLLoader, which keeps the module loaded for as long as it lives itself.
 * A function that the module lacks is found out when it is needed.
 */
class KARTA_EXPORT DLLFile : public SpreadsheetFile {
public:
    enum DLLFileStatus {
        StatusMissingFunction = 0x800,
        /** The module's own text tells what happened. */
        StatusModuleFailed = 0x801,
        StatusNotOpened = 0x802
    };

    /** The flat functions of a module, each null when it lacks it. */
    struct Functions {
        decltype(&NvImportOpen) open = nullptr;
        decltype(&NvImportClose) close = nullptr;
        decltype(&NvImportGetLastError) getLastError = nullptr;
        decltype(&NvImportEstablishSize) establishSize = nullptr;
        decltype(&NvImportRead) read = nullptr;
        decltype(&NvImportWrite) write = nullptr;
        decltype(&NvImportGetWarning) getWarning = nullptr;
        decltype(&NvImportSetSpec) setSpec = nullptr;
    };

    /** What the callbacks of a write find behind their table. */
    struct WriteSource {
        WriteSpreadSheetData* data = nullptr;
        std::string text; /**< the last text that was asked for */
    };

    /** `index` is the format's number in the module; `info` is only read here. */
    DLLFile(const Functions& moduleFunctions, int index, const NvImportFileFormatInfo& info);
    DLLFile(const DLLFile&) = delete;
    DLLFile& operator=(const DLLFile&) = delete;
    ~DLLFile() override;

    void Close() override;
    int GetStatus() override;
    /** Writes a NUL at buffer[size] for a text that is too long: give one byte more than `size` says. */
    void GetErrorMessage(char* buffer, unsigned int size) override;
    const char* GetWarningMessage() override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int Write(WriteSpreadSheetData* source) override;
    void SetImportSpec(ImportSpecBase* spec) override;
    int EstablishSize() override;

    bool CanReadMany() const { return canReadMany; }

private:
    Functions functions;
    bool canReadMany;
    bool canWrite;
    int index;
    void* handle = nullptr;
    std::unique_ptr<NvImportReadCallbacks> readCallbacks;
    std::unique_ptr<NvImportWriteCallbacks> writeCallbacks;
    WriteSource writeSource;
};
