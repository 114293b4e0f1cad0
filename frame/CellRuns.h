#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "frame/CellOutput.h"
#include "frame/CellRunSink.h"

/**
 * The plain numbers and the shared texts of a file that has them row by row, on their way to a table of
 * columns: so many columns are written at as many places of memory, more than the processor's caches hold
 * side by side. Where the sink takes runs down a column faster, some rows' cells are gathered and handed out
 * so; to any other sink each goes at once. A cell of another kind is for the caller to hand out, once End was
 * told of its column.
 */
class CellRuns {
public:
    /** Both stay the caller's; the output is that of the sink. */
    CellRuns(ReadSpreadSheetData& sink, CellOutput& cellOutput);
    CellRuns(const CellRuns&) = delete;
    CellRuns& operator=(const CellRuns&) = delete;

    /** Columns and rows count from 1. */
    void Put(int col, int row, double number) {
        if (cellRuns == nullptr) {
            output.Number(col, row, number);
        } else {
            Gather(col, row, number);
        }
    }
    /** A text of a list, which stays as it is until EndAll, by its place there. */
    void PutListed(int col, int row, const TextList& textList, std::size_t place) {
        if (cellRuns == nullptr) {
            output.ListedText(col, row, textList, place);
        } else {
            GatherListed(col, row, textList, place);
        }
    }
    /** The next cell of this column is set by another road. */
    void End(int col) {
        const std::size_t place = static_cast<std::size_t>(col) - 1;
        if (place < room && runs[place].count > 0) {
            Hand(col, runs[place]);
        }
    }
    /** Hands out all that is left; nothing else does. */
    void EndAll();

private:
    static constexpr int LongestRun = 32;
    // All together stay in the nearest caches.
    static constexpr std::size_t MostColumns = 256;

    enum class Kind : std::uint8_t { Numbers, Texts };

    struct Run {
        int firstRow = 0;
        int count = 0;
        Kind kind = Kind::Numbers;
        union {
            std::array<double, LongestRun> numbers;
            std::array<std::uint32_t, LongestRun> places;
        };
        // What counts of them is written first.
        Run() {}  // NOLINT(cppcoreguidelines-pro-type-member-init,modernize-use-equals-default)
    };

    void Gather(int col, int row, double number) {
        if (Run* const run = FindRun(col, row, Kind::Numbers)) {
            run->numbers[static_cast<std::size_t>(run->count++)] = number;
        } else {
            output.Number(col, row, number);
        }
    }
    void GatherListed(int col, int row, const TextList& textList, std::size_t place) {
        if (&textList != list) {
            ChangeList(textList);
        }
        if (Run* const run = FindRun(col, row, Kind::Texts)) {
            run->places[static_cast<std::size_t>(run->count++)] = static_cast<std::uint32_t>(place);
        } else {
            output.ListedText(col, row, textList, place);
        }
    }
    // That which takes this cell next; null where the cell goes at once.
    Run* FindRun(int col, int row, Kind kind) {
        const std::size_t place = static_cast<std::size_t>(col) - 1;
        if (place >= room && !TakeRoom(place)) {
            return nullptr;
        }
        Run& run = runs[place];
        if (row - run.firstRow != run.count || run.count == LongestRun || run.kind != kind) {
            Hand(col, run);
            run.firstRow = row;
            run.kind = kind;
        }
        return &run;
    }
    bool TakeRoom(std::size_t place);
    void ChangeList(const TextList& textList);
    void Hand(int col, Run& run);

    CellOutput& output;
    CellRunSink* cellRuns;  // null where the sink takes them no faster
    const TextList* list = nullptr;
    std::vector<Run> runs;  // of the columns up to the last one so far
    std::size_t room = 0;   // so many
};
