#include "frame/SpreadsheetOpenOptions.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "host/StreamReader.h"
#include "host/StreamWriter.h"

SpreadsheetOpenOptions::SpreadsheetOpenOptions(const NvImportOpenOptions* options) {
    Reset(options);
}

SpreadsheetOpenOptions::SpreadsheetOpenOptions(const SpreadsheetOpenOptions& other) {
    Reset(other.record);
}

SpreadsheetOpenOptions::SpreadsheetOpenOptions(StreamReader& reader) {
    Read(reader);
}

SpreadsheetOpenOptions& SpreadsheetOpenOptions::operator=(const SpreadsheetOpenOptions& other) {
    if (this != &other) {
        *this = other.record;
    }
    return *this;
}

SpreadsheetOpenOptions& SpreadsheetOpenOptions::operator=(const NvImportOpenOptions* options) {
    if (options != record) {
        Reset(options);
    }
    return *this;
}

SpreadsheetOpenOptions::~SpreadsheetOpenOptions() {
    Reset(nullptr);
}

void SpreadsheetOpenOptions::Reset(const NvImportOpenOptions* options) {
    if (record != nullptr) {
        FreeOpenOptions(record);
        delete record;
        record = nullptr;
    }
    if (options != nullptr) {
        auto copy = std::make_unique<NvImportOpenOptions>();
        CopyOpenOptions(copy.get(), options);
        record = copy.release();
    }
}

void SpreadsheetOpenOptions::Write(StreamWriter& writer) const {
    writer.WriteBool(record != nullptr);
    if (record != nullptr) {
        writer.WriteInt32(static_cast<std::int32_t>(record->size));
        writer.WriteUInt8Vector(record->data, record->size);
    }
}

void SpreadsheetOpenOptions::Read(StreamReader& reader) {
    Reset(nullptr);
    if (!reader.ReadBool()) {
        return;
    }
    const auto size = static_cast<std::uint32_t>(reader.ReadInt32());
    const std::vector<std::uint8_t> bytes = reader.ReadUInt8Vector(size);
    auto fresh = std::make_unique<NvImportOpenOptions>();
    // Bytes also for a size of 0: a record that was kept is told apart from an empty one to be filled.
    fresh->data = new std::uint8_t[bytes.size()];
    fresh->size = size;
    std::copy(bytes.begin(), bytes.end(), fresh->data);
    record = fresh.release();
}

void SpreadsheetOpenOptions::CopyOpenOptions(NvImportOpenOptions* target, const NvImportOpenOptions* source) {
    // A record that claims bytes and has none comes from a plug-in made by halves.
    const std::uint32_t size = source->data == nullptr ? 0 : source->size;
    std::uint8_t* bytes = nullptr;
    if (size != 0) {
        bytes = new std::uint8_t[size];
        std::copy_n(source->data, size, bytes);
    }
    target->size = size;
    target->data = bytes;
}

void SpreadsheetOpenOptions::FreeOpenOptions(NvImportOpenOptions* options) {
    delete[] options->data;
    options->data = nullptr;
    options->size = 0;
}
