#pragma once

#include <memory>
#include <string>
#include <vector>

#include "frame/FormatRecogniser.h"
#include "frame/ImportDLLLoader.h"
#include "frame/SpreadsheetFile.h"

/**
 * The formats as the library and the program see them: the loader's, by their names, with readers of this
 * library called directly.
 */
class KARTA_EXPORT FormatCatalogue : public ImportDLLLoader {
public:
    /**
     * In place of Init: this library's formats and the modules in these folders, and nothing that merely lies
     * beside the program. Folders that can't be read are passed over.
     */
    void InitFrom(const std::vector<std::string>& pluginFolders);

    /** The number of the format with this name or short name, in any case; 0 when there is none. */
    int FindFormat(const std::string& name) const;

    /** A reader that is called directly where the format is this library's, else through its module. */
    std::unique_ptr<SpreadsheetFile> MakeReader(int format) const;

    /** Whether the format is this library's, and not a module's. */
    bool IsOwn(int format) const { return OwnIndex(format) != 0; }

    /** What the complete detection knows of a format of this library; null where it knows nothing. */
    const FormatRecogniser* GetRecogniser(int format) const;

    /** The format's name, with its short one behind it in parentheses: "GalacticSPC File (spc)". */
    std::string GetNames(int format) const;

    /** The short name; empty where there is none. */
    std::string GetShortName(int format) const;

    /** The formats whose verdict on the file is not "impossible", with their names. */
    std::vector<std::string> PossibleFormats(const std::string& fileName) const;

    /** The extensions of the format's record, with their dots. */
    std::vector<std::string> Extensions(int format) const;

private:
    int OwnIndex(int format) const;
};
