#pragma once

#include <string>

#include "tools/ReadRequest.h"

// The verbs of the program, each in a source of its own name. All raise Failure when they can't go on and
// return the exit status otherwise.

/** What convert is asked for beside the read. */
struct ConvertRequest {
    std::string output;      // may be "-"
    std::string target;      // a format's name or extension, or empty
    bool objects = false;    // JSON lines as objects
    bool safeCells = false;  // no cell is a formula to a spreadsheet
    // Of many files:
    bool each = false;     // every file by itself, to the folder `output`
    bool stack = false;    // all as one table
    std::string grid;      // the axis that stacked spectra are put on; empty: as they are
    bool skipBad = false;  // goes on behind a file that can't be read
    unsigned workers = 0;  // readers at once; 0: as many as there are cores
};

/** What view is asked for beside the read. */
struct ViewRequest {
    std::string output;  // empty: a temporary page, which is opened
    bool svg = false;    // a picture and no page
};

/** What show is asked for beside the read. */
struct ShowRequest {
    int rows = 20;
    std::string columns;  // like "1-3,7"; empty: as many as fit
    bool wide = false;    // all columns
    bool facts = false;   // what the file says of itself stands above
};

class PageOpener;
class Screen;

int RunFormats(const ReadRequest& request, bool json);
int RunDetect(const ReadRequest& request, bool json);
int RunTrace(const ReadRequest& request);
int RunInfo(const ReadRequest& request, bool json);
int RunShow(const ReadRequest& request, const ShowRequest& wanted, const Screen& screen);
int RunConvert(const ReadRequest& request, const ConvertRequest& wanted);
/** `opener` opens a page that has no place of its own; may be null. */
int RunView(const ReadRequest& request, const ViewRequest& wanted, PageOpener* opener);
