#include "karta/internal/GridHead.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "karta/internal/ColumnEvidence.h"

namespace karta {

namespace {

// A head stands among the first rows; of very wide grids fewer are looked at.
constexpr int LeastRows = 8;
constexpr std::size_t MostCells = std::size_t{1} << 22;
// So many whole numbers that rise by one step are an axis; of others it takes more, and more again where
// nothing but numbers is in the row.
constexpr std::size_t LeastSteps = 3;
constexpr std::size_t LeastFineSteps = 8;
constexpr std::size_t LeastStepsAlone = 5;
constexpr double StepTolerance = 1e-6;

/** What the cells below a row are, column by column. */
enum class Below { Empty, Number, Bool, Date, Text };

struct Row {
    int place = 0;  // from 0
    std::vector<Cell> cells;
    std::size_t filled = 0;
};

bool IsText(const Cell& cell) {
    return cell.kind == CellKind::Text && !cell.GetText().empty();
}

bool IsEmpty(const Cell& cell) {
    return cell.kind == CellKind::Missing || (cell.kind == CellKind::Text && cell.GetText().empty());
}

bool IsDated(const Cell& cell) {
    return cell.kind == CellKind::Date || cell.kind == CellKind::DateTime || cell.kind == CellKind::Time;
}

bool IsWholeNumber(const Cell& cell) {
    return cell.IsNumber() &&
           (cell.kind == CellKind::Int64 || cell.ToDouble() == std::floor(cell.ToDouble()));
}

class HeadFinder {
public:
    HeadFinder(const CellStore& cellStore, const std::vector<CellVector>& grid, int rowCount,
               std::optional<int> headerRow, const std::vector<ColumnEvidence>& furtherRows)
        : store(cellStore), columns(grid), numRows(rowCount), header(headerRow), further(furtherRows) {}

    TableShape Find() {
        ReadRows();
        shape.isKnown = true;
        if (header) {
            TakeGiven(*header);
        } else {
            FindFirst();
            FindNames();
        }
        if (shape.nameRow > 0) {
            FindUnits();
        }
        if (!(header && *header == 0)) {
            shape.firstDataRow =
                first < rows.size() ? rows[first].place + 1 : std::max({shape.nameRow, shape.unitRow, 0}) + 1;
        }
        const std::vector<Below> below = GetBelow(shape.firstDataRow - 1);
        const auto firstNumber = std::find(below.begin(), below.end(), Below::Number);
        for (auto kind = below.begin(); firstNumber != below.end() && kind != firstNumber; ++kind) {
            shape.labelColumns.push_back(static_cast<int>(kind - below.begin()) + 1);
        }
        return shape;
    }

private:
    void ReadRows() {
        const std::size_t wanted = std::clamp<std::size_t>(
            MostCells / std::max<std::size_t>(columns.size(), 1), LeastRows, HeadRows::Filled);
        const int last = std::min(numRows, HeadRows::Most);
        for (int place = 0; place < last && rows.size() < wanted; ++place) {
            Row row{place, {}, 0};
            row.cells.reserve(columns.size());
            store.InSteps(0, static_cast<int>(columns.size()), [&](int from, int to) {
                for (int col = from; col < to; ++col) {
                    row.cells.push_back(columns[static_cast<std::size_t>(col)].Get(place));
                    row.filled += IsEmpty(row.cells.back()) ? 0 : 1;
                }
            });
            if (row.filled > 0) {
                rows.push_back(std::move(row));
            }
        }
        std::map<std::size_t, std::size_t> counts;
        std::size_t most = 0;
        for (const Row& row : rows) {
            const std::size_t count = ++counts[row.filled];
            // One cell is what titles and remarks have.
            if (count >= most || usual == 1) {
                most = count;
                usual = row.filled;
            }
        }
    }

    // Grids have holes: half of what most rows hold is enough.
    bool Fits(std::size_t index) const {
        return index < rows.size() && 2 * rows[index].filled >= std::max<std::size_t>(usual, 2);
    }

    // The table begins at the first row of its width that another of it follows.
    void FindFirst() {
        first = rows.size();
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (!Fits(i)) {
                continue;
            }
            first = first == rows.size() ? i : first;
            if (Fits(i + 1)) {
                first = i;
                break;
            }
        }
    }

    std::vector<Below> GetBelow(int place) const {
        std::vector<Below> kinds;
        kinds.reserve(columns.size());
        for (std::size_t col = 0; col < columns.size(); ++col) {
            KindCounts counts = CountKinds(store, columns[col], place, numRows);
            counts.emptyTexts = CountEmptyTexts(store, columns[col], place, numRows);
            if (col < further.size()) {
                counts += further[col].counts;
            }
            const std::int64_t texts = counts[CellKind::Text] - counts.emptyTexts;
            const std::int64_t all = counts.GetAll() - counts.emptyTexts;
            const std::int64_t dates = counts.GetDates() + counts[CellKind::Time];
            kinds.push_back(all == 0                        ? Below::Empty
                            : counts.GetNumbers() == all    ? Below::Number
                            : counts[CellKind::Bool] == all ? Below::Bool
                            : dates == all && texts == 0    ? Below::Date
                                                            : Below::Text);
        }
        return kinds;
    }

