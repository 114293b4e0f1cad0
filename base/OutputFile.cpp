#include "base/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>

namespace {

constexpr std::size_t BufferSize = 1 << 18;
// What is as large goes to the system from where it is.
constexpr std::size_t LargePiece = 1 << 15;

// What a new file may be read and written by, before the user's mask.
constexpr mode_t NewFileMode = 0666;

// What tells the growing file from the one that it becomes.
constexpr std::size_t SuffixSize = 9;

// How the budget's refusal calls it.
constexpr const char* What = "The output";

// So many names are tried before giving up; that a random one is taken is rare.
constexpr int MostNames = 100;

std::string RandomSuffix() {
    constexpr std::string_view Letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    std::random_device random;
    std::string suffix = ".";
    while (suffix.size() < SuffixSize) {
        suffix += Letters[random() % Letters.size()];
    }
    return suffix;
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : target(path) {
    std::error_code unknown;
    // A link's target is what gets replaced, not the link.
    if (const auto real = std::filesystem::canonical(path, unknown); !unknown) {
        target = real.string();
    }
    struct stat info{};
    const bool exists = stat(target.c_str(), &info) == 0;
    if (exists && !S_ISREG(info.st_mode)) {
        descriptor = open(target.c_str(), O_WRONLY | O_CLOEXEC);
    } else if (!exists || access(target.c_str(), W_OK) == 0) {
        OpenBeside(target);
        if (descriptor >= 0 && exists) {
            fchmod(descriptor, info.st_mode & 07777);
        }
    }
    if (descriptor >= 0) {
        failed = false;
    } else {
        Fail();
    }
}

OutputFile::OutputFile(int openDescriptor) : descriptor(dup(openDescriptor)), failed(false) {
    if (descriptor < 0) {
        Fail();
    }
}

OutputFile::~OutputFile() {
    Discard();
}

void OutputFile::OpenBeside(const std::string& path) {
    // A name may be as long as a folder takes; then the added letters go at the cost of its own.
    const std::size_t name = path.rfind('/') + 1;
    const std::string own = path.substr(0, std::min(path.size(), name + NAME_MAX - SuffixSize));
    for (int i = 0; i < MostNames && descriptor < 0; ++i) {
        temporary = own + RandomSuffix();
        // The system takes the user's mask off the mode; to ask for the mask would change it for all threads.
        descriptor = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, NewFileMode);
        if (descriptor < 0 && errno != EEXIST) {
            break;
        }
    }
    if (descriptor < 0) {
        temporary.clear();
    } else {
        unfinished.Hold(temporary.c_str());
    }
}

void OutputFile::Expect(std::uint64_t bytes) const {
    if (budget != nullptr) {
        budget->ExpectOutput(bytes, What);
    }
}

void OutputFile::Write(std::string_view bytes) {
    if (bytes.size() >= LargePiece) {
        Flush();
        Put(bytes);
        return;
    }
    buffer.append(bytes);
    if (buffer.size() >= BufferSize) {
        Flush();
    }
}

void OutputFile::Flush() {
    Put(buffer);
    buffer.clear();
}

void OutputFile::Put(std::string_view bytes) {
    if (budget != nullptr) {
        budget->ChargeOutput(bytes.size(), What);
    }
    while (!bytes.empty() && !failed) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            Fail();
        }
    }
}

bool OutputFile::Commit() {
    Flush();
    if (descriptor >= 0 && close(descriptor) != 0) {
        Fail();
    }
    descriptor = -1;
    if (!failed && !temporary.empty() && std::rename(temporary.c_str(), target.c_str()) != 0) {
        Fail();
    }
    if (!failed) {
        unfinished.Release();
        temporary.clear();
    }
    Discard();
    return !failed;
}

void OutputFile::Fail() {
    failed = true;
    error = error == 0 ? errno : error;
}

void OutputFile::Discard() {
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
    if (!temporary.empty()) {
        unlink(temporary.c_str());
        unfinished.Release();
        temporary.clear();
    }
}
