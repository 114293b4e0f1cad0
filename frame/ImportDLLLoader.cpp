#include "frame/ImportDLLLoader.h"

#include <dirent.h>
#include <dlfcn.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "frame/DLLFile.h"
#include "frame/ImportModule.h"
#include "host/NvFile.h"

namespace {

constexpr std::string_view ModuleExtension = ".so";

// Answers of NvImportIsCorrectFileType.
enum Verdict { VerdictPossible = 1, VerdictSure = 2 };

struct CloseDirectory {
    void operator()(DIR* stream) const { closedir(stream); }
};

// It stays the same for as long as the process runs, but who reads many files asks for each.
const std::string& ProgramPath() {
    static const std::string program = [] {
        std::error_code error;
        const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
        return error ? std::string() : path.string();
    }();
    return program;
}

// The module that holds this very code.
std::string LibraryPath() {
    Dl_info info;
    std::error_code error;
    if (dladdr(reinterpret_cast<void*>(&NvImportSizeFileFormatsSupported), &info) == 0) {
        return {};
    }
    const std::filesystem::path path = std::filesystem::canonical(info.dli_fname, error);
    return error ? std::string() : path.string();
}

std::string DirectoryOf(const std::string& path) {
    const std::size_t separator = path.rfind('/');
    return separator == std::string::npos ? "./" : path.substr(0, separator + 1);
}

}  // namespace

ImportDLLLoader::ImportDLLLoader() = default;

ImportDLLLoader::~ImportDLLLoader() = default;

void ImportDLLLoader::Init(const char* pluginDirectory) {
    const std::string program = ProgramPath();
    const std::string programDirectory = DirectoryOf(program);
    ExtractFileTypes(program);
    // An application brings this library along in its own directory and finds it there. Installed for the
    // whole system, it lies elsewhere; then it comes before all that an application has of its own.
    const std::string library = LibraryPath();
    if (library != program && DirectoryOf(library) != programDirectory) {
        ExtractFileTypes(library);
    }
    ExtractDirectory(programDirectory);
    if (pluginDirectory != nullptr && !TrimSpace(pluginDirectory).empty()) {
        ExtractDirectory(std::string(pluginDirectory) + "/");
    }
}

int ImportDLLLoader::SizeInfos() const {
    return static_cast<int>(instances.size());
}

const NvImportFileFormatInfo* ImportDLLLoader::GetInfo(int i) const {
    return InstanceAt(i).info;
}

SpreadsheetFile* ImportDLLLoader::GetSpreadsheetFile(int i) const {
    const InstanceInfo& instance = InstanceAt(i);
    return new DLLFile(ModuleOf(instance).GetReaderFunctions(), instance.index, *instance.info);
}

int ImportDLLLoader::GetSpreadsheetFileIndex(const char* fileName) {
    if (!NvFile::Exists(fileName)) {
        std::vector<InstanceInfo> matches;
        MatchExtension(fileName, instances, matches);
        return matches.size() == 1 ? GetIndex(&matches.front()) : SelectFormat(matches, fileName);
    }
    return ChooseByVerdicts(fileName, GetVerdicts(fileName));
}

std::vector<int> ImportDLLLoader::GetVerdicts(const char* fileName) const {
    std::vector<int> verdicts;
    for (int i = 1; i <= SizeInfos(); ++i) {
        verdicts.push_back(GetVerdict(i, fileName));
    }
    return verdicts;
}

int ImportDLLLoader::ChooseByVerdicts(const char* fileName, const std::vector<int>& verdicts) {
    std::vector<InstanceInfo> sure;
    std::vector<InstanceInfo> possible;
    for (std::size_t i = 0; i < verdicts.size(); ++i) {
        if (verdicts[i] == VerdictSure) {
            sure.push_back(instances[i]);
        } else if (verdicts[i] == VerdictPossible) {
            possible.push_back(instances[i]);
        }
    }
    // Content outranks the extension only where a test proves the format. A test that merely fits is no
    // stronger than none at all: among such formats the extension decides.
    if (sure.size() == 1) {
        return GetIndex(&sure.front());
    }
    if (!sure.empty()) {
        return SelectFormat(sure, fileName);
    }
    if (possible.empty()) {
        return -1;
    }
    if (possible.size() == 1) {
        return GetIndex(&possible.front());
    }
    std::vector<InstanceInfo> matches;
    MatchExtension(fileName, possible, matches);
    if (matches.size() == 1) {
        return GetIndex(&matches.front());
    }
    return SelectFormat(matches.empty() ? possible : matches, fileName);
}

