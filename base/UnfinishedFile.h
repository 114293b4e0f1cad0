#pragma once

#include "base/Export.h"

/**
 * The name of a file or folder that must not outlive the program while this lives and holds it: what is
 * being written under another name. A program that is ended in the middle removes all of them. Any thread
 * may hold and remove; holding takes no memory.
 */
class KARTA_EXPORT UnfinishedFile {
public:
    UnfinishedFile() = default;
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile() { Release(); }

    /** `path` stays the caller's and must not change until Release. */
    void Hold(const char* path) noexcept;
    void Release() noexcept;

    /** Removes every file and folder that is held, for a program about to end. */
    static void RemoveAll() noexcept;

private:
    const char* name = nullptr;
    UnfinishedFile* next = nullptr;
};
