#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/Note.h"
#include "frame/SpreadsheetFile.h"
#include "table/TableData.h"
#include "tools/FormatCatalogue.h"
#include "tools/OptionsRecord.h"
#include "tools/ReadRequest.h"

// What all verbs that read do with a request, one step a function. Each raises Failure with the file's
// name in its text.

/** Refuses what only a reader that is called directly can be told, where the driver is to read. */
void CheckRoad(const ReadRequest& request);

/** Refuses names that can't be part of a selection. */
void CheckNames(const ReadRequest& request);

/** Refuses names that can't be part of a selection, missing files, directories and unreadable ones. */
void CheckFiles(const ReadRequest& request);

/** The formats, with the plug-ins that the request names. */
std::unique_ptr<FormatCatalogue> LoadFormats(const ReadRequest& request);

/** The format that the request names, or the detected one. Raises Failure when there is none. */
int ChooseFormat(FormatCatalogue& formats, const ReadRequest& request);

/** Refuses a selection of several files where the format takes one. */
void CheckSelection(const FormatCatalogue& formats, int format, const ReadRequest& request);

/**
 * A reader of the format that is called directly where the format is this library's, and that can ask the
 * user what its format's readers leave to a host.
 */
std::unique_ptr<SpreadsheetFile> MakeReader(const FormatCatalogue& formats, int format,
                                            const ReadRequest& request);

/** A file that can't be opened, where a choice goes by what it holds. */
enum class Unopened {
    Fails,      // no choice, no read
    HasNoParts  // such choices are left out: the read itself is to show the failure
};

/** The options record; looks into the file first where a choice goes by what it holds. */
OptionsRecord MakeOptions(const FormatCatalogue& formats, int format, const ReadRequest& request,
                          Unopened unopened = Unopened::Fails);

/** The reader's message, or a word for a status that has none. */
std::string MessageOf(SpreadsheetFile& reader);

/** Lets the reader's questions be answered as the request says. */
void AnswerQuestions(const ReadRequest& request);

/** Writes a reader's warning to standard error, unless the user wants it quiet. */
void ShowWarning(const ReadRequest& request, const std::string& warning);

/** Writes what isn't in the table to standard error, unless the user wants it quiet. */
void ShowNotes(const ReadRequest& request, const std::vector<karta::Note>& notes);

/** A table and what the reader said about it. */
struct TableRead {
    /** The rows of the table that the user wants, all of them without a list. */
    std::vector<int> Rows(const ReadRequest& request) const;

    std::unique_ptr<TableData> table;
    std::string warning;
    std::vector<karta::Note> notes;
    std::string formatName;
};

/** Reads the selection into `result.table`. Raises Failure when there is no table. */
void ReadTable(const ReadRequest& request, TableRead& result);
