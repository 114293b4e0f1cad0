#include "process/BrooksideFileSet.h"

#include <cstring>
#include <filesystem>
#include <new>
#include <utility>

#include "base/Exception.h"
#include "base/FileHandle.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "host/FNClass.h"
#include "host/NvFile.h"

namespace {

// The kinds of blocks in a package: each has a block of its name and one of its content.
constexpr const char* TransitionKind = "trn_file";
constexpr const char* DataKind = "data_file";
constexpr const char* CenterTag = "center_file";

// A package's first tag is found this far from its beginning.
constexpr std::size_t HeadWithTag = 4096;

std::string NameTagOf(std::string_view kind) {
    return "<" + std::string(kind) + "_name>";
}

[[noreturn]] void FailAsForeign(const std::string& name) {
    throw Exception("The file '" + name + "' does not seem to be a Brookside file.");
}

}  // namespace

BrooksideFileSet::BrooksideFileSet(const std::string& path, std::shared_ptr<karta::ReadContext> readContext)
    : context(std::move(readContext)), ownName(path) {
    FNClass parts(path);
    if (IsPackage(parts.extension)) {
        ReadPackage();
        FindLog();
    } else if (IsComplete() || EqualIgnoringCase(parts.extension, ".trn")) {
        isPlainFile = true;
        directory = parts.folder;
    } else {
        FailAsForeign(path);
    }
}

bool BrooksideFileSet::IsPackage(std::string_view extension) const {
    if (EqualIgnoringCase(extension, ".pkg")) {
        return true;
    }
    const std::string nameTag = NameTagOf(TransitionKind);
    return IsComplete() && NvFile::ReadHead(ownName.c_str(), HeadWithTag).find(nameTag) != std::string::npos;
}

BrooksideFileSet::BrooksideFileSet(const char* text, const std::string& name, PackageKind kind)
    : packageText(text), ownName(name) {
    if (kind == PackageOfLog) {
        FindLog();
    } else {
        FindCenterFiles();
    }
}

void BrooksideFileSet::ReadPackage() {
    FileHandle file(ownName.c_str());
    if (!file.IsOpen()) {
        throw Exception("The file '" + ownName + "' could not be opened.");
    }
    const auto size = static_cast<std::size_t>(file.GetSize());
    context->budget.AddInput(ownName.c_str());
    try {
        ownedText = std::make_unique_for_overwrite<char[]>(size + 1);
    } catch (const std::bad_alloc&) {
        throw Exception("The file '" + ownName + "' could not be read.");
    }
    if (file.Read(ownedText.get(), size) != size) {
        throw Exception("The file '" + ownName + "' could not be read.");
    }
    ownedText[size] = '\0';
    packageText = ownedText.get();
}

void BrooksideFileSet::FindLog() {
    Block block;
    if (!FindBlock(TransitionKind, 0, block)) {
        FailAsForeign(ownName);
    }
    regions[ownName] = block.region;
    while (FindBlock(DataKind, block.region.start + block.region.length, block)) {
        regions[block.name] = block.region;
    }
}

void BrooksideFileSet::FindCenterFiles() {
    Region first{};
    if (!FindContent(CenterTag, 0, first)) {
        FailAsForeign(ownName);
    }
    Region second = first;
    FindContent(CenterTag, first.start + first.length, second);
    regions[ownName] = first;
    regions[std::string()] = second;
}

// A name and the content behind it. The name's own closing tag isn't asked for: the name ends at any tag.
bool BrooksideFileSet::FindBlock(std::string_view kind, std::size_t from, Block& block) const {
    const std::string tag(kind);
    const std::string nameTag = NameTagOf(kind);
    const std::size_t opening = packageText.find(nameTag, from);
    if (opening == std::string_view::npos) {
        return false;
    }
    const std::size_t start = opening + nameTag.size();
    const std::size_t end = packageText.find('<', start);
    if (end == std::string_view::npos) {
        return false;
    }
    block.name = FNClass(TrimSpace(packageText.substr(start, end - start))).GetNameAndExt();
    return FindContent(tag, end, block.region);
}

// Content begins on the line behind the opening tag and ends right before the closing one.
bool BrooksideFileSet::FindContent(std::string_view tag, std::size_t from, Region& region) const {
    const std::string name(tag);
    const std::size_t opening = packageText.find("<" + name + ">", from);
    if (opening == std::string_view::npos) {
        return false;
    }
    const std::size_t feed = packageText.find('\n', opening);
    if (feed == std::string_view::npos) {
        return false;
    }
    const std::size_t closing = packageText.find("</" + name + ">", feed + 1);
    if (closing == std::string_view::npos) {
        return false;
    }
    region = {feed + 1, closing - feed - 1};
    return true;
}

bool BrooksideFileSet::IsOwnName(const std::string& name) const {
    return EqualIgnoringCase(name, ownName);
}

// The last part of a name that a file tells: nothing outside the log's folder is ever opened.
std::string BrooksideFileSet::PathOf(const std::string& name) const {
    return IsOwnName(name) ? ownName : directory + NvGetFileName(name);
}

// The path of a file of the folder whose name is the same but for the case of its letters; of several the
// first in the order of their bytes.
std::string BrooksideFileSet::FindInFolder(const std::string& name) const {
    const std::string wanted = NvGetFileName(name);
    std::string found;
    std::error_code error;
    const std::filesystem::path folder = directory.empty() ? "." : directory;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string candidate = entry->path().filename().string();
        if (EqualIgnoringCase(candidate, wanted) && (found.empty() || candidate < found)) {
            found = candidate;
        }
    }
    return directory + (found.empty() ? wanted : found);
}

BrooksideStream BrooksideFileSet::OpenText(const std::string& name) const {
    const std::size_t longestLine =
        IsComplete() ? BrooksideStream::AnyLineLength : BrooksideStream::ClassicLineLength;
    if (!isPlainFile) {
        auto found = regions.find(name);
        if (found == regions.end() && IsComplete()) {
            found = regions.find(NvGetFileName(name));
        }
        if (found == regions.end()) {
            return {};
        }
        return BrooksideStream::OfText(packageText.substr(found->second.start, found->second.length),
                                       longestLine);
    }
    std::string path = PathOf(name);
    std::error_code error;
    // A name out of the transition file must not lead to a device or a pipe, which could have no end.
    if (!IsOwnName(name) && !std::filesystem::is_regular_file(path, error)) {
        path = IsComplete() ? FindInFolder(name) : path;
        if (!std::filesystem::is_regular_file(path, error)) {
            return {};
        }
    }
    context->budget.AddInput(path.c_str());
    return BrooksideStream::OfFile(path, longestLine);
}
