#include "karta/internal/FormatCatalogue.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "base/PathNames.h"
#include "frame/SprFileFactory.h"

namespace {

constexpr std::string_view ModuleExtension = ".so";

// The file that holds this library's code: the library itself, or the program that it is built into.
std::string OwnModule() {
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(&NvImportSizeFileFormatsSupported), &info) == 0) {
        return {};
    }
    std::error_code error;
    const std::filesystem::path path = std::filesystem::canonical(info.dli_fname, error);
    // A program's own name needn't be a path.
    return error ? std::filesystem::read_symlink("/proc/self/exe", error).string() : path.string();
}

// Sorted, as the loader takes them: the last module of a name wins.
std::vector<std::string> ModulesIn(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ModuleExtension) {
            paths.push_back(entry->path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace

void FormatCatalogue::InitFrom(const std::vector<std::string>& pluginFolders) {
    static const std::string ownModule = OwnModule();
    ExtractFileTypes(ownModule);
    for (const std::string& folder : pluginFolders) {
        for (const std::string& path : ModulesIn(folder)) {
            ExtractFileTypes(path);
        }
    }
}

int FormatCatalogue::FindFormat(const std::string& name) const {
    for (int i = 1; i <= SizeInfos(); ++i) {
        if (EqualIgnoringCase(GetInfo(i)->formatName, name)) {
            return i;
        }
    }
    for (int i = 1; i <= SizeInfos(); ++i) {
        const FormatRecogniser* recogniser = GetRecogniser(i);
        if (recogniser != nullptr && EqualIgnoringCase(recogniser->GetShortName(), name)) {
            return i;
        }
    }
    return 0;
}

int FormatCatalogue::OwnIndex(int format) const {
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (SprFileFactory::GetInfo(i) == GetInfo(format)) {
            return i;
        }
    }
    return 0;
}

std::unique_ptr<SpreadsheetFile> FormatCatalogue::MakeReader(int format) const {
    const int own = OwnIndex(format);
    return std::unique_ptr<SpreadsheetFile>(own != 0 ? SprFileFactory::GetSpreadsheetFile(own)
                                                     : GetSpreadsheetFile(format));
}

const FormatRecogniser* FormatCatalogue::GetRecogniser(int format) const {
    return IsOwn(format) ? FormatRecogniser::Find(GetInfo(format)->formatName) : nullptr;
}

std::string FormatCatalogue::GetNames(int format) const {
    const FormatRecogniser* recogniser = GetRecogniser(format);
    const std::string name = GetInfo(format)->formatName;
    return recogniser == nullptr ? name : name + " (" + recogniser->GetShortName() + ")";
}

std::string FormatCatalogue::GetShortName(int format) const {
    const FormatRecogniser* recogniser = GetRecogniser(format);
    return recogniser == nullptr ? std::string() : recogniser->GetShortName();
}

std::vector<std::string> FormatCatalogue::PossibleFormats(const std::string& fileName) const {
    std::vector<std::string> names;
    for (int i = 1; i <= SizeInfos(); ++i) {
        if (GetVerdict(i, fileName.c_str()) > 0) {
            names.push_back(GetNames(i));
        }
    }
    return names;
}

std::vector<std::string> FormatCatalogue::Extensions(int format) const {
    std::vector<std::string> extensions;
    const char* extension = GetInfo(format)->extensions;
    for (int i = 0; i < GetInfo(format)->numExtensions; ++i) {
        extensions.emplace_back(extension);
        extension += std::strlen(extension) + 1;
    }
    return extensions;
}
