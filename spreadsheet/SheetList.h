#pragma once

#include <string>
#include <vector>

#include "base/Note.h"
#include "spreadsheet/Book.h"

/** A sheet that a user can choose, and the part that holds it. */
struct WorkbookSheet {
    std::string name;
    std::string part;
    bool hidden = false;
};

/** Which of a workbook's listed sheets there are to choose, by either reading. */
class SheetList {
public:
    /**
     * The classic rule. Sheets whose relationship leads elsewhere than to a folder of worksheets are taken
     * off the list, for each such relationship the first sheet with its id; the target is looked at for
     * nothing else. A sheet's part is the one numbered by its place in the list. `anyCase` is how ids are
     * compared. False when the part of relationships can't be read.
     */
    static bool KeepWorksheets(const WorkbookPackage& package, const std::string& relationshipsPart,
                               bool anyCase, const char* extension, const std::vector<Book::Sheet>& listed,
                               std::vector<WorkbookSheet>& sheets);

    /** Takes hidden sheets off a list, with a note. */
    static void DropHidden(std::vector<Book::Sheet>& listed, karta::Notes& notes);

    /**
     * The complete rule: a worksheet is one by its relationship's type, and its part is where that leads.
     * What is no worksheet is told in a note.
     */
    static void ResolveWorksheets(const WorkbookPackage& package, const std::string& workbookPart,
                                  const std::vector<Book::Sheet>& listed, std::vector<WorkbookSheet>& sheets,
                                  karta::Notes& notes);

    /** The sheet that is read where nobody chooses: the first visible one, or the first. */
    static std::size_t GetDefault(const std::vector<WorkbookSheet>& sheets);
    /** Tells of the sheets beside the one that is read. */
    static void NoteOthers(const std::vector<WorkbookSheet>& sheets, std::size_t chosen, karta::Notes& notes);
};
