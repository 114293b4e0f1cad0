#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/ReadContext.h"
#include "frame/CellOutput.h"
#include "frame/FileContents.h"
#include "instrument/ChemStationSignal.h"

/**
 * The ChemStation files of one import in the complete reading: each is a part. Those of one kind and one axis
 * stand in one table, below each other; without a choice the table holds the first file and all that fit it.
 *
 * The table has the rows and columns of the classic one.
 */
class ChemStationParts {
public:
    /**
     * The key Part names the parts of the table. False with the reason in the failure text. Raises
     * std::ios_base::failure for options that are cut short.
     */
    bool Open(const std::vector<std::string>& paths, const NvImportOpenOptions* options,
              karta::ReadContext& context);
    void Clear();
    void Read(ReadSpreadSheetData& sink, karta::ReadContext& context) const;

    int GetNumRows() const;
    int GetNumCols() const;
    const std::string& GetFailure() const { return failure; }
    std::vector<FileContents::Part> ListParts() const;
    std::vector<FileContents::Fact> ListFacts();

private:
    /** Files that share their heads; places in `signals`. */
    using Table = std::vector<std::size_t>;

    void NameApart();
    bool Choose(const std::optional<std::string>& wanted, karta::ReadContext& context);
    int CountDataRows(const Table& table) const;
    void SetHeads(CellOutput& out, const ChemStationSignal& signal, int firstRow) const;
    void SetAxis(CellOutput& out, const ChemStationSignal& signal, int row) const;
    void SetChromatogram(CellOutput& out, const ChemStationSignal& signal, int ordinal, int row,
                         const karta::ReadContext& context) const;
    void SetSpectra(CellOutput& out, const ChemStationSignal& signal, int& ordinal, int& row,
                    karta::ReadContext& context) const;
    void SetShape(karta::TableShape& shape) const;

    std::vector<ChemStationSignal> signals;
    std::vector<Table> tables;
    std::string failure;
    SpectrumTexts texts;
};
