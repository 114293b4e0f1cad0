#include "base/SeparatedText.h"

#include <algorithm>
#include <iterator>

void AppendSeparated(std::string& bytes, std::string_view line, char delimiter, char separator) {
    const std::size_t begin = bytes.size();
    bytes += line;
    if (delimiter != separator) {
        // Each byte is stored, whatever it is: so the compiler takes many at a time.
        std::transform(line.begin(), line.end(), bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                       [delimiter, separator](char c) { return c == delimiter ? separator : c; });
    }
}

void SeparatedText::Begin(char fieldSeparator) {
    separator = fieldSeparator;
    fields = 0;
    bytes.clear();
    std::fill(std::begin(mustBeQuoted), std::end(mustBeQuoted), false);
    for (const char c : {separator, '"', '\n', '\r'}) {
        mustBeQuoted[static_cast<unsigned char>(c)] = true;
    }
}

bool SeparatedText::MustBeQuoted(std::string_view field) const {
    return std::any_of(field.begin(), field.end(),
                       [this](char c) { return mustBeQuoted[static_cast<unsigned char>(c)]; });
}

void SeparatedText::AppendQuoted(std::string_view field) {
    bytes += '"';
    for (const char c : field) {
        bytes.append(c == '"' ? 2 : 1, c);
    }
    bytes += '"';
}

void SeparatedText::AddPlainFields(std::string_view line, char delimiter, std::size_t count) {
    BeginField();
    fields += count - 1;
    AppendSeparated(bytes, line, delimiter, separator);
}

void SeparatedText::EndRow(std::size_t width) {
    const std::size_t there = std::max<std::size_t>(fields, 1);
    bytes.append(width > there ? width - there : 0, separator);
    bytes += '\n';
    fields = 0;
}
