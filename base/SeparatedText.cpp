#include "base/SeparatedText.h"

#include <algorithm>

void AppendSeparated(TextBuffer& bytes, std::string_view line, char delimiter, char separator) {
    if (delimiter == separator) {
        bytes.Append(line);
        return;
    }
    // Each byte is stored, whatever it is: so the compiler takes many at a time.
    char* const place = bytes.MakeRoom(line.size());
    bytes.EndAt(std::transform(line.begin(), line.end(), place,
                               [delimiter, separator](char c) { return c == delimiter ? separator : c; }));
}

void SeparatedText::Begin(char fieldSeparator) {
    separator = fieldSeparator;
    fields = 0;
    Clear();
}

void SeparatedText::AppendQuoted(std::string_view field) {
    bytes.Append('"');
    const char* at = field.data();
    const char* const end = at + field.size();
    // In runs, each up to a quote, which then comes once more.
    for (const char* quote = FindByte(at, end, '"'); quote != end; quote = FindByte(at, end, '"')) {
        bytes.Append({at, static_cast<std::size_t>(quote + 1 - at)});
        bytes.Append('"');
        at = quote + 1;
    }
    bytes.Append({at, static_cast<std::size_t>(end - at)});
    bytes.Append('"');
}

void SeparatedText::AddPlainFields(std::string_view line, char delimiter, std::size_t count) {
    BeginField();
    fields += count - 1;
    AppendSeparated(bytes, line, delimiter, separator);
}

void SeparatedText::EndRow(std::size_t width) {
    const std::size_t there = std::max<std::size_t>(fields, 1);
    bytes.Append(width > there ? width - there : 0, separator);
    bytes.Append('\n');
    fields = 0;
}
