#include "frame/ImportModule.h"

#include <dlfcn.h>
#include <link.h>

#include <utility>

namespace {

// The answer that stands in for a module's own test.
constexpr int VerdictPossible = 1;

const link_map* LinkMapOf(void* module) {
    link_map* map = nullptr;
    return dlinfo(module, RTLD_DI_LINKMAP, static_cast<void*>(&map)) == 0 ? map : nullptr;
}

// The module's own function of the name. A look-up by name also finds those of the libraries that the
// module is linked with, this one perhaps; to call them with the module's numbers would mix up formats.
void* OwnSymbol(void* module, const char* name) {
    void* symbol = dlsym(module, name);
    if (symbol == nullptr) {
        return nullptr;
    }
    // Not dladdr, which walks through all names of the library.
    dl_find_object owner{};
    if (_dl_find_object(symbol, &owner) != 0) {
        return nullptr;
    }
    return owner.dlfo_link_map == LinkMapOf(module) ? symbol : nullptr;
}

template <class Function>
Function* OwnFunction(void* module, const char* name, Function* /*shape*/) {
    return reinterpret_cast<Function*>(OwnSymbol(module, name));
}

#define OWN_FUNCTION(module, name) OwnFunction(module, #name, &(name))

/** Calls a function of a module; `fallback` where it throws, whatever it throws: a module may say anything.
 */
template <class Function, class Result>
Result CallGuarded(Function function, Result fallback) {
    try {
        return function();
    } catch (...) {
        return fallback;
    }
}

}  // namespace

void* ImportModule::FindLoaded(const std::string& path, bool isProgram) {
    void* const handle = dlopen(isProgram ? nullptr : path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (handle != nullptr) {
        // Whoever loaded it keeps it.
        dlclose(handle);
    }
    return handle;
}

std::unique_ptr<ImportModule> ImportModule::Load(const std::string& path, bool isProgram) {
    void* handle = dlopen(isProgram ? nullptr : path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        return nullptr;
    }
    std::unique_ptr<ImportModule> module(new ImportModule(handle, path));
    const bool isPlugIn = module->Init() && module->sizeFormats != nullptr && module->getInfo != nullptr;
    return isPlugIn ? std::move(module) : nullptr;
}

ImportModule::ImportModule(void* module, std::string modulePath)
    : handle(module),
      path(std::move(modulePath)),
      init(OWN_FUNCTION(module, NvImportInitPackage)),
      release(OWN_FUNCTION(module, NvImportReleasePackage)),
      sizeFormats(OWN_FUNCTION(module, NvImportSizeFileFormatsSupported)),
      getInfo(OWN_FUNCTION(module, NvImportGetFileFormatInfo)),
      isCorrectType(OWN_FUNCTION(module, NvImportIsCorrectFileType)) {
    reader.open = OWN_FUNCTION(module, NvImportOpen);
    reader.close = OWN_FUNCTION(module, NvImportClose);
    reader.getLastError = OWN_FUNCTION(module, NvImportGetLastError);
    reader.establishSize = OWN_FUNCTION(module, NvImportEstablishSize);
    reader.read = OWN_FUNCTION(module, NvImportRead);
    reader.write = OWN_FUNCTION(module, NvImportWrite);
    reader.getWarning = OWN_FUNCTION(module, NvImportGetWarning);
    reader.setSpec = OWN_FUNCTION(module, NvImportSetSpec);
}

ImportModule::~ImportModule() {
    if (isKept) {
        return;
    }
    if (isInitialised && release != nullptr) {
        try {
            release();
        } catch (...) {
            // It is about to be unloaded: there is nobody left to tell.
        }
    }
    dlclose(handle);
}

bool ImportModule::Init() {
    isInitialised = CallGuarded(
        [this] {
            if (init != nullptr) {
                init();
            }
            return true;
        },
        false);
    return isInitialised;
}

int ImportModule::CountFormats() const {
    return CallGuarded([this] { return sizeFormats(); }, 0);
}

const NvImportFileFormatInfo* ImportModule::GetFormatInfo(int index) const {
    const NvImportFileFormatInfo* info =
        CallGuarded([&] { return getInfo(index); }, static_cast<const NvImportFileFormatInfo*>(nullptr));
    const bool isWhole = info != nullptr && info->formatName != nullptr && info->readFilter != nullptr &&
                         (info->extensions != nullptr || info->numExtensions <= 0);
    return isWhole ? info : nullptr;
}

int ImportModule::GetVerdict(int index, const char* fileName) const {
    if (isCorrectType == nullptr) {
        // A module that has no test may have the file's format.
        return VerdictPossible;
    }
    return isCorrectType(index, fileName);
}
