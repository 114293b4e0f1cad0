/**
 * The flat interface: thirteen plain functions that every import module offers, this library among them.
 * It is the only header that a plug-in needs, and it reads as C and as C++.
 *
 * Conventions
 *  - `index` is a format's number, from 1, within the module that exports the function.
 *  - `handle` is the opaque value that NvImportOpen stored. It is set also when opening failed, so that
 *    NvImportGetLastError can be asked; NvImportClose is owed in either case.
 *  - Rows come before columns everywhere here, except in getDataOrigin. Both count from 1.
 *  - Texts are UTF-8, ended by a NUL.
 *  - One import runs at a time, on the caller's thread.
 *
 * One read:  NvImportOpen, NvImportSetSpec if there is a spec, NvImportEstablishSize, NvImportRead,
 *            NvImportGetWarning, NvImportClose.
 * One write: NvImportOpen with forRead false, NvImportWrite, NvImportClose.
 *
 * A module is a plug-in when it has NvImportSizeFileFormatsSupported and NvImportGetFileFormatInfo. All
 * other functions may be missing; a read that needs a missing one fails with a message.
 */
#ifndef KARTA_FRAME_NVIMPORT_H
#define KARTA_FRAME_NVIMPORT_H

/* NOLINTBEGIN(modernize-deprecated-headers): the header is C as well. */
#include <stdbool.h>
#include <stdint.h>
/* NOLINTEND(modernize-deprecated-headers) */

#ifdef __cplusplus
class ImportSpecBase;
extern "C" {
#else
typedef struct ImportSpecBase ImportSpecBase;
#endif

/** Marks the functions of a plug-in that are to be found from outside. */
#define NVIMPORT_EXPORT __attribute__((visibility("default")))

/**
 * A caller's options for one format; opaque to everything but that format. Three uses: no record at all
 * (defaults are taken, nothing is reported back); an empty record, size 0 and null data (the format fills
 * it with the choices made; the bytes are the reader's until it is closed); a record with bytes (the
 * format takes its settings from them and asks nobody).
 */
typedef struct NvImportOpenOptions {
    uint32_t size; /**< number of bytes at data */
    uint8_t* data;
} NvImportOpenOptions;

/**
 * The description of one format. A module keeps its records, and the texts they point to, alive as long
 * as it stays loaded.
 */
typedef struct NvImportFileFormatInfo {
    const char* formatName;  /**< the format's identity across all modules, any case */
    const char* readFilter;  /**< file-dialog text for reading; orders the formats of this library */
    const char* writeFilter; /**< file-dialog text for writing, or null; counts only with canWrite */
    int32_t numExtensions;   /**< how many strings `extensions` holds, 10 at the most */
    const char* extensions;  /**< with their dots, each ended by a NUL, one after the other */
    char canWrite;           /**< non-zero: the format can write */
    char canRead;            /**< non-zero: the format can read */
    char canReadMany;        /**< non-zero: one import can take several files */
    char sinkFlag;           /**< zero: layoutDefault is cleared in the sink before reading */
    char hostFlag;           /**< for the host application only */
    char reserved[3];        /**< zero */
} NvImportFileFormatInfo;

/** The sink of a read. Made by the caller of NvImportRead, valid during the call. */
typedef struct NvImportReadCallbacks NvImportReadCallbacks;
struct NvImportReadCallbacks {
    void (*setFloat)(NvImportReadCallbacks* table, int32_t row, int32_t col, float value);
    void (*setString)(NvImportReadCallbacks* table, int32_t row, int32_t col, const char* text);
    /** Afterwards numRows and numCols hold the size that the sink reports. */
    void (*setDataSize)(NvImportReadCallbacks* table, int32_t rows, int32_t cols);
    int32_t numRows;
    int32_t numCols;
    void* sink; /**< private to the caller */
    /**
     * Given the row just finished (0 before the first), the next row that is wanted; a negative answer
     * ends the read at once, as a success.
     */
    int32_t (*nextRowToRead)(NvImportReadCallbacks* table, int32_t row);
};

/** The source of a write. Made by the caller of NvImportWrite, valid during the call. */
typedef struct NvImportWriteCallbacks NvImportWriteCallbacks;
struct NvImportWriteCallbacks {
    /** 1 a number, 2 a text, 3 missing */
    char (*getCellType)(NvImportWriteCallbacks* table, int32_t row, int32_t col);
    double (*getFloat)(NvImportWriteCallbacks* table, int32_t row, int32_t col);
    /** Answers for every cell type; valid until the next call. */
    const char* (*getString)(NvImportWriteCallbacks* table, int32_t row, int32_t col);
    /** Column before row here, alone on this interface. False: the table has no numeric block. */
    bool (*getDataOrigin)(NvImportWriteCallbacks* table, int32_t* firstDataCol, int32_t* firstDataRow);
    int32_t numRows;
    int32_t numCols;
    void* source; /**< private to the caller */
};

/** Called once, right after the module was loaded. */
NVIMPORT_EXPORT void NvImportInitPackage(void);

/** Called before the module is unloaded. */
NVIMPORT_EXPORT void NvImportReleasePackage(void);

/** How many formats the module has. */
NVIMPORT_EXPORT int NvImportSizeFileFormatsSupported(void);

/** The record of a format. */
NVIMPORT_EXPORT const NvImportFileFormatInfo* NvImportGetFileFormatInfo(int index);

/** 2: the content proves the format; 1: it may be; 0: it can't be. */
NVIMPORT_EXPORT char NvImportIsCorrectFileType(int index, const char* fileName);

/**
 * Makes a reader (or writer), stores it in `handle`, and opens the file. `fileName` may be a selection of
 * several names, joined by line feeds. `options` may be null. False: the file could not be opened.
 */
NVIMPORT_EXPORT bool NvImportOpen(int index, const char* fileName, bool forRead, void** handle,
                                  NvImportOpenOptions* options);

/** Closes and deletes what NvImportOpen made. */
NVIMPORT_EXPORT void NvImportClose(int index, void* handle);

/** What went wrong, at most 254 characters; valid until the next call. */
NVIMPORT_EXPORT const char* NvImportGetLastError(int index, void* handle);

/** A text that the user should see after a successful read, or null; valid until NvImportClose. */
NVIMPORT_EXPORT const char* NvImportGetWarning(int index, void* handle);

/** Measures the table. Both counts are stored also on failure, where one of them is -1. */
NVIMPORT_EXPORT bool NvImportEstablishSize(int index, void* handle, int32_t* rows, int32_t* cols);

/** Pushes every wanted cell through the table of callbacks. */
NVIMPORT_EXPORT bool NvImportRead(int index, void* handle, NvImportReadCallbacks* callbacks);

/** Pulls every cell through the table of callbacks and writes them. */
NVIMPORT_EXPORT bool NvImportWrite(int index, void* handle, NvImportWriteCallbacks* callbacks);

/** Hands over the host's specification of the import. */
NVIMPORT_EXPORT void NvImportSetSpec(void* handle, ImportSpecBase* spec);

#ifdef __cplusplus
}
#endif

#endif
