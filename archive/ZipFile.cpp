#include "archive/ZipFile.h"

#include <algorithm>
#include <istream>
#include <span>
#include <streambuf>
#include <string_view>
#include <utility>

#include <zip.h>

#include "archive/CompoundFile.h"
#include "archive/ZipDirectory.h"
#include "base/Budget.h"
#include "base/Exception.h"

namespace {

// How much of an entry is unpacked at a time.
constexpr std::size_t ChunkSize = 65536;

// Unpacks an entry piece by piece. A failure is an exception, which the stream over it turns into bad().
class EntryBuffer : public std::streambuf {
public:
    EntryBuffer(zip_file* openEntry, std::uint64_t claimedSize, karta::ReadContext* readContext)
        : entry(openEntry), bytesLeft(claimedSize), context(readContext) {}
    EntryBuffer(const EntryBuffer&) = delete;
    EntryBuffer& operator=(const EntryBuffer&) = delete;
    ~EntryBuffer() override {
        if (entry != nullptr) {
            zip_fclose(entry);
        }
    }

protected:
    int_type underflow() override {
        if (context != nullptr) {
            context->ThrowIfStopped();
            context->budget.ChargeWork(std::min<std::uint64_t>(bytesLeft, sizeof chunk), "unpacked bytes");
        }
        const zip_int64_t count = entry == nullptr ? -1 : zip_fread(entry, chunk, sizeof chunk);
        if (count < 0) {
            throw std::ios_base::failure("the entry of the archive is damaged");
        }
        // The library compares the checksum at the end, but not the size.
        if (static_cast<std::uint64_t>(count) > bytesLeft || (count == 0 && bytesLeft > 0)) {
            throw std::ios_base::failure("the entry of the archive has another size than it claims");
        }
        if (count == 0) {
            return traits_type::eof();
        }
        bytesLeft -= static_cast<std::uint64_t>(count);
        setg(chunk, chunk, chunk + count);
        return traits_type::to_int_type(chunk[0]);
    }

private:
    zip_file* entry;
    std::uint64_t bytesLeft;
    karta::ReadContext* context;  // null: nobody counts
    char chunk[ChunkSize];
};

// A stream that owns its buffer.
class EntryStream : public std::istream {
public:
    EntryStream(zip_file* entry, std::uint64_t claimedSize, karta::ReadContext* context)
        : std::istream(nullptr), buffer(entry, claimedSize, context) {
        rdbuf(&buffer);
    }

private:
    EntryBuffer buffer;
};

zip* OpenArchive(std::span<const std::uint8_t> bytes) {
    if (bytes.empty()) {
        // To the library that would be an archive without entries.
        return nullptr;
    }
    zip_source* const source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, nullptr);
    if (source == nullptr) {
        return nullptr;
    }
    zip* const archive = zip_open_from_source(source, ZIP_RDONLY, nullptr);
    if (archive == nullptr) {
        zip_source_free(source);
    }
    return archive;
}

}  // namespace

ZipFile::ZipFile(const char* path, std::shared_ptr<karta::ReadContext> readContext)
    : context(std::move(readContext)), file(path) {
    std::span<const std::uint8_t> bytes = file.GetBytes();
    if (!file.IsOpen()) {
        throw Exception("The file could not be opened.");
    }
    if (context != nullptr) {
        context->budget.AddInput(bytes.size());
    }
    archive = OpenArchive(bytes);
    if (archive == nullptr) {
        bytes = bytes.subspan(CountLeadingBytes(bytes));
        archive = OpenArchive(bytes);
    }
    if (archive == nullptr) {
        throw Exception(
            CompoundFile::IsCompoundFile(path)
                ? "The file is no zip archive but a compound file, as workbooks with a password are."
                : "The file is no zip archive, or a damaged one.");
    }
    if (HasOverlappingEntries(bytes)) {
        zip_discard(archive);
        throw Exception("The entries of the zip archive overlap.");
    }
    ListEntries();
}

ZipFile::~ZipFile() {
    zip_discard(archive);
}

void ZipFile::ListEntries() {
    const auto count = static_cast<std::uint64_t>(zip_get_num_entries(archive, 0));
    entries.reserve(count);
    for (std::uint64_t index = 0; index < count; ++index) {
        zip_stat_t info;
        if (zip_stat_index(archive, index, ZIP_FL_ENC_RAW, &info) != 0 || info.name == nullptr) {
            continue;
        }
        entries.push_back({info.name, index, info.size, info.comp_method != ZIP_CM_STORE});
    }
    for (const Entry& entry : entries) {
        firstOfName.try_emplace(entry.name, &entry);
    }
}

const ZipFile::Entry* ZipFile::FindEntry(std::string_view name) const {
    const auto found = firstOfName.find(name);
    return found == firstOfName.end() ? nullptr : found->second;
}

std::unique_ptr<std::istream> ZipFile::GetInputStream(const Entry& entry) const {
    // A stored entry takes its own room in the file.
    const bool isTooLarge = entry.isCompressed && entry.size > karta::Budget::GetInflateLimit();
    zip_file* const opened = isTooLarge ? nullptr : zip_fopen_index(archive, entry.index, 0);
    return std::make_unique<EntryStream>(opened, entry.size, context.get());
}
