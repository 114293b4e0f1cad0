#include "base/LazyLibrary.h"

#include <dlfcn.h>

#include <stdexcept>
#include <string>

void* LazyLibrary::FindSymbol(const char* symbol) {
    std::call_once(loading, [this] { handle = dlopen(name, RTLD_NOW | RTLD_LOCAL); });
    if (handle == nullptr) {
        throw std::runtime_error(std::string("The library ") + name +
                                 " is needed for this and can't be loaded.");
    }
    void* const found = dlsym(handle, symbol);
    if (found == nullptr) {
        throw std::runtime_error(std::string("The library ") + name + " has no " + symbol + ".");
    }
    return found;
}
