#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/Export.h"

/** Appends a line whose fields `delimiter` parts, parted by `separator` instead. */
KARTA_EXPORT void AppendSeparated(std::string& bytes, std::string_view line, char delimiter, char separator);

/**
 * Rows of fields in the form of RFC 4180, one behind the other: a field is quoted only when it must be. No
 * allocation a field.
 */
class KARTA_EXPORT SeparatedText {
public:
    explicit SeparatedText(char fieldSeparator = ',') { Begin(fieldSeparator); }

    /** Anew, in the memory that there is. */
    void Begin(char fieldSeparator);

    void Add(std::string_view field) {
        BeginField();
        if (MustBeQuoted(field)) {
            AppendQuoted(field);
        } else {
            bytes += field;
        }
    }
    /** A field that has nothing to be quoted in it, as numbers have. */
    void AddPlain(std::string_view field) {
        BeginField();
        bytes += field;
    }
    /** Fields that `delimiter` parts, of which none must be quoted; so many. */
    void AddPlainFields(std::string_view line, char delimiter, std::size_t count);

    /** With empty fields up to so many. */
    void EndRow(std::size_t width = 0);

    /** All since the last Clear, which may be amid a row. */
    const std::string& GetBytes() const { return bytes; }
    void Clear() { bytes.clear(); }

private:
    void BeginField() {
        if (fields++ > 0) {
            bytes += separator;
        }
    }
    bool MustBeQuoted(std::string_view field) const;
    void AppendQuoted(std::string_view field);

    char separator = ',';
    bool mustBeQuoted[256] = {};
    std::size_t fields = 0;  // of the row at hand
    std::string bytes;
};
