#include "base/JsonRows.h"

#include <charconv>
#include <cmath>
#include <iterator>

#include "base/JsonText.h"
#include "base/NumberFormat.h"
#include "base/SeparatedText.h"

void JsonRows::Begin(const std::vector<std::string>* objectMembers) {
    members = objectMembers;
    fields = 0;
    Clear();
}

void JsonRows::AddText(std::string_view text) {
    if (FindJsonEscape(text) == text.data() + text.size()) {
        AddPlainText(text);
        return;
    }
    BeginField();
    bytes.Append('"');
    ForEachJsonPiece(text, [this](std::string_view piece) { bytes.Append(piece); });
    bytes.Append('"');
}

void JsonRows::AddPlainText(std::string_view text) {
    BeginField();
    bytes.AppendBetween('"', text, '"');
}

template <class Number>
void JsonRows::AddAnyNumber(Number value) {
    if (std::isfinite(value)) {
        BeginField();
        bytes.EndAt(PrintShortest(value, bytes.MakeRoom(ShortestNumberSize)));
    } else if (std::isnan(value)) {
        AddNull();
    } else {
        AddPlainText(value < 0 ? "-inf" : "inf");
    }
}

void JsonRows::AddNumber(double value) {
    AddAnyNumber(value);
}

void JsonRows::AddNumber(float value) {
    AddAnyNumber(value);
}

void JsonRows::AddInteger(std::int64_t value) {
    char number[ShortestNumberSize];
    AddPlain({number, std::to_chars(number, std::end(number), value).ptr});
}

void JsonRows::AddPlainFields(std::string_view line, char delimiter, std::size_t count) {
    BeginField();
    fields += count - 1;
    AppendSeparated(bytes, line, delimiter, ',');
}

void JsonRows::EndRow(std::size_t width) {
    while (fields < width) {
        AddNull();
    }
    if (fields == 0) {
        bytes.Append(GetOpening());
    }
    bytes.Append(members != nullptr ? '}' : ']');
    bytes.Append('\n');
    fields = 0;
}
