#pragma once

#include <string>
#include <string_view>

/** What became of a command. */
struct CommandOutcome {
    int status; /**< the exit status; -1 when a signal ended it */
    std::string out;
    std::string err;
};

/** Runs a command of the shell in a folder, with nothing to read, and keeps what it writes in files there. */
CommandOutcome RunInShell(const std::string& folder, const std::string& command);

/** A word of a shell's command, whatever is in it. */
std::string ShellWord(std::string_view text);

/** The program under test, to be put before its arguments. */
std::string ProgramPath();
