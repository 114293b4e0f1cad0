#pragma once

#include "base/Export.h"
#include "frame/NvImport.h"
#include "frame/ReadSpreadSheetData.h"
#include "frame/WriteSpreadSheetData.h"

/**
 * The reader contract: one file, or one selection of files joined by line feeds, opened either for
 * reading or for writing. Made by a factory (SprFileFactory), deleted by the caller.
 *
 * Calling order: Open; SetImportSpec, if there is a spec; GetStatus, where non-zero ends; GetNumRows and
 * GetNumCols, where -1 is failure and 0 is no data; Read; GetWarningMessage; Close. A failed object may
 * be deleted without Close.
 *
 * Failure is a status code that sticks until Close: every operation looks at it first and does nothing
 * once it is set. Codes from 5 on belong to one format and mean something only with their object.
 */
class KARTA_EXPORT SpreadsheetFile {
public:
    /** Codes that all formats share. */
    enum CommonStatus {
        StatusOk = 0,
        StatusNotImplemented = 1,
        StatusSizeFailed = 2,
        StatusWrongMode = 3,
        StatusAbortedByUser = 4
    };

    virtual ~SpreadsheetFile();

    /** Releases what Open took and clears the status. A format's own Close ends with this one. */
    virtual void Close();

    /** The table's size, measured once; -1 when it can't be measured. */
    virtual int GetNumCols();
    virtual int GetNumRows();

    virtual int GetStatus();

    /** The text for the present status, cut to `size` bytes with its NUL. */
    virtual void GetErrorMessage(char* buffer, unsigned int size) = 0;

    /** A text that the user should see after a successful read, or null. Valid until Close. */
    virtual const char* GetWarningMessage();

    /**
     * Opens `fileName` for reading, or for writing when `forRead` is false. `options` may be null; see
     * NvImportOpenOptions for its three uses. Returns the status.
     */
    virtual int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) = 0;

    /** Pushes every cell into the sink, which stays the caller's. Returns the status. */
    virtual int Read(ReadSpreadSheetData* sink) = 0;

    /** Writes every cell of the source, which stays the caller's. Returns the status. */
    virtual int Write(WriteSpreadSheetData* source);

    /** The status itself, not a bool: non-zero means that the object has failed. */
    virtual int operator!() const;

    /** Takes the host's specification. The base can't honour one and clears its mark. */
    virtual void SetImportSpec(ImportSpecBase* spec);

    /** Fills numCols and numRows and sets sizeKnown. Returns 0 or a status code. */
    virtual int EstablishSize() = 0;

protected:
    /** How a format notes what it was opened for. */
    enum Mode { ModeClosed = 0, ModeReading = 1, ModeWriting = 2 };

    int numCols = -1;
    int numRows = -1;
    bool sizeKnown = false;
    int status = StatusOk;
};
