#pragma once

#include "base/Export.h"
#include "frame/NvImport.h"

class StreamReader;
class StreamWriter;

/**
 * The owning form of an options record, for keeping the choices of an import in a host's project. The
 * record and its bytes are private copies; without options there is no record.
 *
 * Serialised: a bool that says whether there is a record; if so, its size as 32 bits and its bytes.
 */
class KARTA_EXPORT SpreadsheetOpenOptions {
public:
    /** `options` may be null. */
    explicit SpreadsheetOpenOptions(const NvImportOpenOptions* options);
    SpreadsheetOpenOptions(const SpreadsheetOpenOptions& other);
    explicit SpreadsheetOpenOptions(StreamReader& reader);
    SpreadsheetOpenOptions& operator=(const SpreadsheetOpenOptions& other);
    SpreadsheetOpenOptions& operator=(const NvImportOpenOptions* options);
    ~SpreadsheetOpenOptions();

    /** Null when there are no options. */
    operator const NvImportOpenOptions*() const { return record; }  // NOLINT(google-explicit-constructor)

    void Write(StreamWriter& writer) const;
    /** Replaces what is held. Raises the reader's exception when the record is cut short. */
    void Read(StreamReader& reader);

    /**
     * Gives `target` a fresh copy of the source's bytes, null for a size of 0 or where the source has
     * none. What the target held is not freed: both may be the same record, whose bytes were a reader's and
     * become the caller's.
     */
    static void CopyOpenOptions(NvImportOpenOptions* target, const NvImportOpenOptions* source);
    /** Frees the bytes and empties the record. */
    static void FreeOpenOptions(NvImportOpenOptions* options);

protected:
    /** Frees what is held and takes a deep copy; null leaves none. */
    void Reset(const NvImportOpenOptions* options);

private:
    NvImportOpenOptions* record = nullptr;
};
