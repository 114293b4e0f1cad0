/* Reads a selection through a module's flat functions, as a host does that shares nothing with the module but
   their header, and tells of every call and answer in one line:

       flat-road MODULE ROWS SELECTION FORMAT...

   ROWS is a list of the rows that are wanted, like 2,4,5, or empty for all of them. The selection is read once
   with each of the formats. */
#include <dlfcn.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "frame/NvImport.h"

/* The module's functions, each in a pointer of its own shape. */
static struct {
    __typeof__(&NvImportInitPackage) initPackage;
    __typeof__(&NvImportReleasePackage) releasePackage;
    __typeof__(&NvImportSizeFileFormatsSupported) sizeFormats;
    __typeof__(&NvImportGetFileFormatInfo) getInfo;
    __typeof__(&NvImportIsCorrectFileType) isCorrectFileType;
    __typeof__(&NvImportOpen) open;
    __typeof__(&NvImportClose) close;
    __typeof__(&NvImportGetLastError) getLastError;
    __typeof__(&NvImportGetWarning) getWarning;
    __typeof__(&NvImportEstablishSize) establishSize;
    __typeof__(&NvImportRead) read;
} module;

static const char* wantedRows = "";

/* Two functions make a module a plug-in; a host that reads needs five more. */
static void* find_needed(void* library, const char* name) {
    void* symbol = dlsym(library, name);
    if (symbol == NULL) {
        fprintf(stderr, "flat-road: %s\n", dlerror());
        exit(2);
    }
    return symbol;
}

static void take_functions(void* library) {
    *(void**)&module.initPackage = dlsym(library, "NvImportInitPackage");
    *(void**)&module.releasePackage = dlsym(library, "NvImportReleasePackage");
    *(void**)&module.isCorrectFileType = dlsym(library, "NvImportIsCorrectFileType");
    *(void**)&module.getWarning = dlsym(library, "NvImportGetWarning");
    *(void**)&module.sizeFormats = find_needed(library, "NvImportSizeFileFormatsSupported");
    *(void**)&module.getInfo = find_needed(library, "NvImportGetFileFormatInfo");
    *(void**)&module.open = find_needed(library, "NvImportOpen");
    *(void**)&module.close = find_needed(library, "NvImportClose");
    *(void**)&module.getLastError = find_needed(library, "NvImportGetLastError");
    *(void**)&module.establishSize = find_needed(library, "NvImportEstablishSize");
    *(void**)&module.read = find_needed(library, "NvImportRead");
}

static void print_quoted(const char* text) {
    putchar('"');
    for (; *text != '\0'; ++text) {
        const unsigned char byte = (unsigned char)*text;
        if (byte == '"' || byte == '\\') {
            printf("\\%c", byte);
        } else if (byte == '\n') {
            fputs("\\n", stdout);
        } else if (byte == '\r') {
            fputs("\\r", stdout);
        } else if (byte == '\t') {
            fputs("\\t", stdout);
        } else if (byte < 0x20 || byte > 0x7e) {
            printf("\\x%02x", byte);
        } else {
            putchar(byte);
        }
    }
    fputs("\"\n", stdout);
}

static void set_float(NvImportReadCallbacks* table, int32_t row, int32_t col, float value) {
    (void)table;
    if (isnan(value)) {
        printf("Set %d %d float nan\n", col, row);
    } else {
        printf("Set %d %d float %.9g\n", col, row, (double)value);
    }
}

static void set_string(NvImportReadCallbacks* table, int32_t row, int32_t col, const char* text) {
    (void)table;
    printf("Set %d %d text ", col, row);
    print_quoted(text);
}

static void set_data_size(NvImportReadCallbacks* table, int32_t rows, int32_t cols) {
    table->numRows = rows;
    table->numCols = cols;
    printf("SetDataSize %d %d\n", cols, rows);
}

/* The first wanted row behind this one. */
static int32_t answer_next_row(int32_t row) {
    const char* place = wantedRows;
    if (*place == '\0') {
        return row + 1;
    }
    while (*place != '\0') {
        char* end;
        const long wanted = strtol(place, &end, 10);
        if (wanted > row) {
            return (int32_t)wanted;
        }
        place = *end == ',' ? end + 1 : end;
    }
    return -1;
}

static int32_t next_row_to_read(NvImportReadCallbacks* table, int32_t row) {
    const int32_t answer = answer_next_row(row);
    (void)table;
    printf("NextRowToRead %d %d\n", row, answer);
    return answer;
}

static bool read_table(int index, void* handle) {
    int32_t rows = 0;
    int32_t cols = 0;
    const bool measured = module.establishSize(index, handle, &rows, &cols);
    printf("Size %d %d\n", cols, rows);
    if (!measured) {
        return false;
    }
    if (rows == 0 || cols == 0) {
        puts("NoData");
        return true;
    }
    NvImportReadCallbacks table = {set_float, set_string, set_data_size, 0, 0, NULL, next_row_to_read};
    set_data_size(&table, rows, cols);
    if (!module.read(index, handle, &table)) {
        return false;
    }
    const char* warning = module.getWarning == NULL ? NULL : module.getWarning(index, handle);
    if (warning != NULL && *warning != '\0') {
        fputs("Warning ", stdout);
        print_quoted(warning);
    }
    return true;
}

static void read_selection(int index, const char* selection) {
    void* handle = NULL;
    if (!module.open(index, selection, true, &handle, NULL) || !read_table(index, handle)) {
        fputs("Error ", stdout);
        print_quoted(module.getLastError(index, handle));
    }
    module.close(index, handle);
}

static int find_format(const char* name) {
    for (int i = 1; i <= module.sizeFormats(); ++i) {
        if (strcmp(module.getInfo(i)->formatName, name) == 0) {
            return i;
        }
    }
    fprintf(stderr, "flat-road: there is no format %s\n", name);
    exit(2);
}

int main(int count, char** arguments) {
    if (count < 5) {
        fputs("usage: flat-road MODULE ROWS SELECTION FORMAT...\n", stderr);
        return 2;
    }
    void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        fprintf(stderr, "flat-road: %s\n", dlerror());
        return 2;
    }
    take_functions(library);
    if (module.initPackage != NULL) {
        module.initPackage();
    }
    wantedRows = arguments[2];
    for (int i = 4; i < count; ++i) {
        const int index = find_format(arguments[i]);
        printf("Format \"%s\"\n", arguments[i]);
        printf("Verdict %d\n",
               module.isCorrectFileType == NULL ? 1 : module.isCorrectFileType(index, arguments[3]));
        read_selection(index, arguments[3]);
        puts("Close");
    }
    if (module.releasePackage != NULL) {
        module.releasePackage();
    }
    dlclose(library);
    return 0;
}
