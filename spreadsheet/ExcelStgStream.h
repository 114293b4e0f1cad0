#pragma once

#include <memory>

#include "archive/CompoundFile.h"
#include "spreadsheet/BaseStream.h"

/**
 * The workbook stream of a compound file, for reading only. Of the entries at the root the first that is
 * called exactly "Workbook" or "Book" counts, in the order of the directory.
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

    explicit ExcelStgStream(const char* path);
    ~ExcelStgStream() override;

    void Read(char* buffer, int count) override;
    void Write(const char* buffer, int count) override;
    void Seek(long long offset, int origin) override;
    int Tell() override;
    int GetStatus() override;

private:
    CompoundFile storage;
    std::unique_ptr<CompoundStream> stream;  // looks into the storage, so it goes first
    int status = StatusGood;
};
