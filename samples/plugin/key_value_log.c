/* A whole import plug-in: key-value logs (*.kvl), a made-up format. A log is text; each line is a time and
   any number of readings:

       08:00 temperature=21.5 humidity=40
       08:10 temperature=21.9

   The table has a row a line and a column a name, in the order in which the names first come, with the
   time in the first column and the names in the first row. A reading that isn't there stays empty; one
   that is no number goes as text.

   With pkg-config:
       cc -shared -fPIC $(pkg-config --cflags karta-import) key_value_log.c -o key-value-log.so            */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "frame/NvImport.h"

enum { MaxNames = 256, NameSize = 64, LineSize = 4096, MessageSize = 200 };

typedef struct {
    FILE* file;
    int numNames;
    int numLines;
    char names[MaxNames][NameSize];
    char message[MessageSize];
} Log;

static const NvImportFileFormatInfo theInfo = {
    "Key-Value Log", "Key-Value Logs (*.kvl)", NULL, 1, ".kvl", 0, 1, 0, 1, 0, {0, 0, 0}};

int NvImportSizeFileFormatsSupported(void) {
    return 1;
}

const NvImportFileFormatInfo* NvImportGetFileFormatInfo(int index) {
    (void)index;
    return &theInfo;
}

/* The column of a name, counted from 0; -1 when it is new and there is no room. */
static int column_of(Log* log, const char* name, size_t length) {
    int i;
    if (length >= NameSize) {
        return -1;
    }
    for (i = 0; i < log->numNames; ++i) {
        if (strlen(log->names[i]) == length && memcmp(log->names[i], name, length) == 0) {
            return i;
        }
    }
    if (log->numNames == MaxNames) {
        return -1;
    }
    memcpy(log->names[i], name, length);
    log->names[i][length] = '\0';
    return log->numNames++;
}

/* Cuts the next word off a line; NULL at its end. */
static char* next_word(char** line) {
    char* word = *line + strspn(*line, " \t\r\n");
    char* end = word + strcspn(word, " \t\r\n");
    if (*word == '\0') {
        return NULL;
    }
    *line = *end == '\0' ? end : end + 1;
    *end = '\0';
    return word;
}

/* Reads the log once to learn its size and its names. */
static bool measure(Log* log) {
    char line[LineSize];
    while (fgets(line, sizeof line, log->file) != NULL) {
        char* cursor = line;
        char* word;
        if (strchr(line, '\n') == NULL && !feof(log->file)) {
            snprintf(log->message, sizeof log->message, "Line %d is longer than %d characters.", log->numLines + 1,
                     LineSize - 2);
            return false;
        }
        ++log->numLines;
        next_word(&cursor);
        while ((word = next_word(&cursor)) != NULL) {
            const char* equals = strchr(word, '=');
            if (equals == NULL || column_of(log, word, (size_t)(equals - word)) < 0) {
                snprintf(log->message, sizeof log->message, "Line %d: '%.60s' is no reading.", log->numLines, word);
                return false;
            }
        }
    }
    return true;
}

bool NvImportOpen(int index, const char* fileName, bool forRead, void** handle, NvImportOpenOptions* options) {
    Log* log = calloc(1, sizeof *log);
    (void)index;
    (void)options;
    *handle = log;
    if (log == NULL || !forRead) {
        return false;
    }
    log->file = fopen(fileName, "r");
    if (log->file == NULL) {
        snprintf(log->message, sizeof log->message, "The log could not be opened.");
        return false;
    }
    return measure(log);
}

void NvImportClose(int index, void* handle) {
    Log* log = handle;
    (void)index;
    if (log != NULL && log->file != NULL) {
        fclose(log->file);
    }
    free(log);
}

const char* NvImportGetLastError(int index, void* handle) {
    const Log* log = handle;
    (void)index;
    return log == NULL ? "There is not enough memory." : log->message;
}

bool NvImportEstablishSize(int index, void* handle, int32_t* rows, int32_t* cols) {
    const Log* log = handle;
    (void)index;
    *rows = log->numLines == 0 ? 0 : log->numLines + 1;
    *cols = log->numNames + 1;
    return true;
}

/* A number is a float in the table; what is not wholly a number stays text. */
static void set_reading(NvImportReadCallbacks* callbacks, int row, int col, const char* text) {
    char* end;
    const float value = strtof(text, &end);
    if (end != text && *end == '\0') {
        callbacks->setFloat(callbacks, row, col, value);
    } else {
        callbacks->setString(callbacks, row, col, text);
    }
}

bool NvImportRead(int index, void* handle, NvImportReadCallbacks* callbacks) {
    Log* log = handle;
    char line[LineSize];
    int row = 1;
    int wanted = callbacks->nextRowToRead(callbacks, 0);
    int i;
    (void)index;
    if (wanted == 1) {
        callbacks->setString(callbacks, 1, 1, "Time");
        for (i = 0; i < log->numNames; ++i) {
            callbacks->setString(callbacks, 1, i + 2, log->names[i]);
        }
        wanted = callbacks->nextRowToRead(callbacks, 1);
    }
    rewind(log->file);
    while (wanted >= 0 && fgets(line, sizeof line, log->file) != NULL) {
        char* cursor = line;
        char* word = next_word(&cursor);
        if (++row != wanted) {
            continue;
        }
        callbacks->setString(callbacks, row, 1, word == NULL ? "" : word);
        while ((word = next_word(&cursor)) != NULL) {
            char* equals = strchr(word, '=');
            set_reading(callbacks, row, column_of(log, word, (size_t)(equals - word)) + 2, equals + 1);
        }
        wanted = callbacks->nextRowToRead(callbacks, row);
    }
    return true;
}
