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
    for (int i = 1; i <= SizeInfos(); ++i) {
        const FormatRecogniser* recogniser = GetRecogniser(i);
        if (recogniser != nullptr && EqualIgnoringCase(recogniser->GetShortName(), name)) {
            return i;
        }
    }
    return 0;
}

int FormatCatalogue::OwnIndex(int format) const {
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (SprFileFactory::GetInfo(i) == GetInfo(format)) {
            return i;
        }
    }
    return 0;
}

std::unique_ptr<SpreadsheetFile> FormatCatalogue::MakeReader(int format) const {
    const int own = OwnIndex(format);
    return std::unique_ptr<SpreadsheetFile>(own != 0 ? SprFileFactory::GetSpreadsheetFile(own)
                                                     : GetSpreadsheetFile(format));
}

const FormatRecogniser* FormatCatalogue::GetRecogniser(int format) const {
    return IsOwn(format) ? FormatRecogniser::Find(GetInfo(format)->formatName) : nullptr;
}

std::string FormatCatalogue::GetNames(int format) const {
    const FormatRecogniser* recogniser = GetRecogniser(format);
    const std::string name = GetInfo(format)->formatName;
    return recogniser == nullptr ? name : name + " (" + recogniser->GetShortName() + ")";
}

std::vector<std::string> FormatCatalogue::PossibleFormats(const std::string& fileName) const {
    std::vector<std::string> names;
    for (int i = 1; i <= SizeInfos(); ++i) {
        if (GetVerdict(i, fileName.c_str()) > 0) {
            names.push_back(GetNames(i));
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
