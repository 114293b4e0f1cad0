#pragma once

#include <string>
#include <vector>

#include "frame/SpreadsheetFile.h"
#include "tests/roads/CallRecorder.h"

/** The whole life of one reader that was called directly, and how each other road has to tell of it. */
class RecordedRead {
public:
    /** Reads a selection with a new reader of the registry. The rows are those that the sink wants. */
    RecordedRead(const std::string& format, const std::string& selection, std::vector<int> rows = {});

    bool Succeeded() const { return succeeded; }
    /** An exception left the reader. No caller in C can take it. */
    bool IsException() const { return threw; }
    const std::vector<SinkCall>& Calls() const { return recorder.calls; }
    std::vector<SinkCall> NarrowedCalls() const;

    /** What `karta-import trace` prints. */
    std::string Trace() const;
    /** What `karta-import trace --through-driver` prints. */
    std::string DriverTrace() const;
    /** What the program in C prints, from the verdict on. */
    std::string FlatTrace() const;
    /** The driver's error text. */
    std::string DriverError() const;
    const std::string& Warning() const { return warning; }

private:
    bool LeadThrough(SpreadsheetFile& reader, const std::string& selection);
    std::string NarrowedLines() const;

    std::string formatName;
    int verdict = 0;
    int openStatus = 0;
    bool measured = false;
    int numRows = 0;
    int numCols = 0;
    bool wasRead = false;
    int statusAfterRead = 0;
    int lastStatus = 0;
    bool succeeded = false;
    std::string warning;
    std::string error;
    bool threw = false;
    std::string exception;
    CallRecorder recorder;
};
