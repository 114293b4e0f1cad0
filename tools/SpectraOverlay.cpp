#include "tools/SpectraOverlay.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>

#include "base/OrderedWork.h"
#include "base/PathNames.h"
#include "karta/Detect.h"
#include "karta/Read.h"
#include "karta/Scan.h"
#include "karta/internal/UnitName.h"
#include "tools/ErrorText.h"
#include "tools/Failure.h"
#include "tools/Interrupt.h"
#include "tools/StackedTable.h"

namespace {

constexpr int NameRow = 1;
constexpr int AxisRow = 2;
constexpr int FirstDataRow = 3;

/** What the spectra of a file are drawn over, and what they are of, where it tells. */
struct Kind {
    bool hasSpectra = false;
    std::string unit;
    std::string valueQuantity;
    std::string valueUnit;
    std::string format;
    std::vector<karta::Fact> facts;

    std::string GetOrdinate() const { return karta::OrdinateOf(valueQuantity, valueUnit); }
    bool TellsValue() const { return !valueQuantity.empty() || !valueUnit.empty(); }

    // As a scan has it: a file that doesn't tell what its numbers are goes with any.
    bool GoesWith(const Kind& other) const {
        return hasSpectra && other.hasSpectra && unit == other.unit && HasOrdinateOf(other);
    }

private:
    bool HasOrdinateOf(const Kind& other) const {
        if (GetOrdinate().empty() || other.GetOrdinate().empty()) {
            return valueUnit.empty() || other.valueUnit.empty() || valueUnit == other.valueUnit;
        }
        return GetOrdinate() == other.GetOrdinate();
    }
};

Kind KindOf(const std::string& file, const karta::ReadOptions& options) {
    try {
        const karta::Table table = karta::Read(file, options);
        const karta::Block* const block = table.GetBlock();
        if (block == nullptr || block->GetAxis().empty()) {
            return {};
        }
        return {true,
                karta::UsualUnit(block->GetAxisUnit()),
                block->GetValueQuantity(),
                karta::UsualUnit(block->GetValueUnit()),
                options.format.empty() ? karta::Detect(file).format : options.format,
                table.GetFacts()};
    } catch (const std::exception&) {
        // Told when its own turn comes.
        return {};
    }
}

// What both are, for the files that are looked at next.
void Join(Kind& group, const Kind& kind) {
    if (!group.TellsValue()) {
        group.valueQuantity = kind.valueQuantity;
        group.valueUnit = kind.valueUnit;
    } else if (kind.TellsValue()) {
        // "ADC1" in mAU and "DAD1" in mAU: the name of one isn't that of the other.
        const bool isSame = group.valueQuantity == kind.valueQuantity;
        group.valueQuantity = isSame ? group.valueQuantity : group.GetOrdinate();
        group.valueUnit = group.valueUnit == kind.valueUnit ? group.valueUnit : "";
    }
    if ((", " + group.format + ", ").find(", " + kind.format + ", ") == std::string::npos) {
        group.format += ", " + kind.format;
    }
    std::erase_if(group.facts, [&](const karta::Fact& fact) {
        return std::none_of(kind.facts.begin(), kind.facts.end(), [&](const karta::Fact& other) {
            return fact.name == other.name && fact.text == other.text;
        });
    });
}

// The first text of the row that tells what it is; the row's number in the file where there is none.
std::string NameIn(const karta::Table& table, std::int64_t row, std::int64_t rowOfFile) {
    for (std::size_t i = 1; i < table.GetColumnCount(); ++i) {
        const karta::Column& column = table.GetColumn(i);
        if (column.GetType() == karta::ColumnType::Text && !column.GetText(row).empty()) {
            return std::string(column.GetText(row));
        }
    }
    return std::to_string(rowOfFile);
}

// "flour.da: rye"; the file alone where it has one spectrum.
karta::Column NamesOf(const karta::Table& table) {
    const karta::Column& file = table.GetColumn("file");
    std::map<std::string, std::int64_t, std::less<>> counts;
    for (std::int64_t row = 0; row < table.GetRowCount(); ++row) {
        ++counts[std::string(file.GetText(row))];
    }
    std::vector<std::string> names;
    std::int64_t rowOfFile = 0;
    for (std::int64_t row = 0; row < table.GetRowCount(); ++row) {
        rowOfFile = row > 0 && file.GetText(row) == file.GetText(row - 1) ? rowOfFile + 1 : 1;
        std::string name = NvGetFileName(std::string(file.GetText(row)));
        if (counts.find(file.GetText(row))->second > 1) {
            name += ": " + NameIn(table, row, rowOfFile);
        }
        names.push_back(std::move(name));
    }
    return karta::Column::Of("spectrum", "", names);
}

// All labels in front of the spectra.
karta::Table WithNames(const karta::Table& table) {
    karta::TableParts parts = table.GetParts();
    parts.columns.insert(parts.columns.begin(), NamesOf(table));
    parts.blockPlace = parts.columns.size();
    return karta::Table(std::move(parts));
}

karta::TableShape ShapeOf(const karta::Table& table) {
    const karta::Block& block = *table.GetBlock();
    karta::TableShape shape;
    shape.isKnown = true;
    shape.nameRow = NameRow;
    shape.axisRow = AxisRow;
    shape.firstDataRow = FirstDataRow;
    shape.firstBlockColumn = static_cast<int>(table.GetBlockPlace()) + 1;
    for (int col = 1; col < shape.firstBlockColumn; ++col) {
        shape.labelColumns.push_back(col);
    }
    shape.axisQuantity = block.GetAxisQuantity();
    shape.axisUnit = karta::UsualUnit(block.GetAxisUnit());
    return shape;
}

}  // namespace

