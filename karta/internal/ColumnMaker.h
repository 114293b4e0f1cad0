#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "base/Note.h"
#include "karta/Column.h"
#include "karta/internal/CellVector.h"

namespace karta {

/** How many cells of each kind some places hold. */
struct KindCounts {
    std::array<std::int64_t, CellKinds> counts{};
    std::int64_t emptyTexts = 0; /**< among the texts */

    std::int64_t& operator[](CellKind kind) { return counts[static_cast<std::size_t>(kind)]; }
    std::int64_t operator[](CellKind kind) const { return counts[static_cast<std::size_t>(kind)]; }
    std::int64_t GetNumbers() const {
        return (*this)[CellKind::Int64] + (*this)[CellKind::Float32] + (*this)[CellKind::Float64];
    }
    std::int64_t GetDates() const { return (*this)[CellKind::Date] + (*this)[CellKind::DateTime]; }
    std::int64_t GetAll() const;
};

/** Of the places from `first` to before `end`. Raises Stopped. */
KindCounts CountKinds(const CellStore& store, const CellVector& cells, int first, int end);

/** Makes a finished column of the cells that were gathered; its rules are the table's rules of mixtures. */
class ColumnMaker {
public:
    /** Notes tell what isn't in a column as the file has it. */
    ColumnMaker(CellStore& cellStore, Notes& readNotes) : store(cellStore), notes(readNotes) {}

    /**
     * The places from `first` on, so many rows; what lies already as it is to be is taken out of `cells`.
     * `place` names the column for people where it has no name.
     */
    Column Make(CellVector& cells, int first, int rows, const std::string& name, const std::string& unit,
                const std::string& place);
    /** One note for all columns whose mixtures weren't told one by one; behind the last column. */
    void NoteFurtherMixtures();
    /** As Make, always a text. */
    Column MakeText(const CellVector& cells, int first, int rows, const std::string& name);

private:
    ColumnBuffers MakeNumbers(CellVector& cells, int first, int rows, const KindCounts& counts, bool& isText);
    ColumnBuffers MakeTexts(const CellVector& cells, int first, int rows);
    ColumnBuffers MakeDictionary(const CellVector& cells, int first, int rows, std::int64_t plainSize);
    ColumnBuffers MakeBools(const CellVector& cells, int first, int rows);
    ColumnBuffers Take(CellVector& cells, int first, int rows, CellKind kind, ColumnType type);
    template <class Use>
    void ForEach(const CellVector& cells, int first, int end, Use use) const;
    bool IsTakeable(const CellVector& cells, int first, int rows, CellKind kind) const;
    template <class Value, class Conversion>
    ColumnBuffers Gather(const CellVector& cells, int first, int rows, ColumnType type, Conversion convert);
    void MarkThere(ColumnBuffers& buffers, Buffer& validity, std::int64_t count);
    std::shared_ptr<Buffer> NewBuffer(std::size_t size);

    void NoteMixture(Note note);

    // So many columns are told of one by one.
    static constexpr std::uint64_t MostToldMixtures = 100;

    CellStore& store;
    Notes& notes;
    std::uint64_t mixtures = 0;
    std::string firstUntold;
};

}  // namespace karta
