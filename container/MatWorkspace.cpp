#include "container/MatWorkspace.h"

#include <algorithm>
#include <limits>

#include "base/Ascii.h"
#include "container/MatFile.h"

namespace {

// What this library writes: the numbers, the labels of their rows, the names of their columns.
constexpr std::string_view OwnData = "DATA";
constexpr std::string_view OwnRowLabels = "OBSID";
constexpr std::string_view OwnColumnNames = "VARID";
// Its mark of a missing number.
constexpr std::uint64_t MissingBits = 0xFFF8000000000000;

// So many names are told in a note.
constexpr std::size_t MostNames = 20;

bool IsNumbered(std::string_view name, std::string_view stem) {
    return name.size() > stem.size() && name.starts_with(stem) &&
           std::all_of(name.begin() + static_cast<std::ptrdiff_t>(stem.size()), name.end(), IsDigit);
}

std::string Quoted(const std::string& name) {
    return name.empty() ? "A variable without a name" : "\"" + name + "\"";
}

bool IsText(const MatCell& cell) {
    return std::holds_alternative<std::string>(cell);
}

}  // namespace

MatWorkspace::MatWorkspace(std::unique_ptr<MatArrays> arraySource, const NvImportOpenOptions* openOptions,
                           karta::ReadContext& readContext)
    : source(std::move(arraySource)), options(openOptions), context(readContext) {}

int MatWorkspace::Open() {
    if (const int status = source->List(arrays)) {
        failure = source->GetFailure();
        return status;
    }
    for (const std::string& remark : source->GetRemarks()) {
        context.notes.Add({"left-out", 1, "", remark});
    }
    FindOwnLabels();
    return Choose();
}

// The labels stand behind DATA in the order of their lines; from the hundredth on their names are cut.
void MatWorkspace::FindOwnLabels() {
    const auto data = std::find_if(arrays.begin(), arrays.end(), [](const MatArray& array) {
        return array.name == OwnData && array.depth == 0;
    });
    if (data == arrays.end() || !data->IsNumeric() || data->isComplex || !data->problem.empty() ||
        data->dimensions.size() != 2) {
        return;
    }
    for (std::size_t i = 0; i < arrays.size(); ++i) {
        if (arrays[i].depth > 0) {
            continue;
        }
        if (IsNumbered(arrays[i].name, OwnRowLabels) && FitsAlong(arrays[i], data->Rows())) {
            ownLabels.columns.push_back(i);
        } else if (IsNumbered(arrays[i].name, OwnColumnNames) && FitsAlong(arrays[i], data->Columns())) {
            ownLabels.rows.push_back(i);
        }
    }
    if (ownLabels.AreThere()) {
        ownData = static_cast<std::size_t>(data - arrays.begin());
    }
}

// A vector of numbers or cells, or a text a row.
bool MatWorkspace::FitsAlong(const MatArray& names, std::uint64_t count) const {
    if (!names.problem.empty() || names.dimensions.size() != 2 || names.isComplex) {
        return false;
    }
    if (names.type == MatArray::Characters) {
        return names.Rows() == count;
    }
    const bool isVector = names.Rows() == 1 || names.Columns() == 1;
    return isVector && names.Count() == count && (names.IsNumeric() || names.type == MatArray::Cell);
}

// The array with most numbers, the first of several, but what this library wrote is whole with its labels.
std::size_t MatWorkspace::FindLargest() const {
    if (ownData) {
        return *ownData;
    }
    const auto rankOf = [](const MatArray& array) {
        // What can't be read comes last, and what is empty before it.
        if (!array.problem.empty()) {
            return std::pair(0, std::uint64_t{0});
        }
        return std::pair(array.IsEmpty() ? 1 : 2, MatTable::CountNumbers(array));
    };
    const auto largest =
        std::max_element(arrays.begin(), arrays.end(),
                         [&](const MatArray& a, const MatArray& b) { return rankOf(a) < rankOf(b); });
    return static_cast<std::size_t>(largest - arrays.begin());
}

