#include "instrument/SpectrumTable.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "base/NumberFormat.h"

namespace {

int ToInt(std::size_t count) {
    return static_cast<int>(std::min<std::size_t>(count, std::numeric_limits<int>::max()));
}

// Numbers in one row, those that are there in runs.
void WriteWithGaps(CellOutput& output, int firstCol, int row, std::span<const double> values) {
    for (std::size_t i = 0; i < values.size();) {
        const auto isMissing = [](double value) { return std::isnan(value); };
        const auto begin = values.begin() + static_cast<std::ptrdiff_t>(i);
        const auto end = std::find_if(begin, values.end(), isMissing);
        const auto count = static_cast<std::size_t>(end - begin);
        if (count > 0) {
            output.RowRun(firstCol + static_cast<int>(i), row, values.subspan(i, count));
            i += count;
        } else {
            output.Missing(firstCol + static_cast<int>(i), row);
            ++i;
        }
    }
}

// The X values that become columns: all of them, where they lie, or those that are selected, in the room.
std::span<const double> ColumnsOf(const SpectrumTable::Group& group, std::vector<double>& room) {
    if (group.selection.TakesAll()) {
        return group.axis;
    }
    group.selection.Take(std::span<const double>(group.axis), room);
    return room;
}

}  // namespace

int SpectrumTable::CountRows() const {
    std::size_t rows = 1;
    for (const Group& group : groups) {
        rows += group.spectra.size() + (HasAxisRows() ? 1 : 0);
    }
    return ToInt(rows);
}

int SpectrumTable::CountColumns() const {
    std::size_t columns = 0;
    for (const Group& group : groups) {
        columns = std::max(columns, group.selection.CountColumns(group.axis.size()));
    }
    return ToInt(columns + labelNames.size() + 1);
}

void SpectrumTable::Write(ReadSpreadSheetData& sink, const karta::ReadContext& context,
                          const Source& source) const {
    sink.SetDataSize(CountColumns(), CountRows());
    CellOutput output(sink);
    WriteNames(output);
    int row = 1;
    Values values;
    for (const Group& group : groups) {
        if (HasAxisRows()) {
            WriteAxis(output, group, ++row);
        }
        for (const Spectrum& spectrum : group.spectra) {
            context.ThrowIfStopped();
            WriteLabels(output, spectrum, ++row);
            values.floats = {};
            values.doubles = {};
            values.haveGaps = false;
            source(spectrum.id, values);
            WriteValues(output, group, row, values);
            output.EndRow(row);
        }
    }
}

void SpectrumTable::WriteNames(CellOutput& output) const {
    output.Text(1, 1, "Primary ID");
    int col = 1;
    for (const std::string& name : labelNames) {
        output.Text(++col, 1, name);
    }
    std::vector<double> room;
    if (groups.size() == 1 && !hasAxisRow) {
        output.RowRun(col + 1, 1, ColumnsOf(groups.front(), room));
    } else if (groups.size() == 1 && output.WantsPointNames()) {
        std::string name;
        for (const double x : ColumnsOf(groups.front(), room)) {
            name = "t ";
            AppendG(name, x);
            output.TerminatedText(++col, 1, name);
        }
    }
    output.EndRow(1);
}

void SpectrumTable::WriteAxis(CellOutput& output, const Group& group, int row) const {
    output.Integer(1, row, row - 1);
    if (!group.axisUnit.empty()) {
        output.Text(axisUnitColumn, row, group.axisUnit);
    }
    std::vector<double> room;
    const std::span<const double> xs = ColumnsOf(group, room);
    if (group.isFloatAxis && !group.selection.Averages()) {
        const std::vector<float> floats(xs.begin(), xs.end());
        output.RowRun(GetFirstValueColumn(), row, std::span<const float>(floats));
    } else {
        output.RowRun(GetFirstValueColumn(), row, xs);
    }
    output.EndRow(row);
}

void SpectrumTable::WriteLabels(CellOutput& output, const Spectrum& spectrum, int row) const {
    output.Integer(1, row, row - 1);
    int col = 1;
    for (const Label& label : spectrum.labels) {
        ++col;
        if (const auto* text = std::get_if<std::string>(&label)) {
            output.Text(col, row, *text);
        } else if (const auto* number = std::get_if<double>(&label)) {
            output.Number(col, row, *number);
        } else if (const auto* date = std::get_if<DateTime>(&label)) {
            output.DateTime(col, row, date->microseconds);
        }
    }
}

void SpectrumTable::WriteValues(CellOutput& output, const Group& group, int row, Values& values) const {
    const int firstCol = GetFirstValueColumn();
    if (group.selection.Averages() && !values.floats.empty()) {
        // A mean of floats is none.
        values.doubleRoom.assign(values.floats.begin(), values.floats.end());
        values.doubles = values.doubleRoom;
        values.floats = {};
    }
    std::vector<float> floats;
    std::vector<double> doubles;
    if (!group.selection.TakesAll()) {
        group.selection.Take(values.floats, floats);
        group.selection.Take(values.doubles, doubles);
        values.floats = floats;
        values.doubles = doubles;
    }
    if (!values.floats.empty()) {
        output.RowRun(firstCol, row, values.floats);
    } else if (values.haveGaps) {
        WriteWithGaps(output, firstCol, row, values.doubles);
    } else if (!values.doubles.empty()) {
        output.RowRun(firstCol, row, values.doubles);
    }
}

void SpectrumTable::FillShape(karta::TableShape& shape) const {
    shape.isKnown = true;
    shape.nameRow = 1;
    shape.labelColumns.clear();
    for (int col = 1; col < GetFirstValueColumn(); ++col) {
        shape.labelColumns.push_back(col);
    }
    if (groups.size() == 1) {
        shape.axisRow = hasAxisRow ? 2 : 1;
        shape.firstDataRow = shape.axisRow + 1;
        shape.firstBlockColumn = GetFirstValueColumn();
    } else {
        shape.firstDataRow = 2;
    }
}

std::string ListNumbers(const std::vector<int>& numbers) {
    std::vector<std::string> ranges;
    for (std::size_t i = 0; i < numbers.size();) {
        std::size_t last = i;
        while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) {
            ++last;
        }
        const bool isRange = last > i + 1;
        ranges.push_back(std::to_string(numbers[i]));
        if (isRange) {
            ranges.back() += " to " + std::to_string(numbers[last]);
        }
        i = isRange ? last + 1 : i + 1;
    }
    std::string text;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        const char* const parting = i + 1 < ranges.size() ? ", " : " and ";
        text += (i == 0 ? "" : parting) + ranges[i];
    }
    return text;
}
