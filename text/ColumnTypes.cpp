#include "text/ColumnTypes.h"

#include <array>

namespace {

using Form = FieldForm;

constexpr std::uint32_t Neutral = Form::Integer | Form::WideInteger | Form::OtherGroups;
constexpr std::uint32_t WithPoint = Neutral | Form::PointNumbers | Form::CommaOrGroup;
constexpr std::uint32_t WithComma = Neutral | Form::CommaNumbers | Form::PointOrGroup;
// A group can't begin with 0 and has three digits: these leave no doubt.
constexpr std::uint32_t PointProofs = Form::Point | Form::CommaGroups | Form::CommaGroupsPoint;
constexpr std::uint32_t CommaProofs = Form::Comma | Form::PointGroups | Form::PointGroupsComma;

bool HoldsOnly(std::uint32_t bits, std::uint32_t wanted) {
    return (bits & ~wanted) == 0;
}

}  // namespace

const char* GetTypeName(ColumnType::Kind kind) {
    static constexpr std::array<const char*, 7> Names = {"empty", "text", "number",       "true or false",
                                                         "date",  "time", "date and time"};
    return Names.at(kind);
}

// A column proves a mark where all of it can be read with this one and not all of it with the other.
ColumnTypes::Marks ColumnTypes::GetMarks() const {
    Marks marks;
    for (const std::uint32_t form : forms) {
        const std::uint32_t bits = form & ~Form::Missing;
        if (HoldsOnly(bits, WithPoint) && (bits & PointProofs) != 0) {
            marks.point = true;
            marks.commaGroups =
                marks.commaGroups || (bits & (Form::CommaGroups | Form::CommaGroupsPoint)) != 0;
        } else if (commasAllowed && HoldsOnly(bits, WithComma) && (bits & CommaProofs) != 0) {
            marks.comma = true;
            marks.pointGroups =
                marks.pointGroups || (bits & (Form::PointGroups | Form::PointGroupsComma)) != 0;
        }
    }
    if (givenMark != '\0') {
        // With the mark known the other one can only part groups.
        marks = {givenMark == '.', givenMark == ',', givenMark == ',', givenMark == '.'};
    }
    return marks;
}

ColumnType ColumnTypes::ResolveNumbers(std::uint32_t bits, const Marks& marks) const {
    std::uint32_t pointForms = Neutral | Form::Point | Form::PointOrGroup;
    if (marks.commaGroups) {
        pointForms |= Form::CommaGroups | Form::CommaGroupsPoint | Form::CommaOrGroup;
    }
    std::uint32_t commaForms = Neutral | Form::Comma | Form::CommaOrGroup;
    if (marks.pointGroups) {
        commaForms |= Form::PointGroups | Form::PointGroupsComma | Form::PointOrGroup;
    }
    const bool isProvedByItself = (bits & CommaProofs) != 0;
    const bool readsCommas = marks.comma && (!marks.point || isProvedByItself);
    const bool readsPoints = !readsCommas && !(givenMark == ',');
    if (readsCommas && HoldsOnly(bits, commaForms)) {
        return {ColumnType::Number, ',', commaForms | Form::Missing};
    }
    // A file that proves both marks has columns of each.
    if (readsPoints && HoldsOnly(bits, pointForms) &&
        !(marks.comma && marks.point && HoldsOnly(bits, Neutral | Form::CommaOrGroup) &&
          (bits & Form::CommaOrGroup) != 0)) {
        return {ColumnType::Number, '.', pointForms | Form::Missing};
    }
    return {ColumnType::Text, '.', 0};
}

std::vector<ColumnType> ColumnTypes::Resolve(std::size_t cols) const {
    const Marks marks = GetMarks();
    std::vector<ColumnType> types(cols);
    for (std::size_t col = 0; col < cols && col < forms.size(); ++col) {
        const std::uint32_t bits = forms[col] & ~(Form::Missing | Form::WithZone);
        ColumnType& type = types[col];
        if (bits == 0) {
            type = {ColumnType::Empty, '.', forms[col] & Form::Missing};
        } else if (HoldsOnly(bits, Form::Numbers)) {
            type = ResolveNumbers(bits, marks);
        } else if ((forms[col] & Form::Missing) != 0) {
            type = {ColumnType::Text, '.', 0};
        } else if (bits == Form::Bool) {
            type = {ColumnType::Bool, '.', Form::Bool};
        } else if (bits == Form::Time) {
            type = {ColumnType::Time, '.', Form::Time};
        } else if (bits == Form::Date) {
            type = {ColumnType::Date, '.', Form::Date};
        } else if (HoldsOnly(bits, Form::Date | Form::DateTime)) {
            type = {ColumnType::DateTime, '.', Form::Date | Form::DateTime | Form::WithZone};
        } else {
            type = {ColumnType::Text, '.', 0};
        }
    }
    return types;
}

char ColumnTypes::GetDecimalMark() const {
    const Marks marks = GetMarks();
    if (marks.comma && !marks.point) {
        return ',';
    }
    return marks.point ? '.' : '\0';
}

std::vector<std::size_t> ColumnTypes::GetUnsettledColumns(const std::vector<ColumnType>& types) const {
    std::vector<std::size_t> unsettled;
    for (std::size_t col = 0; col < types.size() && col < forms.size(); ++col) {
        const std::uint32_t bits = forms[col] & ~Form::Missing;
        if (types[col].kind == ColumnType::Text && bits != 0 && HoldsOnly(bits, Form::Numbers)) {
            unsettled.push_back(col);
        }
    }
    return unsettled;
}
