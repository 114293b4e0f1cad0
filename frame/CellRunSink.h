#pragma once

#include <span>

/**
 * A sink that also takes numbers below each other which are cells by themselves and no array of the file: as
 * many calls of Set. A table whose columns have types finds whole numbers among them, and leaves an array
 * one.
 */
class CellRunSink {
public:
    virtual ~CellRunSink() = default;

    /** From `firstRow` on; columns and rows count from 1. */
    virtual void SetCellRun(int col, int firstRow, std::span<const double> values) = 0;
    /** Whether they are taken faster than the cells row by row. */
    virtual bool PrefersCellRuns() const = 0;
};
