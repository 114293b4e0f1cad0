#pragma once

#include <cstdint>

#include "base/Export.h"
#include "frame/NvImport.h"

class SpreadsheetFile;

/** A factory's verdict on a file. */
enum MyKindOfFile {
    KindYes = 0,      /**< the content proves the format */
    KindProbably = 1, /**< the content or the extension fits, without proof */
    KindUnknown = 2,  /**< the factory has no test for this */
    KindNo = 3        /**< the file can't be of this format */
};

/**
 * One format. A static object of a derived class enters the format into the registry, which stands in
 * the byte-wise order of the read filters; a format's number is its place there, from 1.
 *
 * Factories are static and never deleted, hence no virtual destructor. The texts given to the constructor
 * are not copied: they must be literals.
 */
class KARTA_EXPORT SprFileFactory {
public:
    SprFileFactory(const SprFileFactory&) = delete;
    SprFileFactory& operator=(const SprFileFactory&) = delete;

    /** Looks at the file's content or name. */
    virtual MyKindOfFile IsMyKindOfFile(const char* fileName) = 0;

    /** Makes a new reader, which the caller owns. */
    virtual SpreadsheetFile* GetSpreadsheetFile() = 0;

    int GetPriority() const { return priority; }

    /**
     * No format enters any more: hosts know formats by their places. Said by the first call of a flat
     * function; a module's factories that come later are left out.
     */
    static void CloseRegistry();

    /** The number of registered formats. */
    static int SizeInfos();

    /** In these three an index below 1 means the first format; one above SizeInfos must not be passed. */
    static const NvImportFileFormatInfo* GetInfo(int index);
    static SpreadsheetFile* GetSpreadsheetFile(int index);
    static MyKindOfFile IsMyKindOfFile(int index, const char* fileName);

protected:
    /**
     * Enters the format. A name that is taken, whatever its case, is replaced, unless the older factory's
     * priority is greater than `newPriority`. `writeFilter` may be null. `extensions` holds
     * `numExtensions` texts with their dots, each ended by a NUL, in one literal.
     */
    SprFileFactory(const char* formatName, const char* readFilter, const char* writeFilter, int numExtensions,
                   const char* extensions, char canWrite, char canRead, char canReadMany, char sinkFlag,
                   char hostFlag, signed char newPriority);
    /** Takes the format off the registry. */
    ~SprFileFactory();

private:
    // Stays 0, whatever the constructor was given: so a later factory of a name always replaces an
    // earlier one, and one given a negative priority never replaces anything. Hosts rely on it.
    std::int32_t priority = 0;
};
