#include "container/ClassicTables.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>

#include "frame/CellOutput.h"

namespace {

constexpr int NameRows = 1;
constexpr const char* AttributesName = "attributes";
constexpr const char* UnitAttributes[] = {"units", "unit"};

// Columns are read so many rows at a time, so that the rows of a large table become final one after the
// other.
constexpr std::uint64_t RowsAtATime = 4096;

// What a table can count.
constexpr std::uint64_t MostRows = std::numeric_limits<int>::max() - 2;

constexpr const char* ScanDimension = "scan_number";
constexpr const char* PeakDimension = "peak_number";
// The columns of the scans that tell most stand first.
constexpr const char* ScanColumns[] = {"scan_acquisition_time", "total_intensity", "mass_range_min",
                                       "mass_range_max",        "time_range_min",  "time_range_max"};

constexpr const char* SpectraNames[] = {"scan", "time", "mass", "intensity"};
constexpr int SpectraColumns = 4;

std::string UnitOf(const ClassicFile& file, const ClassicVariable& variable) {
    for (const char* name : UnitAttributes) {
        const std::string unit = file.GetText(ClassicFile::FindAttribute(variable, name));
        if (!unit.empty()) {
            return unit;
        }
    }
    return {};
}

std::uint64_t Product(const std::vector<std::uint64_t>& lengths, std::size_t from) {
    std::uint64_t product = 1;
    for (std::size_t i = from; i < lengths.size(); ++i) {
        product *= lengths[i];
    }
    return product;
}

}  // namespace

// Without a row nothing bears out how long the other dimensions are.
std::uint64_t ClassicTables::CellShape::CountColumns() const {
    return CountRows() == 0 ? 0 : Product(lengths, 1);
}

ClassicTables::ClassicTables(const ClassicFile& classicFile, Convention itsConvention,
                             karta::ReadContext& readContext)
    : file(classicFile), convention(itsConvention), context(readContext) {
    FindTextDimensions();
    MakeTables();
    NameTables();
    NoteWhatIsCut();
}

// The last dimension of texts is the room for their characters, unless numbers have it too.
void ClassicTables::FindTextDimensions() {
    const ClassicHeader& header = file.GetHeader();
    isTextDimension.assign(header.dimensions.size(), false);
    for (const ClassicVariable& variable : header.variables) {
        if (variable.type == ClassicType::Char && !variable.dimensions.empty()) {
            isTextDimension[variable.dimensions.back()] = true;
        }
    }
    for (const ClassicVariable& variable : header.variables) {
        for (const std::uint32_t dimension : variable.dimensions) {
            if (variable.type != ClassicType::Char || dimension != variable.dimensions.back()) {
                isTextDimension[dimension] = false;
            }
        }
    }
}

ClassicTables::CellShape ClassicTables::ShapeOf(const ClassicVariable& variable) const {
    CellShape shape{variable.shape, variable.dimensions, 0};
    if (variable.type != ClassicType::Char) {
        return shape;
    }
    shape.textLength = 1;
    if (shape.lengths.size() > 1 ||
        (shape.lengths.size() == 1 && isTextDimension[shape.dimensions.front()])) {
        shape.textLength = static_cast<std::size_t>(shape.lengths.back());
        shape.lengths.pop_back();
        shape.dimensions.pop_back();
    }
    return shape;
}

// The variable of a dimension's name that has a value, or a text, for each of its steps; or null.
const ClassicVariable* ClassicTables::FindCoordinate(const CellShape& shape, std::size_t place) const {
    const std::uint32_t dimension = shape.dimensions[place];
    const ClassicVariable* coordinate = file.FindVariable(file.GetHeader().dimensions[dimension].name);
    if (coordinate == nullptr) {
        return nullptr;
    }
    const CellShape itsShape = ShapeOf(*coordinate);
    return itsShape.dimensions == std::vector<std::uint32_t>{dimension} ? coordinate : nullptr;
}

