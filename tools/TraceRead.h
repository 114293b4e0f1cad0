#pragma once

#include <functional>
#include <iosfwd>
#include <optional>

#include "frame/NvImport.h"
#include "frame/SpreadsheetFile.h"
#include "karta/internal/RowFilter.h"

/** What a traced read is given. */
struct TracedRead {
    const char* formatName;
    const char* fileNames;
    NvImportOpenOptions* options = nullptr;
    RowFilter filter = {};
    std::optional<int> part = {};  // the matrix to read, by its number; else the reader's own choice
    // Called after a read that succeeded, while what the reader filled the options with is still there.
    std::function<void()> beforeClose = {};
    bool isComplete = false;  // the reader says the table's size itself, and unwanted rows are left out here
};

/**
 * Leads a reader through its whole life, from Open to Close, and writes every event as a line. True when
 * the read succeeded.
 */
bool TraceRead(SpreadsheetFile& reader, const TracedRead& read, std::ostream& stream);
