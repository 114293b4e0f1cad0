#pragma once

#include <cstdlib>
#include <string>

/** A python with SciPy: the system's, or the one that the benchmarks' peers live in. Empty for none. */
inline std::string PythonWithScipy() {
    for (const char* program :
         {"python3", "/usr/bin/python3", KARTA_SOURCE_DIR "/build/bench-peers/python/bin/python"}) {
        if (std::system((std::string(program) + " -c 'import scipy.io' >/dev/null 2>&1").c_str()) == 0) {
            return program;
        }
    }
    return {};
}

/** GNU Octave without its windows. Empty for none. */
inline std::string Octave() {
    return std::system("octave-cli --version >/dev/null 2>&1") == 0 ? "octave-cli" : "";
}
