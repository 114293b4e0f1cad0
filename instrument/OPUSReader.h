#pragma once

#include <vector>

#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "instrument/OPUSSelection.h"

/**
 * What the two readers of Bruker OPUS files share: one row a file, no options, read only. They differ in how
 * a file's values come into its row. Every failure has status 4 and a text of its own, but for an attempt to
 * write.
 */
class KARTA_EXPORT OPUSReader : public FormatReader, public FileContents {
public:
    void Close() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* fileName, NvImportOpenOptions* options) override;
    int EstablishSize() override;

    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

protected:
    /** Whether the files that were looked at are to be read; false ends the import. */
    virtual bool ConfirmSelection(OPUSSelection& files) = 0;
    /** Read, by the values' setter and with the X row's values into `grid`, which may be null. */
    int ReadRows(ReadSpreadSheetData* sink, std::vector<float>* grid,
                 const OPUSSelection::ValueSetter& setValues);

private:
    OPUSSelection selection;
};
