#include "tests/support/TempFolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "base/TemporaryFile.h"

TempFolder::TempFolder() : folder(MakeTemporaryFolder("karta-test-")) {
    if (folder.empty()) {
        throw std::runtime_error("no temporary folder could be made");
    }
}

TempFolder::~TempFolder() {
    std::error_code error;
    std::filesystem::remove_all(folder, error);
}

std::string TempFolder::Path(std::string_view name) const {
    return folder + "/" + std::string(name);
}

std::string TempFolder::Write(std::string_view name, std::string_view bytes) const {
    const std::string path = Path(name);
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return path;
}

std::string ReadWholeFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
