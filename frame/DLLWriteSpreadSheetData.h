#pragma once

#include "frame/NvImport.h"
#include "frame/WriteSpreadSheetData.h"

/** The source that a writer sees when it is called through the flat interface; doesn't own the table. */
class KARTA_EXPORT DLLWriteSpreadSheetData : public WriteSpreadSheetData {
public:
    explicit DLLWriteSpreadSheetData(NvImportWriteCallbacks* callbacks) : table(callbacks) {}

    double GetFloatValue(int col, int row) override;
    std::string GetString(int col, int row) override;
    bool GetDataOrigin(int* firstDataCol, int* firstDataRow) override;
    bool IsFloat(int col, int row) override;
    bool IsMissing(int col, int row) override;
    bool IsString(int col, int row) override;
    int GetNumberOfColumns() override;
    int GetNumberOfRows() override;

private:
    NvImportWriteCallbacks* table;
};
