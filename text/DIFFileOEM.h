#pragma once

#include "text/DIFFile.h"

/**
 * The Data Interchange Format with its strings in the OEM code page, as DOS programs wrote it. Numbers and
 * the header aren't converted. A string is written with its line ends, which the format can't read back.
 */
class KARTA_EXPORT DIFFileOEM : public DIFFile {
public:
    int Read(ReadSpreadSheetData* sink) override;
    int Write(WriteSpreadSheetData* source) override;
    std::vector<Fact> ListFacts() override;
};

class KARTA_EXPORT DiffFileOEMFactory : public SprFileFactory {
public:
    DiffFileOEMFactory();
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
