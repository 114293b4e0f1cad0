#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/Export.h"
#include "frame/NvImport.h"

class ImportModule;
class SpreadsheetFile;

/**
 * Finds every module that offers the flat functions and lists all their formats as one sequence, counted
 * from 1. This library is one such module among others. A later module's format takes the place of an
 * earlier one of the same name, whatever its case.
 *
 * In all operations a format number below 2 means the first format, and one above SizeInfos must not be
 * passed. Formats keep their number for the life of the loader, but only the name stays between runs.
 */
class KARTA_EXPORT ImportDLLLoader {
public:
    /** One format of one module. */
    struct InstanceInfo {
        void* module;                       /**< the loaded module */
        int index;                          /**< the format's number in it, from 1 */
        const NvImportFileFormatInfo* info; /**< the module's record, not copied */
    };

    ImportDLLLoader();
    ImportDLLLoader(const ImportDLLLoader&) = delete;
    ImportDLLLoader& operator=(const ImportDLLLoader&) = delete;
    /** Unloads the modules. What GetSpreadsheetFile made must be gone by then. */
    virtual ~ImportDLLLoader();

    /**
     * Looks into the program itself, this library, the modules beside the program and those in
     * `pluginDirectory`, which may be null or blank. Files that aren't plug-ins are passed over silently.
     */
    virtual void Init(const char* pluginDirectory);

    int SizeInfos() const;
    const NvImportFileFormatInfo* GetInfo(int i) const;
    /** A new DLLFile, which the caller owns. */
    SpreadsheetFile* GetSpreadsheetFile(int i) const;
    /** The format of a file by content and extension; -1 when there is none. */
    int GetSpreadsheetFileIndex(const char* fileName);
    /** A format's verdict on a file: 2 sure, 1 possible, 0 impossible. */
    int GetVerdict(int i, const char* fileName) const;
    /** The verdicts of all formats, in their order. */
    std::vector<int> GetVerdicts(const char* fileName) const;
    /** The format of an existing file by these verdicts and its extension; -1 when there is none. */
    int ChooseByVerdicts(const char* fileName, const std::vector<int>& verdicts);
    /** The path of the file that holds the format, as it was found. */
    std::string GetModulePath(int i) const;

protected:
    /**
     * Chooses among formats that fit equally well; the place where a host asks the user. The default
     * takes the first, and answers -1 when there is none.
     */
    virtual int SelectFormat(std::vector<InstanceInfo>& candidates, const char* fileName);

    /** The number of the first format of the same name, byte by byte; -1 when there is none. */
    int GetIndex(const InstanceInfo* instance) const;

    /** Adds the formats of the module at `path`, if it is one. */
    void ExtractFileTypes(const std::string& path);

private:
    const InstanceInfo& InstanceAt(int i) const;
    void ExtractDirectory(const std::string& directory);
    void* RemoveFormat(const char* formatName);
    bool IsUsed(void* module) const;
    static void MatchExtension(const char* fileName, const std::vector<InstanceInfo>& candidates,
                               std::vector<InstanceInfo>& matches);
    void* AddModule(const std::string& path);
    const ImportModule& ModuleOf(const InstanceInfo& instance) const;

    std::vector<InstanceInfo> instances;
    std::map<void*, std::unique_ptr<ImportModule>> modules;
};