void ClassicTables::MakeTables() {
    const ClassicHeader& header = file.GetHeader();
    for (std::size_t place = 0; place < header.variables.size(); ++place) {
        context.ThrowIfStopped();
        const CellShape shape = ShapeOf(header.variables[place]);
        if (shape.lengths.empty()) {
            continue;
        }
        if (std::max(shape.CountRows(), shape.CountColumns()) > MostRows) {
            const std::string name = NameOf(header.variables[place].name);
            context.notes.Add({"too-large", 1, name, "the variable " + name + " is too large for a table"});
        } else if (shape.lengths.size() == 1) {
            AddToColumns(place, shape);
        } else {
            AddMatrix(place, shape);
        }
    }
    if (convention == MassSpectra) {
        AddSpectra();
    }
    AddAttributes();
    std::vector<Table> ordered;
    for (const int rank : {0, 1, 2}) {
        std::copy_if(tables.begin(), tables.end(), std::back_inserter(ordered),
                     [&](const Table& table) { return RankOf(table) == rank; });
    }
    tables = std::move(ordered);
}

// What a convention is about stands first.
int ClassicTables::RankOf(const Table& table) const {
    const bool isColumns = table.kind == Table::Columns;
    const std::string_view dimension =
        isColumns ? file.GetHeader().dimensions[table.dimension].name : std::string_view();
    switch (convention) {
        case Chromatogram:
            return dimension == PeakDimension ? 0 : table.kind == Table::Attributes ? 1 : 2;
        case MassSpectra:
            return dimension == ScanDimension ? 0 : table.kind == Table::Spectra ? 1 : 2;
        case Plain:
            break;
    }
    return 0;
}

void ClassicTables::AddToColumns(std::size_t place, const CellShape& shape) {
    const std::uint32_t dimension = shape.dimensions.front();
    const auto [known, isNew] = columnTables.emplace(dimension, tables.size());
    if (isNew) {
        Table& added = tables.emplace_back();
        added.dimension = dimension;
        added.part.name = NameOf(file.GetHeader().dimensions[dimension].name);
        added.part.rows = NameRows;
        added.part.cols = 0;
    }
    Table* const table = &tables[known->second];
    const bool isCoordinate = FindCoordinate(shape, 0) == &VariableAt(place);
    table->variables.insert(isCoordinate ? table->variables.begin() : table->variables.end(), place);
    table->part.rows = std::max(table->part.rows, static_cast<int>(shape.CountRows()) + NameRows);
    ++table->part.cols;
    table->numbers += shape.textLength == 0 ? shape.CountRows() : 0;
}

void ClassicTables::AddMatrix(std::size_t place, const CellShape& shape) {
    const ClassicVariable& variable = VariableAt(place);
    Table table;
    table.kind = Table::Matrix;
    table.variables = {place};
    table.part.name = NameOf(variable.name);
    table.part.rows = static_cast<int>(shape.CountRows()) + NameRows;
    table.part.cols = static_cast<int>(shape.CountColumns()) + (FindCoordinate(shape, 0) != nullptr ? 1 : 0);
    std::string sizes;
    for (std::size_t i = 0; i < shape.lengths.size(); ++i) {
        sizes += (i == 0 ? "" : " x ") + NameOf(file.GetHeader().dimensions[shape.dimensions[i]].name) + " " +
                 std::to_string(shape.lengths[i]);
    }
    const std::string unit = UnitOf(file, variable);
    table.part.detail = unit.empty() ? sizes : sizes + ", " + unit;
    table.numbers = shape.textLength == 0 ? ClassicFile::CountValues(variable) : 0;
    tables.push_back(std::move(table));
}

