#include "base/FileHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace {

template <class ReadSome>
std::size_t ReadAll(std::size_t size, ReadSome readSome) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = readSome(done);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    return done;
}

}  // namespace

// Without waiting: a pipe put in a companion's place has nobody who writes to it.
FileHandle::FileHandle(const char* path) : descriptor(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat info{};
    // Directories, pipes and devices open on this platform; they can't be measured, and some never end.
    if (descriptor >= 0 && (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode))) {
        Close();
    }
}

FileHandle::FileHandle(FileHandle&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
    std::swap(descriptor, other.descriptor);
    return *this;
}

FileHandle::~FileHandle() {
    Close();
}

void FileHandle::Close() {
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

std::size_t FileHandle::Read(char* buffer, std::size_t size) {
    return ReadAll(size, [&](std::size_t done) { return read(descriptor, buffer + done, size - done); });
}

std::size_t FileHandle::ReadAt(std::uint64_t offset, char* buffer, std::size_t size) {
    return ReadAll(size, [&](std::size_t done) {
        return pread(descriptor, buffer + done, size - done, static_cast<off_t>(offset + done));
    });
}

bool FileHandle::Seek(std::uint64_t offset) {
    return lseek(descriptor, static_cast<off_t>(offset), SEEK_SET) >= 0;
}

std::uint64_t FileHandle::GetSize() const {
    struct stat info{};
    return fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode) ? static_cast<std::uint64_t>(info.st_size)
                                                                  : 0;
}

std::string ReadFileHead(const char* path, std::size_t size) {
    std::string head(size, '\0');
    FileHandle file(path);
    head.resize(file.Read(head.data(), size));
    return head;
}
