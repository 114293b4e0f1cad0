#pragma once

#include <vector>

#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "instrument/OPUSParts.h"
#include "instrument/OPUSSelection.h"

/**
 * What the two readers of Bruker OPUS files share, read only. In the classic reading there is one row a file,
 * without options, and they differ in how a file's values come into its row; in the complete one every
 * spectrum of the files is in a part, which the key Part chooses, and they differ in whether spectra of other
 * axes are brought onto the first one's. Every failure has status 4 and a text of its own, but for an attempt
 * to write.
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
    /** What becomes of spectra of several axes in the complete reading. */
    virtual OPUSParts::Axes GetAxes() const = 0;
    /** Whether the files that were looked at are to be read; false ends the import. */
    virtual bool ConfirmSelection(OPUSSelection& files) = 0;
    /** Read, in the classic reading by the values' setter and with the X row's values into `grid`, which may
     * be null. */
    int ReadRows(ReadSpreadSheetData* sink, std::vector<float>* grid,
                 const OPUSSelection::ValueSetter& setValues);

private:
    bool OpenFiles(const char* fileNames, const NvImportOpenOptions* options);

    OPUSSelection selection;  // the classic reading's
    OPUSParts parts;          // the complete one's
};
