#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "base/TextBuffer.h"

/**
 * Rows as lines of JSON, one behind the other: an array a row, or an object. Missing cells and NaN are null,
 * and infinities are texts. No allocation a field.
 */
class KARTA_EXPORT JsonRows {
public:
    JsonRows() = default;

    /**
     * Anew, in the memory that there is. `objectMembers`: of objects, the members' names as JSON with the
     * colon, one a column at least; they stay the caller's. Null: arrays.
     */
    void Begin(const std::vector<std::string>* objectMembers);

    void AddNull() { AddPlain("null"); }
    void AddBool(bool value) { AddPlain(value ? "true" : "false"); }
    /** Must be UTF-8. */
    void AddText(std::string_view text);
    /** A text in which nothing needs an escape, as in dates. */
    void AddPlainText(std::string_view text);
    void AddNumber(double value);
    void AddNumber(float value);
    void AddInteger(std::int64_t value);
    /** A field that is JSON as it stands. */
    void AddPlain(std::string_view field) {
        BeginField();
        bytes.Append(field);
    }
    /** Fields of an array that `delimiter` parts, each of them JSON as it stands; so many. */
    void AddPlainFields(std::string_view line, char delimiter, std::size_t count);

    /** With nulls up to so many fields. */
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
    template <class Number>
    void AddAnyNumber(Number value);
    void BeginField() {
        bytes.Append(fields > 0 ? ',' : GetOpening());
        if (members != nullptr) {
            bytes.Append((*members)[fields]);
        }
        ++fields;
    }
    char GetOpening() const { return members != nullptr ? '{' : '['; }

    const std::vector<std::string>* members = nullptr;
    std::size_t fields = 0;  // of the row at hand
    TextBuffer bytes;
};
