#include "text/FieldForm.h"

#include <algorithm>
#include <array>
#include <string>

#include "base/Ascii.h"
#include "base/NumberParser.h"
#include "text/FieldDate.h"
#include "text/PlainNumber.h"

namespace {

constexpr std::string_view Minus = "\u2212";
constexpr std::string_view NoBreakSpace = "\u00a0";
constexpr std::string_view NarrowNoBreakSpace = "\u202f";
constexpr std::size_t GroupSize = 3;
// A zone has a date and a time before it.
constexpr std::size_t ShortestBeforeZone = 10;

std::string_view TrimBlanks(std::string_view text) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool EqualsInAnyCase(std::string_view text, std::string_view lower) {
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                      [](char c, char wanted) { return ToLower(c) == wanted; });
}

bool IsMissingMark(std::string_view text) {
    return text == "NA" || text == "NaN" || text == "N/A" || text == "n/a" || text == "-" ||
           EqualsInAnyCase(text, "null");
}

FieldForm MakeForm(std::uint32_t bits, std::int64_t integer = 0) {
    FieldForm form;
    form.bits = bits;
    form.integer = integer;
    return form;
}

/** A number as a run of digits and what parts them: everything else that numbers are written as. */
class PartedNumber {
public:
    explicit PartedNumber(std::string_view field) : rest(field) {}

    std::uint32_t GetBits();

private:
    bool TakeSign();
    bool TakeDigits();
    char TakeMark();
    bool TakeExponent();
    bool AreGroups(std::size_t count) const;

    std::string_view rest;
    // More groups than these make no number that anyone writes.
    static constexpr std::size_t MostRuns = 64;
    std::array<std::size_t, MostRuns> runs{};  // lengths
    std::array<char, MostRuns> marks{};        // between them; a blank stands for either kind
    std::size_t count = 0;
    char firstDigit = '\0';
};

bool PartedNumber::TakeSign() {
    if (rest.starts_with(Minus)) {
        rest.remove_prefix(Minus.size());
        return true;
    }
    if (!rest.empty() && (rest.front() == '+' || rest.front() == '-')) {
        rest.remove_prefix(1);
        return true;
    }
    return false;
}

// False where there are more runs than can be.
bool PartedNumber::TakeDigits() {
    if (count == MostRuns) {
        return false;
    }
    const auto end = std::find_if_not(rest.begin(), rest.end(), IsDigit);
    runs[count++] = static_cast<std::size_t>(end - rest.begin());
    rest.remove_prefix(runs[count - 1]);
    return true;
}

char PartedNumber::TakeMark() {
    for (const std::string_view mark : {std::string_view("."), std::string_view(","), std::string_view("'"),
                                        NoBreakSpace, NarrowNoBreakSpace}) {
        if (rest.starts_with(mark)) {
            rest.remove_prefix(mark.size());
            return mark.size() == 1 ? mark.front() : ' ';
        }
    }
    return '\0';
}

// False for an exponent without digits.
bool PartedNumber::TakeExponent() {
    rest.remove_prefix(1);
    if (!rest.empty() && (rest.front() == '+' || rest.front() == '-')) {
        rest.remove_prefix(1);
    }
    return !rest.empty() && std::all_of(rest.begin(), rest.end(), IsDigit);
}

// Whether the first runs are groups: of three digits, the first one of up to three and not from zero.
bool PartedNumber::AreGroups(std::size_t groups) const {
    return runs[0] >= 1 && runs[0] <= GroupSize && firstDigit != '0' &&
           std::all_of(runs.begin() + 1, runs.begin() + static_cast<std::ptrdiff_t>(groups),
                       [](std::size_t run) { return run == GroupSize; }) &&
           std::all_of(marks.begin(), marks.begin() + static_cast<std::ptrdiff_t>(groups) - 1,
                       [this](char mark) { return mark == marks[0]; });
}

