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
    bytes.clear();
}

void JsonRows::AddText(std::string_view text) {
    BeginField();
    AppendJsonText(bytes, text);
}

void JsonRows::AddPlainText(std::string_view text) {
    BeginField();
    bytes += '"';
    bytes += text;
    bytes += '"';
}

void JsonRows::AddNumber(double value) {
    char number[ShortestNumberSize];
    if (std::isnan(value)) {
        AddNull();
    } else if (const std::string_view text(number, PrintShortest(value, number)); std::isinf(value)) {
        AddPlainText(text);
    } else {
        AddPlain(text);
    }
}

void JsonRows::AddNumber(float value) {
    char number[ShortestNumberSize];
    if (!std::isfinite(value)) {
        AddNumber(static_cast<double>(value));
    } else {
        AddPlain({number, std::to_chars(number, std::end(number), value).ptr});
    }
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
        bytes += GetOpening();
    }
    bytes += members != nullptr ? "}\n" : "]\n";
    fields = 0;
}
