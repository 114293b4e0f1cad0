#include "archive/ZipFile.h"

#include <algorithm>
#include <istream>
#include <span>
#include <streambuf>
#include <string_view>
#include <system_error>
#include <utility>

#include <zip.h>

#include "archive/CompoundFile.h"
#include "archive/FastInflate.h"
#include "archive/ReadAhead.h"
#include "archive/ZipDirectory.h"
#include "base/Budget.h"
#include "base/Exception.h"
#include "base/LazyLibrary.h"

namespace {

/** What is called of libzip, which brings several others along: loaded when the first archive is opened. */
struct ZipLibrary {
    LazyLibrary library{KARTA_LIBZIP_LIBRARY};
    decltype(&::zip_discard) zip_discard = library.Find<decltype(::zip_discard)>("zip_discard");
    decltype(&::zip_fclose) zip_fclose = library.Find<decltype(::zip_fclose)>("zip_fclose");
    decltype(&::zip_fopen_index) zip_fopen_index =
        library.Find<decltype(::zip_fopen_index)>("zip_fopen_index");
    decltype(&::zip_fread) zip_fread = library.Find<decltype(::zip_fread)>("zip_fread");
    decltype(&::zip_get_num_entries) zip_get_num_entries =
        library.Find<decltype(::zip_get_num_entries)>("zip_get_num_entries");
    decltype(&::zip_open_from_source) zip_open_from_source =
        library.Find<decltype(::zip_open_from_source)>("zip_open_from_source");
    decltype(&::zip_source_buffer_create) zip_source_buffer_create =
        library.Find<decltype(::zip_source_buffer_create)>("zip_source_buffer_create");
    decltype(&::zip_source_free) zip_source_free =
        library.Find<decltype(::zip_source_free)>("zip_source_free");
    decltype(&::zip_stat_index) zip_stat_index = library.Find<decltype(::zip_stat_index)>("zip_stat_index");
};

const ZipLibrary& Library() {
    static const ZipLibrary library;
    return library;
}

// An unpacked byte is scanned and parsed too: it costs as much as so many that are only passed through.
constexpr std::uint64_t StepsOfByte = 8;

// Below this a second thread isn't worth its start.
constexpr std::uint64_t LeastReadAhead = std::uint64_t{1} << 20;

// Unpacks an entry by the library that reads the archive. A failure is an exception.
class LibraryEntry {
public:
    LibraryEntry(zip* archive, std::uint64_t index) : entry(Library().zip_fopen_index(archive, index, 0)) {}
    LibraryEntry(const LibraryEntry&) = delete;
    LibraryEntry& operator=(const LibraryEntry&) = delete;
    ~LibraryEntry() {
        if (entry != nullptr) {
            Library().zip_fclose(entry);
        }
    }

    std::size_t Read(std::span<char> room) {
        const zip_int64_t count =
            entry == nullptr ? -1 : Library().zip_fread(entry, room.data(), room.size());
        if (count < 0) {
            throw std::ios_base::failure("the entry of the archive is damaged");
        }
        return static_cast<std::size_t>(count);
    }

private:
    zip_file* entry;
};

// Unpacks an entry piece by piece: fast, and perhaps ahead in another thread, as long as it is sound, and
// from then on by the library. A failure is an exception, which the stream over it turns into bad().
class EntryBuffer : public std::streambuf {
public:
    EntryBuffer(zip* openArchive, const ZipFile::Entry& zipEntry, karta::ReadContext* readContext)
        : archive(openArchive), entry(zipEntry), bytesLeft(zipEntry.size), context(readContext) {
        // A stored entry takes its own room in the file.
        isTooLarge = entry.isCompressed && entry.size > karta::Budget::GetInflateLimit();
        if (FastInflate::IsThere() && !entry.deflated.empty() && !isTooLarge) {
            fast = std::make_unique<FastInflate>(entry.deflated, entry.checksum, entry.size);
        }
    }
    EntryBuffer(const EntryBuffer&) = delete;
    EntryBuffer& operator=(const EntryBuffer&) = delete;
    ~EntryBuffer() override = default;

protected:
    int_type underflow() override {
        if (context != nullptr) {
            context->ThrowIfStopped();
            context->budget.ChargeWork(StepsOfByte * std::min<std::uint64_t>(bytesLeft, ReadAhead::BlockSize),
                                       "unpacked bytes");
        }
        const std::span<char> piece = Next();
        // The library compares the checksum at the end, but not the size.
        if (piece.size() > bytesLeft || (piece.empty() && bytesLeft > 0)) {
            throw std::ios_base::failure("the entry of the archive has another size than it claims");
        }
        if (piece.empty()) {
            return traits_type::eof();
        }
        bytesLeft -= piece.size();
        setg(piece.data(), piece.data(), piece.data() + piece.size());
        return traits_type::to_int_type(piece[0]);
    }

private:
    std::span<char> Next() {
        if (fast != nullptr) {
            StartReadAhead();
            const std::span<char> piece = ahead != nullptr ? ahead->Next() : FillBlock();
            if (!piece.empty() || !fast->HasGivenUp()) {
                return piece;
            }
            ahead.reset();
            fast.reset();
        }
        if (library == nullptr && !isTooLarge) {
            library = std::make_unique<LibraryEntry>(archive, entry.index);
            Skip(entry.size - bytesLeft);
        }
        if (library == nullptr) {
            throw std::ios_base::failure("the entry of the archive unpacks to too much");
        }
        block.resize(ReadAhead::BlockSize);
        return std::span(block).first(library->Read(block));
    }

