#include "container/Mat4Content.h"

#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "base/NumberParser.h"
#include "container/MatFile.h"

namespace {

// The parts of the named layout in the index table.
constexpr int DataEntry = 0;
constexpr int ObservationNumbersEntry = 1;
constexpr int ObservationNamesEntry = 2;
constexpr int VariableNumbersEntry = 3;
constexpr int VariableNamesEntry = 4;
constexpr int NamedEntries = 5;
constexpr int NamedColumns = 2;
constexpr int NamedRows = 1;

constexpr const char* DataName = "DATA";

// The number behind one of two stems; 0 for another name.
int IdNumber(const std::string& name, std::string_view stem) {
    return name.starts_with(stem) ? ToLeadingInt(std::string_view(name).substr(stem.size())) : 0;
}

int ColumnIdNumber(const std::string& name) {
    const int number = IdNumber(name, "COLUMNID");
    return number != 0 ? number : IdNumber(name, "OBSID");
}

int RowIdNumber(const std::string& name) {
    const int number = IdNumber(name, "ROWID");
    return number != 0 ? number : IdNumber(name, "VARID");
}

}  // namespace

const char* Mat4Content::TypeName(const MatHeader& header) {
    switch (header.type) {
        case MatHeader::Text:
            return "string";
        case MatHeader::Sparse:
            return "sparse";
        default:
            return "numeric";
    }
}

int Mat4Content::Open() {
    if (const int failure = reader.Index()) {
        return failure;
    }
    MakeIndexTable();
    return 0;
}

const MatHeader* Mat4Content::CurrentHeader(const MatChoice& choice) const {
    if (choice.matrix < 0 || static_cast<std::size_t>(choice.matrix) >= Headers().size()) {
        return nullptr;
    }
    return &Headers()[static_cast<std::size_t>(choice.matrix)];
}

// The matrix in a part of a layout, null where there is none.
const MatHeader* Mat4Content::HeaderAt(int entry) const {
    if (static_cast<std::size_t>(entry) >= indexTable.size()) {
        return nullptr;
    }
    const int matrix = indexTable[static_cast<std::size_t>(entry)];
    return matrix < 0 ? nullptr : &Headers()[static_cast<std::size_t>(matrix)];
}

// Looks for the conventional names among the matrices.
void Mat4Content::MakeIndexTable() {
    const auto count = Headers().size();
    indexTable.assign(count + 1, -1);
    found.namedLayout = (count == NamedEntries - 1 || count == NamedEntries) && FindNamedLayout();
    found.idLayout = false;
    if (!found.namedLayout) {
        indexTable.assign(count + 1, -1);
        found.idLayout = FindIdLayout();
    }
    found.matrix = indexTable[DataEntry];
}

bool Mat4Content::FindNamedLayout() {
    static constexpr std::pair<std::string_view, int> Names[] = {{"OBSNUM", ObservationNumbersEntry},
                                                                 {"OBSNAM", ObservationNamesEntry},
                                                                 {"VARNUM", VariableNumbersEntry},
                                                                 {"VARNAM", VariableNamesEntry}};
    for (int i = 0; i < static_cast<int>(Headers().size()); ++i) {
        int entry = DataEntry;
        for (const auto& [name, named] : Names) {
            if (Headers()[static_cast<std::size_t>(i)].name == name) {
                entry = named;
            }
        }
        indexTable[static_cast<std::size_t>(entry)] = i;
    }
    const MatHeader* const data = HeaderAt(DataEntry);
    const MatHeader* const numbers = HeaderAt(ObservationNumbersEntry);
    const MatHeader* const observations = HeaderAt(ObservationNamesEntry);
    const MatHeader* const variables = HeaderAt(VariableNamesEntry);
    if (data == nullptr || numbers == nullptr || observations == nullptr || variables == nullptr) {
        return false;
    }
    return data->rows == numbers->rows && data->rows == observations->rows &&
           data->columns == variables->rows;
}

// Entry 0 is the data; behind it stand the column ids and then the row ids by their numbers.
bool Mat4Content::FindIdLayout() {
    columnIdCount = rowIdCount = 0;
    bool hasStem[4] = {};
    static constexpr std::string_view Stems[] = {"COLUMNID", "ROWID", "OBSID", "VARID"};
    for (const MatHeader& header : Headers()) {
        columnIdCount += ColumnIdNumber(header.name) != 0 ? 1 : 0;
        rowIdCount += RowIdNumber(header.name) != 0 ? 1 : 0;
        for (std::size_t stem = 0; stem < std::size(Stems); ++stem) {
            hasStem[stem] = hasStem[stem] || IdNumber(header.name, Stems[stem]) != 0;
        }
    }
    for (int i = 0; i < static_cast<int>(Headers().size()); ++i) {
        const std::string& name = Headers()[static_cast<std::size_t>(i)].name;
        const int columnId = ColumnIdNumber(name);
        const int rowId = RowIdNumber(name);
        int entry = -1;
        if (name == DataName) {
            entry = DataEntry;
        } else if (columnId >= 1 && columnId <= columnIdCount) {
            entry = columnId;
        } else if (rowId >= 1 && rowId <= rowIdCount) {
            entry = columnIdCount + rowId;
        }
        if (entry >= 0) {
            indexTable[static_cast<std::size_t>(entry)] = i;
        }
    }
    return HeaderAt(DataEntry) != nullptr && ((hasStem[0] && hasStem[1]) || (hasStem[2] && hasStem[3]));
}

