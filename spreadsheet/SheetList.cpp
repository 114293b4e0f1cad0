#include "spreadsheet/SheetList.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "base/PathNames.h"
#include "host/NvString.h"

namespace {

// What the target of a worksheet's relationship has in it, and that of a chart sheet hasn't.
constexpr const char* WorksheetFolder = "worksheets/";

constexpr std::string_view WorksheetType = "/relationships/worksheet";

// More names than these make a note unreadable.
constexpr std::size_t MostNames = 10;

const WorkbookPackage::Relationship* FindRelationship(
    const std::vector<WorkbookPackage::Relationship>& relationships, const std::string& id) {
    auto found = std::find_if(relationships.begin(), relationships.end(),
                              [&](const auto& relationship) { return relationship.id == id; });
    if (found == relationships.end()) {
        found = std::find_if(relationships.begin(), relationships.end(), [&](const auto& relationship) {
            return EqualIgnoringCase(relationship.id, id);
        });
    }
    return found == relationships.end() ? nullptr : &*found;
}

std::string DescribeKind(const WorkbookPackage::Relationship* relationship) {
    if (relationship == nullptr) {
        return "a sheet without a part";
    }
    const std::string type = ToLowerCase(relationship->type);
    return type.ends_with("/chartsheet")    ? "a chart sheet"
           : type.ends_with("/dialogsheet") ? "a dialog sheet"
           : type.ends_with("macrosheet")   ? "a macro sheet"
                                            : "no worksheet";
}

}  // namespace

bool SheetList::KeepWorksheets(const WorkbookPackage& package, const std::string& relationshipsPart,
                               bool anyCase, const char* extension, const std::vector<Book::Sheet>& listed,
                               std::vector<WorkbookSheet>& sheets) {
    std::multimap<std::string, std::size_t> places;
    for (std::size_t place = 0; place < listed.size(); ++place) {
        const std::string& id = listed[place].relationship;
        places.emplace(anyCase ? ToLowerCase(id) : id, place);
    }
    std::vector<bool> isRemoved(listed.size());
    ChildAttributesHandler handler(XmlForm::Literal, "Relationships", "Relationship", {"Target", "Id"},
                                   [&](const std::vector<std::string>& values) {
                                       const std::string id = anyCase ? ToLowerCase(values[1]) : values[1];
                                       const auto found = places.lower_bound(id);
                                       const bool isWorksheet =
                                           values[0].find(WorksheetFolder) != std::string::npos;
                                       if (!isWorksheet && found != places.end() && found->first == id) {
                                           isRemoved[found->second] = true;
                                           places.erase(found);
                                       }
                                   });
    if (!package.ParsePart(relationshipsPart, handler) || !handler.HasFoundNode()) {
        return false;
    }
    for (std::size_t place = 0; place < listed.size(); ++place) {
        if (!isRemoved[place]) {
            const std::string part = NvString::Format("xl/worksheets/sheet%lld.%s",
                                                      static_cast<long long>(sheets.size()) + 1, extension);
            sheets.push_back({listed[place].name, part, listed[place].hidden});
        }
    }
    return true;
}

void SheetList::DropHidden(std::vector<Book::Sheet>& listed, karta::Notes& notes) {
    const auto hidden = std::stable_partition(listed.begin(), listed.end(),
                                              [](const Book::Sheet& sheet) { return !sheet.hidden; });
    const auto count = static_cast<std::size_t>(listed.end() - hidden);
    if (count == 0) {
        return;
    }
    std::string names;
    for (auto sheet = hidden; sheet != hidden + static_cast<std::ptrdiff_t>(std::min(count, MostNames));
         ++sheet) {
        names += (names.empty() ? "\"" : ", \"") + sheet->name + "\"";
    }
    const std::string more = count > MostNames ? " and others" : "";
    notes.Add({"hidden-sheets", count, hidden->name,
               "the classic reading leaves out " + karta::CountOf(count, "hidden sheet") + ": " + names +
                   more + "; the complete reading has " + (count == 1 ? "it" : "them")});
    listed.erase(hidden, listed.end());
}

void SheetList::ResolveWorksheets(const WorkbookPackage& package, const std::string& workbookPart,
                                  const std::vector<Book::Sheet>& listed, std::vector<WorkbookSheet>& sheets,
                                  karta::Notes& notes) {
    const auto relationships = package.ReadRelationships(workbookPart);
    for (const Book::Sheet& sheet : listed) {
        const auto* const relationship = FindRelationship(relationships, sheet.relationship);
        if (relationship != nullptr && ToLowerCase(relationship->type).ends_with(WorksheetType)) {
            sheets.push_back({sheet.name, relationship->target, sheet.hidden});
        } else {
            notes.Add({"unreadable-sheet", 1, sheet.name,
                       "\"" + sheet.name + "\" is " + DescribeKind(relationship) + " and can't be read"});
        }
    }
}

std::size_t SheetList::GetDefault(const std::vector<WorkbookSheet>& sheets) {
    const auto visible =
        std::find_if(sheets.begin(), sheets.end(), [](const WorkbookSheet& sheet) { return !sheet.hidden; });
    return visible == sheets.end() ? 0 : static_cast<std::size_t>(visible - sheets.begin());
}

void SheetList::NoteOthers(const std::vector<WorkbookSheet>& sheets, std::size_t chosen,
                           karta::Notes& notes) {
    if (sheets.size() < 2) {
        return;
    }
    const std::size_t others = sheets.size() - 1;
    std::string names;
    std::size_t listed = 0;
    for (std::size_t place = 0; place < sheets.size() && listed < MostNames; ++place) {
        if (place != chosen) {
            names += listed++ == 0 ? "" : ", ";
            names += "\"" + sheets[place].name + "\"" + (sheets[place].hidden ? " (hidden)" : "");
        }
    }
    const std::string more =
        others > listed ? " and " + karta::CountOf(others - listed, "other", "others") : std::string();
    notes.Add({"other-sheets", others, sheets[chosen].name,
               "the table is the sheet \"" + sheets[chosen].name + "\"; not in it: " + names + more});
}
