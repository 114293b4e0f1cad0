/* A plug-in for the tests, of which parts can be left out: each WITHOUT_... drops one function. Its one
   format is a table of one cell, the text "module", or what the file's first line says:

       fail      opening fails
       size      measuring fails
       warning   a warning follows the read
       number    the cell is the number 1.5
       grow      the table grows while it is read                                                      */
#include <stdlib.h>
#include <string.h>
#include <stdio.h>

#include "frame/NvImport.h"

#ifndef FORMAT_NAME
#define FORMAT_NAME "Test Module File"
#endif
#ifndef FORMAT_COUNT
#define FORMAT_COUNT 1
#endif

typedef struct {
    char word[64];
} Reader;

static int loads = 0;

#ifndef WITHOUT_INIT
void NvImportInitPackage(void) {
    ++loads;
}
#endif

#ifndef WITHOUT_RELEASE
void NvImportReleasePackage(void) {
    --loads;
}
#endif

#ifndef WITHOUT_COUNT
int NvImportSizeFileFormatsSupported(void) {
    return FORMAT_COUNT;
}
#endif

#ifndef WITHOUT_INFO
const NvImportFileFormatInfo* NvImportGetFileFormatInfo(int index) {
    static const NvImportFileFormatInfo info = {
        FORMAT_NAME, "Test Module Files (*.tmf)", "Test Module File (*.tmf)", 2, ".tmf\0.tm2", 1, 1, 0, 1, 0, {0}};
    (void)index;
    return &info;
}
#endif

#ifndef WITHOUT_TEST
char NvImportIsCorrectFileType(int index, const char* fileName) {
    const char* extension = strrchr(fileName, '.');
    (void)index;
    return extension != NULL && strcmp(extension, ".tmf") == 0 ? 2 : 0;
}
#endif

#ifndef WITHOUT_OPEN
bool NvImportOpen(int index, const char* fileName, bool forRead, void** handle, NvImportOpenOptions* options) {
    Reader* reader = calloc(1, sizeof *reader);
    FILE* file = forRead ? fopen(fileName, "r") : NULL;
    (void)index;
    (void)options;
    *handle = reader;
    if (file != NULL) {
        if (fgets(reader->word, sizeof reader->word, file) == NULL) {
            reader->word[0] = '\0';
        }
        reader->word[strcspn(reader->word, "\n")] = '\0';
        fclose(file);
    }
    return strcmp(reader->word, "fail") != 0;
}
#endif

#ifndef WITHOUT_CLOSE
void NvImportClose(int index, void* handle) {
    (void)index;
    free(handle);
}
#endif

#ifndef WITHOUT_ERROR
const char* NvImportGetLastError(int index, void* handle) {
    (void)index;
    (void)handle;
    return "The module's own reason.";
}
#endif

#ifndef WITHOUT_SIZE
bool NvImportEstablishSize(int index, void* handle, int32_t* rows, int32_t* cols) {
    const Reader* reader = handle;
    (void)index;
    *rows = 1;
    *cols = 1;
    return strcmp(reader->word, "size") != 0;
}
#endif

#ifndef WITHOUT_READ
bool NvImportRead(int index, void* handle, NvImportReadCallbacks* callbacks) {
    const Reader* reader = handle;
    (void)index;
    if (callbacks->nextRowToRead(callbacks, 0) != 1) {
        return true;
    }
    if (strcmp(reader->word, "number") == 0) {
        callbacks->setFloat(callbacks, 1, 1, 1.5F);
    } else if (strcmp(reader->word, "grow") == 0) {
        callbacks->setDataSize(callbacks, 2, 3);
        callbacks->setString(callbacks, 2, 3, callbacks->numRows == 2 && callbacks->numCols == 3 ? "grown" : "not grown");
    } else {
        callbacks->setString(callbacks, 1, 1, "module");
    }
    return strcmp(reader->word, "broken") != 0;
}
#endif

#ifndef WITHOUT_WRITE
bool NvImportWrite(int index, void* handle, NvImportWriteCallbacks* callbacks) {
    (void)index;
    (void)handle;
    return callbacks->numRows > 0 && callbacks->getCellType(callbacks, 1, 1) == 2 &&
           strcmp(callbacks->getString(callbacks, 1, 1), "good") == 0;
}
#endif

#ifndef WITHOUT_WARNING
const char* NvImportGetWarning(int index, void* handle) {
    const Reader* reader = handle;
    (void)index;
    return strcmp(reader->word, "warning") == 0 ? "The module warns." : NULL;
}
#endif

#ifndef WITHOUT_SPEC
void NvImportSetSpec(void* handle, ImportSpecBase* spec) {
    (void)handle;
    (void)spec;
}
#endif
