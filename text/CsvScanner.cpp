#include "text/CsvScanner.h"

#include <algorithm>

CsvScanner::CsvScanner(CsvParser& target, char delimiterByte) : parser(target), delimiter(delimiterByte) {
    classes.fill(Refused);
    std::fill(classes.begin() + ' ', classes.begin() + '~' + 1, TextData);
    std::fill(classes.begin() + 0x80, classes.end(), TextData);
    classes['#'] = Refused;
    classes['"'] = Quote;
    classes['\r'] = classes['\n'] = LineBreak;
    classes[static_cast<unsigned char>(delimiter)] = Delimiter;
}

std::size_t CsvScanner::Scan(std::string_view text) {
    const char* const begin = text.data();
    end = begin + text.size();
    const char* at = ScanRecord(begin);
    while (const char* behind = ScanLineEnd(at)) {
        if (behind == end) {
            parser.endWithNewLineCallback(behind, behind);
        }
        at = ScanRecord(behind);
    }
    return static_cast<std::size_t>(at - begin);
}

const char* CsvScanner::ScanRecord(const char* at) {
    const char* const first = at;
    at = ScanField(at);
    while (at != end && *at == delimiter) {
        at = ScanField(at + 1);
    }
    parser.recordCallback(first, at);
    return at;
}

// A quoted field that isn't closed, or holds what is refused, is an empty plain one before its quote.
const char* CsvScanner::ScanField(const char* at) {
    if (at != end && *at == '"') {
        if (const char* behind = ScanEscaped(at)) {
            parser.escapedCallback(at, behind);
            return behind;
        }
    }
    const char* const behind = ScanNonescaped(at);
    parser.nonescapedCallback(at, behind);
    return behind;
}

const char* CsvScanner::ScanNonescaped(const char* at) const {
    while (at != end && ClassOf(*at) == TextData) {
        ++at;
    }
    return at;
}

// Behind the closing quote, or null.
const char* CsvScanner::ScanEscaped(const char* at) const {
    for (++at; at != end; ++at) {
        const ByteClass found = ClassOf(*at);
        if (found == Refused) {
            return nullptr;
        }
        if (found == Quote) {
            if (at + 1 == end || at[1] != '"') {
                return at + 1;
            }
            ++at;
        }
    }
    return nullptr;
}

// Behind a carriage return, a line feed, or the two together; null when there is none of them.
const char* CsvScanner::ScanLineEnd(const char* at) const {
    if (at == end || (*at != '\r' && *at != '\n')) {
        return nullptr;
    }
    const bool both = *at == '\r' && at + 1 != end && at[1] == '\n';
    return at + (both ? 2 : 1);
}
