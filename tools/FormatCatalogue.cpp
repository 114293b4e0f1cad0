#include "tools/FormatCatalogue.h"

#include <cstring>

#include "base/PathNames.h"
#include "frame/SprFileFactory.h"

int FormatCatalogue::FindFormat(const std::string& name) const {
    for (int i = 1; i <= SizeInfos(); ++i) {
        if (EqualIgnoringCase(GetInfo(i)->formatName, name)) {
            return i;
        }
    }
    return 0;
}

std::unique_ptr<SpreadsheetFile> FormatCatalogue::MakeReader(int format) const {
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (SprFileFactory::GetInfo(i) == GetInfo(format)) {
            return std::unique_ptr<SpreadsheetFile>(SprFileFactory::GetSpreadsheetFile(i));
        }
    }
    return std::unique_ptr<SpreadsheetFile>(GetSpreadsheetFile(format));
}

std::vector<std::string> FormatCatalogue::PossibleFormats(const std::string& fileName) const {
    std::vector<std::string> names;
    for (int i = 1; i <= SizeInfos(); ++i) {
        if (GetVerdict(i, fileName.c_str()) > 0) {
            names.emplace_back(GetInfo(i)->formatName);
        }
    }
    return names;
}

std::vector<std::string> FormatCatalogue::Extensions(int format) const {
    std::vector<std::string> extensions;
    const char* extension = GetInfo(format)->extensions;
    for (int i = 0; i < GetInfo(format)->numExtensions; ++i) {
        extensions.emplace_back(extension);
        extension += std::strlen(extension) + 1;
    }
    return extensions;
}
