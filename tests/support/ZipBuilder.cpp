#include "tests/support/ZipBuilder.h"

#include <stdexcept>

#include <zlib.h>

#include "tests/support/ByteBuilder.h"

namespace {

constexpr std::uint32_t InZip64 = 0xffffffff;

std::string Deflate(const std::string& bytes) {
    z_stream stream{};
    // The window's sign asks for the bare stream, without zlib's own header.
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("zlib doesn't start");
    }
    std::string packed(deflateBound(&stream, bytes.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

// What both headers of an entry tell.
struct Fields {
    unsigned flags;
    std::uint32_t checksum;
    std::uint32_t packedSize;
    std::uint32_t size;
};

Fields FieldsOf(const ZipBuilder::Entry& entry, const std::string& packed) {
    const auto* bytes = reinterpret_cast<const Bytef*>(entry.bytes.data());
    const auto checksum = static_cast<std::uint32_t>(crc32(0, bytes, static_cast<uInt>(entry.bytes.size())));
    return {(entry.encrypted ? 1U : 0U) | (entry.hasDescriptor ? 8U : 0U), checksum ^ entry.checksumError,
            static_cast<std::uint32_t>(packed.size()),
            static_cast<std::uint32_t>(entry.bytes.size()) + entry.sizeError};
}

void PutSizes(ByteBuilder& file, const Fields& fields, bool inExtra, bool later) {
    file.U32(later ? 0 : fields.checksum);
    file.U32(inExtra ? InZip64 : later ? 0 : fields.packedSize);
    file.U32(inExtra ? InZip64 : later ? 0 : fields.size);
}

void PutZip64Extra(ByteBuilder& file, const Fields& fields) {
    file.U16(1).U16(16).Put(std::uint64_t{fields.size}).Put(std::uint64_t{fields.packedSize});
}

void PutLocalHeader(ByteBuilder& file, const ZipBuilder::Entry& entry, const Fields& fields) {
    file.Text("PK\3\4").U16(20).U16(fields.flags).U16(entry.deflated ? 8 : 0).U32(0);
    PutSizes(file, fields, entry.hasZip64Sizes, entry.hasDescriptor);
    file.U16(static_cast<unsigned>(entry.name.size())).U16(entry.hasZip64Sizes ? 20 : 0).Text(entry.name);
    if (entry.hasZip64Sizes) {
        PutZip64Extra(file, fields);
    }
}

void PutDirectoryHeader(ByteBuilder& file, const ZipBuilder::Entry& entry, const Fields& fields,
                        std::size_t offset) {
    file.Text("PK\1\2").U16(20).U16(20).U16(fields.flags).U16(entry.deflated ? 8 : 0).U32(0);
    PutSizes(file, fields, entry.hasZip64Sizes, false);
    file.U16(static_cast<unsigned>(entry.name.size())).U16(entry.hasZip64Sizes ? 20 : 0);
    file.U16(0).U16(0).U16(0).U32(0).U32(static_cast<std::uint32_t>(offset)).Text(entry.name);
    if (entry.hasZip64Sizes) {
        PutZip64Extra(file, fields);
    }
}

}  // namespace

ZipBuilder& ZipBuilder::Add(std::string_view name, std::string_view bytes) {
    Entry entry;
    entry.name = name;
    entry.bytes = bytes;
    return Add(entry);
}

ZipBuilder& ZipBuilder::AddDeflated(std::string_view name, std::string_view bytes) {
    Entry entry;
    entry.name = name;
    entry.bytes = bytes;
    entry.deflated = true;
    return Add(entry);
}

ZipBuilder& ZipBuilder::Add(const Entry& entry) {
    entries.push_back(entry);
    return *this;
}

std::string ZipBuilder::Build(std::string_view comment) const {
    ByteBuilder file;
    ByteBuilder directory;
    for (const Entry& entry : entries) {
        const std::string packed = entry.deflated ? Deflate(entry.bytes) : entry.bytes;
        const Fields fields = FieldsOf(entry, packed);
        PutDirectoryHeader(directory, entry, fields, file.Size());
        PutLocalHeader(file, entry, fields);
        file.Text(packed);
        if (entry.hasDescriptor) {
            file.Text("PK\7\10");
            PutSizes(file, fields, false, false);
        }
    }
    const auto count = static_cast<unsigned>(entries.size());
    const auto offset = static_cast<std::uint32_t>(file.Size());
    file.Text(directory.Bytes()).Text("PK\5\6").U16(0).U16(0).U16(count).U16(count);
    file.U32(static_cast<std::uint32_t>(directory.Size())).U32(offset);
    file.U16(static_cast<unsigned>(comment.size())).Text(comment);
    return file.Bytes();
}
