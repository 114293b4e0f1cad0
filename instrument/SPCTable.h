#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/MappedFile.h"
#include "base/ReadContext.h"
#include "frame/FileContents.h"
#include "instrument/SPCContents.h"
#include "instrument/SpectrumTable.h"
#include "instrument/SpectrumTexts.h"
#include "instrument/USDBase.h"

/**
 * The complete reading of a selection of SPC files: which of their spectra are the table, and the rest as
 * parts. A part is a file whose spectra share one axis, or else a single spectrum of it. Without a choice
 * the first part is read, together with all that have its axis.
 */
class SPCTable {
public:
    explicit SPCTable(karta::ReadContext& readContext) : context(readContext) {}

    /** Before the first file. Raises std::ios_base::failure for options that are cut short. */
    void ChooseEncoding(const NvImportOpenOptions* options) { texts.Choose(options, context); }
    /** Looks at the headers of one more file. False for one that holds no spectra. */
    bool AddFile(const std::string& path, const MappedFile& file, SPCLayout layout);
    /** Decides what the table is: `wanted` as in the options, the constraints for every axis. False where it
     * names no part. */
    bool Choose(const std::optional<std::string>& wanted, const USDConstraints& constraints);

    int CountRows() const { return table.CountRows(); }
    int CountColumns() const { return table.CountColumns(); }
    std::vector<FileContents::Part> ListParts() const;
    std::vector<FileContents::Fact> ListFacts() const;
    /** False when a file isn't there any more. */
    bool Read(ReadSpreadSheetData& sink);

    /** The axis that the constraints' defaults come from; empty before the first file. */
    const std::vector<double>* GetFirstAxis() const;

private:
    struct File {
        std::string path;
        std::string name;
        std::string title;
        SPCContents contents;
    };
    struct Item {
        std::size_t file;
        std::size_t firstSubFile;
        std::size_t count;
    };
    /** Where a spectrum's values are. */
    struct Place {
        std::size_t file;
        std::size_t subFile;
    };

    std::vector<double> AxisOf(const Item& item) const;
    std::vector<std::size_t> ChooseItems(const std::optional<std::vector<std::size_t>>& wanted) const;
    void AddItem(const Item& item, const USDConstraints& constraints);
    void CloseGroup(const USDConstraints& constraints);
    void NoteTheRest(const std::vector<std::size_t>& chosen) const;
    void NoteFiles() const;
    void NoteZ(const File& file) const;
    std::vector<SpectrumTable::Label> LabelsOf(const File& file, std::size_t subFile) const;
    SpectrumTable::Label DateOf(const File& file) const;
    void FillShape(const SPCHeader& header);
    const SPCHeader& GetHeader(const Item& item) const { return files[item.file].contents.GetHeader(); }
    std::string NameOf(const Item& item) const;

    karta::ReadContext& context;
    SpectrumTexts texts;
    std::vector<File> files;
    std::vector<Item> items;
    std::vector<std::size_t> chosenItems;
    SpectrumTable table;
    std::vector<Place> places;  // by the spectra's ids
    bool hasZ = false;
    bool hasW = false;

    const MappedFile& Map(std::size_t file) const;

    mutable MappedFile openFile;  // the one looked at last
    mutable std::optional<std::size_t> openIndex;
};
