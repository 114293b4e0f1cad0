#include "karta/internal/FileHead.h"

#include <algorithm>
#include <fstream>

namespace {

using namespace std::string_view_literals;

struct Signature {
    std::size_t offset;
    std::string_view bytes;
    FileHead::Kind kind;
};

constexpr Signature Signatures[] = {
    {0, "\x1f\x8b"sv, {"gzip-compressed data", "unpack it first, with gunzip", true}},
    {0, "BZh"sv, {"bzip2-compressed data", "unpack it first, with bunzip2", true}},
    {0,
     "\xfd"
     "7zXZ\0"sv,
     {"xz-compressed data", "unpack it first, with unxz", true}},
    {0, "\x28\xb5\x2f\xfd"sv, {"Zstandard-compressed data", "unpack it first, with unzstd", true}},
    {0, "\x04\x22\x4d\x18"sv, {"LZ4-compressed data", "unpack it first, with unlz4", true}},
    {0, "7z\xbc\xaf\x27\x1c"sv, {"a 7z archive", "unpack it first", true}},
    {0, "Rar!\x1a\x07"sv, {"a RAR archive", "unpack it first", true}},
    {30,
     "mimetypeapplication/vnd.oasis.opendocument"sv,
     {"an OpenDocument file", "save it as .xlsx or .csv first", true}},
    {0, "PK\x03\x04"sv, {"a zip archive without a workbook", "unpack it first", false}},
    {0, "PK\x05\x06"sv, {"an empty zip archive", "", false}},
    {0,
     "\x89HDF\r\n\x1a\n"sv,
     {"an HDF5 file, as MATLAB 7.3 and netCDF-4 write them", "save it as MATLAB 7 or as netCDF classic",
      false}},
    {0, "\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"sv, {"a compound file of another program", "", false}},
    {0, "%PDF-"sv, {"a PDF document", "", false}},
    {0, "\x89PNG\r\n\x1a\n"sv, {"a PNG picture", "", false}},
    {0, "\xff\xd8\xff"sv, {"a JPEG picture", "", false}},
    {0, "GIF8"sv, {"a GIF picture", "", false}},
    {0, "SQLite format 3\0"sv, {"an SQLite database", "", false}},
    {0, "PAR1"sv, {"a Parquet file", "", false}},
    {0,
     "\x7f"
     "ELF"sv,
     {"a program", "", false}},
};

// UTF-16 text of Western languages has its NULs on one side: so many times those of the other, and in more
// than this share of the bytes.
constexpr std::size_t NulMajority = 9;
constexpr std::size_t NulShare = 8;
// One control character in so many bytes is what old programs leave in texts; more is no text.
constexpr std::size_t BytesPerControl = 100;
// A small file may have a few for a reason of its own.
constexpr std::size_t FewControls = 4;

bool HasMark(std::string_view bytes) {
    return bytes.starts_with("\xef\xbb\xbf") || bytes.starts_with("\xff\xfe") ||
           bytes.starts_with("\xfe\xff");
}

bool IsUtf16ByItsNuls(std::string_view bytes) {
    std::size_t nuls[2] = {0, 0};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        nuls[i % 2] += bytes[i] == '\0' ? 1 : 0;
    }
    const auto [fewer, more] = std::minmax(nuls[0], nuls[1]);
    return more * NulShare > bytes.size() && more >= NulMajority * fewer;
}

// The separators from 0x1c on part the fields of some texts, and 0x1a is the end of others.
bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x1a && "\t\n\v\f\r"sv.find(c) == std::string_view::npos) || byte == 0x7f;
}

}  // namespace

FileHead::FileHead(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    bytes.resize(Size);
    file.read(bytes.data(), static_cast<std::streamsize>(Size));
    bytes.resize(file ? Size : static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
}

bool FileHead::IsText() const {
    if (HasMark(bytes) || IsUtf16ByItsNuls(bytes)) {
        return true;
    }
    const auto controls = static_cast<std::size_t>(std::count_if(bytes.begin(), bytes.end(), IsControl));
    return controls * BytesPerControl <= bytes.size() + FewControls * BytesPerControl;
}

FileHead::Kind FileHead::GetForeignKind() const {
    for (const Signature& signature : Signatures) {
        if (bytes.size() > signature.offset &&
            std::string_view(bytes).substr(signature.offset).starts_with(signature.bytes)) {
            return signature.kind;
        }
    }
    return {nullptr, "", false};
}
