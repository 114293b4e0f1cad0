#include "base/FileStream.h"

namespace {
constexpr std::size_t BufferSize = 65536;
}  // namespace

FileStreamBuffer::int_type FileStreamBuffer::underflow() {
    if (buffer == nullptr) {
        buffer = std::make_unique_for_overwrite<char[]>(BufferSize);
    }
    const std::size_t count = file.Read(buffer.get(), BufferSize);
    behind += static_cast<off_type>(count);
    setg(buffer.get(), buffer.get(), buffer.get() + count);
    return count == 0 ? traits_type::eof() : traits_type::to_int_type(*gptr());
}

FileStreamBuffer::pos_type FileStreamBuffer::seekoff(off_type offset, std::ios_base::seekdir from,
                                                     std::ios_base::openmode which) {
    const off_type present = behind - (egptr() - gptr());
    if (from == std::ios_base::cur && offset == 0) {
        return present;
    }
    if (from == std::ios_base::cur) {
        offset += present;
    } else if (from == std::ios_base::end) {
        offset += static_cast<off_type>(file.GetSize());
    }
    return seekpos(offset, which);
}

FileStreamBuffer::pos_type FileStreamBuffer::seekpos(pos_type position, std::ios_base::openmode which) {
    const auto offset = static_cast<off_type>(position);
    if ((which & std::ios_base::in) == 0 || offset < 0 || !file.Seek(static_cast<std::uint64_t>(offset))) {
        return off_type(-1);
    }
    setg(nullptr, nullptr, nullptr);
    behind = offset;
    return position;
}

FileStream::FileStream(const char* path) : FileStreamBuffer(path), std::istream(this) {
    if (!FileStreamBuffer::IsOpen()) {
        setstate(failbit);
    }
}
