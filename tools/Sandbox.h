#pragma once

#include <string>
#include <vector>

/**
 * Fences the program in before it looks at the first byte of a file that may be hostile: from then on it
 * reads only where its inputs and the system's data lie, writes only where its output and temporary files go,
 * starts no program and opens no socket. Threads go on as ever. There is no way back.
 */
class Sandbox {
public:
    /** Folders with all that is below them; what isn't there is passed over. */
    struct Folders {
        std::vector<std::string> readable;
        std::vector<std::string> writable;
    };

    /**
     * Enters it, for this and every later thread; the system's own folders needn't be named. An empty text,
     * or what of it this system doesn't offer: the rest holds all the same.
     */
    static std::string Enter(const Folders& folders);

    /** False in builds whose tools write files of their own on the way: sanitizers, counters of lines. */
    static bool IsPossible();
};
