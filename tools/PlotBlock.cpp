#include "tools/PlotBlock.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "base/Ascii.h"
#include "base/PathNames.h"
#include "host/NvString.h"
#include "karta/internal/UnitName.h"
#include "tools/PlotNumber.h"
#include "tools/Utf8Text.h"

namespace {

// Fewer are values beside each other and no curve.
constexpr int FewestPoints = 3;
constexpr int FewestPointsWithoutAxis = 8;

// As many rows tell which labels tell rows apart.
constexpr std::size_t RowsOfSample = 500;

double AxisValueOf(TableData& table, int col, int row) {
    const double number = PlotNumberOf(table, col, row);
    double value = 0.0;
    return std::isnan(number) && NvString::ToDouble(table.GetString(col, row), value) ? value : number;
}

// Wavenumbers of absorption and chemical shifts are drawn from right to left; Raman shifts are not.
bool IsDrawnReversed(const PlotAxis& axis) {
    const std::string name = ToLowerCase(axis.name);
    const std::string unit = ToLowerCase(axis.unit);
    if (name.find("raman") != std::string::npos) {
        return false;
    }
    return name.find("wavenumber") != std::string::npos || unit == "cm-1" || unit == "1/cm" ||
           unit == "cm^-1" || unit == "cm\u207b\u00b9" || unit == "ppm";
}

// "Wavenumber cm-1", "Retention Time(seconds)": some files tell both in one text.
void PartUnit(PlotAxis& axis) {
    const std::size_t open = axis.name.find_last_of("([");
    if (!axis.unit.empty() || open == std::string::npos || open == 0 ||
        (axis.name.back() != ')' && axis.name.back() != ']')) {
        return;
    }
    axis.unit = axis.name.substr(open + 1, axis.name.size() - open - 2);
    axis.name.erase(axis.name.find_last_not_of(' ', open - 1) + 1);
}

bool IsStrictlyRising(const std::vector<double>& values) {
    return std::adjacent_find(values.begin(), values.end(),
                              [](double left, double right) { return !(left < right); }) == values.end();
}

// 2, 3, 4 ...: the rows' numbers, and no place in time.
bool IsCounting(const std::vector<double>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] != static_cast<double>(i) + values.front()) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::optional<PlotBlock> PlotBlock::Find(TableData& table, const karta::TableShape& shape) {
    if (!shape.isKnown || shape.firstBlockColumn < 1) {
        return std::nullopt;
    }
    const int points = table.GetNumberOfColumns() - shape.firstBlockColumn + 1;
    if (points < (shape.axisRow > 0 ? FewestPoints : FewestPointsWithoutAxis)) {
        return std::nullopt;
    }
    PlotBlock block(table, shape);
    if (block.columns.size() < FewestPoints || block.rows.empty()) {
        return std::nullopt;
    }
    return block;
}

PlotBlock::PlotBlock(TableData& blockTable, const karta::TableShape& shape)
    : table(blockTable), head(blockTable, &shape) {
    FindAxis(shape);
    FindRows();
    FindNames(shape);
    FindCoordinate(shape);
    // Some formats tell the quantity in the place of the unit.
    const std::string ordinate =
        shape.valueQuantity.empty() ? karta::OrdinateOf("", shape.valueUnit) : std::string();
    valueName = !shape.valueQuantity.empty() ? AsUtf8(shape.valueQuantity)
                : ordinate.empty()           ? "value"
                                             : ordinate;
    if (ordinate.empty() && !shape.valueUnit.empty() && shape.valueUnit != shape.valueQuantity) {
        valueName += " (" + AsUtf8(shape.valueUnit) + ")";
    }
}

void PlotBlock::FindAxis(const karta::TableShape& shape) {
    axis.name =
        shape.axisQuantity.empty() ? (shape.axisRow > 0 ? "axis" : "point") : AsUtf8(shape.axisQuantity);
    axis.unit = AsUtf8(shape.axisUnit);
    PartUnit(axis);
    axis.unit = karta::UsualUnit(axis.unit);
    axis.isReversed = IsDrawnReversed(axis);
    std::vector<std::pair<double, int>> points;
    for (int col = shape.firstBlockColumn; col <= table.GetNumberOfColumns(); ++col) {
        const double value = shape.axisRow > 0 ? AxisValueOf(table, col, shape.axisRow)
                                               : static_cast<double>(col - shape.firstBlockColumn) + 1.0;
        if (std::isfinite(value)) {
            points.emplace_back(value, col);
        }
    }
    // Spectra of magnetic resonance begin at the left with the highest frequency.
    axis.isReversed = axis.isReversed ||
                      (axis.unit == "Hz" && !points.empty() && points.front().first > points.back().first);
    std::stable_sort(points.begin(), points.end());
    for (const auto& [value, col] : points) {
        axis.values.push_back(value);
        columns.push_back(col);
    }
}

// A row without a number in the block is no curve: a remark, a row of units.
void PlotBlock::FindRows() {
    for (int row = head.GetFirstDataRow(); row <= table.GetNumberOfRows(); ++row) {
        if (std::any_of(columns.begin(), columns.end(),
                        [&](int col) { return !std::isnan(PlotNumberOf(table, col, row)); })) {
            rows.push_back(row);
        }
    }
}

// The labels of texts that tell the rows apart, as few as will do; the first one if none does.
void PlotBlock::FindNames(const karta::TableShape& shape) {
    const std::size_t sample = std::min(rows.size(), RowsOfSample);
    std::size_t most = 1;
    for (const int col : shape.labelColumns) {
        std::set<std::string> texts;
        for (std::size_t i = 0; i < sample; ++i) {
            if (table.GetKind(col, rows[i]) == TableData::Text) {
                texts.insert(table.GetText(col, rows[i]));
            }
        }
        if (texts.size() > most || (nameColumns.empty() && !texts.empty())) {
            nameColumns = {col};
            most = std::max(most, texts.size());
        }
    }
}

void PlotBlock::FindCoordinate(const karta::TableShape& shape) {
    for (const int col : shape.labelColumns) {
        PlotAxis found;
        for (const int row : rows) {
            found.values.push_back(PlotNumberOf(table, col, row));
        }
        if (rows.size() < 2 || !IsStrictlyRising(found.values) || IsCounting(found.values)) {
            continue;
        }
        found.isTime = IsPointInTime(table.GetKind(col, rows.front()));
        found.name = head.LabelOf(col);
        PartUnit(found);
        coordinate = std::move(found);
        return;
    }
}

std::string PlotBlock::NameOf(std::size_t curve) const {
    std::string name;
    for (const int col : nameColumns) {
        name = AsUtf8(table.GetString(col, rows[curve]));
    }
    return name.empty() ? "row " + std::to_string(rows[curve]) : name;
}

void PlotBlock::GetPart(std::size_t curve, std::size_t firstPoint, std::span<float> values) const {
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<float>(PlotNumberOf(table, columns[firstPoint + i], rows[curve]));
    }
}