int MatWorkspace::Choose() {
    if (arrays.empty()) {
        return 0;
    }
    chosen = {FindLargest()};
    if (const auto wanted = options.GetText(CompleteOptions::Part)) {
        const auto places = FindParts(ListParts(), *wanted);
        if (!places) {
            failure = "There is no variable " + Quoted(*wanted) + " in the file";
            return MatFile::StatusMatrix;
        }
        chosen = *places;
        isDefault = false;
    }
    const int status = FindNames(CompleteOptions::RowNames, true, namedLabels.columns);
    return status != 0 ? status : FindNames(CompleteOptions::ColumnNames, false, namedLabels.rows);
}

int MatWorkspace::FindNames(const char* key, bool ofRows, std::vector<std::size_t>& names) {
    const auto wanted = options.GetText(key);
    if (!wanted) {
        return 0;
    }
    const MatArray& named = arrays[chosen.front()];
    const std::uint64_t count = ofRows ? named.Rows() : named.Columns();
    const auto places = FindParts(ListParts(), *wanted);
    const bool fits = places && std::all_of(places->begin(), places->end(), [&](std::size_t place) {
                          return FitsAlong(arrays[place], count);
                      });
    if (!fits) {
        failure = Quoted(*wanted) + " is no variable of " + std::to_string(count) +
                  " values that could name the " + (ofRows ? "rows" : "columns") + " of " +
                  Quoted(named.name);
        return MatFile::StatusMatrix;
    }
    names = *places;
    return 0;
}

MatWorkspace::Labels MatWorkspace::LabelsOf(std::size_t array) const {
    Labels labels = ownData == array ? ownLabels : Labels();
    if (chosen.size() == 1 && chosen.front() == array) {
        labels.columns = namedLabels.columns.empty() ? labels.columns : namedLabels.columns;
        labels.rows = namedLabels.rows.empty() ? labels.rows : namedLabels.rows;
    }
    return labels;
}

// Names that are given stand in place of the heads.
bool MatWorkspace::GetExtent(std::size_t array, const Labels& labels, MatTable::Extent& extent) const {
    const auto measured = MatTable::Measure(arrays[array]);
    constexpr int Largest = std::numeric_limits<int>::max() / 2;
    if (!measured || measured->rows > Largest || measured->columns > Largest ||
        labels.rows.size() > Largest || labels.columns.size() > Largest) {
        return false;
    }
    extent = *measured;
    if (extent.rows == 0) {
        return true;
    }
    if (!labels.rows.empty()) {
        extent.rows += static_cast<int>(labels.rows.size()) - extent.heads;
        extent.heads = static_cast<int>(labels.rows.size());
    }
    extent.columns += static_cast<int>(labels.columns.size());
    return true;
}

int MatWorkspace::Measure(MatTable::Extent& whole) {
    whole = {};
    for (const std::size_t array : chosen) {
        MatTable::Extent extent;
        if (!GetExtent(array, LabelsOf(array), extent) ||
            extent.rows > std::numeric_limits<int>::max() - whole.rows) {
            failure = Quoted(arrays[array].name) + " has more rows or columns than a table can have";
            return MatFile::StatusMatrix;
        }
        whole.rows += extent.rows;
        whole.columns = std::max(whole.columns, extent.columns);
    }
    return 0;
}

int MatWorkspace::GetSize(const MatChoice& /*choice*/, int& rows, int& columns) {
    MatTable::Extent whole;
    const int status = Measure(whole);
    rows = whole.rows;
    columns = whole.columns;
    return status;
}

std::string MatWorkspace::DetailOf(std::size_t place) const {
    const MatArray& array = arrays[place];
    std::string detail = array.TypeName() + " " + array.SizeText();
    if (!array.problem.empty()) {
        return detail + ", " + array.problem;
    }
    if (array.IsEmpty() || (array.HasFields() && array.fields.empty())) {
        return detail + ", empty";
    }
    if (ownData == place) {
        for (const auto* labels : {&ownLabels.columns, &ownLabels.rows}) {
            for (const std::size_t label : *labels) {
                detail += (detail.find(" with ") == std::string::npos ? " with " : ", ") + arrays[label].name;
            }
        }
    }
    return detail;
}

