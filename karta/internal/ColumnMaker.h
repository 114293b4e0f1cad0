#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/Note.h"
#include "karta/Column.h"
#include "karta/internal/CellVector.h"
#include "karta/internal/ColumnEvidence.h"
#include "karta/internal/TextIndex.h"

namespace karta {

/** What a column is to be. */
struct ColumnForm {
    ColumnType type = ColumnType::Null;
    /** Of a text: the distinct ones, where the cells are places among them. */
    std::shared_ptr<const Column> dictionary = nullptr;
};

/** Makes a finished column of the cells that were gathered; its rules are the table's rules of mixtures. */
class ColumnMaker {
public:
    /** Notes tell what isn't in a column as the file has it. */
    ColumnMaker(CellStore& cellStore, Notes& readNotes) : store(cellStore), notes(readNotes) {}

    /** A column to be made: its cells, where they are, and what it is called. */
    struct Wanted {
        CellVector* cells; /**< null where there is none */
        std::string name;
        std::string unit;
        int col; /**< of the grid, which names it for people where it has no name */
    };
    /**
     * The places from `first` on, so many rows, of each column; what lies already as it is to be is taken out
     * of its cells. Side by side in so many threads, with the notes in the order of the columns.
     */
    void MakeAll(std::span<const Wanted> wanted, int first, int rows, unsigned int threads,
                 std::vector<Column>& columns);
    /**
     * The two halves of it, for rows that are made piece by piece: what all rows are to be, of which the
     * evidence tells, with the notes; and the places from `first` on as that, which they must fit.
     */
    ColumnForm Decide(const ColumnEvidence& evidence, std::int64_t rows, const std::string& name, int col);
    Column Build(CellVector& cells, int first, int rows, const ColumnForm& form, const std::string& name,
                 const std::string& unit);
    /** One note for all columns whose mixtures weren't told one by one; behind the last column. */
    void NoteFurtherMixtures();
    /** As Make, always a text. */
    Column MakeText(const CellVector& cells, int first, int rows, const std::string& name);

private:
    ColumnType TypeOf(const KindCounts& counts, const NumberFacts& facts, bool hasFractions) const;
    // So many columns are told of one by one.
    static constexpr std::uint64_t MostToldMixtures = 100;

    /** What is to be told of a column of several kinds; nothing of any other. */
    struct Mixture {
        std::int64_t emptyTexts = 0; /**< which are missing */
        bool isText = false;         /**< as all its cells are, which are of these kinds */
        KindCounts counts;

        std::uint64_t CountNotes() const { return (emptyTexts > 0 ? 1U : 0U) + (isText ? 1U : 0U); }
    };
    /** Those of some columns, as far as they may be told one by one. */
    struct Mixtures {
        std::vector<std::pair<std::size_t, Mixture>> told; /**< each with its column's place */
        std::uint64_t further = 0;
        std::size_t firstFurther = 0;

        void Add(const Mixture& mixture, std::size_t column);
    };

    ColumnType DecideType(KindCounts counts, const NumberFacts& facts, bool hasFractions,
                          Mixture& mixture) const;
    Column Make(const Wanted& wanted, int first, int rows, Mixture& mixture);
    ColumnBuffers BuildBuffers(CellVector& cells, int first, int rows, ColumnType type);
    template <class Value>
    ColumnBuffers TakeOrGather(CellVector& cells, int first, int rows, CellKind kind, ColumnType type);
    ColumnBuffers MakeWholeNumbers(CellVector& cells, int first, int rows);
    ColumnBuffers TakeOrMakeTexts(CellVector& cells, int first, int rows, bool mayBeDictionary);
    ColumnBuffers MakeTexts(const CellVector& cells, int first, int rows, bool mayBeDictionary);
    bool MayRepeat(const CellVector& cells, int first, int rows, std::int64_t plainSize) const;
    ColumnBuffers MakePlaces(const CellVector& cells, int first, int rows,
                             const std::shared_ptr<const Column>& dictionary);
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

    void NoteMixture(const Mixture& mixture, const std::string& name, int col);

    CellStore& store;
    Notes& notes;
    std::uint64_t mixtures = 0;
    std::string firstUntold;
};

}  // namespace karta
