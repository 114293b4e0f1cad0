// What mutates in a package is one of its parts as often as the packed bytes: few inputs would come past the
// checksums of a zip archive or the chains of a compound file otherwise.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <istream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archive/CompoundFile.h"
#include "archive/ZipFile.h"
#include "base/TemporaryFile.h"
#include "tests/support/CompoundBuilder.h"
#include "tests/support/ZipBuilder.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using Random = std::minstd_rand;

/** What a package is made of; a storage of a compound file has no bytes. */
struct Part {
    std::string name;
    std::string bytes;
    bool isCompressed = false;
    bool isStorage = false;
};

// Parts that unpack to more than an input may have aren't worth repacking.
constexpr std::uint64_t MostBytes = 1 << 16;

// The readers of packages take files.
class PackageFile {
public:
    PackageFile(const std::uint8_t* data, std::size_t size) {
        if (std::FILE* file = std::fopen(name.c_str(), "wb")) {
            std::fwrite(data, 1, size, file);
            std::fclose(file);
        }
    }
    PackageFile(const PackageFile&) = delete;
    PackageFile& operator=(const PackageFile&) = delete;
    ~PackageFile() { std::remove(name.c_str()); }

    const char* GetName() const { return name.c_str(); }

private:
    static const std::string& Folder() {
        static const std::string folder = [] {
            std::atexit([] { std::remove(Folder().c_str()); });
            return MakeTemporaryFolder("karta-fuzz-");
        }();
        return folder;
    }

    const std::string name = Folder() + "/package";
};

std::vector<Part> UnpackZip(const char* path) {
    const ZipFile archive(path);
    std::vector<Part> parts;
    for (const ZipFile::Entry& entry : archive.GetEntries()) {
        if (entry.size > MostBytes) {
            return {};
        }
        const std::unique_ptr<std::istream> stream = archive.GetInputStream(entry);
        std::string bytes(static_cast<std::size_t>(entry.size), '\0');
        stream->read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        bytes.resize(static_cast<std::size_t>(stream->gcount()));
        parts.push_back({entry.name, std::move(bytes), entry.isCompressed, false});
    }
    return parts;
}

std::vector<Part> UnpackCompound(const char* path) {
    const CompoundFile file(path);
    std::vector<Part> parts;
    for (const CompoundFile::Entry& entry : file.GetEntries()) {
        const std::unique_ptr<CompoundStream> stream = file.OpenStream(entry);
        std::string bytes(stream == nullptr ? 0 : static_cast<std::size_t>(std::min(entry.size, MostBytes)),
                          '\0');
        if (stream != nullptr && !stream->Read(bytes.data(), bytes.size())) {
            bytes.clear();
        }
        parts.push_back({entry.name, std::move(bytes), false, stream == nullptr});
    }
    return parts;
}

std::string PackZip(const std::vector<Part>& parts) {
    ZipBuilder archive;
    for (const Part& part : parts) {
        part.isCompressed ? archive.AddDeflated(part.name, part.bytes) : archive.Add(part.name, part.bytes);
    }
    return archive.Build();
}

std::string PackCompound(const std::vector<Part>& parts) {
    CompoundBuilder file;
    for (const Part& part : parts) {
        part.isStorage ? file.Storage(part.name) : file.Stream(part.name, part.bytes);
    }
    return file.Build();
}

void MutatePart(std::vector<Part>& parts, Random& random, std::size_t maxSize) {
    Part& part = parts[random() % parts.size()];
    std::vector<std::uint8_t> bytes(part.bytes.begin(), part.bytes.end());
    const std::size_t size = bytes.size();
    bytes.resize(std::min(maxSize, std::max<std::size_t>(2 * size, size + 64)));
    bytes.resize(LLVMFuzzerMutate(bytes.data(), std::min(size, bytes.size()), bytes.size()));
    part.bytes.assign(bytes.begin(), bytes.end());
}

/** The package with one part changed; empty for what is none. */
std::string MutatePackage(const std::uint8_t* data, std::size_t size, std::size_t maxSize, Random& random) {
    const bool isZip = size > 4 && std::memcmp(data, "PK\3\4", 4) == 0;
    const PackageFile file(data, size);
    if (!isZip && !CompoundFile::IsCompoundFile(file.GetName())) {
        return {};
    }
    try {
        std::vector<Part> parts = isZip ? UnpackZip(file.GetName()) : UnpackCompound(file.GetName());
        if (parts.empty()) {
            return {};
        }
        MutatePart(parts, random, maxSize);
        return isZip ? PackZip(parts) : PackCompound(parts);
    } catch (const std::exception&) {
        return {};  // a damaged archive
    }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
    Random random(seed);
    if (random() % 4 != 0) {
        const std::string package = MutatePackage(data, size, maxSize, random);
        if (!package.empty() && package.size() <= maxSize) {
            std::copy(package.begin(), package.end(), data);
            return package.size();
        }
    }
    return LLVMFuzzerMutate(data, size, maxSize);
}
