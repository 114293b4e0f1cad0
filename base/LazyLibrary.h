#pragma once

#include <mutex>

/**
 * A library that few files need and that brings many others along: loaded at the first call of something in
 * it, so that whoever opens other files never meets it. It stays loaded then.
 */
class LazyLibrary {
public:
    /** By the name that the system's loader knows it by: "libgsf-1.so.114"; a literal. */
    explicit LazyLibrary(const char* libraryName) : name(libraryName) {}
    LazyLibrary(const LazyLibrary&) = delete;
    LazyLibrary& operator=(const LazyLibrary&) = delete;

    /**
     * The function, or variable, of this name in the library or in those that it stands on. Raises
     * std::runtime_error where there is none. May be called by any thread.
     */
    template <class Symbol>
    Symbol* Find(const char* symbol) {
        return reinterpret_cast<Symbol*>(FindSymbol(symbol));
    }

private:
    void* FindSymbol(const char* symbol);

    const char* name;
    std::once_flag loading;
    void* handle = nullptr;
};
