#include "karta/internal/PartChoice.h"

#include <glib.h>

#include <algorithm>
#include <memory>

#include "base/Note.h"
#include "base/PathNames.h"
#include "base/Suggestion.h"
#include "base/Unicode.h"
#include "host/NvString.h"
#include "karta/Error.h"

namespace {

using Parts = std::vector<FileContents::Part>;

// Letters of all alphabets in one case; the C library's answer would depend on the locale.
std::string WithoutCase(std::string_view name) {
    const std::string text = AsUtf8(name);
    const std::unique_ptr<char, decltype(&g_free)> folded(
        g_utf8_casefold(text.data(), static_cast<gssize>(text.size())), &g_free);
    return folded.get();
}

const FileContents::Part* FindByName(const Parts& parts, std::string_view wanted) {
    auto found =
        std::find_if(parts.begin(), parts.end(), [&](const auto& part) { return part.name == wanted; });
    if (found == parts.end()) {
        found = std::find_if(parts.begin(), parts.end(), [sought = WithoutCase(wanted)](const auto& part) {
            return WithoutCase(part.name) == sought;
        });
    }
    if (found == parts.end()) {
        found = std::find_if(parts.begin(), parts.end(), [&](const auto& part) {
            return std::find(part.members.begin(), part.members.end(), wanted) != part.members.end();
        });
    }
    return found == parts.end() ? nullptr : &*found;
}

// What could have been meant; a file may hold thousands.
std::string Offered(const Parts& parts, std::string_view wanted) {
    constexpr std::size_t MostNames = 5;
    std::vector<std::string> names;
    for (const FileContents::Part& part : parts) {
        names.push_back(AsUtf8(part.name));
    }
    const std::string meant = FindSuggestion(wanted, names);
    std::string text = meant.empty() ? "" : "did you mean '" + meant + "'? ";
    for (std::size_t i = 0; i < std::min(parts.size(), MostNames); ++i) {
        text +=
            (i == 0 ? "its parts are " : ", ") + std::to_string(i + 1) + " '" + AsUtf8(parts[i].name) + "'";
    }
    return text + (parts.size() > MostNames ? " ..." : "");
}

}  // namespace

bool PartChoice::Add(const Parts& parts, std::string_view wanted) {
    const std::string item(wanted);
    const FileContents::Part* part = FindByName(parts, item);
    int place = 0;
    std::string said;
    if (part != nullptr) {
        said = part->name;
    } else if (NvString::ToInt(item, place) && place >= 1 &&
               static_cast<std::size_t>(place) <= parts.size()) {
        part = &parts[static_cast<std::size_t>(place) - 1];
        said = std::to_string(place);
    } else {
        return false;
    }
    chosen.push_back(part);
    text += (text.empty() ? "" : ",") + said;
    return true;
}

PartChoice::PartChoice(const Parts& parts, const std::string& wanted, const char* option) {
    if (Add(parts, wanted)) {
        return;
    }
    if (EqualIgnoringCase(wanted, "all")) {
        text = "all";
        for (const FileContents::Part& part : parts) {
            chosen.push_back(&part);
        }
        return;
    }
    std::string_view rest = wanted;
    for (bool more = true; more;) {
        const std::string_view item = rest.substr(0, rest.find(','));
        more = item.size() < rest.size();
        rest.remove_prefix(std::min(item.size() + 1, rest.size()));
        if (!Add(parts, item)) {
            throw karta::Error({.code = karta::ErrorCode::NoSuchPart,
                                .option = option,
                                .text = "there is no '" + std::string(item) + "' in the file, which has " +
                                        karta::CountOf(parts.size(), "part"),
                                .advice = Offered(parts, item)});
        }
    }
}
