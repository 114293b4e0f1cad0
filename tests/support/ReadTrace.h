#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "frame/NvImport.h"
#include "frame/SpreadsheetFile.h"

/** An options record of settings, as hosts keep it: owns its bytes. */
class TestOptions {
public:
    /** Each pair a key and its value, unescaped. */
    TestOptions(std::initializer_list<std::pair<std::string, std::string>> settings);
    /** A record of these very bytes. */
    explicit TestOptions(std::string bytes);

    NvImportOpenOptions* Get() { return &record; }

private:
    void Point();

    std::string content;
    NvImportOpenOptions record{0, nullptr};
};

/** What a trace tells. */
struct TraceOptions {
    NvImportOpenOptions* options = nullptr;
    std::string want = {};  // rows, like "1,3-5"
    int part = 0;           // a matrix by its number
    bool withRows = false;  // the NextRowToRead lines too
};

/**
 * Reads a file with a format of the registry, by its name, through its whole life, and gives the trace of
 * it: one event a line. The natural expectation of a test.
 */
std::string ReadTrace(const std::string& formatName, const std::string& fileNames,
                      const TraceOptions& how = {});

/** Only the lines that set cells. */
std::string CellsOf(const std::string& trace);

/** A new reader of the registry's format of this name; raises an exception when there is none. */
SpreadsheetFile* NewReader(const std::string& formatName);

/** The message of a reader's present status. */
std::string ErrorOf(SpreadsheetFile& reader);
