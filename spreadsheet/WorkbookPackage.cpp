#include "spreadsheet/WorkbookPackage.h"

#include <algorithm>
#include <istream>
#include <utility>

#include "archive/XmlStreaming.h"
#include "base/Ascii.h"
#include "base/PathNames.h"

namespace {

std::string Fold(std::string_view name) {
    std::string folded = ToLowerCase(std::string(name));
    std::replace(folded.begin(), folded.end(), '\\', '/');
    folded.erase(0, folded.find_first_not_of('/'));
    return folded;
}

int HexValue(char digit) {
    const char lower = ToLower(digit);
    return IsDigit(lower) ? lower - '0' : lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// What a name stands for whose characters are written as those of addresses: "sheet%201.xml".
std::string Unescape(std::string_view name) {
    std::string plain;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool mayBeEscape = name[i] == '%' && i + 2 < name.size();
        const int high = mayBeEscape ? HexValue(name[i + 1]) : -1;
        const int low = mayBeEscape ? HexValue(name[i + 2]) : -1;
        plain += high < 0 || low < 0 ? name[i] : static_cast<char>(high * 16 + low);
        i += high < 0 || low < 0 ? 0 : 2;
    }
    return plain;
}

// A target outside of the archive is written so.
constexpr const char* External = "External";

constexpr const char* ContentTypesPart = "[Content_Types].xml";

// What the content types of all workbooks' main parts have in them.
bool IsWorkbookType(std::string_view type) {
    const bool isMain = type.ends_with(".main+xml") || type.ends_with(".main");
    return isMain && (type.find("spreadsheetml.") != std::string_view::npos ||
                      type.find("ms-excel.") != std::string_view::npos);
}

}  // namespace

WorkbookPackage::WorkbookPackage(const char* path, Names partNames,
                                 std::shared_ptr<karta::ReadContext> context)
    : readContext(context), zip(path, std::move(context)), names(partNames) {
    if (names == Names::AnyCase) {
        for (const ZipFile::Entry& entry : zip.GetEntries()) {
            foldedNames.try_emplace(Fold(entry.name), &entry);
        }
    }
}

const ZipFile::Entry* WorkbookPackage::FindEntry(const std::string& name) const {
    if (names == Names::AsStored) {
        return zip.FindEntry(name);
    }
    auto found = foldedNames.find(Fold(name));
    if (found == foldedNames.end()) {
        // Some programs write the names of the archive's entries as they are.
        found = foldedNames.find(Fold(Unescape(name)));
    }
    return found == foldedNames.end() ? nullptr : found->second;
}

std::unique_ptr<std::istream> WorkbookPackage::OpenPart(const std::string& name) const {
    const ZipFile::Entry* const entry = FindEntry(name);
    return entry == nullptr ? nullptr : zip.GetInputStream(*entry);
}

bool WorkbookPackage::ParsePart(const std::string& name, XmlEvents& handler, XmlNames xmlNames) const {
    return StreamXml([&] { return OpenPart(name); }, handler, xmlNames);
}

std::vector<WorkbookPackage::Relationship> WorkbookPackage::ReadRelationships(const std::string& part) const {
    std::vector<Relationship> relationships;
    ChildAttributesHandler handler(
        XmlForm::Full, "Relationships", "Relationship", {"Id", "Type", "Target", "TargetMode"},
        [&](const std::vector<std::string>& values) {
            if (values[3] != External) {
                relationships.push_back({values[0], values[1], ResolveTarget(part, values[2])});
            }
        });
    ParsePart(GetRelationshipsPart(part), handler);
    return relationships;
}

std::string WorkbookPackage::GetRelationshipsPart(std::string_view part) {
    const std::size_t folder = part.rfind('/') + 1;
    return std::string(part.substr(0, folder)) + "_rels/" + std::string(part.substr(folder)) + ".rels";
}

std::string WorkbookPackage::ResolveTarget(std::string_view part, std::string_view target) {
    std::string path(target);
    std::replace(path.begin(), path.end(), '\\', '/');
    if (!path.starts_with('/')) {
        path.insert(0, part.substr(0, part.rfind('/') + 1));
    }
    std::vector<std::string_view> steps;
    for (std::string_view rest = path; !rest.empty();) {
        const std::string_view step = rest.substr(0, rest.find('/'));
        rest.remove_prefix(std::min(step.size() + 1, rest.size()));
        if (step == "..") {
            if (!steps.empty()) {
                steps.pop_back();
            }
        } else if (!step.empty() && step != ".") {
            steps.push_back(step);
        }
    }
    std::string resolved;
    for (const std::string_view step : steps) {
        resolved.append(resolved.empty() ? "" : "/").append(step);
    }
    return resolved;
}

std::vector<WorkbookPackage::ContentType> WorkbookPackage::ReadContentTypes() const {
    std::vector<ContentType> types;
    ChildAttributesHandler handler(XmlForm::Full, "Types", {}, {"PartName", "Extension", "ContentType"},
                                   [&](const std::vector<std::string>& values) {
                                       types.push_back({Fold(values[0]), ToLowerCase(values[1]), values[2]});
                                   });
    ParsePart(ContentTypesPart, handler);
    return types;
}

std::string WorkbookPackage::GetContentType(const std::string& part) const {
    const std::vector<ContentType> types = ReadContentTypes();
    const std::string name = Fold(part);
    const std::string extension = ToLowerCase(NvGetFileExtension(part));
    const auto own = std::find_if(types.begin(), types.end(),
                                  [&](const ContentType& type) { return type.partName == name; });
    if (own != types.end()) {
        return own->type;
    }
    const auto common = std::find_if(types.begin(), types.end(), [&](const ContentType& type) {
        return type.partName.empty() && type.extension == extension;
    });
    return common == types.end() ? std::string() : common->type;
}

bool WorkbookPackage::HasWorkbook() const {
    const std::vector<ContentType> types = ReadContentTypes();
    return std::any_of(types.begin(), types.end(),
                       [](const ContentType& type) { return IsWorkbookType(type.type); });
}
