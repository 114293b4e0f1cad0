#include "process/BrooksideTransition.h"

#include "base/Ascii.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "process/TabWalk.h"

namespace {

constexpr std::string_view FileLineStart = "File\t";

bool IsDigitOfBase(char c, int base) {
    if (IsDigit(c)) {
        return c - '0' < base;
    }
    return base == 16 && ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'));
}

bool TakeText(std::string_view& text, std::string_view expected) {
    if (!text.starts_with(expected)) {
        return false;
    }
    text.remove_prefix(expected.size());
    return true;
}

// A whole number as C writes it: white space, a sign, and hexadecimal, octal or decimal digits. Its value
// says nothing here.
bool TakeInteger(std::string_view& text) {
    SkipSpace(text);
    if (text.starts_with('+') || text.starts_with('-')) {
        text.remove_prefix(1);
    }
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    } else if (text.starts_with('0')) {
        base = 8;
    }
    std::size_t digits = 0;
    while (digits < text.size() && IsDigitOfBase(text[digits], base)) {
        ++digits;
    }
    text.remove_prefix(digits);
    return digits > 0;
}

// Whether a line reads "[a:b]From" and a tab from here on: the first column of a phase.
bool IsPhaseStart(std::string_view text) {
    return TakeText(text, "[") && TakeInteger(text) && TakeText(text, ":") && TakeInteger(text) &&
           TakeText(text, "]From\t");
}

}  // namespace

void ReadLineWithoutQuotes(BrooksideStream& stream, std::string& line) {
    line = stream.NextLine();
    std::erase(line, '"');
}

bool BrooksideTransition::FindFileLine() {
    do {
        if (stream.AtEnd()) {
            return false;
        }
        ReadLineWithoutQuotes(stream, line);
    } while (!line.starts_with(FileLineStart));
    TabWalk fieldsOfLine(line);
    std::string_view field;
    for (int column = 1; fieldsOfLine.HasNext(); ++column) {
        if (IsPhaseStart(fieldsOfLine.GetRest())) {
            startColumns.push_back(column);
        }
        fieldsOfLine.Next(field);
    }
    return true;
}

// Counts the ids that stand for no wafer.
bool BrooksideTransition::IsWafer() {
    const std::string_view id = fields.GetText(FieldWafer);
    if (EqualIgnoringCase(id, "none")) {
        ++skipped.none;
        return false;
    }
    if (EqualIgnoringCase(id, "unknown")) {
        ++skipped.unknown;
        return false;
    }
    if (id.starts_with('?')) {
        ++skipped.questionMark;
        return false;
    }
    if (id.empty() && fields.GetCount() > 1) {
        ++skipped.empty;
    }
    return !id.empty();
}

bool BrooksideTransition::NextWafer() {
    while (!stream.AtEnd()) {
        ReadLineWithoutQuotes(stream, line);
        fields.Split(line);
        if (IsWafer()) {
            return true;
        }
    }
    return false;
}
