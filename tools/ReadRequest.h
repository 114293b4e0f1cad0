#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Reading.h"

/** What the user asked for on the command line, for every verb that reads. */
struct ReadRequest {
    std::vector<std::string> files;  // one selection
    std::string format;              // empty: detect
    std::string plugins;             // a folder, or empty
    std::optional<std::string> delimiter;
    bool mergeDelimiters = false;
    // Parts of the file, by name or by place in info's list from 1, comma-separated; empty: not chosen.
    std::string sheets;
    bool sideBySide = false;
    std::string blocks;
    std::string matrix;
    std::string part;
    std::vector<std::string> includes;  // "A:B"
    std::optional<int> average;
    bool noXRow = false;
    std::optional<std::string> encoding;
    std::optional<std::string> decimal;
    std::optional<int> header;
    std::optional<std::string> textColumns;
    bool noTypes = false;
    std::optional<std::string> dateOrder;
    std::optional<std::string> rowNames;
    std::optional<std::string> columnNames;
    std::vector<std::string> settings;  // "KEY=VALUE"
    std::string optionsFile;
    std::string saveOptionsFile;
    bool throughDriver = false;
    std::string want;  // a list of rows, or empty
    bool answerYes = false;
    bool answerNo = false;
    std::optional<std::string> password;  // of a project; asked for on the terminal when not given
    std::optional<std::uint64_t> limit;   // bytes that a read may take; else in proportion to the file
    bool quiet = false;
    bool verbose = false;
    std::optional<karta::Reading> givenReading;  // by --complete or --classic
    karta::Reading reading = karta::Reading::Classic;

    bool IsComplete() const { return reading == karta::Reading::Complete; }

    /** The files as the readers take them: joined by line feeds. */
    std::string Selection() const;
};
