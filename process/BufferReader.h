#pragma once

#include <cstddef>
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
     * Field n of the present line, from 1, ended by a NUL and valid until the next call. Raises Exception
     * when the line has fewer.
     */
    const char* GetField(int n);

private:
    void TakeField();

    const char* cursor = nullptr;
    const char* end = nullptr;
    std::string sectionName;
    std::vector<std::string_view> fields;
    std::string copy;  // of the field asked for
    int lineCount = 0;
};
