#pragma once

#include <memory>

#include "archive/CompoundFile.h"
#include "spreadsheet/BaseStream.h"

/**
 * The workbook stream of a compound file, for reading only: the entry at the root that is called "Workbook"
 * or "Book".
 */
class ExcelStgStream : public BaseStream {
public:
    enum StreamStatus {
        StatusGood = 0,
        StatusNoStorage = 1,
        /** There is no such entry, or it is no stream. */
        StatusNoStream = 2,
        StatusReadFailed = 3,
        StatusWriteFailed = 4,
        StatusSeekFailed = 6
    };

    /** Which entry it is, where there may be several. */
    enum class Naming {
        Exact,  /**< the first that has one of the names exactly, in the order of the directory */
        AnyCase /**< "Workbook" in any case, else "Book" */
    };

    explicit ExcelStgStream(const char* path, Naming naming = Naming::Exact);
    ~ExcelStgStream() override;

    void Read(char* buffer, int count) override;
    void Write(const char* buffer, int count) override;
    void Seek(long long offset, int origin) override;
    int Tell() override;
    int GetStatus() override;
    std::string_view GetAhead() override;

    /** The entry, or null. */
    static const CompoundFile::Entry* FindWorkbook(const CompoundFile& file, Naming naming);

private:
    CompoundFile storage;
    std::unique_ptr<CompoundStream> stream;  // looks into the storage, so it goes first
    int status = StatusGood;
};