// One row for each global attribute, for each attribute of a variable, and for each variable of one value.
void ClassicTables::AddAttributes() {
    const ClassicHeader& header = file.GetHeader();
    std::uint64_t rows = header.attributes.size();
    std::uint64_t values = 1;
    const auto measure = [&values](const ClassicAttribute& attribute) {
        values = std::max(values, attribute.type == ClassicType::Char ? 1 : attribute.count);
    };
    std::for_each(header.attributes.begin(), header.attributes.end(), measure);
    Table table;
    for (const ClassicVariable& variable : header.variables) {
        rows += variable.attributes.size();
        std::for_each(variable.attributes.begin(), variable.attributes.end(), measure);
        if (ShapeOf(variable).lengths.empty()) {
            ++rows;
            table.part.members.push_back(NameOf(variable.name));
        }
    }
    if (rows == 0 && !tables.empty()) {
        return;
    }
    table.kind = Table::Attributes;
    table.part.name = AttributesName;
    table.part.rows = static_cast<int>(std::min(rows, MostRows)) + NameRows;
    table.part.cols = static_cast<int>(std::min(values, MostRows)) + 2;
    table.part.detail = "what has no dimension, and all attributes";
    tables.push_back(std::move(table));
}

void ClassicTables::NameTables() {
    for (Table& table : tables) {
        table.part.kind = "matrix";
        table.part.number = static_cast<int>(&table - tables.data()) + 1;
        if (table.kind == Table::Columns) {
            OrderColumns(table);
            const std::string_view name = file.GetHeader().dimensions[table.dimension].name;
            if (convention == MassSpectra && name == ScanDimension) {
                table.part.name = "scans";
            } else if (convention == Chromatogram && name == PeakDimension) {
                table.part.name = "peaks";
            }
            for (const std::size_t place : table.variables) {
                table.part.members.push_back(NameOf(VariableAt(place).name));
                table.part.detail += (table.part.detail.empty() ? "" : ", ") + table.part.members.back();
            }
        }
        if (table.part.rows == NameRows) {
            table.part.detail += table.part.detail.empty() ? "empty" : ", empty";
        }
    }
}

void ClassicTables::OrderColumns(Table& table) const {
    if (convention != MassSpectra) {
        return;
    }
    const auto rank = [this](std::size_t place) {
        const auto* const found =
            std::find(std::begin(ScanColumns), std::end(ScanColumns), VariableAt(place).name);
        return found - std::begin(ScanColumns);
    };
    std::sort(table.variables.begin(), table.variables.end(), [&](std::size_t left, std::size_t right) {
        return rank(left) != rank(right) ? rank(left) < rank(right) : left < right;
    });
}

void ClassicTables::NoteWhatIsCut() const {
    std::uint64_t count = 0;
    std::string names;
    for (const ClassicVariable& variable : file.GetHeader().variables) {
        if (variable.isCut) {
            names += (count++ == 0 ? "" : ", ") + NameOf(variable.name);
        }
    }
    if (count > 0) {
        context.notes.Add({"cut-variables", count, "byte " + std::to_string(file.GetFileSize()),
                           "the file ends before the data of " + names + " do"});
    }
    if (file.CountForeignTexts() > 0) {
        context.notes.Add({"encoding",
                           file.CountForeignTexts(),
                           {},
                           karta::CountOf(file.CountForeignTexts(), "text is", "texts are") +
                               " not UTF-8 and read as Windows-1252"});
    }
}

void ClassicTables::Read(const Table& table, CellOutput& output, int firstRow) const {
    switch (table.kind) {
        case Table::Columns:
            ReadColumns(table, output, firstRow);
            break;
        case Table::Matrix:
            ReadMatrix(table, output, firstRow);
            break;
        case Table::Attributes:
            ReadAttributes(output, firstRow);
            break;
        case Table::Spectra:
            ReadSpectra(output, firstRow);
            break;
    }
}

