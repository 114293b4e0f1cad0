#include "spreadsheet/BaseStream.h"

#include <cstdint>

#include "host/NvFile.h"

BaseStream::BaseStream(const char* path, std::ios_base::openmode mode)
    : std::fstream(path, mode | std::ios_base::binary) {
    // The standard stream opens a folder gladly and fails only when it is read.
    if (NvFile::IsDirectory(path)) {
        setstate(std::ios_base::failbit);
    }
}

void BaseStream::Read(char* buffer, int count) {
    read(buffer, count);
}

void BaseStream::Write(const char* buffer, int count) {
    write(buffer, count);
}

void BaseStream::Seek(long long offset, int origin) {
    constexpr std::ios_base::seekdir Directions[] = {std::ios_base::beg, std::ios_base::cur,
                                                     std::ios_base::end};
    if (origin >= 0 && origin <= 2) {
        seekg(offset, Directions[origin]);
    }
}

int BaseStream::Tell() {
    return static_cast<int>(static_cast<std::uint32_t>(static_cast<std::int64_t>(tellg())));
}

int BaseStream::GetStatus() {
    return fail() ? 1 : 0;
}
