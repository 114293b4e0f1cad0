#include "tests/support/ShellRun.h"

#include <sys/wait.h>

#include <cstdlib>

#include "tests/support/TempFolder.h"

Outcome RunShell(const TempFolder& folder, const std::string& command) {
    const std::string out = folder.Path("stdout.captured");
    const std::string err = folder.Path("stderr.captured");
    const std::string whole =
        "cd '" + folder.Path("") + "' && { " + command + " ; } </dev/null >'" + out + "' 2>'" + err + "'";
    const int result = std::system(whole.c_str());
    return {WIFEXITED(result) ? WEXITSTATUS(result) : -1, ReadWholeFile(out), ReadWholeFile(err)};
}

std::string ProgramPath() {
    return std::string(KARTA_BINARY_DIR) + "/karta-import";
}
