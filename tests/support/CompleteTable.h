#pragma once

#include <memory>
#include <string>

#include "base/ReadContext.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"

/** A file as the complete reading of its reader has it, and what the read had to say. */
template <class Reader>
struct CompleteTable {
    explicit CompleteTable(const std::string& path, const TestOptions& settings = TestOptions(std::string()),
                           karta::Reading reading = karta::Reading::Complete)
        : options(settings) {
        context->reading = reading;
        reader.SetContext(context);
        status = reader.Open(true, path.c_str(), options.Get());
        if (status == 0) {
            status = reader.Read(&table);
        }
        for (const karta::Note& note : context->notes.GetAll()) {
            notes += note.text + "\n";
        }
    }
    /** A row's cells between brackets. */
    std::string Row(int row) {
        std::string cells;
        for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
            cells += "[" + table.GetString(col, row) + "]";
        }
        return cells;
    }
    /** All rows, a line each. */
    std::string Cells() {
        std::string cells;
        for (int row = 1; row <= table.GetNumberOfRows(); ++row) {
            cells += Row(row) + "\n";
        }
        return cells;
    }

    std::shared_ptr<karta::ReadContext> context = std::make_shared<karta::ReadContext>();
    TestOptions options;
    Reader reader;
    TableData table;
    int status = -1;   /**< of Open, or of Read */
    std::string notes; /**< a line each */
};
