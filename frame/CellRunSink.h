#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "base/TextList.h"
#include "frame/RunCopying.h"

/** Texts one behind the other, in UTF-8: the first one begins at `begin`, each ends where `ends` says. */
struct TextRun {
    const char* bytes = nullptr;
    std::uint32_t begin = 0;
    std::span<const std::uint32_t> ends;
    bool areUtf8 = false; /**< each of them is known to be; else who takes them looks */
};

/** Where the numbers of a run are written in a text, which stays as it is until all of it is read. */
struct NumberWriting {
    struct Place {
        std::uint32_t begin; /**< from `bytes` on */
        std::uint32_t size;  /**< 0: it isn't known */
    };
    const char* bytes = nullptr;
    const char* end = nullptr; /**< of all that may be looked at */
    std::span<const Place> places;
};

/** What the values of a run are that aren't plain numbers. */
enum class ValueRunKind {
    Bool,           /**< 0 or 1 */
    Date,           /**< days since 1970-01-01 */
    Time,           /**< microseconds since midnight */
    DateTime,       /**< microseconds since 1970-01-01 00:00 */
    DateBlankedTime /**< the same, written in the file with a blank in place of the T */
};

/** What a cell of a written run is by itself. */
enum class WrittenKind : std::uint8_t { Missing, Text, Number, Bool, Date, Time, DateTime };

/**
 * A sink that also takes cells below each other which are cells by themselves and no array of the file: as
 * many calls of Set, SetText and the like. A table whose columns have types finds whole numbers among the
 * numbers, and leaves an array one.
 */
class CellRunSink {
public:
    virtual ~CellRunSink() = default;

    /**
     * From `firstRow` on; columns and rows count from 1. `decimals`, where it isn't empty, tells of plain
     * decimals that would be written otherwise than in the file how many digits are behind the point there,
     * and one more; 0 of all others.
     */
    virtual void SetCellRun(int col, int firstRow, std::span<const double> values,
                            std::span<const std::uint8_t> decimals) = 0;
    virtual void SetTextRun(int col, int firstRow, const TextRun& texts) = 0;
    /** Whether of numbers in a text it is wanted where they are written, so that none has to be printed. */
    virtual bool WantsWriting() const { return false; }
    /** Cells of numbers of such a text. */
    virtual void SetNumbersOfText(int col, int firstRow, std::span<const double> values,
                                  std::span<const std::uint8_t> decimals, const NumberWriting& /*writing*/) {
        SetCellRun(col, firstRow, values, decimals);
    }
    virtual void SetValueRun(int col, int firstRow, ValueRunKind kind,
                             std::span<const std::int64_t> values) = 0;
    /** Texts of a list, which stays where it is while cells of it come, by their places there. */
    virtual void SetListedRun(int col, int firstRow, const TextList& list,
                              std::span<const std::uint32_t> places) {
        for (const std::uint32_t place : places) {
            const std::string_view text = list.Get(place);
            const auto end = static_cast<std::uint32_t>(text.size());
            TextRun run;
            run.bytes = text.data();
            run.ends = {&end, 1};
            SetTextRun(col, firstRow++, run);
        }
    }
    /**
     * The cells of a column of values and texts by the characters that they have or would be written with, in
     * place of the values, where such a column becomes one of texts whatever else comes: nothing else is set
     * in these rows then. False, with nothing done, where the values are wanted.
     */
    virtual bool SetWrittenRun(int /*col*/, int /*firstRow*/, const TextRun& /*texts*/,
                               std::span<const WrittenKind> /*kinds*/) {
        return false;
    }
    /** Whether they are taken faster than the cells row by row. */
    virtual bool PrefersCellRuns() const = 0;
    /** So many rows are likely to come, heads among them; a hint for the room to take. */
    virtual void ExpectRows(int /*rows*/) {}
    /** Until it is told null, the sink may leave the copying of runs to who pushes them, whose matter this
     * is. */
    virtual void LeaveCopying(RunCopying* /*copying*/) {}
};
