#pragma once

#include <memory>
#include <string>
#include <vector>

#include "frame/ImportDLLLoader.h"
#include "frame/SpreadsheetFile.h"

/**
 * The formats as the program sees them: the loader's, by their names, with readers of this library called
 * directly.
 */
class FormatCatalogue : public ImportDLLLoader {
public:
    /** The number of the format with this name, in any case; 0 when there is none. */
    int FindFormat(const std::string& name) const;

    /** A reader that is called directly where the format is this library's, else through its module. */
    std::unique_ptr<SpreadsheetFile> MakeReader(int format) const;

    /** The formats whose verdict on the file is not "impossible". */
    std::vector<std::string> PossibleFormats(const std::string& fileName) const;

    /** The extensions of a format with their dots. */
    std::vector<std::string> Extensions(int format) const;
};
