#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/Budget.h"
#include "base/Export.h"
#include "base/Reading.h"

namespace karta {

/** A part of a file: 0 for the format's own choice, a place in Inspect's list from 1, or a name. */
using PartName = std::variant<int, std::string>;

/** Rows from `first` to `last`, both included; the table's own rows, from 1. */
struct RowRange {
    std::int64_t first = 1;
    std::int64_t last = 1;

    bool operator==(const RowRange&) const = default;
};

/** An interval of the X axis, in the axis' own unit, both ends included. */
struct Interval {
    double from = 0.0;
    double to = 0.0;

    bool operator==(const Interval&) const = default;
};

/**
 * What a read can be asked for. Whatever isn't said, the file decides. An option that the file's format
 * doesn't know is an Error (UnknownOption), which says which formats do.
 */
struct ReadOptions {
    /** The format by its name or short name, in any case ("GalacticSPC File", "spc"); empty: detected. */
    std::string format = {};
    /** One part; a name may also be a comma-separated list of names and places, or "all". */
    PartName part = 0;
    /** What parts the fields of delimited text. */
    std::optional<std::string> delimiter = {};
    /** A run of delimiters counts as one. */
    bool mergeDelimiters = false;
    /** Of a file's texts: "utf-8", "windows-1252", "cp850" ... */
    std::optional<std::string> encoding = {};
    /** The row of the columns' names, from 1, which the table must have; 0: there is none. */
    std::optional<int> header = {};
    /** The decimal mark of delimited text, "." or ",". */
    std::optional<std::string> decimal = {};
    /** Columns of delimited text that stay text, by name or place from 1, comma-separated. */
    std::optional<std::string> textColumns = {};
    /** False: every field of delimited text stays text. */
    bool types = true;
    /** "DMY", "MDY" or "YMD": dates like 1/2/2025 are dates in this order. */
    std::optional<std::string> dateOrder = {};
    /** The variables of a file that name its rows and columns. */
    std::optional<std::string> rowNames = {};
    std::optional<std::string> columnNames = {};
    /** Of several sheets: side by side instead of one below the other. */
    bool sideBySide = false;
    /** The parts of the X axis to keep; none: all of it. */
    std::vector<Interval> include = {};
    /** Merges so many points of a spectrum into one. */
    std::optional<int> average = {};
    /** Of an encrypted project. */
    std::optional<std::string> password = {};
    /** Further keys of the format's own settings, as text; a format's readers say what they know. */
    std::map<std::string, std::string> settings = {};
    /** The rows of the table to read; none: all. The read ends behind the last one where it can. */
    std::vector<RowRange> rows = {};
    /** Complete loses nothing; classic follows the rules of the desktop application. */
    Reading reading = Reading::Complete;
    /** In bytes, what a read may take; without it in proportion to the file; Budget::Unlimited: no limit. */
    std::optional<std::uint64_t> budget = {};
    /**
     * Told the share that is done, 0 to 1, or below 0 where it isn't known; at least every 100 ms of work, on
     * the thread that reads. What it raises ends the read and reaches the caller.
     */
    std::function<void(double share)> progress = {};
    /** Once it is set, the read ends within 100 ms with an Error (Stopped). */
    std::stop_token stop = {};
    /** Answers a reader's yes-or-no question; without it the answer is yes. */
    std::function<bool(const std::string& text)> question = {};
    /** Folders with plug-ins. Nothing is loaded from anywhere else. */
    std::vector<std::string> plugins = {};

    /**
     * The choices as an options record in its stream form, as `karta-import --save-options` keeps them:
     * bytes. What belongs to one call stays out: format, password, rows, budget, callbacks, stop, plug-ins.
     * Raises Error (BadOption) for parts in the classic reading, whose records hold the file's own numbers.
     */
    KARTA_EXPORT std::string ToRecord() const;
    /**
     * The choices of such a record; a record without a key for the reading is a classic one. Keys that stand
     * for none of the options above are in `settings`. Raises Error (BadOption) for what is no record.
     */
    KARTA_EXPORT static ReadOptions FromRecord(std::string_view bytes);
};

}  // namespace karta
