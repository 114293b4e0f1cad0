#pragma once

#include <memory>
#include <string>
#include <vector>

#include "frame/ImportDLLLoader.h"
#include "frame/SpreadsheetFile.h"

/**
 * The formats as the program sees them: those of its library, found also where that is installed away
 * from the program, and those of plug-ins.
 */
class FormatCatalogue : public ImportDLLLoader {
public:
    void Init(const char* pluginDirectory) override;

    /** The number of the format with this name, in any case; 0 when there is none. */
    int FindFormat(const std::string& name) const;

    /** A reader that is called directly where the format is this library's, else through its module. */
    std::unique_ptr<SpreadsheetFile> MakeReader(int format) const;

    /** The formats whose verdict on the file is not "impossible". */
    std::vector<std::string> PossibleFormats(const std::string& fileName) const;

    /** The extensions of a format with their dots. */
    std::vector<std::string> Extensions(int format) const;
};
