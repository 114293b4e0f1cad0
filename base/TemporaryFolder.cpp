#include "base/TemporaryFolder.h"

#include <filesystem>
#include <system_error>

#include "base/TemporaryFile.h"

TemporaryFolder::TemporaryFolder(const std::string& prefix) : path(MakeTemporaryFolder(prefix)) {
    if (!path.empty()) {
        unfinished.Hold(path.c_str());
    }
}

TemporaryFolder::~TemporaryFolder() {
    if (!path.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
}