std::vector<SpectraGroup> SpectraOverlay::Group(const ReadRequest& request) {
    const karta::ReadOptions options = ReadOptionsOf(request);
    karta::OrderedWork<Kind> work(request.files.size(), karta::ChooseThreadCount(0, request.files.size()),
                                  [&](std::size_t file) { return KindOf(request.files[file], options); });
    std::vector<SpectraGroup> groups;
    std::vector<Kind> kinds;
    for (const std::string& file : request.files) {
        const Kind kind = work.Take();
        Interrupt::ThrowIfRequested();
        const auto place =
            std::find_if(kinds.begin(), kinds.end(), [&](const Kind& other) { return kind.GoesWith(other); });
        if (place == kinds.end()) {
            kinds.push_back(kind);
            groups.push_back({{file}, {}, {}, {}, {}});
        } else {
            Join(*place, kind);
            groups[static_cast<std::size_t>(place - kinds.begin())].files.push_back(file);
        }
    }
    for (std::size_t i = 0; i < groups.size(); ++i) {
        groups[i].valueQuantity = kinds[i].valueQuantity;
        groups[i].valueUnit = kinds[i].valueUnit;
        groups[i].format = kinds[i].format;
        for (const karta::Fact& fact : kinds[i].facts) {
            groups[i].facts.emplace_back(fact.name, fact.text);
        }
    }
    return groups;
}

void SpectraOverlay::Read(const ReadRequest& request, const SpectraGroup& group, TableRead& read,
                          std::vector<std::string>& others) {
    InProgramsWords([&] {
        karta::ScanOptions options;
        options.grid = karta::Grid::Union;
        options.columns = karta::ScanColumns::Union;
        options.onError = karta::OnError::Collect;
        options.batch = group.files.size();
        options.read = ReadOptionsOf(request);
        karta::Scan scan(group.files, std::move(options));
        const karta::Table* const stacked = scan.Next();
        if (stacked == nullptr) {
            throw Failure(group.files.front() + ": the spectra can't be put on one axis");
        }
        for (const karta::Error& error : scan.Errors()) {
            others.push_back(error.GetFile());
        }
        const karta::Table table = WithNames(*stacked);
        read.table = std::make_unique<TableData>();
        StackedTable::PutNames(table, *read.table, NameRow);
        const auto axis = table.GetBlock()->GetAxis();
        read.table->SetRowRun(static_cast<int>(table.GetBlockPlace()) + 1, AxisRow, axis);
        StackedTable::PutRows(table, *read.table, FirstDataRow);
        read.report.shape = ShapeOf(table);
        read.report.shape.valueQuantity = group.valueQuantity;
        read.report.shape.valueUnit = group.valueUnit;
        read.report.notes = table.GetNotes();
    });
}