// The numbers of the variables aren't read.
void Mat4Content::ReadNamedLayout(ReadSpreadSheetData* sink) const {
    const MatHeader* const data = HeaderAt(DataEntry);
    const MatHeader* const numbers = HeaderAt(ObservationNumbersEntry);
    const MatHeader* const observations = HeaderAt(ObservationNamesEntry);
    const MatHeader* const variables = HeaderAt(VariableNamesEntry);
    if (data == nullptr || numbers == nullptr || observations == nullptr || variables == nullptr) {
        return;
    }
    reader.ReadFull(sink, *data, {NamedColumns, NamedRows, false});
    reader.ReadFull(sink, *numbers, {0, NamedRows, false});
    reader.ReadText(sink, *observations, {1, NamedRows, false});
    reader.ReadText(sink, *variables, {NamedColumns, 0, true});
}

void Mat4Content::ReadIdLayout(ReadSpreadSheetData* sink) const {
    for (int entry = 0; entry <= columnIdCount + rowIdCount; ++entry) {
        const MatHeader* const header = HeaderAt(entry);
        if (header == nullptr) {
            continue;
        }
        MatPlace place{columnIdCount, rowIdCount, false};
        if (entry > columnIdCount) {
            place = {columnIdCount, entry - columnIdCount - 1, true};
        } else if (entry > DataEntry) {
            place.columnOffset = entry - 1;
        }
        reader.ReadMatrix(sink, *header, place);
    }
}

int Mat4Content::GetSize(const MatChoice& choice, int& rows, int& columns) {
    const MatHeader* const header = CurrentHeader(choice);
    if (header == nullptr) {
        return MatFile::StatusNoMatFile;
    }
    const int moreRows = choice.idLayout ? rowIdCount : choice.namedLayout ? NamedRows : 0;
    const int moreColumns = choice.idLayout ? columnIdCount : choice.namedLayout ? NamedColumns : 0;
    if (!reader.GetSize(*header, rows, columns) || rows > std::numeric_limits<int>::max() - moreRows ||
        columns > std::numeric_limits<int>::max() - moreColumns) {
        return MatFile::StatusMatrix;
    }
    rows += moreRows;
    columns += moreColumns;
    return 0;
}

// A few bytes can tell of a table of millions of zeros.
void Mat4Content::ChargeZeros(const MatHeader& header) const {
    int rows = 0;
    int columns = 0;
    if (header.type == MatHeader::Sparse && reader.GetSize(header, rows, columns)) {
        context.budget.ChargeMemory(
            static_cast<std::uint64_t>(rows) * static_cast<std::uint64_t>(columns) * sizeof(double),
            "a sparse matrix with its zeros");
    }
}

void Mat4Content::NoteOthers(const MatHeader& header) const {
    const std::size_t others = Headers().size() - 1;
    if (!isChosen && others > 0) {
        context.notes.Add({"other-parts", others, header.name,
                           "the table is \"" + header.name + "\" alone; " +
                               karta::CountOf(others, "other matrix", "other matrices") +
                               (others == 1 ? " is not in it" : " are not in it")});
    }
}

// What the steps answer isn't kept: a matrix that is cut, or a sink without room, ends the read quietly.
int Mat4Content::Read(ReadSpreadSheetData* sink, const MatChoice& choice) {
    const MatHeader* const header = CurrentHeader(choice);
    if (header == nullptr) {
        return MatFile::StatusNoMatFile;
    }
    ChargeZeros(*header);
    if (choice.namedLayout) {
        ReadNamedLayout(sink);
    } else if (choice.idLayout) {
        ReadIdLayout(sink);
    } else {
        reader.ReadMatrix(sink, *header, {});
        NoteOthers(*header);
    }
    return 0;
}

std::vector<FileContents::Part> Mat4Content::ListParts() {
    std::vector<FileContents::Part> parts;
    for (const MatHeader& header : Headers()) {
        int rows = -1;
        int columns = -1;
        if (!reader.GetSize(header, rows, columns)) {
            rows = columns = -1;
        }
        parts.push_back({"matrix", header.name, static_cast<int>(parts.size()) + 1, columns, rows, false,
                         std::string(TypeName(header)) + (header.complex ? ", complex" : "")});
    }
    return parts;
}

bool Mat4Content::SelectPart(int number, MatChoice& choice) {
    const bool isThere = number > 0 && static_cast<std::size_t>(number) <= Headers().size();
    isChosen = isThere;
    choice.matrix = isThere ? number - 1 : -1;
    return isThere;
}
