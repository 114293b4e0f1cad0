#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/TableShape.h"
#include "table/TableData.h"
#include "tools/PlotAxis.h"
#include "tools/TableHead.h"

/**
 * The like columns of a table on one axis, as curves: the spectra of a file, its chromatograms. Which columns
 * and rows these are the reader has said in the table's shape.
 */
class PlotBlock {
public:
    /** None where the table has no such columns. The table stays the caller's and must outlive the block. */
    static std::optional<PlotBlock> Find(TableData& table, const karta::TableShape& shape);

    /** In ascending order, whatever the file's. */
    const PlotAxis& GetAxis() const { return axis; }
    /** What the curves are of: "absorbance (AU)"; never empty. */
    const std::string& GetValueName() const { return valueName; }
    std::size_t CountCurves() const { return rows.size(); }
    std::size_t CountPoints() const { return columns.size(); }
    /** In UTF-8, from 0. */
    std::string NameOf(std::size_t curve) const;
    /** Its numbers from a point on, as many as there is room for; NaN for a missing one. */
    void GetPart(std::size_t curve, std::size_t firstPoint, std::span<float> values) const;
    /** Where the curves lie in time, or along another quantity that grows from each to the next. */
    const std::optional<PlotAxis>& GetCoordinate() const { return coordinate; }

    /** Draws the axis from left to right after all. */
    void SetReversed(bool isReversed) { axis.isReversed = isReversed; }

private:
    PlotBlock(TableData& blockTable, const karta::TableShape& shape);

    void FindAxis(const karta::TableShape& shape);
    void FindRows();
    void FindNames(const karta::TableShape& shape);
    void FindCoordinate(const karta::TableShape& shape);

    TableData& table;
    TableHead head;
    PlotAxis axis;
    std::string valueName;
    std::vector<int> columns;  // of the points, in the axis's order
    std::vector<int> rows;     // of the curves
    std::vector<int> nameColumns;
    std::optional<PlotAxis> coordinate;
};
