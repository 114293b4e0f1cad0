#include "tools/FileList.h"

#include <fnmatch.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "tools/Failure.h"

namespace {

namespace fs = std::filesystem;

using Segments = std::vector<std::string>;

Segments SegmentsOf(const fs::path& path) {
    Segments segments;
    for (const fs::path& segment : path) {
        segments.push_back(segment.string());
    }
    return segments;
}

bool Matches(const Segments& pattern, std::size_t at, const Segments& name, std::size_t from) {
    if (at == pattern.size()) {
        return from == name.size();
    }
    if (pattern[at] == "**") {
        for (std::size_t next = from; next <= name.size(); ++next) {
            if (Matches(pattern, at + 1, name, next)) {
                return true;
            }
        }
        return false;
    }
    return from < name.size() && fnmatch(pattern[at].c_str(), name[from].c_str(), FNM_PERIOD) == 0 &&
           Matches(pattern, at + 1, name, from + 1);
}

bool IsHidden(const fs::path& path) {
    return path.filename().string().starts_with('.');
}

// All files below a folder, in the order of their names.
std::vector<fs::path> FilesBelow(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    fs::recursive_directory_iterator entries(folder, error);
    for (; !error && entries != fs::recursive_directory_iterator(); entries.increment(error)) {
        std::error_code unknown;
        if (IsHidden(entries->path())) {
            entries.disable_recursion_pending();
        } else if (entries->is_regular_file(unknown)) {
            files.push_back(entries->path());
        }
    }
    if (error) {
        throw Failure(folder.string() + ": " + error.message());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<ListedFile> FilesOfFolder(const std::string& folder) {
    std::vector<ListedFile> files;
    for (const fs::path& path : FilesBelow(folder)) {
        files.push_back({path.string(), path.lexically_relative(folder).string()});
    }
    if (files.empty()) {
        throw Failure(folder + ": there is no file in this folder");
    }
    return files;
}

// The folder in front of the first segment with a wildcard is gone through.
std::vector<ListedFile> FilesOfPattern(const std::string& pattern) {
    fs::path folder;
    Segments wanted;
    for (const std::string& segment : SegmentsOf(pattern)) {
        if (wanted.empty() && segment.find_first_of("*?[") == std::string::npos) {
            folder /= segment;
        } else {
            wanted.push_back(segment);
        }
    }
    const fs::path root = folder.empty() ? fs::path(".") : folder;
    std::vector<ListedFile> files;
    for (const fs::path& path : FilesBelow(root)) {
        const fs::path relative = path.lexically_relative(root);
        if (Matches(wanted, 0, SegmentsOf(relative), 0)) {
            files.push_back({(folder / relative).string(), relative.string()});
        }
    }
    if (files.empty()) {
        throw Failure(pattern + ": there is no such file");
    }
    return files;
}

}  // namespace

std::vector<ListedFile> ListFiles(const std::vector<std::string>& names) {
    std::vector<ListedFile> files;
    for (const std::string& name : names) {
        std::error_code unknown;
        std::vector<ListedFile> found;
        if (fs::is_directory(name, unknown)) {
            found = FilesOfFolder(name);
        } else if (!fs::exists(name, unknown) && name.find_first_of("*?[") != std::string::npos) {
            found = FilesOfPattern(name);
        } else {
            found = {{name, fs::path(name).filename().string()}};
        }
        files.insert(files.end(), found.begin(), found.end());
    }
    return files;
}
