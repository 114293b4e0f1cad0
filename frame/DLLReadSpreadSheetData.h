#pragma once

#include "frame/NvImport.h"
#include "frame/ReadSpreadSheetData.h"

/**
 * The sink that a reader sees when it is called through the flat interface: passes every call on to a
 * table of callbacks, which it doesn't own. The interface knows floats and texts only, so large whole
 * numbers cross it as text, exactly, and all other numbers as floats.
 */
class KARTA_EXPORT DLLReadSpreadSheetData : public ReadSpreadSheetData {
public:
    explicit DLLReadSpreadSheetData(NvImportReadCallbacks* callbacks) : table(callbacks) {}

    void Set(int col, int row, int value) override;
    void Set(int col, int row, std::int64_t value) override;
    void Set(int col, int row, double value) override;
    void Set(int col, int row, const char* text) override;
    void Set(int col, int row, float value) override;
    int NextRowToRead(int row) override;
    void SetDataSize(int cols, int rows) override;
    int GetNumberOfColumns() override;
    int GetNumberOfRows() override;

private:
    NvImportReadCallbacks* table;
};