void ClassicTables::ReadColumns(const Table& table, CellOutput& output, int firstRow) const {
    struct Column {
        ClassicValues values;
        CellShape shape;
    };
    std::vector<Column> columns;
    for (const std::size_t place : table.variables) {
        const ClassicVariable& variable = VariableAt(place);
        columns.push_back({ClassicValues(file, variable), ShapeOf(variable)});
        output.Text(static_cast<int>(columns.size()), firstRow, NameOf(variable.name));
    }
    output.EndRow(firstRow);
    const auto rows = static_cast<std::uint64_t>(table.part.rows - NameRows);
    for (std::uint64_t done = 0; done < rows; done += RowsAtATime) {
        context.ThrowIfStopped();
        const int row = firstRow + NameRows + static_cast<int>(done);
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const Column& column = columns[i];
            const std::uint64_t end = std::min(column.shape.CountRows(), done + RowsAtATime);
            const std::uint64_t count = end > done ? end - done : 0;
            const int col = static_cast<int>(i) + 1;
            if (!column.values.IsText()) {
                column.values.SetColumn(output, col, row, done, count);
                continue;
            }
            const std::size_t length = column.shape.textLength;
            for (std::uint64_t text = 0; text < count; ++text) {
                column.values.SetText(output, col, row + static_cast<int>(text), (done + text) * length,
                                      length);
            }
        }
        output.EndRow(static_cast<int>(std::min(rows, done + RowsAtATime)) + firstRow);
    }
}

void ClassicTables::ReadMatrix(const Table& table, CellOutput& output, int firstRow) const {
    const ClassicVariable& variable = VariableAt(table.variables.front());
    const CellShape shape = ShapeOf(variable);
    const ClassicValues values(file, variable);
    const ClassicVariable* labels = FindCoordinate(shape, 0);
    const int firstCol = labels == nullptr ? 1 : 2;
    if (labels != nullptr) {
        output.Text(1, firstRow, NameOf(labels->name));
    }
    SetMatrixNames(shape, output, firstCol, firstRow);
    output.EndRow(firstRow);
    const std::uint64_t rows = shape.CountRows();
    const std::uint64_t columns = shape.CountColumns();
    std::optional<ClassicValues> labelValues;
    CellShape labelShape;
    if (labels != nullptr) {
        labelValues.emplace(file, *labels);
        labelShape = ShapeOf(*labels);
    }
    for (std::uint64_t i = 0; i < rows; ++i) {
        context.ThrowIfStopped();
        const int row = firstRow + NameRows + static_cast<int>(i);
        if (labelValues && i < labelShape.CountRows()) {
            if (labelValues->IsText()) {
                labelValues->SetText(output, 1, row, i * labelShape.textLength, labelShape.textLength);
            } else {
                labelValues->SetColumn(output, 1, row, i, 1);
            }
        }
        if (values.IsText()) {
            for (std::uint64_t col = 0; col < columns; ++col) {
                values.SetText(output, firstCol + static_cast<int>(col), row,
                               (i * columns + col) * shape.textLength, shape.textLength);
            }
        } else {
            values.SetRow(output, firstCol, row, i * columns, columns);
        }
        output.EndRow(row);
    }
}

// The second dimension's coordinates; where it has none, or there are further dimensions, the columns' places
// in all of them, from 1: "(:,1,3)".
void ClassicTables::SetMatrixNames(const CellShape& shape, CellOutput& output, int firstCol, int row) const {
    const std::uint64_t columns = shape.CountColumns();
    const ClassicVariable* names = shape.lengths.size() == 2 ? FindCoordinate(shape, 1) : nullptr;
    if (names != nullptr) {
        const ClassicValues values(file, *names);
        const CellShape namesShape = ShapeOf(*names);
        const std::uint64_t count = std::min(columns, namesShape.CountRows());
        if (!values.IsText()) {
            values.SetRow(output, firstCol, row, 0, count);
            return;
        }
        for (std::uint64_t i = 0; i < count; ++i) {
            values.SetText(output, firstCol + static_cast<int>(i), row, i * namesShape.textLength,
                           namesShape.textLength);
        }
        return;
    }
    for (std::uint64_t col = 0; col < columns; ++col) {
        std::string name;
        std::uint64_t rest = col;
        for (std::size_t i = shape.lengths.size() - 1; i > 0; --i) {
            name.insert(0, "," + std::to_string(rest % shape.lengths[i] + 1));
            rest /= shape.lengths[i];
        }
        output.Text(firstCol + static_cast<int>(col), row, "(:" + name + ")");
    }
}

