#include "spreadsheet/ExcelStgStream.h"

#include "base/PathNames.h"

ExcelStgStream::ExcelStgStream(const char* path, Naming naming) : storage(path) {
    if (!storage.IsOpen()) {
        status = StatusNoStorage;
        return;
    }
    const CompoundFile::Entry* const entry = FindWorkbook(storage, naming);
    if (entry != nullptr) {
        stream = storage.OpenStream(*entry);
    }
    if (stream == nullptr) {
        status = StatusNoStream;
    }
}

const CompoundFile::Entry* ExcelStgStream::FindWorkbook(const CompoundFile& file, Naming naming) {
    const CompoundFile::Entry* found = nullptr;
    for (const CompoundFile::Entry& entry : file.GetEntries()) {
        if (naming == Naming::Exact) {
            if (entry.name == "Workbook" || entry.name == "Book") {
                return &entry;
            }
        } else if (entry.isStream && EqualIgnoringCase(entry.name, "Workbook")) {
            return &entry;
        } else if (entry.isStream && found == nullptr && EqualIgnoringCase(entry.name, "Book")) {
            found = &entry;
        }
    }
    return found;
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

std::string_view ExcelStgStream::GetAhead() {
    return stream == nullptr || status != StatusGood ? std::string_view() : stream->GetAhead();
}
