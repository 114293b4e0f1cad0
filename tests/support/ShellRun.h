#pragma once

#include <string>

class TempFolder;

/** What a command left behind; status -1 when it was ended by a signal. */
struct Outcome {
    int status;
    std::string out;
    std::string err;
};

/** Runs a command in the folder, without an input; what it says is kept there in two files "*.captured". */
Outcome RunShell(const TempFolder& folder, const std::string& command);

/** The program under test, to be put before its arguments. */
std::string ProgramPath();
