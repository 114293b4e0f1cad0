#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/ReadContext.h"
#include "karta/internal/FormatCatalogue.h"
#include "table/TableData.h"
#include "tools/Commands.h"
#include "tools/TableWriter.h"

/** What a conversion writes: one of the program's own forms, or a format of the library. */
struct ConversionTarget {
    /** By the name that is wanted, else by the output's extension. Raises Failure where neither is known. */
    static ConversionTarget Choose(const FormatCatalogue& formats, const ConvertRequest& wanted);

    std::optional<TableForm> form;
    int format = 0;
};

/** Rows of a table that a format of the library is to write. */
struct FormatOutput {
    TableData& table;
    const std::vector<int>& rows;
    int headRows = 0;  // so many rows of the table name the columns, whatever their texts look like
    /** Of the read, whose budget holds for what is written too; may be null. */
    std::shared_ptr<karta::ReadContext> context = nullptr;
};

/**
 * Writes them where the request says. How many cells there was no place for in a format of numbers: texts and
 * dates among them. Raises Failure.
 */
std::size_t WriteWithFormat(const FormatCatalogue& formats, int format, const FormatOutput& output,
                            const ConvertRequest& wanted);

/** The note on such cells. */
std::string TellUnwritable(std::size_t count);
