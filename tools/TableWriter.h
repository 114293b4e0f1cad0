#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/OutputFile.h"
#include "base/TableShape.h"
#include "frame/RowTextSink.h"
#include "table/TableData.h"

/** The forms of a table that the program writes by itself, in UTF-8 with line feeds. */
enum class TableForm {
    Csv,      /**< RFC 4180: a field is quoted only when it must be */
    Tsv,      /**< the same with tabs */
    JsonLines /**< an array a row; missing cells and NaN are null, and infinities are texts */
};

/** What parts the fields of the first two. */
char GetSeparator(TableForm form);

/** What is to be written how. */
struct FormRequest {
    TableForm form;
    bool safeCells = false; /**< texts are made harmless by SafeCell */
    /** JSON lines: an object a row below the row of names, with these names. */
    bool objects = false;
    /** Tells the row of names; may be null. Without it the first row has the names if all its cells are
     * texts. */
    const karta::TableShape* shape = nullptr;
};

/**
 * Writes a table, at once or piece by piece. Numbers in the shortest form that reads back the same. Nothing
 * more is written once the output has failed.
 */
class TableWriter {
public:
    /** What the request points to is needed until the first piece is written; the output stays the caller's.
     */
    TableWriter(const FormRequest& formRequest, OutputFile& outputFile)
        : request(formRequest), output(outputFile) {}

    /**
     * These rows of the table, all columns. The first piece has the rows of names, if there are any, and all
     * pieces have as many columns. Raises Failure once the user has interrupted.
     */
    void Write(TableData& table, const std::vector<int>& rows);

    /** How rows behind those that are written are written as text, in tables of so many columns; they are to
     * be written to the output itself. Nothing where texts are made harmless. */
    std::optional<RowTextForm> GetRowTextForm(std::size_t width) const;

private:
    void WriteSeparated(TableData& table, const std::vector<int>& rows);
    void WriteJsonLines(TableData& table, const std::vector<int>& rows);
    const std::vector<std::string>* GetMembers() const { return request.objects ? &members : nullptr; }

    FormRequest request;
    OutputFile& output;
    bool hasBegun = false;
    std::vector<std::string> members;  // of JSON objects: their names, with the colon
};

/** A whole table. */
void WriteTable(TableData& table, const std::vector<int>& rows, const FormRequest& request,
                OutputFile& output);
