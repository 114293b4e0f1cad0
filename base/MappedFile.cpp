#include "base/MappedFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace {
constexpr std::size_t ChunkSize = 65536;
// To map a file and to take the mapping away again, page by page, costs twice what reading it does; but what
// was read is still to be copied from there, which takes longer than that from about four times this on.
constexpr std::size_t LargestRead = 65536;
}  // namespace

MappedFile::MappedFile(const char* path) {
    FileHandle file(path);
    if (file.IsOpen()) {
        open = true;
        Take(file);
    }
}

MappedFile::MappedFile(MappedFile&& other) noexcept {
    *this = std::move(other);
}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
    std::swap(open, other.open);
    std::swap(mapped, other.mapped);
    std::swap(bytes, other.bytes);
    std::swap(small, other.small);
    std::swap(copy, other.copy);
    return *this;
}

MappedFile::~MappedFile() {
    Close();
}

void MappedFile::Close() {
    if (mapped) {
        munmap(const_cast<std::uint8_t*>(bytes.data()), bytes.size());
    }
    open = false;
    mapped = false;
    bytes = {};
    small.reset();
    copy = {};
}

void MappedFile::LetGo(std::size_t begin, std::size_t end) const {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    begin = begin / page * page;
    end = std::min(end, bytes.size()) / page * page;
    if (mapped && end > begin) {
        madvise(const_cast<std::uint8_t*>(bytes.data()) + begin, end - begin, MADV_DONTNEED);
    }
}

// Where it became shorter meanwhile, as far as it is there.
void MappedFile::ReadWhole(FileHandle& file, std::size_t size) {
    small = std::make_unique_for_overwrite<std::uint8_t[]>(size);
    bytes = {small.get(), file.ReadAt(0, reinterpret_cast<char*>(small.get()), size)};
}

void MappedFile::Take(FileHandle& file) {
    const auto size = static_cast<std::size_t>(file.GetSize());
    if (size > 0 && size <= LargestRead) {
        ReadWhole(file, size);
        return;
    }
    if (size > 0) {
        void* address = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.GetDescriptor(), 0);
        if (address != MAP_FAILED) {
            mapped = true;
            bytes = {static_cast<const std::uint8_t*>(address), size};
            return;
        }
    }
    std::size_t count = ChunkSize;
    while (count == ChunkSize) {
        const std::size_t start = copy.size();
        copy.resize(start + ChunkSize);
        count = file.Read(reinterpret_cast<char*>(copy.data() + start), ChunkSize);
        copy.resize(start + count);
    }
    bytes = copy;
}
