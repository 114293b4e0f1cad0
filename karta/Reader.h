#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Export.h"
#include "karta/Inspect.h"
#include "karta/ReadOptions.h"
#include "karta/Table.h"

namespace karta {

/**
 * One selection of files, with its format chosen: for looking at its parts and reading one, or all in turn.
 * It holds no file open between calls, and nothing of one read is left for the next. One thread at a time may
 * use it; any number of readers may be used at once.
 */
class KARTA_EXPORT Reader {
public:
    /**
     * Checks the file and chooses its format. Raises Error: NotFound, NoPermission, NotAFile, NotReadable,
     * UnknownFormat, NotDetermined, UnknownOption.
     */
    explicit Reader(const std::string& path, ReadOptions options = {});
    /** Several files as one table, by the formats that can. */
    explicit Reader(const std::vector<std::string>& paths, ReadOptions options = {});
    Reader(Reader&& other) noexcept;
    Reader& operator=(Reader&& other) noexcept;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader();

    /** The name of the format, and why it was chosen. */
    const std::string& GetFormat() const;
    const std::string& GetReason() const;

    /** What the file holds; see Inspect. */
    Inspection Inspect() const;

    /** The part that the options name, or the format's own choice. Raises Error. */
    Table Read() const;
    /** One part, whatever the options name. Raises Error, NoSuchPart among others. */
    Table Read(const PartName& part) const;

    /** Gets a table of some rows, to keep or to forget; false ends the read at once. */
    using BatchFunction = std::function<bool(Table& batch)>;
    /**
     * Reads the table in pieces of `rows` rows, the last one shorter; all have the columns and types, the
     * facts and notes of the whole. `rows` below 1 counts as 1. A table without rows is one empty piece.
     *
     * A long table of a format whose rows come one after the other (texts, logs, .xlsx and .xlsb, spectra) is
     * read twice: for its types first, then piece by piece, in memory in proportion to a piece. Of other
     * formats, and where the options name rows, all of it is read before the first piece.
     *
     * Raises Error, before the first piece where something is wrong with the file, and BadFile where it was
     * changed between the two reads. What `use` raises reaches the caller.
     */
    void ForEachBatch(std::int64_t rows, const BatchFunction& use) const;

private:
    struct State;
    std::unique_ptr<State> state;
};

}  // namespace karta
