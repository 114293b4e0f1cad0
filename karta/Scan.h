#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "base/Export.h"
#include "karta/Error.h"
#include "karta/ReadOptions.h"
#include "karta/Table.h"

namespace karta {

/**
 * The axis that the spectra of several files are put on. None leaves them as they are, and files on another
 * axis than the first don't fit. First takes the axis of the first file that can be read; Common the stretch
 * that all axes share, at the first one's points; Union all points of all axes. Common and Union look at all
 * files before the first batch, and keep what they read as far as memory allows: the files beyond are read
 * twice. Values between a spectrum's points are interpolated linearly; beyond its ends
 * there is none: missing.
 */
class KARTA_EXPORT Grid {
public:
    enum Kind { None, First, Common, Union, Array };

    Grid(Kind kindOfGrid = None) : kind(kindOfGrid) {}  // NOLINT(google-explicit-constructor)
    /** These points, in their order; values rise or fall throughout. */
    Grid(std::vector<double> points);  // NOLINT(google-explicit-constructor)

    Kind GetKind() const { return kind; }
    /** Of Array. */
    const std::vector<double>& GetPoints() const { return points; }

private:
    Kind kind;
    std::vector<double> points;
};

/** What a scan does with a file that can't be read, or isn't like the first ones. */
enum class OnError {
    Raise,  /**< the scan ends with the Error, behind the tables of the files before it */
    Skip,   /**< goes on without it */
    Collect /**< goes on, and keeps the error for Errors() */
};

/** Which columns the tables of a scan have beside their block. */
enum class ScanColumns {
    Same, /**< those of the first file; one with others doesn't fit */
    /** Those of all files, in the order in which they turn up, in front of the block; missing in a file
     * without them, and a text where the files have different types. More files than make one table are
     * looked at before the first batch. */
    Union
};

/** How several files are read. */
struct ScanOptions {
    Grid grid = Grid::None;
    ScanColumns columns = ScanColumns::Same;
    OnError onError = OnError::Raise;
    /** How many files make one table; below 1 counts as 1. */
    std::size_t batch = 500;
    /** How many files are read at once; 0: as many as there are cores. */
    unsigned workers = 0;
    /**
     * For each file. An option that only some of the files' formats know is for these; one that none knows is
     * an Error (UnknownOption) whatever `onError` says. `progress` tells the share of the files, on the
     * thread that asks for batches.
     */
    ReadOptions read = {};
};

/**
 * Reads many files, one after the other, into tables of one schema: a column `file` (the path as it was
 * named, in UTF-8), then the columns of the first batch, or of all files. Whole files, in the order in which
 * they were named, whatever the number of workers. Its batches can be gone through once.
 *
 *     karta::Scan scan(files, {.grid = karta::Grid::Union, .onError = karta::OnError::Collect});
 *     for (karta::Table& batch : scan) { ... }
 *     for (const karta::Error& error : scan.Errors()) { ... }
 */
class KARTA_EXPORT Scan {
public:
    /** Copies the paths; reads nothing yet. Raises Error (BadOption) for a grid that is no axis. */
    explicit Scan(std::vector<std::string> paths, ScanOptions options = {});
    Scan(Scan&& other) noexcept;
    Scan& operator=(Scan&& other) noexcept;
    Scan(const Scan&) = delete;
    Scan& operator=(const Scan&) = delete;
    /** Ends what its workers still read. */
    ~Scan();

    /** The next batch; valid until the one behind it is asked for, or moved from. Null behind the last one.
     */
    Table* Next();

    /** What failed and why, in the order of the files; grows while the batches are gone through. */
    const std::vector<Error>& Errors() const;

    /** Goes through the batches that Next gives. */
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Table;
        using difference_type = std::ptrdiff_t;
        using pointer = Table*;
        using reference = Table&;

        Iterator() = default;
        explicit Iterator(Scan& scanned) : scan(&scanned), table(scanned.Next()) {}

        Table& operator*() const { return *table; }
        Table* operator->() const { return table; }
        Iterator& operator++() {
            table = scan->Next();
            return *this;
        }
        void operator++(int) { ++*this; }
        bool operator==(const Iterator& other) const { return table == other.table; }

    private:
        Scan* scan = nullptr;
        Table* table = nullptr;
    };

    Iterator begin() { return Iterator(*this); }
    Iterator end() { return {}; }

private:
    class Work;
    std::unique_ptr<Work> work;
};

}  // namespace karta
