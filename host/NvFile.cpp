#include "host/NvFile.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "base/FileHandle.h"

namespace {

constexpr std::size_t ChunkSize = 65536;

}  // namespace

std::vector<std::string> NvFile::GetFileNames(const char* fileNames) {
    std::vector<std::string> names;
    std::string_view rest = fileNames;
    while (!rest.empty()) {
        const std::string_view name = rest.substr(0, rest.find('\n'));
        if (!name.empty()) {
            names.emplace_back(name);
        }
        rest.remove_prefix(std::min(name.size() + 1, rest.size()));
    }
    return names;
}

int NvFile::GetEncoding(const char* path) {
    const std::string head = ReadHead(path, 3);
    if (head.starts_with("\xff\xfe")) {
        return EncodingUtf16LittleEndian;
    }
    if (head.starts_with("\xfe\xff")) {
        return EncodingUtf16BigEndian;
    }
    return head == "\xef\xbb\xbf" ? EncodingUtf8 : EncodingPlain;
}

bool NvFile::Exists(const char* path) {
    struct stat info{};
    return stat(path, &info) == 0;
}

bool NvFile::IsDirectory(const char* path) {
    struct stat info{};
    return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

bool NvFile::CanOpen(const char* path) {
    return FileHandle(path).IsOpen();
}

std::size_t NvFile::GetSize(const char* path) {
    struct stat info{};
    return stat(path, &info) == 0 && S_ISREG(info.st_mode) ? static_cast<std::size_t>(info.st_size) : 0;
}

std::string NvFile::ReadHead(const char* path, std::size_t size) {
    return ReadFileHead(path, size);
}

bool IsTextFile(const char* path, std::size_t limit) {
    FileHandle file(path);
    if (!file.IsOpen()) {
        return false;
    }
    const auto chunk = std::make_unique<char[]>(std::min(limit, ChunkSize));
    while (limit > 0) {
        const std::size_t count = file.Read(chunk.get(), std::min(limit, ChunkSize));
        if (std::memchr(chunk.get(), 0, count) != nullptr) {
            return false;
        }
        if (count == 0) {
            break;
        }
        limit -= count;
    }
    return true;
}
