#include "frame/CompleteOptions.h"

#include <algorithm>
#include <numeric>

#include "base/PathNames.h"
#include "frame/OptionsText.h"
#include "host/NvString.h"

namespace {

using Parts = std::vector<FileContents::Part>;

std::optional<std::size_t> FindPart(const Parts& parts, std::string_view wanted) {
    const std::string name(wanted);
    auto found =
        std::find_if(parts.begin(), parts.end(), [&](const auto& part) { return part.name == name; });
    if (found == parts.end()) {
        found = std::find_if(parts.begin(), parts.end(),
                             [&](const auto& part) { return EqualIgnoringCase(part.name, name); });
    }
    if (found == parts.end()) {
        found = std::find_if(parts.begin(), parts.end(), [&](const auto& part) {
            return std::find(part.members.begin(), part.members.end(), name) != part.members.end();
        });
    }
    if (found != parts.end()) {
        return static_cast<std::size_t>(found - parts.begin());
    }
    int place = 0;
    if (NvString::ToInt(name, place) && place >= 1 && static_cast<std::size_t>(place) <= parts.size()) {
        return static_cast<std::size_t>(place) - 1;
    }
    return std::nullopt;
}

}  // namespace

CompleteOptions::CompleteOptions(const NvImportOpenOptions* options) {
    if (!HasOptions(options)) {
        return;
    }
    document = XMLSection::CreateXMLSectionFromString(DecodeOptionsText(*options));
    settings = document == nullptr ? nullptr : document->GetSection(XMLSection::Settings);
}

std::optional<std::string> CompleteOptions::GetText(const char* key) const {
    std::string value;
    return settings != nullptr && settings->Read(key, value) ? std::optional(value) : std::nullopt;
}

std::optional<int> CompleteOptions::GetInt(const char* key) const {
    int value = 0;
    return settings != nullptr && settings->Read(key, value) ? std::optional(value) : std::nullopt;
}

std::optional<bool> CompleteOptions::GetBool(const char* key) const {
    bool value = false;
    return settings != nullptr && settings->Read(key, value) ? std::optional(value) : std::nullopt;
}

std::optional<std::vector<std::size_t>> FindParts(const Parts& parts, std::string_view wanted) {
    if (const auto one = FindPart(parts, wanted)) {
        return std::vector{*one};
    }
    if (EqualIgnoringCase(wanted, "all")) {
        std::vector<std::size_t> all(parts.size());
        std::iota(all.begin(), all.end(), std::size_t{0});
        return all;
    }
    std::vector<std::size_t> chosen;
    for (std::string_view rest = wanted; !rest.empty();) {
        const std::string_view item = rest.substr(0, rest.find(','));
        const auto part = FindPart(parts, item);
        if (!part) {
            return std::nullopt;
        }
        chosen.push_back(*part);
        rest.remove_prefix(std::min(item.size() + 1, rest.size()));
    }
    return chosen.empty() ? std::nullopt : std::optional(chosen);
}