void ClassicTables::SetAttribute(const std::string& variable, const ClassicAttribute& attribute,
                                 CellOutput& output, int row) const {
    output.Text(1, row, variable);
    output.Text(2, row, NameOf(attribute.name));
    if (attribute.type == ClassicType::Char) {
        output.Text(3, row, file.Decode(attribute));
    } else if (attribute.type == ClassicType::Float) {
        const std::vector<double> numbers = ClassicFile::GetNumbers(&attribute);
        const std::vector<float> values(numbers.begin(), numbers.end());
        output.RowRun(3, row, values);
    } else {
        output.RowRun(3, row, ClassicFile::GetNumbers(&attribute));
    }
}

void ClassicTables::ReadAttributes(CellOutput& output, int firstRow) const {
    const ClassicHeader& header = file.GetHeader();
    output.Text(1, firstRow, "variable");
    output.Text(2, firstRow, "attribute");
    output.Text(3, firstRow, "value");
    int row = firstRow;
    for (const ClassicAttribute& attribute : header.attributes) {
        SetAttribute({}, attribute, output, ++row);
    }
    for (const ClassicVariable& variable : header.variables) {
        context.ThrowIfStopped();
        const std::string name = NameOf(variable.name);
        const CellShape shape = ShapeOf(variable);
        if (shape.lengths.empty()) {
            output.Text(1, ++row, name);
            const ClassicValues values(file, variable);
            if (values.IsText() && ClassicFile::CountValues(variable) > 0) {
                values.SetText(output, 3, row, 0, shape.textLength);
            } else {
                values.SetRow(output, 3, row, 0, ClassicFile::CountValues(variable));
            }
        }
        for (const ClassicAttribute& attribute : variable.attributes) {
            SetAttribute(name, attribute, output, ++row);
        }
    }
    output.EndRow(row);
}

// ---- The spectra of ANDI/MS: for each scan its points ----

struct ClassicTables::Scans {
    const ClassicVariable* masses = nullptr;
    const ClassicVariable* intensities = nullptr;
    std::vector<double> starts;
    std::vector<double> counts;
    std::vector<double> times;
    std::vector<double> numbers;
    std::uint64_t points = 0; /**< that masses and intensities have */

    /** The points of a scan that are there. */
    std::pair<std::uint64_t, std::uint64_t> RangeOf(std::size_t scan) const {
        const double start = starts[scan];
        const double count = counts[scan];
        if (!(start >= 0) || !(count > 0) || start >= static_cast<double>(points)) {
            return {0, 0};
        }
        const auto first = static_cast<std::uint64_t>(start);
        return {first, static_cast<std::uint64_t>(std::min(count, static_cast<double>(points - first)))};
    }
};

ClassicTables::Scans ClassicTables::FindScans() const {
    const auto numbers = [this](const char* name) {
        const ClassicVariable* variable = file.FindVariable(name);
        return variable == nullptr || variable->type == ClassicType::Char
                   ? std::vector<double>()
                   : ClassicValues(file, *variable).GetNumbers();
    };
    const auto isTrace = [](const ClassicVariable* variable) {
        return variable != nullptr && variable->shape.size() == 1 && variable->type != ClassicType::Char;
    };
    Scans scans;
    scans.masses = file.FindVariable("mass_values");
    scans.intensities = file.FindVariable("intensity_values");
    if (!isTrace(scans.masses) || !isTrace(scans.intensities)) {
        return scans;
    }
    scans.points = std::min(scans.masses->shape.front(), scans.intensities->shape.front());
    scans.starts = numbers("scan_index");
    scans.counts = numbers("point_count");
    scans.times = numbers("scan_acquisition_time");
    scans.numbers = numbers("actual_scan_number");
    if (scans.counts.empty()) {
        // Where the file doesn't tell them, a scan's points end where the next one's begin.
        for (std::size_t i = 0; i < scans.starts.size(); ++i) {
            const double end =
                i + 1 < scans.starts.size() ? scans.starts[i + 1] : static_cast<double>(scans.points);
            scans.counts.push_back(end - scans.starts[i]);
        }
    }
    scans.counts.resize(scans.starts.size(), 0.0);
    return scans;
}

