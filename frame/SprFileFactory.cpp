#include "frame/SprFileFactory.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <map>
#include <vector>

#include "base/PathNames.h"

namespace {

struct ByBytes {
    bool operator()(const char* left, const char* right) const { return std::strcmp(left, right) < 0; }
};

struct Entry {
    NvImportFileFormatInfo info;
    SprFileFactory* factory;
};

using Registry = std::map<const char*, Entry, ByBytes>;

// The factories are statics of many source files, so the first of them, whichever it is, makes the
// registry.
Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

// Set once, by any thread that calls a flat function.
std::atomic<bool> isRegistryClosed = false;

// The registry's entries in its order, so that the look-ups by index of every read don't walk the map.
std::vector<const Entry*>& TheOrder() {
    static std::vector<const Entry*> order;
    return order;
}

void KeepOrder() {
    std::vector<const Entry*>& order = TheOrder();
    order.clear();
    for (const auto& item : TheRegistry()) {
        order.push_back(&item.second);
    }
}

const Entry& EntryAt(int index) {
    return *TheOrder()[static_cast<std::size_t>(std::max(index, 1) - 1)];
}

}  // namespace

SprFileFactory::SprFileFactory(const char* formatName, const char* readFilter, const char* writeFilter,
                               int numExtensions, const char* extensions, char canWrite, char canRead,
                               char canReadMany, char sinkFlag, char hostFlag, signed char newPriority) {
    if (isRegistryClosed) {
        return;
    }
    Registry& registry = TheRegistry();
    const auto taken = std::find_if(registry.begin(), registry.end(), [&](const auto& item) {
        return EqualIgnoringCase(item.second.info.formatName, formatName);
    });
    if (taken != registry.end()) {
        if (taken->second.factory->priority > newPriority) {
            return;
        }
        registry.erase(taken);
    }
    const NvImportFileFormatInfo info = {formatName, readFilter, writeFilter, numExtensions,
                                         extensions, canWrite,   canRead,     canReadMany,
                                         sinkFlag,   hostFlag,   {0, 0, 0}};
    registry.emplace(readFilter, Entry{info, this});
    KeepOrder();
}

SprFileFactory::~SprFileFactory() {
    std::erase_if(TheRegistry(), [this](const auto& item) { return item.second.factory == this; });
    KeepOrder();
}

void SprFileFactory::CloseRegistry() {
    isRegistryClosed = true;
}

int SprFileFactory::SizeInfos() {
    return static_cast<int>(TheRegistry().size());
}

const NvImportFileFormatInfo* SprFileFactory::GetInfo(int index) {
    return &EntryAt(index).info;
}

SpreadsheetFile* SprFileFactory::GetSpreadsheetFile(int index) {
    return EntryAt(index).factory->GetSpreadsheetFile();
}

MyKindOfFile SprFileFactory::IsMyKindOfFile(int index, const char* fileName) {
    return EntryAt(index).factory->IsMyKindOfFile(fileName);
}
