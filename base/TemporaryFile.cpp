#include "base/TemporaryFile.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace {

std::string NamePattern(const std::string& prefix) {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    return (error ? std::filesystem::path("/tmp") : folder) / (prefix + "XXXXXX");
}

}  // namespace

std::string MakeTemporaryFile(const std::string& prefix) {
    std::string name = NamePattern(prefix);
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) {
        return {};
    }
    close(descriptor);
    return name;
}

std::string MakeTemporaryFolder(const std::string& prefix) {
    std::string name = NamePattern(prefix);
    return mkdtemp(name.data()) == nullptr ? std::string() : name;
}
