#include "karta/Formats.h"

#include <algorithm>

#include "base/PathNames.h"
#include "karta/internal/Selection.h"

namespace karta {

Formats::Formats(const std::vector<std::string>& pluginFolders) {
    const auto catalogue = LoadFormats(pluginFolders);
    for (int i = 1; i <= catalogue->SizeInfos(); ++i) {
        const NvImportFileFormatInfo& info = *catalogue->GetInfo(i);
        formats.push_back({info.formatName, catalogue->GetShortName(i), catalogue->Extensions(i),
                           info.canRead != 0, info.canWrite != 0, info.canReadMany != 0,
                           catalogue->GetModulePath(i)});
        if (const FormatRecogniser* recogniser = catalogue->GetRecogniser(i)) {
            const std::vector<std::string>& further = recogniser->GetExtensions();
            formats.back().extensions.insert(formats.back().extensions.end(), further.begin(), further.end());
        }
    }
}

const Format* Formats::Find(std::string_view name) const {
    const std::string wanted(name);
    auto found = std::find_if(formats.begin(), formats.end(), [&](const Format& format) {
        return EqualIgnoringCase(format.name.c_str(), wanted.c_str());
    });
    if (found == formats.end() && !wanted.empty()) {
        found = std::find_if(formats.begin(), formats.end(), [&](const Format& format) {
            return EqualIgnoringCase(format.shortName.c_str(), wanted.c_str());
        });
    }
    return found == formats.end() ? nullptr : &*found;
}

std::vector<const Format*> Formats::FindByExtension(std::string_view extension) const {
    const std::string wanted = (extension.starts_with('.') ? "" : ".") + std::string(extension);
    std::vector<const Format*> found;
    for (const Format& format : formats) {
        if (std::any_of(format.extensions.begin(), format.extensions.end(), [&](const std::string& known) {
                return EqualIgnoringCase(known.c_str(), wanted.c_str());
            })) {
            found.push_back(&format);
        }
    }
    return found;
}

}  // namespace karta
