#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "frame/FileContents.h"
#include "frame/NvImport.h"
#include "host/XMLSection.h"

/**
 * The choices of the complete reading in an options record: further keys of its section "Settings", beside
 * those that the classic reading knows. No record, an empty one, or one without a key: the file decides.
 */
class KARTA_EXPORT CompleteOptions {
public:
    /** A part by its name or its place in ListParts, from 1; several comma-separated; "all". */
    static constexpr const char* Part = "Part";
    /** "utf-8", "utf-16-le", "utf-16-be", "windows-1252", "latin-1", "cp850" ... */
    static constexpr const char* Encoding = "Encoding";
    /** What parts the fields of delimited text. */
    static constexpr const char* Delimiter = "Delimiter";
    /** The decimal mark, "." or ",". */
    static constexpr const char* Decimal = "Decimal";
    /** The row of the columns' names, from 1; 0: there is none. */
    static constexpr const char* Header = "Header";
    /** Columns that stay text, by name or place from 1, comma-separated. */
    static constexpr const char* TextColumns = "TextColumns";
    /** False: every field stays text. */
    static constexpr const char* Types = "Types";
    /** "DMY", "MDY" or "YMD". */
    static constexpr const char* DateOrder = "DateOrder";
    /** The variables whose texts or numbers name rows and columns. */
    static constexpr const char* RowNames = "RowNames";
    static constexpr const char* ColumnNames = "ColumnNames";

    /** `options` may be null. Raises std::ios_base::failure for a record that is cut short. */
    explicit CompleteOptions(const NvImportOpenOptions* options);

    std::optional<std::string> GetText(const char* key) const;
    std::optional<int> GetInt(const char* key) const;
    std::optional<bool> GetBool(const char* key) const;

    /** The document that the record holds, for a format's own keys; null without one. */
    const XMLSection* GetSettings() const { return settings; }

private:
    std::unique_ptr<XMLSection> document;
    const XMLSection* settings = nullptr;
};

/**
 * The places, from 0, of the parts that `wanted` names: first as one name, exactly, then in any case, then as
 * that of a member; then "all"; then as a place from 1; then as a comma-separated list of these. Nothing
 * where it names no part.
 */
KARTA_EXPORT std::optional<std::vector<std::size_t>> FindParts(const std::vector<FileContents::Part>& parts,
                                                               std::string_view wanted);
