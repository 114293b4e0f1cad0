#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/ReadContext.h"
#include "frame/CellOutput.h"
#include "frame/FileContents.h"
#include "instrument/OPUSFile.h"

/**
 * The OPUS files of one import in the complete reading: every spectrum of each file is in one part, those of
 * one kind and one axis together, a row each. Where files are interpolated, one kind is one part, whatever
 * the axes.
 *
 * The table has the rows of the classic one: names, the axis, and a row a spectrum.
 */
class OPUSParts {
public:
    enum class Axes { AsTheyAre, Interpolated };

    /**
     * The key Part names the parts of the table; without it the first file's preferred spectrum decides.
     * Raises std::ios_base::failure for options that are cut short.
     */
    bool Open(const char* fileNames, Axes axes, const NvImportOpenOptions* options,
              karta::ReadContext& context);
    void Clear();
    void Read(ReadSpreadSheetData& sink, karta::ReadContext& context) const;

    int GetNumRows() const;
    int GetNumCols() const;
    const std::string& GetErrorText() const { return errorText; }
    std::vector<FileContents::Part> ListParts() const;
    std::vector<FileContents::Fact> ListFacts();

private:
    /** A spectrum by its places in files and in its file's spectra. */
    struct Row {
        std::size_t file;
        std::size_t spectrum;
    };
    struct Group {
        std::string name;
        std::vector<Row> rows;
    };

    bool OpenFile(const std::string& path, karta::ReadContext& context);
    void AddToGroup(Row row, Axes axes);
    bool Choose(const std::optional<std::string>& wanted, karta::ReadContext& context);
    void NoteChoice(karta::ReadContext& context) const;
    bool Fail(const std::string& text);

    const OPUSSpectrum& At(Row row) const { return files[row.file].spectra[row.spectrum]; }
    const OPUSSpectrum& AxisOf(const Group& group) const { return At(group.rows.front()); }
    void SetHeads(CellOutput& out, const Group& group, int firstRow) const;
    void SetRow(CellOutput& out, const Group& group, Row row, int tableRow, std::size_t& missing) const;
    void SetShape(karta::TableShape& shape) const;

    std::vector<OPUSFile> files;
    std::vector<Group> groups;
    std::map<std::string, std::vector<std::size_t>> groupsOfName;
    std::vector<std::size_t> chosen;  // places in groups
    std::string errorText;
    SpectrumTexts texts;
};
