#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Reading.h"

/** What the user asked for on the command line, for every verb that reads. */
struct ReadRequest {
    std::vector<std::string> files;  // one selection
    std::string format;              // empty: detect
    std::string plugins;             // a folder, or empty
    std::optional<std::string> delimiter;
    bool mergeDelimiters = false;
    std::vector<std::string> sheets;  // names, or places from 1
    bool sideBySide = false;
    std::vector<int> blocks;  // places from 1
    std::optional<int> matrix;
    std::vector<std::string> includes;  // "A:B"
    std::optional<int> average;
    bool noXRow = false;
    std::vector<std::string> settings;  // "KEY=VALUE"
    std::string optionsFile;
    std::string saveOptionsFile;
    bool throughDriver = false;
    std::string want;  // a list of rows, or empty
    bool answerYes = false;
    bool answerNo = false;
    std::optional<std::string> password;  // of a project; asked for on the terminal when not given
    bool quiet = false;
    karta::Reading reading = karta::Reading::Classic;

    /** The files as the readers take them: joined by line feeds. */
    std::string Selection() const;
};
