#pragma once

#include <memory>
#include <string>
#include <vector>

#include "frame/SpreadsheetData.h"
#include "frame/SpreadsheetFile.h"
#include "karta/internal/DirectRead.h"
#include "karta/internal/FormatCatalogue.h"
#include "karta/internal/FormatDetection.h"
#include "karta/internal/OptionsRecord.h"
#include "karta/internal/ReadControl.h"
#include "table/TableData.h"
#include "tools/Progress.h"
#include "tools/ReadRequest.h"

// What all verbs that read do with a request, one step a function: the library's steps, with errors as
// Failures in the program's words.

using karta::ChosenFormat;
using karta::MessageOf;
using karta::ReadReport;
using karta::Unopened;

/** What the library's own calls are asked for, with the program's plug-ins and its stop. Raises Failure for a
 * choice that is of one file by itself. */
karta::ReadOptions ReadOptionsOf(const ReadRequest& request);

/** Refuses what only a reader that is called directly can be told, where the driver is to read. */
void CheckRoad(const ReadRequest& request);

/** Refuses names that can't be part of a selection. */
void CheckNames(const ReadRequest& request);

/** Refuses what is there and is neither a file nor a folder: reading it may never end. */
void CheckKinds(const ReadRequest& request);

/** Refuses names that can't be part of a selection, missing files, directories and unreadable ones. */
void CheckFiles(const ReadRequest& request);

/** The formats, with the plug-ins that the request names. */
std::unique_ptr<FormatCatalogue> LoadFormats(const ReadRequest& request);

/** The number of the format that the request names; 0 when it names none. Raises Failure for a wrong name. */
int FindNamedFormat(const FormatCatalogue& formats, const ReadRequest& request);

/** Refuses a selection of several files where the format takes one. */
void CheckSelection(const FormatCatalogue& formats, int format, const ReadRequest& request);

/** Why a file's format is or isn't determined, with what can be done about it. */
std::string ReasonOf(const FormatFinding& finding);

/** Checks the request and its files, and chooses the format that it names or that is detected. */
ChosenFormat ChooseFormat(const ReadRequest& request);

/**
 * A reader of the format that is called directly where the format is this library's, with the context that
 * the request asks for, and that can ask the user what its format's readers leave to a host.
 */
std::unique_ptr<SpreadsheetFile> MakeReader(const FormatCatalogue& formats, int format,
                                            const ReadRequest& request);

/** The options record; looks into the file first where a choice goes by what it holds. */
OptionsRecord MakeOptions(const FormatCatalogue& formats, int format, const ReadRequest& request,
                          Unopened unopened = Unopened::Fails);

/** Lets the reader's questions be answered as the request says. */
void AnswerQuestions(const ReadRequest& request);

/** Writes a reader's warning and notes to standard error, unless the user wants it quiet. */
void ShowReport(const ReadRequest& request, const ReadReport& report);

/** A read's control by a person: draws progress, and lets Ctrl-C through. */
class PersonsControl {
public:
    /** Rows up to `rowsOfHead` are of use even if they aren't wanted: they name the columns. */
    explicit PersonsControl(const ReadRequest& request, int rowsOfHead = 0);

    ReadControl& Get() { return control; }

private:
    Progress progress;
    ReadControl control;
};

/** Reads the selection into the sink. Raises Failure when there is no table; the report then holds what was
 * known. */
void ReadSelection(const ReadRequest& request, const ChosenFormat& chosen, ReadControl& control,
                   SpreadsheetData& sink, ReadReport& report);

/** A table and what the reader said about it. */
struct TableRead {
    /** The rows of the table that the user wants, all of them without a list. */
    std::vector<int> Rows(const ReadRequest& request) const;

    // Its budget outlives the table.
    ReadReport report;
    std::unique_ptr<TableData> table;
    bool hasMoreRows = false;  // than the table says: the read ended behind the last wanted one
};

/** Reads the selection into `result.table`; rows up to `headRows` too if they aren't wanted. */
void ReadTable(const ReadRequest& request, TableRead& result, int headRows = 0);
