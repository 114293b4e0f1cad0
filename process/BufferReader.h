#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/**
 * Scans one raw text of an XML process log line by line, in place: tab-separated fields, each with an
 * optional pair of double quotes around it. Lines end at a carriage return, a line feed or a run of them.
 */
class BufferReader {
public:
    /** The text must outlive the reader; the name is copied, for messages. */
    void Init(std::string_view text, const std::string& name);

    /** Reads the next line; false at the end of the text. */
    bool NextLine();
    bool AtEnd() const { return cursor == end; }

    int CountFields() const { return static_cast<int>(fields.size()); }
    /**
     * Field n of the present line, from 1, ended by a NUL and valid until the next line. Raises Exception
     * when the line has fewer.
     */
    const char* GetField(int n);
    /** The same in place, as long as the text; nothing when the line has fewer. */
    std::optional<std::string_view> FindField(int n) const {
        if (n < 1 || n > CountFields()) {
            return std::nullopt;
        }
        return fields[static_cast<std::size_t>(n) - 1];
    }

    /** Where the next line begins, and back to where one did. */
    const char* Tell() const { return cursor; }
    void Seek(const char* lineStart) { cursor = lineStart; }
    /**
     * Passes over the next line and tells the whole number at the start of its second field, 0 where there is
     * none; false at the end of the text.
     */
    bool NextRowNumber(int& number);
    /**
     * Whether no field of the text is quoted, and line feeds alone end its lines: then a line's fields are
     * what its tabs part, but for a field's leading blanks.
     */
    bool IsPlain() const { return isPlain; }
    /** The line that was read or passed over last, as it stands. */
    std::string_view GetLine() const { return {lineStart, static_cast<std::size_t>(lineEnd - lineStart)}; }

private:
    const char* FindLineEnd() const;
    void TakeField();
    void TakePlainFields(const char* stop);
    void CopyLine();

    const char* cursor = nullptr;
    const char* end = nullptr;
    std::string sectionName;
    std::vector<std::string_view> fields;
    const char* lineStart = nullptr;
    const char* lineEnd = nullptr;
    std::vector<char> copy;  // of the line, each field ended by a NUL, once one was asked for so
    bool isCopied = false;
    bool isPlain = false;
    int lineCount = 0;
};
