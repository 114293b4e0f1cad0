#pragma once

#include <string>

#include "base/UnfinishedFile.h"
#include "text/TextFile.h"

/**
 * The worksheet of a PLANO design-of-experiments project. A project (.mip) is a compound file; its worksheet
 * is the first entry at its root whose name ends in ".dat", in the order of the directory, and holds
 * delimited text; a storage of that name is no worksheet, and hides those behind it. Open copies that stream
 * into a temporary file, and everything after it is TextFile's on the copy. A worksheet that lies about as a
 * plain text file is read as it is.
 *
 * Only reads. Open returns 0 also when TextFile's own Open failed: ask GetStatus.
 */
class KARTA_EXPORT PlanoFile : public TextFile {
public:
    enum PlanoFileStatus {
        /** No entry of a worksheet's name, or a storage. */
        StatusNoWorksheet = 0x203,
        /** No compound file, or one whose worksheet isn't whole. */
        StatusNotPlano = 0x204
    };

    PlanoFile();
    PlanoFile(const PlanoFile&) = delete;
    PlanoFile& operator=(const PlanoFile&) = delete;
    ~PlanoFile() override;

    void Close() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;

    using TextFile::SetOptions;
    /** For a host; does nothing and returns true. */
    virtual bool SetOptions();

protected:
    std::string tempFileName;
    bool tempFileUsed = false;
    UnfinishedFile unfinished;  // holds tempFileName

private:
    int CopyWorksheet(const char* fileName);
    void RemoveCopy();
};

class KARTA_EXPORT PlanoFileFactory : public SprFileFactory {
public:
    PlanoFileFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
