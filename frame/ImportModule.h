#pragma once

#include <memory>
#include <string>

#include "frame/DLLFile.h"
#include "frame/NvImport.h"

/**
 * A loaded module with the flat functions, each looked up once. Tells the module when it is loaded and, once
 * for that, before it is unloaded. What a module throws while it is loaded
 * and listed stays here.
 */
class ImportModule {
public:
    /**
     * Loads the module at `path`; null where it can't be loaded or isn't one. `isProgram`: the path is that
     * of the running program, which can't be loaded into itself and answers for itself.
     */
    static std::unique_ptr<ImportModule> Load(const std::string& path, bool isProgram);

    /** The handle of a module that is loaded already, else null; loads nothing. */
    static void* FindLoaded(const std::string& path, bool isProgram);

    /** Leaves the module loaded for the rest of the program, without a word to it. */
    void Keep() { isKept = true; }

    ImportModule(const ImportModule&) = delete;
    ImportModule& operator=(const ImportModule&) = delete;
    ~ImportModule();

    /** What tells modules apart, also when one is found under two names. */
    void* GetHandle() const { return handle; }
    const std::string& GetPath() const { return path; }

    int CountFormats() const;
    /** Null where the module has no whole record: a name, a filter and the extensions that it counts. */
    const NvImportFileFormatInfo* GetFormatInfo(int index) const;
    /** 2 sure, 1 possible, 0 impossible; 1 without a test. The module's exception passes. */
    int GetVerdict(int index, const char* fileName) const;
    const DLLFile::Functions& GetReaderFunctions() const { return reader; }

private:
    ImportModule(void* module, std::string modulePath);
    bool Init();

    void* handle;
    std::string path;
    bool isInitialised = false;
    bool isKept = false;
    DLLFile::Functions reader;
    decltype(&NvImportInitPackage) init;
    decltype(&NvImportReleasePackage) release;
    decltype(&NvImportSizeFileFormatsSupported) sizeFormats;
    decltype(&NvImportGetFileFormatInfo) getInfo;
    decltype(&NvImportIsCorrectFileType) isCorrectType;
};
