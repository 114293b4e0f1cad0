#include "tests/support/SharedData.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

std::string SharedFolder() {
    const fs::path folder = fs::path(KARTA_SOURCE_DIR) / ".." / "shared";
    return fs::is_directory(folder) ? folder.lexically_normal().string() : std::string();
}

std::vector<std::string> SharedFiles(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (const auto& entry : fs::recursive_directory_iterator(SharedFolder() + "/" + folder, error)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}