std::vector<FileContents::Part> MatWorkspace::ListParts() {
    std::vector<FileContents::Part> parts;
    for (std::size_t i = 0; i < arrays.size(); ++i) {
        MatTable::Extent extent;
        const bool isMeasured =
            arrays[i].problem.empty() && GetExtent(i, ownData == i ? ownLabels : Labels(), extent);
        parts.push_back({"matrix", arrays[i].name, static_cast<int>(i) + 1, isMeasured ? extent.columns : -1,
                         isMeasured ? extent.rows : -1, false, DetailOf(i)});
    }
    return parts;
}

std::vector<FileContents::Fact> MatWorkspace::ListFacts() {
    return source->ListFacts();
}

bool MatWorkspace::SelectPart(int number, MatChoice& /*choice*/) {
    if (number < 1 || static_cast<std::size_t>(number) > arrays.size()) {
        return false;
    }
    chosen = {static_cast<std::size_t>(number) - 1};
    isDefault = false;
    return true;
}

int MatWorkspace::Refuse(const MatArray& array) {
    failurePlace.record = array.element + 1;
    failure = Quoted(array.name) + " can't be read: " + array.TypeName() +
              (array.problem == "can't be read" ? "" : ", " + array.problem);
    return array.problem == "can't be read" ? static_cast<int>(MatFile::StatusDataType) : array.problemStatus;
}

// What was not chosen by the user is told.
void MatWorkspace::NoteOthers() {
    if (!isDefault || chosen.empty()) {
        return;
    }
    const Labels labels = LabelsOf(chosen.front());
    std::vector<bool> isThere(arrays.size());
    isThere[chosen.front()] = true;
    for (const auto* places : {&labels.columns, &labels.rows}) {
        for (const std::size_t place : *places) {
            isThere[place] = true;
        }
    }
    std::string names;
    std::size_t count = 0;
    for (std::size_t i = 0; i < arrays.size(); ++i) {
        if (isThere[i]) {
            continue;
        }
        if (++count <= MostNames) {
            names += (count == 1 ? "" : ", ") + arrays[i].name;
        }
    }
    if (count > 0) {
        names += count > MostNames ? ", ..." : "";
        context.notes.Add({"other-parts", count, arrays[chosen.front()].name,
                           "the table is " + Quoted(arrays[chosen.front()].name) + "; " +
                               karta::CountOf(count, "other variable") +
                               (count == 1 ? " is not in this table: " : " are not in this table: ") +
                               names});
    }
}

void MatWorkspace::NoteUnreadable() {
    for (const MatArray& array : arrays) {
        if (!array.problem.empty()) {
            context.notes.Add({"unreadable", 1, array.name,
                               Quoted(array.name) + " (" + array.TypeName() + ") " +
                                   (array.problem == "can't be read" ? "" : "is ") + array.problem});
        }
    }
}

// A matrix is a block of like columns; of cells and structures each column is something of its own.
void MatWorkspace::DescribeShape(std::size_t place, const Labels& labels, const MatTable::Extent& extent) {
    const MatArray& array = arrays[place];
    karta::TableShape& shape = context.shape;
    shape = {};
    if (chosen.size() != 1 || extent.rows == 0 || (array.type == MatArray::Cell && extent.heads == 0)) {
        return;
    }
    shape.isKnown = true;
    shape.firstDataRow = extent.heads + 1;
    shape.nameRow = extent.heads > 0 ? 1 : 0;
    const int front = static_cast<int>(labels.columns.size());
    for (int column = 1; column <= front; ++column) {
        shape.labelColumns.push_back(column);
    }
    const bool isBlock = (array.IsNumeric() || array.type == MatArray::Sparse) && !array.isLogical &&
                         !array.IsGivenAsTriplets();
    shape.firstBlockColumn = isBlock ? front + 1 : 0;
    for (std::size_t i = 0; i < labels.rows.size(); ++i) {
        if (arrays[labels.rows[i]].IsNumeric() && isBlock && !array.isComplex) {
            shape.axisRow = static_cast<int>(i) + 1;
            break;
        }
    }
}

