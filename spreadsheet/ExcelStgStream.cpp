#include "spreadsheet/ExcelStgStream.h"

#include <algorithm>

ExcelStgStream::ExcelStgStream(const char* path) : storage(path) {
    if (!storage.IsOpen()) {
        status = StatusNoStorage;
        return;
    }
    const auto& entries = storage.GetEntries();
    const auto found = std::find_if(entries.begin(), entries.end(), [](const CompoundFile::Entry& entry) {
        return entry.name == "Workbook" || entry.name == "Book";
    });
    if (found != entries.end()) {
        stream = storage.OpenStream(*found);
    }
    if (stream == nullptr) {
        status = StatusNoStream;
    }
}

ExcelStgStream::~ExcelStgStream() = default;

// A short read is a failure, or else the walks over the records would have no end.
void ExcelStgStream::Read(char* buffer, int count) {
    if (stream == nullptr || count < 0 || !stream->Read(buffer, static_cast<std::size_t>(count))) {
        status = StatusReadFailed;
    }
}

void ExcelStgStream::Write(const char* /*buffer*/, int /*count*/) {
    status = StatusWriteFailed;
}

void ExcelStgStream::Seek(long long offset, int origin) {
    if (origin < 0 || origin > 2) {
        return;
    }
    if (stream == nullptr) {
        status = StatusSeekFailed;
        return;
    }
    const std::uint64_t base = origin == 0 ? 0 : origin == 1 ? stream->Tell() : stream->GetSize();
    const std::uint64_t target = base + static_cast<std::uint64_t>(offset);
    const bool isNegative = offset < 0 && target > base;
    if (isNegative || !stream->Seek(target)) {
        status = StatusSeekFailed;
    }
}

int ExcelStgStream::Tell() {
    if (stream == nullptr) {
        status = StatusSeekFailed;
        return 0;
    }
    return static_cast<int>(static_cast<std::uint32_t>(stream->Tell()));
}

int ExcelStgStream::GetStatus() {
    return status;
}
