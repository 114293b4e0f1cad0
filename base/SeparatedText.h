#pragma once

#include <cstddef>
#include <string_view>

#include "base/ByteScan.h"
#include "base/Export.h"
#include "base/NumberFormat.h"
#include "base/TextBuffer.h"

/** Appends a line whose fields `delimiter` parts, parted by `separator` instead. */
KARTA_EXPORT void AppendSeparated(TextBuffer& bytes, std::string_view line, char delimiter, char separator);

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
            bytes.Append(field);
        }
    }
    bool MustBeQuoted(std::string_view field) const {
        const char* const begin = field.data();
        const char* const end = begin + field.size();
        return FindByte(begin, end, separator, '"', '\n', '\r') != end;
    }
    /** A field that has nothing to be quoted in it, as numbers have. */
    void AddPlain(std::string_view field) {
        BeginField();
        bytes.Append(field);
    }
    /** The shortest text of a number. */
    template <class Number>
    void AddNumber(Number value) {
        BeginField();
        bytes.EndAt(PrintShortest(value, bytes.MakeRoom(ShortestNumberSize)));
    }
    /** A field that must be quoted, as it stands between its quotes: with all quotes in it doubled. */
    void AddQuoted(std::string_view between) {
        BeginField();
        bytes.AppendBetween('"', between, '"');
    }
    /** Fields that `delimiter` parts, of which none must be quoted; so many. */
    void AddPlainFields(std::string_view line, char delimiter, std::size_t count);

    /** With empty fields up to so many. */
    void EndRow(std::size_t width = 0);

    /** All since the last Clear, which may be amid a row. */
    std::string_view GetBytes() const { return bytes.GetBytes(); }
    void Clear() { bytes.CutAt(0); }

    /** Takes the row at hand back, before which there were so many bytes. */
    void DropRow(std::size_t bytesBefore) {
        bytes.CutAt(bytesBefore);
        fields = 0;
    }

private:
    void BeginField() {
        if (fields++ > 0) {
            bytes.Append(separator);
        }
    }
    void AppendQuoted(std::string_view field);

    char separator = ',';
    std::size_t fields = 0;  // of the row at hand
    TextBuffer bytes;
};