    // Whether the numbers at a row's end rise by one step, as years and wavelengths do, and the next row's
    // don't.
    bool FindAxis(std::size_t index, const std::vector<Below>& below) {
        const std::vector<Cell>& cells = rows[index].cells;
        std::size_t begin = cells.size();
        while (begin > 0 && cells[begin - 1].IsNumber()) {
            --begin;
        }
        const std::size_t count = cells.size() - begin;
        const bool areWhole =
            std::all_of(cells.begin() + static_cast<std::ptrdiff_t>(begin), cells.end(), IsWholeNumber);
        if (count < (!areWhole ? LeastFineSteps : begin == 0 ? LeastStepsAlone : LeastSteps)) {
            return false;
        }
        const auto rises = [&](const std::vector<Cell>& in) {
            const double start = in[begin].ToDouble();
            const double step = in[begin + 1].ToDouble() - start;
            bool all = step != 0.0;
            for (std::size_t col = begin; all && col + 1 < in.size(); ++col) {
                all = in[col].IsNumber() && in[col + 1].IsNumber() &&
                      std::fabs(in[col + 1].ToDouble() - in[col].ToDouble() - step) <=
                          StepTolerance * std::fabs(start + step);
            }
            return all;
        };
        const bool isAboveNumbers =
            std::all_of(below.begin() + static_cast<std::ptrdiff_t>(begin), below.end(),
                        [](Below kind) { return kind == Below::Number || kind == Below::Empty; });
        if (!isAboveNumbers || !rises(cells) || !Fits(index + 1) || rises(rows[index + 1].cells)) {
            return false;
        }
        shape.firstBlockColumn = static_cast<int>(begin) + 1;
        shape.axisRow = rows[index].place + 1;
        return true;
    }

    // No value above a column of such values, but for whole numbers and dates that can only be names.
    bool AreNames(std::size_t index, const std::vector<Below>& below) {
        bool hasNumbersAbove = false;
        bool areWhole = true;
        bool hasTexts = false;
        bool hasTextsAboveNumbersOnly = true;
        const std::vector<Cell>& cells = rows[index].cells;
        for (std::size_t col = 0; col < cells.size(); ++col) {
            const Cell& cell = cells[col];
            const bool isDate = IsDated(cell) && below[col] == Below::Date;
            if (cell.kind == CellKind::Bool && below[col] == Below::Bool) {
                return false;
            }
            if ((cell.IsNumber() && below[col] == Below::Number) || isDate) {
                hasNumbersAbove = true;
                areWhole = areWhole && (isDate || IsWholeNumber(cell));
            } else if (!IsEmpty(cell)) {
                hasTexts = true;
                hasTextsAboveNumbersOnly =
                    hasTextsAboveNumbersOnly && IsText(cell) && below[col] == Below::Number;
            }
        }
        if (!hasNumbersAbove) {
            return std::any_of(cells.begin(), cells.end(), IsText);
        }
        return FindAxis(index, below) || (areWhole && hasTexts && hasTextsAboveNumbersOnly);
    }

    void FindNames() {
        if (first >= rows.size()) {
            return;
        }
        const bool isAlone = first + 1 >= rows.size();
        const bool areTexts = std::all_of(rows[first].cells.begin(), rows[first].cells.end(),
                                          [](const Cell& cell) { return IsEmpty(cell) || IsText(cell); });
        if (isAlone && !areTexts) {
            return;
        }
        // The second row may be units: those behind it tell more.
        std::vector<Below> below = GetBelow(rows[first].place + 1);
        if (first + 2 < rows.size()) {
            std::vector<Below> further = GetBelow(rows[first + 1].place + 1);
            if (IsUnits(first + 1, further)) {
                below = std::move(further);
            }
        }
        const auto isOfTexts = [](Below kind) { return kind == Below::Text || kind == Below::Empty; };
        const bool isOneTextColumn = usual <= 1 && std::all_of(below.begin(), below.end(), isOfTexts);
        if (!isOneTextColumn && AreNames(first, below)) {
            shape.nameRow = rows[first++].place + 1;
        }
    }

    void TakeGiven(int row) {
        shape.nameRow = row;
        const auto given = std::find_if(rows.begin(), rows.end(),
                                        [row](const Row& candidate) { return candidate.place + 1 == row; });
        if (row == 0 || given == rows.end()) {
            first = rows.size();
            return;
        }
        first = static_cast<std::size_t>(given - rows.begin());
        FindAxis(first, GetBelow(row));
        ++first;
    }

    // Texts above numbers, some of them perhaps empty.
    bool IsUnits(std::size_t index, const std::vector<Below>& below) const {
        if (!Fits(index)) {
            return false;
        }
        bool isAboveNumber = false;
        const std::vector<Cell>& cells = rows[index].cells;
        for (std::size_t col = 0; col < cells.size(); ++col) {
            if (!IsEmpty(cells[col]) && !IsText(cells[col])) {
                return false;
            }
            isAboveNumber = isAboveNumber || (IsText(cells[col]) && below[col] == Below::Number);
        }
        return isAboveNumber && 2 * rows[index].filled >= usual;
    }

    void FindUnits() {
        if (first + 1 < rows.size() && IsUnits(first, GetBelow(rows[first].place + 1))) {
            shape.unitRow = rows[first++].place + 1;
        }
    }

    const CellStore& store;
    const std::vector<CellVector>& columns;
    int numRows;
    std::optional<int> header;
    const std::vector<ColumnEvidence>& further;
    std::vector<Row> rows;  // without empty ones
    std::size_t usual = 0;  // cells of most rows
    std::size_t first = 0;  // the first row of the table, as an index
    TableShape shape;
};

}  // namespace

TableShape FindGridHead(const CellStore& store, const std::vector<CellVector>& columns, int rows,
                        std::optional<int> header, const std::vector<ColumnEvidence>& further) {
    return HeadFinder(store, columns, rows, header, further).Find();
}

}  // namespace karta