int ImportDLLLoader::GetVerdict(int i, const char* fileName) const {
    const InstanceInfo& instance = InstanceAt(i);
    return ModuleOf(instance).GetVerdict(instance.index, fileName);
}

std::string ImportDLLLoader::GetModulePath(int i) const {
    return ModuleOf(InstanceAt(i)).GetPath();
}

int ImportDLLLoader::SelectFormat(std::vector<InstanceInfo>& candidates, const char* /*fileName*/) {
    return candidates.empty() ? -1 : GetIndex(&candidates.front());
}

int ImportDLLLoader::GetIndex(const InstanceInfo* instance) const {
    for (int i = 1; i <= SizeInfos(); ++i) {
        if (std::strcmp(InstanceAt(i).info->formatName, instance->info->formatName) == 0) {
            return i;
        }
    }
    return -1;
}

void ImportDLLLoader::ExtractFileTypes(const std::string& path) {
    void* const module = AddModule(path);
    if (module == nullptr) {
        return;
    }
    ImportModule& added = *modules.at(module);
    const int size = added.CountFormats();
    if (size == 0) {
        // Nothing will ever replace its formats, so nothing releases it.
        added.Keep();
    }
    for (int i = 1; i <= size; ++i) {
        const NvImportFileFormatInfo* info = added.GetFormatInfo(i);
        if (info == nullptr) {
            continue;
        }
        void* replaced = RemoveFormat(info->formatName);
        instances.push_back({module, i, info});
        // Only now: a module that names a format twice replaces its own and stays.
        if (replaced != nullptr && !IsUsed(replaced)) {
            modules.erase(replaced);
        }
    }
}

// The module at the path, which is listed from now on; one that was listed already, under another name
// perhaps, is loaded and told so once. Null for what is no plug-in.
void* ImportDLLLoader::AddModule(const std::string& path) {
    const bool isProgram = path == ProgramPath();
    void* const known = ImportModule::FindLoaded(path, isProgram);
    if (known != nullptr && modules.contains(known)) {
        return known;
    }
    std::unique_ptr<ImportModule> module = ImportModule::Load(path, isProgram);
    if (module == nullptr) {
        return nullptr;
    }
    void* const handle = module->GetHandle();
    modules.emplace(handle, std::move(module));
    return handle;
}

const ImportModule& ImportDLLLoader::ModuleOf(const InstanceInfo& instance) const {
    return *modules.at(instance.module);
}

const ImportDLLLoader::InstanceInfo& ImportDLLLoader::InstanceAt(int i) const {
    return instances[static_cast<std::size_t>(std::max(i, 1) - 1)];
}

void ImportDLLLoader::ExtractDirectory(const std::string& directory) {
    std::vector<std::string> paths;
    // Not by the standard's iterator, which ends the program when memory runs out in it.
    const std::unique_ptr<DIR, CloseDirectory> stream(opendir(directory.c_str()));
    if (stream == nullptr && errno == ENOMEM) {
        throw std::bad_alloc();
    }
    for (const dirent* entry = nullptr; stream != nullptr && (entry = readdir(stream.get())) != nullptr;) {
        const std::string_view name = entry->d_name;
        if (name.size() > ModuleExtension.size() && name.ends_with(ModuleExtension)) {
            paths.push_back(directory + entry->d_name);
        }
    }
    // Sorted, since a directory's own order differs between machines, and the last module of a name wins.
    std::sort(paths.begin(), paths.end());
    for (const std::string& path : paths) {
        ExtractFileTypes(path);
    }
}

// The module that had the format of this name, or null.
void* ImportDLLLoader::RemoveFormat(const char* formatName) {
    const auto old = std::find_if(instances.begin(), instances.end(), [&](const InstanceInfo& instance) {
        return EqualIgnoringCase(instance.info->formatName, formatName);
    });
    if (old == instances.end()) {
        return nullptr;
    }
    void* module = old->module;
    instances.erase(old);
    return module;
}

bool ImportDLLLoader::IsUsed(void* module) const {
    return std::any_of(instances.begin(), instances.end(),
                       [&](const InstanceInfo& instance) { return instance.module == module; });
}

void ImportDLLLoader::MatchExtension(const char* fileName, const std::vector<InstanceInfo>& candidates,
                                     std::vector<InstanceInfo>& matches) {
    const char* extension = std::strrchr(fileName, '.');
    if (extension == nullptr) {
        return;
    }
    for (const InstanceInfo& candidate : candidates) {
        const char* known = candidate.info->extensions;
        for (int i = 0; i < candidate.info->numExtensions; ++i, known += std::strlen(known) + 1) {
            if (EqualIgnoringCase(known, extension)) {
                matches.push_back(candidate);
                break;
            }
        }
    }
}
