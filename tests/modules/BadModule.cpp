// A plug-in made by halves, or one that throws: what BREAKS names is broken. Its format takes files of the
// extension .bad.
#include <cstring>
#include <new>
#include <stdexcept>

#include "frame/NvImport.h"

namespace {

enum Break {
    NullInfo,
    NullName,
    NullFilter,
    NullExtensions,
    SpecWithoutOpen,
    InitThrows,
    InitRunsOut,
    CountThrows,
    CountRunsOut,
    InfoThrows,
    ReleaseThrows,
    CloseThrows,
    ReadThrows,
    ClaimsBytes
};

bool Breaks(Break what) {
    return what == BREAKS;
}

void ThrowIf(Break what) {
    if (Breaks(what)) {
        throw std::runtime_error("the module throws");
    }
}

// As by an allocation of what a module has miscounted.
void RunOutIf(Break what) {
    if (Breaks(what)) {
        throw std::bad_alloc();
    }
}

}  // namespace

void NvImportInitPackage() {
    ThrowIf(InitThrows);
    RunOutIf(InitRunsOut);
}

void NvImportReleasePackage() {
    ThrowIf(ReleaseThrows);
}

int NvImportSizeFileFormatsSupported() {
    ThrowIf(CountThrows);
    RunOutIf(CountRunsOut);
    return 1;
}

const NvImportFileFormatInfo* NvImportGetFileFormatInfo(int) {
    static const NvImportFileFormatInfo info = {Breaks(NullName) ? nullptr : "Bad File",
                                                Breaks(NullFilter) ? nullptr : "Bad Files (*.bad)",
                                                nullptr,
                                                1,
                                                Breaks(NullExtensions) ? nullptr : ".bad\0",
                                                0,
                                                1,
                                                0,
                                                1,
                                                0,
                                                {0}};
    ThrowIf(InfoThrows);
    return Breaks(NullInfo) ? nullptr : &info;
}

char NvImportIsCorrectFileType(int, const char* fileName) {
    const char* extension = std::strrchr(fileName, '.');
    return extension != nullptr && std::strcmp(extension, ".bad") == 0 ? 2 : 0;
}

#ifndef WITHOUT_OPEN
bool NvImportOpen(int, const char*, bool, void** handle, NvImportOpenOptions* options) {
    static unsigned char bytes[] = {1, 2, 3};
    *handle = bytes;
    if (options != nullptr && options->size == 0) {
        options->size = sizeof bytes;
        options->data = Breaks(ClaimsBytes) ? nullptr : bytes;
    }
    return true;
}
#endif

void NvImportClose(int, void*) {
    ThrowIf(CloseThrows);
}

bool NvImportEstablishSize(int, void*, int32_t* rows, int32_t* cols) {
    *rows = *cols = 1;
    return true;
}

bool NvImportRead(int, void*, NvImportReadCallbacks* callbacks) {
    ThrowIf(ReadThrows);
    callbacks->setFloat(callbacks, 1, 1, 1.0F);
    return true;
}

void NvImportSetSpec(void* handle, ImportSpecBase*) {
    // What a module does with its own object.
    *static_cast<unsigned char*>(handle) = 9;
}
