#pragma once

#include <string>
#include <vector>

#include "base/Place.h"
#include "frame/FileContents.h"

class ReadSpreadSheetData;

/** Which of a level 4 file's matrices make the table by the classic rules. */
struct MatChoice {
    int matrix = -1;          /**< from 0 */
    bool namedLayout = false; /**< OBSNUM, OBSNAM, VARNAM around the data */
    bool idLayout = false;    /**< COLUMNID and ROWID, or OBSID and VARID, around DATA */
};

/**
 * What an open MAT-file holds, as MatFile hands it on: one class for each level as the classic reading has
 * it, and one for the complete reading of both. Every operation that answers a number gives 0 or one of
 * MatFile's statuses.
 */
class MatContent {
public:
    virtual ~MatContent();

    /** Looks at what the file holds; comes first. */
    virtual int Open() = 0;
    /** The size of the chosen table, or a status. */
    virtual int GetSize(const MatChoice& choice, int& rows, int& columns) = 0;
    virtual int Read(ReadSpreadSheetData* sink, const MatChoice& choice) = 0;

    virtual std::vector<FileContents::Part> ListParts() = 0;
    virtual std::vector<FileContents::Fact> ListFacts();
    /** Takes a part by its number in ListParts; false where there is none of it. */
    virtual bool SelectPart(int number, MatChoice& choice) = 0;

    /** More than the status can tell of a failure; may be empty. */
    virtual std::string GetFailure() const;
    /** Where it is, as a note has it; may be empty. */
    virtual karta::Place GetFailurePlace() const;
};
