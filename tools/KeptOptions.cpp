#include "tools/KeptOptions.h"

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "base/OutputFile.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "karta/Error.h"
#include "tools/Failure.h"

namespace {

std::vector<std::uint8_t> ReadKept(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw Failure(path + ": the options can't be read");
    }
    const std::string stream{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    try {
        return OptionsRecord::BytesOfStream(stream);
    } catch (const karta::Error& error) {
        throw Failure(path + ": " + error.GetText());
    }
}

}  // namespace

karta::Reading ReadingOf(const ReadRequest& request, karta::Reading ofVerb) {
    if (request.givenReading) {
        return *request.givenReading;
    }
    if (request.throughDriver) {
        return karta::Reading::Classic;
    }
    return request.optionsFile.empty() ? ofVerb : OptionsRecord::ReadingOf(ReadKept(request.optionsFile));
}

karta::ReadWishes WishesOf(const ReadRequest& request) {
    karta::ReadWishes wishes = request;
    if (!request.optionsFile.empty()) {
        wishes.keptOptions = ReadKept(request.optionsFile);
    }
    wishes.wantsChoices = !request.saveOptionsFile.empty();
    return wishes;
}

void SaveOptions(const ReadRequest& request, const NvImportOpenOptions& options, bool isOwnReader) {
    if (request.saveOptionsFile.empty()) {
        return;
    }
    // What is replayed is kept again as it was, unless it is now read otherwise.
    const bool isMarked = isOwnReader && (request.optionsFile.empty() || request.givenReading);
    std::vector<std::uint8_t> marked;
    NvImportOpenOptions kept = options;
    if (isMarked) {
        marked = OptionsRecord::WithReading(options, request.reading);
        kept = {static_cast<std::uint32_t>(marked.size()), marked.data()};
    }
    OutputFile file(request.saveOptionsFile);
    file.Write(OptionsRecord::StreamOfBytes(kept));
    if (!file.Commit()) {
        throw Failure(request.saveOptionsFile + ": the options can't be written");
    }
}

void SaveOptionsAfterDriver(const ReadRequest& request, OptionsRecord& record, bool isOwnReader) {
    const SpreadsheetOpenOptions kept(record.Get());
    if (record.IsFilledByDriver() && record.Get() != nullptr) {
        SpreadsheetOpenOptions::FreeOpenOptions(record.Get());
    }
    if (const NvImportOpenOptions* choices = kept) {
        SaveOptions(request, *choices, isOwnReader);
    }
}
