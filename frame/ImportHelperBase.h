#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "frame/ImportDLLLoader.h"
#include "frame/NvImport.h"

class SpreadsheetData;

/** What the checks before a read found. */
enum ReadErrors {
    ReadOk = 0, /**< nothing to report, also when a file could not be opened */
    ReadFileMissing = 1,
    ReadIsDirectory = 2,
    ReadNotMultiFile = 3,     /**< several files for a format that takes one */
    ReadTypeUndetermined = 4, /**< detection gave no format */
    ReadTypeUnsupported = 5   /**< no usable format */
};

/** The kind of message box that PutMsg1 stands for; the driver itself only warns. */
enum MessageType { MessageWarning = 3 };

/**
 * The import driver: what a host uses to read or write a file. It owns the loader of formats, keeps a
 * table of them for file dialogs, checks the chosen files, chooses the format and walks a reader through
 * its life. No operation throws; a failure leaves its text for GetErrorMessage and returns false.
 */
class KARTA_EXPORT ImportHelperBase {
public:
    /** One line of the host's file dialogs. Entry 0 stands for all files, entry i for format i. */
    struct FormatEntry {
        static constexpr int MaxExtensions = 10;
        char name[70];                       /**< the read filter */
        char saveName[120];                  /**< the write filter, when the format can write */
        char extensions[MaxExtensions][256]; /**< with their dots; an empty text behind the last */
        bool canWrite;
        bool canRead;
        bool canReadMany;
        bool hostFlag;
    };

    /** Takes over `newLoader`; null makes a plain one. `pluginDirectory` may be null. */
    ImportHelperBase(ImportDLLLoader* newLoader, const char* pluginDirectory);
    ImportHelperBase(const ImportHelperBase&) = delete;
    ImportHelperBase& operator=(const ImportHelperBase&) = delete;
    virtual ~ImportHelperBase();

    /**
     * Reads a file, or a selection of files joined by line feeds, into `data`. `formatChoice` counts as a
     * dialog's filters do: 1 is all files, k the (k-1)th format that can read; with `formatIsIndex` and a
     * choice of at least 1 it is the loader's format number, and all checks are skipped. `options` and
     * `spec` may be null. An empty options record is filled with the choices made, and its bytes are
     * then the caller's, to be freed by SpreadsheetOpenOptions::FreeOpenOptions.
     */
    bool ReadSpreadsheetFile(const char* fileNames, int formatChoice, SpreadsheetData* data,
                             NvImportOpenOptions* options, bool formatIsIndex, ImportSpecBase* spec);

    /** Writes `data`. `formatChoice` k is the kth format that can write; 0 or less goes by the name. */
    bool WriteSpreadsheetFile(const char* fileName, int formatChoice, SpreadsheetData* data,
                              NvImportOpenOptions* options);

    /**
     * Checks a selection and turns `formatChoice` from a filter's number into a format's. `reportMany`:
     * several files for a format that takes one leave a text.
     */
    bool CheckFilesBeforeRead(const char* fileNames, int& formatChoice, ReadErrors& error, bool reportMany);

    /** The text of the last failure; a later success doesn't clear it. */
    std::string GetErrorMessage() const { return errorText; }

protected:
    /** Shows a message; the answer is a button's number, of which 2 is cancel. Default: into the log. */
    virtual int PutMsg1(const char* text, const char* caption, MessageType type, int defaultAnswer);
    /** For readers' host classes. Default: into the log. */
    virtual void PutMsg2(const char* first, const char* second, const char* third);
    /** Sorts a selection of several files; false ends the read. */
    virtual bool SortFiles(const char* fileNames, ReadErrors& error);
    virtual void ShowProgressBarWhileReading(SpreadsheetData* data, int cols, int rows);
    virtual void StopProgressBar(SpreadsheetData* data);

private:
    void Init();
    void SetErrorText(std::string_view text);
    bool CheckFile(const std::string& name, ReadErrors& error);
    bool CheckFiles(const char* fileNames, int& formatChoice, ReadErrors& error, bool reportMany);
    bool ReadWith(SpreadsheetFile& reader, SpreadsheetData* data, int format);
    bool FailWith(SpreadsheetFile& reader);
    int FormatForReading(int formatChoice) const;
    int FormatForWriting(const char* fileName, int formatChoice) const;

    std::vector<FormatEntry> formatTable;
    int numFormats = 0;
    std::unique_ptr<ImportDLLLoader> loader;
    std::string errorText;
};
