#include "tests/support/ShellCommand.h"

#include <sys/wait.h>

#include <cstdlib>

#include "tests/support/TempFolder.h"

CommandOutcome RunInShell(const std::string& folder, const std::string& command) {
    const std::string out = folder + "/stdout.captured";
    const std::string err = folder + "/stderr.captured";
    const std::string whole = "cd " + ShellWord(folder) + " && { " + command + " ; } </dev/null >" +
                              ShellWord(out) + " 2>" + ShellWord(err);
    const int result = std::system(whole.c_str());
    return {WIFEXITED(result) ? WEXITSTATUS(result) : -1, ReadWholeFile(out), ReadWholeFile(err)};
}

std::string ShellWord(std::string_view text) {
    std::string word = "'";
    for (const char c : text) {
        if (c == '\'') {
            word += "'\\''";
        } else {
            word += c;
        }
    }
    return word + "'";
}

std::string ProgramPath() {
    return std::string(KARTA_BINARY_DIR) + "/karta-import";
}
