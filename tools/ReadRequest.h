#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "base/Reading.h"
#include "karta/internal/ReadWishes.h"

/** What the user asked for on the command line, for every verb that reads. */
struct ReadRequest : karta::ReadWishes {
    std::string plugins;  // a folder, or empty
    std::string optionsFile;
    std::string saveOptionsFile;
    bool answerYes = false;
    bool answerNo = false;
    bool quiet = false;
    bool verbose = false;
    std::optional<karta::Reading> givenReading;  // by --complete or --classic
    bool drawsProgress = true;                   // false: who reads many files draws that of all of them
    std::ostream* messages = nullptr;            // for notes and warnings; null: standard error
    std::string standardInput;                   // the file that it is kept in; empty where it isn't read

    /** A file as people know it. */
    std::string NameOf(const std::string& file) const {
        return !standardInput.empty() && file == standardInput ? "standard input" : file;
    }
};
