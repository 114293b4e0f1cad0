#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"

/** A file read by the complete rules, with all that the reader said. */
template <class Reader>
struct CompleteRead {
    using Settings = std::initializer_list<std::pair<std::string, std::string>>;

    explicit CompleteRead(const std::string& path, Settings settings = {}) : options(settings) {
        context->reading = karta::Reading::Complete;
        reader.SetContext(context);
        opened = reader.Open(true, path.c_str(), settings.size() == 0 ? nullptr : options.Get());
        if (opened == 0) {
            parts = reader.ListParts();
            status = reader.Read(&table);
        }
        error = reader.GetStatus() == 0 ? "" : ErrorOf(reader);
    }

    /** The cells of all rows, as "1 2|3 4": parted by blanks and strokes. */
    std::string Cells() {
        std::string cells;
        for (int row = 1; row <= table.GetNumberOfRows(); ++row) {
            cells += row == 1 ? "" : "|";
            for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
                cells += (col == 1 ? "" : " ") + table.GetString(col, row);
            }
        }
        return cells;
    }
    std::string NoteTexts() const {
        std::string texts;
        for (const karta::Note& note : context->notes.GetAll()) {
            texts += note.text + "\n";
        }
        return texts;
    }
    /** "name: rows x columns, detail" a line. */
    std::string PartLines() const {
        std::string lines;
        for (const FileContents::Part& part : parts) {
            lines += part.name + ": " + std::to_string(part.rows) + " x " + std::to_string(part.cols) + ", " +
                     part.detail + "\n";
        }
        return lines;
    }

    std::shared_ptr<karta::ReadContext> context = std::make_shared<karta::ReadContext>();
    TestOptions options;
    Reader reader;
    TableData table;
    std::vector<FileContents::Part> parts;
    int opened = -1;
    int status = -1;
    std::string error;
};
