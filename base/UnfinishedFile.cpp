#include "base/UnfinishedFile.h"

#include <exception>
#include <filesystem>
#include <mutex>
#include <system_error>

namespace {

// Neither needs construction or destruction, so that both serve until the very end of the program.
std::mutex mutex;
UnfinishedFile* first = nullptr;

}  // namespace

void UnfinishedFile::Hold(const char* path) noexcept {
    Release();
    const std::lock_guard lock(mutex);
    name = path;
    next = first;
    first = this;
}

void UnfinishedFile::Release() noexcept {
    const std::lock_guard lock(mutex);
    if (name == nullptr) {
        return;
    }
    UnfinishedFile** place = &first;
    while (*place != this) {
        place = &(*place)->next;
    }
    *place = next;
    name = nullptr;
}

void UnfinishedFile::RemoveAll() noexcept {
    const std::lock_guard lock(mutex);
    for (const UnfinishedFile* file = first; file != nullptr; file = file->next) {
        try {
            std::error_code ignored;
            std::filesystem::remove_all(file->name, ignored);
        } catch (const std::exception&) {
            // Without memory for the path the file stays; the others are still to be tried.
            continue;
        }
    }
}