int MatWorkspace::PutLabels(MatTable& table, std::size_t place, const Labels& labels, MatTable::Place values,
                            int firstRow) {
    const int step = arrays[place].isComplex ? 2 : 1;
    std::vector<MatCell> cells;
    for (std::size_t i = 0; i < labels.rows.size(); ++i) {
        if (const int status = table.ReadVector(arrays[labels.rows[i]], cells)) {
            return status;
        }
        for (std::size_t at = 0; at < cells.size(); ++at) {
            const MatTable::Place cell{values.column + static_cast<int>(at) * step,
                                       firstRow + static_cast<int>(i)};
            if (step == 1 || !IsText(cells[at])) {
                table.PutCell(cell, cells[at]);
                continue;
            }
            table.PutCell(cell, std::get<std::string>(cells[at]) + " re");
            table.PutCell({cell.column + 1, cell.row}, std::get<std::string>(cells[at]) + " im");
        }
    }
    for (std::size_t i = 0; i < labels.columns.size(); ++i) {
        if (const int status = table.ReadVector(arrays[labels.columns[i]], cells)) {
            return status;
        }
        for (std::size_t at = 0; at < cells.size(); ++at) {
            table.PutCell({static_cast<int>(i) + 1, values.row + static_cast<int>(at)}, cells[at]);
        }
    }
    return 0;
}

int MatWorkspace::ReadPart(MatTable& table, std::size_t place, int firstRow, MatTable::Extent& extent) {
    const MatArray& array = arrays[place];
    const Labels labels = LabelsOf(place);
    if (!GetExtent(place, labels, extent)) {
        return MatFile::StatusMatrix;
    }
    DescribeShape(place, labels, extent);
    if (extent.rows == 0) {
        return 0;
    }
    const MatTable::Place values{static_cast<int>(labels.columns.size()) + 1, firstRow + extent.heads};
    if (extent.heads > 0 && labels.rows.empty()) {
        table.PutHeads(array, {values.column, firstRow});
    }
    // First, so that a row is final with its values.
    if (const int status = PutLabels(table, place, labels, values, firstRow)) {
        return status;
    }
    if (ownData == place) {
        table.SetMissing(MissingBits);
    }
    if (const int status = table.Put(array, values)) {
        return status;
    }
    return source->IsSoundToTheEnd(array) ? 0 : array.problemStatus;
}

// Before the table is told how large it is.
int MatWorkspace::CheckChosen(MatTable& table) {
    for (const std::size_t place : chosen) {
        const MatArray& array = arrays[place];
        if (!array.problem.empty() && chosen.size() == 1) {
            return Refuse(array);
        }
        const int status = array.problem.empty() ? table.Check(array) : 0;
        if (status != 0) {
            return status;
        }
    }
    return 0;
}

int MatWorkspace::Read(ReadSpreadSheetData* sink, const MatChoice& /*choice*/) {
    CellOutput output(*sink);
    MatTable table(*source, output, context);
    failure.clear();
    MatTable::Extent whole;
    int status = CheckChosen(table);
    status = status != 0 ? status : Measure(whole);
    if (status != 0) {
        return status;
    }
    if (arrays.empty()) {
        context.notes.Add({"empty", 1, "", "the file holds no variables"});
    }
    sink->SetDataSize(whole.columns, whole.rows);
    try {
        status = ReadChosen(table);
    } catch (const karta::Stopped&) {
        // Who has enough of the rows is told as well.
        NoteOthers();
        NoteUnreadable();
        throw;
    }
    if (status == 0) {
        NoteOthers();
        NoteUnreadable();
    }
    return status;
}

int MatWorkspace::ReadChosen(MatTable& table) {
    int row = 1;
    for (const std::size_t place : chosen) {
        MatTable::Extent extent;
        if (const int status = ReadPart(table, place, row, extent)) {
            return status;
        }
        row += extent.rows;
    }
    return 0;
}
