#pragma once

#include <string>

/**
 * The module that the XML library is linked with. That brings thirty others along, and nearly all documents
 * do without: so the module is loaded when something of it is first called. A program that holds these
 * functions itself, as the tests do, has no need of the module.
 */
class XmlModule {
public:
    /**
     * A function of the module by its name; `linked` is that of this program, or null. Raises
     * std::runtime_error where the module isn't there. May be called by any thread.
     */
    template <class Function>
    static Function* Find(const char* name, Function* linked) {
        return linked != nullptr ? linked : reinterpret_cast<Function*>(FindSymbol(name));
    }

    /** Where it lies, seen from the library that this is part of. */
    static std::string GetPath();

private:
    static void* FindSymbol(const char* name);
};
