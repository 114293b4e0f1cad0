#pragma once

#include <optional>
#include <vector>

#include "base/TableShape.h"
#include "karta/internal/CellVector.h"
#include "karta/internal/ColumnEvidence.h"

namespace karta {

/**
 * Which rows of a plain grid name its columns, their units and their axis, by the rules that hold for
 * delimited text: names stand above columns of numbers and have none of them, or are whole numbers of one
 * step; units are texts between names and numbers.
 *
 * `header`: the row of the names, from 1; 0: there is none; nothing: it is looked for. The places of the
 * cells are the rows, from 0. `further` is what the rows behind those at hand told, column by column: where
 * there are any, the first HeadRows::Most rows are at hand, or HeadRows::Filled ones with something in them.
 * Raises Stopped.
 */
TableShape FindGridHead(const CellStore& store, const std::vector<CellVector>& columns, int rows,
                        std::optional<int> header, const std::vector<ColumnEvidence>& further = {});

/** How many rows are looked at for a head at most. */
struct HeadRows {
    static constexpr int Filled = 100; /**< rows with something in them */
    static constexpr int Most = 1000;  /**< with those without anything */
};

}  // namespace karta
