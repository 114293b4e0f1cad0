#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "archive/XmlEvents.h"
#include "archive/ZipFile.h"
#include "base/ReadContext.h"
#include "spreadsheet/WorkbookPart.h"

/** The parts of a workbook in a zip archive, by the conventions of ECMA-376, Part 2. */
class WorkbookPackage {
public:
    /** How names of parts are compared. */
    enum class Names {
        AsStored, /**< exactly */
        AnyCase   /**< in any case, a backslash for a slash, with or without the root's slash, escapes
                        (%20) for the characters that they stand for */
    };

    /** One part that another one refers to. */
    struct Relationship {
        std::string id;
        std::string type;
        std::string target; /**< the part's name, from the root and without its slash */
    };

    /** Raises Exception as ZipFile does. */
    WorkbookPackage(const char* path, Names partNames, std::shared_ptr<karta::ReadContext> context);

    bool HasPart(const std::string& name) const { return FindEntry(name) != nullptr; }
    /** Null when there is no such part. */
    std::unique_ptr<std::istream> OpenPart(const std::string& name) const;
    /** Whether the part was there and well-formed to its end. */
    bool ParsePart(const std::string& name, XmlEvents& handler, XmlNames names) const;
    bool ParsePart(const std::string& name, NodeHandler& handler) const {
        handler.SetContext(readContext);
        return ParsePart(name, handler, GetNames(handler.GetForm()));
    }

    /** What a part refers to within the archive; the empty name is the package itself. */
    std::vector<Relationship> ReadRelationships(const std::string& part) const;
    /** The name of the part that lies beside `part` and tells what it refers to. */
    static std::string GetRelationshipsPart(std::string_view part);
    /** A target as it is written, seen from a part. */
    static std::string ResolveTarget(std::string_view part, std::string_view target);

    /** As the package's list of content types has it; empty where that says nothing. */
    std::string GetContentType(const std::string& part) const;
    /** Whether the list of content types names a workbook. */
    bool HasWorkbook() const;

private:
    /** A part's name or its extension, and the content type. */
    struct ContentType {
        std::string partName;
        std::string extension;
        std::string type;
    };

    std::vector<ContentType> ReadContentTypes() const;
    const ZipFile::Entry* FindEntry(const std::string& name) const;

    std::shared_ptr<karta::ReadContext> readContext;
    ZipFile zip;
    Names names;
    std::unordered_map<std::string, const ZipFile::Entry*> foldedNames;
};
