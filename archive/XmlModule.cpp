#include "archive/XmlModule.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

#include "base/LazyLibrary.h"

std::string XmlModule::GetPath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&XmlModule::FindSymbol), &info) == 0 ||
        info.dli_fname == nullptr) {
        return KARTA_XML_MODULE;
    }
    std::error_code unknown;
    const std::filesystem::path library = std::filesystem::canonical(info.dli_fname, unknown);
    return ((unknown ? std::filesystem::path(info.dli_fname) : library).parent_path() / KARTA_XML_MODULE)
        .string();
}

void* XmlModule::FindSymbol(const char* name) {
    static const std::string path = GetPath();
    static LazyLibrary module(path.c_str());
    return reinterpret_cast<void*>(module.Find<void()>(name));
}