std::uint32_t PartedNumber::GetBits() {
    TakeSign();
    if (EqualsInAnyCase(rest, "inf") || EqualsInAnyCase(rest, "infinity") || EqualsInAnyCase(rest, "nan")) {
        return FieldForm::Integer;
    }
    firstDigit = rest.empty() ? '\0' : rest.front();
    TakeDigits();
    while (const char mark = TakeMark()) {
        marks[count - 1] = mark;
        if (!TakeDigits()) {
            return FieldForm::Text;
        }
    }
    const bool hasExponent = !rest.empty() && (ToLower(rest.front()) == 'e' || ToLower(rest.front()) == 'd');
    if (hasExponent ? !TakeExponent() : !rest.empty()) {
        return FieldForm::Text;
    }
    if (count == 1) {
        return runs[0] > 0 ? FieldForm::Integer : FieldForm::Text;
    }
    const char last = marks[count - 2];
    const bool isDecimal = last == '.' || last == ',';
    if (count == 2 && isDecimal) {
        if (runs[0] + runs[1] == 0) {
            return FieldForm::Text;
        }
        const bool mayBeGroup = !hasExponent && AreGroups(2);
        return last == '.' ? (mayBeGroup ? FieldForm::PointOrGroup : FieldForm::Point)
                           : (mayBeGroup ? FieldForm::CommaOrGroup : FieldForm::Comma);
    }
    if (!hasExponent && AreGroups(count)) {
        return last == '.'   ? FieldForm::PointGroups
               : last == ',' ? FieldForm::CommaGroups
                             : FieldForm::OtherGroups;
    }
    if (!isDecimal || last == marks[0] || !AreGroups(count - 1) || runs[count - 1] == 0) {
        return FieldForm::Text;
    }
    if (marks[0] == '.') {
        return FieldForm::PointGroupsComma;
    }
    if (marks[0] == ',') {
        return FieldForm::CommaGroupsPoint;
    }
    return FieldForm::OtherGroups | (last == '.' ? FieldForm::Point : FieldForm::Comma);
}

// A whole number whose sign is U+2212 or that blanks surround has the limits of any other.
FieldForm GetPartedForm(std::string_view field) {
    const bool hasMinus = field.starts_with(Minus);
    const std::string_view digits = hasMinus ? field.substr(Minus.size()) : field;
    const PlainNumber plain(digits);
    if (plain.IsThere() && plain.GetEnd() == digits.data() + digits.size() &&
        !(hasMinus && !IsDigit(digits.front()) && digits.front() != '.')) {
        FieldForm form = plain.GetForm();
        form.isCanonical = false;
        if (hasMinus) {
            form.number = -form.number;
            form.integer = -form.integer;
        }
        return form;
    }
    return MakeForm(PartedNumber(field).GetBits());
}

}  // namespace

FieldForm GetFieldForm(std::string_view field, DateOrder order) {
    const PlainNumber plain(field);
    if (plain.IsThere() && plain.GetEnd() == field.data() + field.size()) {
        return plain.GetForm();
    }
    const std::string_view text = TrimBlanks(field);
    if (text.empty()) {
        return {};
    }
    if (IsMissingMark(text)) {
        return MakeForm(FieldForm::Missing);
    }
    if (EqualsInAnyCase(text, "true") || EqualsInAnyCase(text, "false")) {
        FieldForm form = MakeForm(FieldForm::Bool, ToLower(text.front()) == 't' ? 1 : 0);
        form.isCanonical = field == "TRUE" || field == "FALSE";
        return form;
    }
    if (const auto date = ReadFieldDate(text, order)) {
        FieldForm form = MakeForm(0, date->value);
        form.bits = date->kind == FieldDate::Date   ? FieldForm::Date
                    : date->kind == FieldDate::Time ? FieldForm::Time
                                                    : FieldForm::DateTime;
        form.bits |= date->hasZone ? FieldForm::WithZone : 0U;
        form.isCanonical = date->isCanonical && text.size() == field.size();
        return form;
    }
    return GetPartedForm(text);
}

bool HasZone(std::string_view field, DateOrder order) {
    // What can't have one is most.
    return field.find_first_of("Z+-", std::min(field.size(), ShortestBeforeZone)) != std::string_view::npos &&
           GetFieldForm(field, order).bits == (FieldForm::DateTime | FieldForm::WithZone);
}

double GetNumber(std::string_view field, char decimalMark) {
    field = TrimBlanks(field);
    std::string plain;
    if (field.starts_with(Minus)) {
        plain = '-';
        field.remove_prefix(Minus.size());
    }
    for (const char c : field) {
        if (c == decimalMark) {
            plain += '.';
        } else if (ToLower(c) == 'd') {
            plain += 'e';
        } else if (IsDigit(c) || IsLetter(c) || c == '+' || c == '-') {
            plain += c;
        }
    }
    return ToLeadingDouble(plain);
}
