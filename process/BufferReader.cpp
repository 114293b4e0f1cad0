#include "process/BufferReader.h"

#include <algorithm>
#include <cstring>

#include "base/Ascii.h"
#include "base/ByteScan.h"
#include "base/Exception.h"
#include "base/NumberParser.h"
#include "host/NvString.h"

// Looks for each byte in what still is in the processor's cache.
static bool IsPlainText(std::string_view text) {
    constexpr std::size_t AtOnce = std::size_t{1} << 15;
    while (!text.empty()) {
        const std::string_view some = text.substr(0, AtOnce);
        if (some.find('"') != std::string_view::npos || some.find('\r') != std::string_view::npos) {
            return false;
        }
        text.remove_prefix(some.size());
    }
    return true;
}

void BufferReader::Init(std::string_view text, const std::string& name) {
    cursor = text.data();
    end = text.data() + text.size();
    while (cursor != end && IsLineEnd(*cursor)) {
        ++cursor;
    }
    sectionName = name;
    fields.clear();
    isCopied = false;
    isPlain = IsPlainText(text);
    lineCount = 0;
}

// The line's end or its first quote.
const char* BufferReader::FindLineEnd() const {
    if (!isPlain) {
        return FindByte(cursor, end, '\n', '\r', '"');
    }
    const auto* const feed =
        static_cast<const char*>(std::memchr(cursor, '\n', static_cast<std::size_t>(end - cursor)));
    return feed == nullptr ? end : feed;
}

// Up to the tab or the line end behind the field. What stands behind a closing quote is dropped.
void BufferReader::TakeField() {
    const auto endsField = [](char c) { return c == '\t' || IsLineEnd(c); };
    while (cursor != end && *cursor == ' ') {
        ++cursor;
    }
    if (cursor != end && *cursor == '"') {
        ++cursor;
    }
    const char* const start = cursor;
    while (cursor != end && *cursor != '"' && !endsField(*cursor)) {
        ++cursor;
    }
    fields.emplace_back(start, static_cast<std::size_t>(cursor - start));
    while (cursor != end && !endsField(*cursor)) {
        ++cursor;
    }
}

bool BufferReader::NextLine() {
    if (cursor == end) {
        return false;
    }
    fields.clear();
    isCopied = false;
    lineStart = cursor;
    const char* const stop = FindLineEnd();
    if (stop == end || *stop != '"') {
        TakePlainFields(stop);
    } else {
        TakeField();
        while (cursor != end && *cursor == '\t') {
            ++cursor;
            TakeField();
        }
    }
    lineEnd = cursor;
    while (cursor != end && IsLineEnd(*cursor)) {
        ++cursor;
    }
    ++lineCount;
    return true;
}

// The fields of a line without quotes.
void BufferReader::TakePlainFields(const char* stop) {
    while (true) {
        while (cursor != stop && *cursor == ' ') {
            ++cursor;
        }
        const char* const tab = FindByte(cursor, stop, '\t');
        fields.emplace_back(cursor, static_cast<std::size_t>(tab - cursor));
        cursor = tab;
        if (tab == stop) {
            return;
        }
        ++cursor;
    }
}

// Where a field is asked for ended by a NUL, the others mostly are, too.
void BufferReader::CopyLine() {
    const auto size = static_cast<std::size_t>(cursor - lineStart);
    if (copy.size() < size + 1) {
        copy.resize(size + 1);
    }
    std::memcpy(copy.data(), lineStart, size);
    for (const std::string_view field : fields) {
        copy[static_cast<std::size_t>(field.data() - lineStart) + field.size()] = '\0';
    }
    isCopied = true;
}

const char* BufferReader::GetField(int n) {
    if (n < 1 || n > CountFields()) {
        throw Exception(
            NvString::Format("Column %i not found on line %i in %s.", n, lineCount, sectionName.c_str()));
    }
    if (!isCopied) {
        CopyLine();
    }
    return copy.data() + (fields[static_cast<std::size_t>(n) - 1].data() - lineStart);
}

// Only as much of the line is parted into fields as the number needs.
bool BufferReader::NextRowNumber(int& number) {
    if (cursor == end) {
        return false;
    }
    fields.clear();
    isCopied = false;
    lineStart = cursor;
    TakeField();
    number = 0;
    if (cursor != end && *cursor == '\t') {
        ++cursor;
        TakeField();
        number = ToLeadingInt(fields.back());
    }
    cursor = isPlain ? FindLineEnd() : FindByte(cursor, end, '\n', '\r');
    lineEnd = cursor;
    cursor = std::find_if_not(cursor, end, IsLineEnd);
    ++lineCount;
    return true;
}