    // Not before the entry is read.
    void StartReadAhead() {
        if (std::exchange(hasStarted, true) || entry.size < LeastReadAhead || !ReadAhead::IsWorthwhile()) {
            return;
        }
        try {
            ahead = std::make_unique<ReadAhead>([this](std::span<char> room) { return fast->Read(room); });
        } catch (const std::system_error&) {
            // It goes without.
        }
    }

    std::span<char> FillBlock() {
        block.resize(std::min<std::uint64_t>(ReadAhead::BlockSize, entry.size + 1));
        return std::span(block).first(fast->Read(block));
    }

    // What was handed out before.
    void Skip(std::uint64_t count) {
        block.resize(ReadAhead::BlockSize);
        while (count > 0) {
            const std::size_t skipped =
                library->Read(std::span(block).first(std::min<std::uint64_t>(count, block.size())));
            if (skipped == 0) {
                throw std::ios_base::failure("the entry of the archive has another size than it claims");
            }
            count -= skipped;
        }
    }

    zip* archive;
    const ZipFile::Entry& entry;
    std::uint64_t bytesLeft;
    karta::ReadContext* context;  // null: nobody counts
    bool isTooLarge = false;
    bool hasStarted = false;
    std::vector<char> block;
    std::unique_ptr<FastInflate> fast;
    std::unique_ptr<ReadAhead> ahead;  // uses `fast`, so it goes first
    std::unique_ptr<LibraryEntry> library;
};

// A stream that owns its buffer.
class EntryStream : public std::istream {
public:
    EntryStream(zip* archive, const ZipFile::Entry& entry, karta::ReadContext* context)
        : std::istream(nullptr), buffer(archive, entry, context) {
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
    zip_source* const source = Library().zip_source_buffer_create(bytes.data(), bytes.size(), 0, nullptr);
    if (source == nullptr) {
        return nullptr;
    }
    zip* const archive = Library().zip_open_from_source(source, ZIP_RDONLY, nullptr);
    if (archive == nullptr) {
        Library().zip_source_free(source);
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
        context->budget.AddInput(path);
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
        Library().zip_discard(archive);
        throw Exception("The entries of the zip archive overlap.");
    }
    ListEntries(bytes);
}

ZipFile::~ZipFile() {
    Library().zip_discard(archive);
}

void ZipFile::ListEntries(std::span<const std::uint8_t> bytes) {
    const auto count = static_cast<std::uint64_t>(Library().zip_get_num_entries(archive, 0));
    const std::vector<std::span<const std::uint8_t>> packed = ListPackedBytes(bytes);
    entries.reserve(count);
    for (std::uint64_t index = 0; index < count; ++index) {
        zip_stat_t info;
        if (Library().zip_stat_index(archive, index, ZIP_FL_ENC_RAW, &info) != 0 || info.name == nullptr) {
            continue;
        }
        Entry& entry = entries.emplace_back();
        entry.name = info.name;
        entry.index = index;
        entry.size = info.size;
        entry.isCompressed = info.comp_method != ZIP_CM_STORE;
        entry.checksum = info.crc;
        // Where the two ways of reading the directory differ, the library's counts.
        const bool isPlain = info.comp_method == ZIP_CM_DEFLATE && info.encryption_method == ZIP_EM_NONE;
        if (isPlain && packed.size() == count && packed[index].size() == info.comp_size) {
            entry.deflated = packed[index];
        }
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
    return std::make_unique<EntryStream>(archive, entry, context.get());
}
