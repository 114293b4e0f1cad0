#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "base/ReadContext.h"
#include "frame/CellOutput.h"
#include "frame/ReadSpreadSheetData.h"
#include "instrument/AxisSelection.h"

/**
 * Spectra and what is known of each, as the complete reading sets them into a table:
 *
 *     row 1   "Primary ID", the labels' names; the X values as names ("t 400")
 *     row 2   1, the X unit under one of the labels; the X values
 *     row 3.. the row's number minus 1, the labels; the values
 *
 * Without the X row the X values stand in row 1 as numbers. Spectra of several axes stand in groups below
 * each other, each under an X row of its own; row 1 then names the labels alone.
 */
class SpectrumTable {
public:
    /** Microseconds since 1970-01-01 00:00. */
    struct DateTime {
        std::int64_t microseconds;
    };
    using Label = std::variant<std::monostate, std::string, double, DateTime>;

    struct Spectrum {
        std::vector<Label> labels; /**< one for each name */
        std::size_t id = 0;        /**< for the source */
    };
    struct Group {
        std::vector<double> axis;
        bool isFloatAxis = false; /**< the file has the X values as floats */
        std::string axisUnit;
        std::vector<Spectrum> spectra;
        AxisSelection selection;
    };
    /** The values of one spectrum; a source sets one of the two spans, to its own or to the room here. */
    struct Values {
        std::span<const float> floats;
        std::span<const double> doubles;
        bool haveGaps = false; /**< a NaN among the doubles stands for a missing value */
        std::vector<float> floatRoom;
        std::vector<double> doubleRoom;
    };
    using Source = std::function<void(std::size_t id, Values& values)>;

    std::vector<std::string> labelNames; /**< behind "Primary ID" */
    int axisUnitColumn = 2;              /**< where the X row has its unit */
    bool hasAxisRow = true;
    std::vector<Group> groups;

    int CountRows() const;
    int CountColumns() const;
    /** Tells the size and then every cell, row by row. */
    void Write(ReadSpreadSheetData& sink, const karta::ReadContext& context, const Source& source) const;
    /** Which rows and columns are heads; quantities and units are the format's to tell. */
    void FillShape(karta::TableShape& shape) const;

private:
    bool HasAxisRows() const { return hasAxisRow || groups.size() > 1; }
    int GetFirstValueColumn() const { return static_cast<int>(labelNames.size()) + 2; }
    void WriteNames(CellOutput& output) const;
    void WriteAxis(CellOutput& output, const Group& group, int row) const;
    void WriteLabels(CellOutput& output, const Spectrum& spectrum, int row) const;
    void WriteValues(CellOutput& output, const Group& group, int row, Values& values) const;
};

/** One of several, for a sentence: "1 to 3, 7 and 9". The numbers ascend. */
std::string ListNumbers(const std::vector<int>& numbers);
