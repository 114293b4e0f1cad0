#include "host/project/VarObsInfo.h"

#include "base/NumberFormat.h"
#include "host/SerialDate.h"

std::string VariableInfo::GetValueText(float value) const {
    if (IsMissing(value)) {
        return {};
    }
    if (yesNo && (value == 0.0F || value == 1.0F)) {
        return value == 1.0F ? "Yes" : "No";
    }
    return FormatShortest(value);
}

std::string DateTimeVariableInfo::GetValueText(float value) const {
    constexpr double UnitsInDay[] = {1.0, 24.0, 1440.0, 86400.0};
    if (IsMissing(value)) {
        return {};
    }
    const double unitsInDay = unit >= UnitDay && unit <= UnitSecond ? UnitsInDay[unit] : 1.0;
    return IEEEDate_2_string(origin + static_cast<double>(value) / unitsInDay);
}