void ClassicTables::AddSpectra() {
    const Scans scans = FindScans();
    std::uint64_t rows = 0;
    double asked = 0;
    for (std::size_t i = 0; i < scans.starts.size(); ++i) {
        rows += scans.RangeOf(i).second;
        asked += std::max(scans.counts[i], 0.0);
    }
    context.budget.ChargeWork(rows, "the spectra");
    if (scans.starts.empty() || rows == 0 || rows > MostRows) {
        return;
    }
    if (asked > static_cast<double>(rows)) {
        const auto missing = static_cast<std::uint64_t>(asked) - rows;
        context.notes.Add(
            {"points-not-there",
             missing,
             {},
             "the scans ask for " + karta::CountOf(missing, "point") + " more than the file has"});
    } else if (rows < scans.points) {
        const std::uint64_t unused = scans.points - rows;
        context.notes.Add({"points-of-no-scan",
                           unused,
                           {},
                           karta::CountOf(unused, "point belongs", "points belong") + " to no scan"});
    }
    Table table;
    table.kind = Table::Spectra;
    table.part.name = "spectra";
    table.part.rows = static_cast<int>(rows) + NameRows;
    table.part.cols = SpectraColumns;
    table.part.detail = "scan, time, mass, intensity";
    table.numbers = rows * SpectraColumns;
    tables.push_back(std::move(table));
}

void ClassicTables::ReadSpectra(CellOutput& output, int firstRow) const {
    const Scans scans = FindScans();
    const ClassicValues masses(file, *scans.masses);
    const ClassicValues intensities(file, *scans.intensities);
    for (int col = 1; col <= SpectraColumns; ++col) {
        output.Text(col, firstRow, SpectraNames[col - 1]);
    }
    int row = firstRow + NameRows;
    std::vector<double> same;
    for (std::size_t scan = 0; scan < scans.starts.size(); ++scan) {
        context.ThrowIfStopped();
        const auto [first, count] = scans.RangeOf(scan);
        const bool hasNumber = scan < scans.numbers.size() && !std::isnan(scans.numbers[scan]);
        same.assign(static_cast<std::size_t>(count),
                    hasNumber ? scans.numbers[scan] : static_cast<double>(scan + 1));
        output.ColumnRun(1, row, same);
        if (scan < scans.times.size() && !std::isnan(scans.times[scan])) {
            same.assign(same.size(), scans.times[scan]);
            output.ColumnRun(2, row, same);
        }
        masses.SetColumn(output, 3, row, first, count);
        intensities.SetColumn(output, 4, row, first, count);
        row += static_cast<int>(count);
        output.EndRow(row - 1);
    }
}

void ClassicTables::TellShape(const Table& table) const {
    karta::TableShape& shape = context.shape;
    shape = {};
    shape.isKnown = true;
    shape.nameRow = 1;
    shape.firstDataRow = 1 + NameRows;
    if (table.kind == Table::Attributes) {
        shape.labelColumns = {1, 2};
    } else if (table.kind == Table::Columns) {
        for (std::size_t i = 0; i < table.variables.size(); ++i) {
            if (VariableAt(table.variables[i]).type == ClassicType::Char) {
                shape.labelColumns.push_back(static_cast<int>(i) + 1);
            }
        }
    } else if (table.kind == Table::Matrix) {
        const ClassicVariable& variable = VariableAt(table.variables.front());
        const CellShape cells = ShapeOf(variable);
        const ClassicVariable* names = cells.lengths.size() == 2 ? FindCoordinate(cells, 1) : nullptr;
        shape.firstBlockColumn = 1;
        if (FindCoordinate(cells, 0) != nullptr) {
            shape.labelColumns = {1};
            shape.firstBlockColumn = 2;
        }
        if (names != nullptr && names->type != ClassicType::Char) {
            shape.nameRow = 0;
            shape.axisRow = 1;
            shape.axisQuantity = NameOf(names->name);
            shape.axisUnit = UnitOf(file, *names);
        }
        shape.valueQuantity = NameOf(variable.name);
        shape.valueUnit = UnitOf(file, variable);
    }
}
