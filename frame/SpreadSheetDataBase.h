#pragma once

#include "base/Export.h"

/** What sinks and sources of tables share: a size, and a mark for the host. */
class KARTA_EXPORT SpreadSheetDataBase {
public:
    /**
     * Cleared before a read when the chosen format's sinkFlag is zero; the host lays the table out by it.
     * Nothing in this library reads it.
     */
    bool layoutDefault = true;

    SpreadSheetDataBase() = default;
    SpreadSheetDataBase(const SpreadSheetDataBase&) = default;
    SpreadSheetDataBase& operator=(const SpreadSheetDataBase&) = default;
    virtual ~SpreadSheetDataBase();

    virtual int GetNumberOfColumns() = 0;
    virtual int GetNumberOfRows() = 0;
};
