#pragma once

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "base/Export.h"

/** What a project knows of one observation or one variable: its texts in the dataset's alias tables. */
class KARTA_EXPORT VarObsInfo {
public:
    virtual ~VarObsInfo() = default;

    /** The first text, by which people know it; empty without any. */
    std::string GetPrimaryAlias() const { return aliases.empty() ? std::string() : aliases.front(); }

    /** In the order of the dataset's list of ids. */
    std::vector<std::string> aliases;
};

/** What a project knows of one variable, and how its values are written. */
class KARTA_EXPORT VariableInfo : public VarObsInfo {
public:
    /** Stands for a value that is missing. */
    static constexpr float MissingValue = std::numeric_limits<float>::quiet_NaN();
    static bool IsMissing(float value) { return std::isnan(value); }

    /** A value as the text of a cell, in the shortest form that reads back the same; empty when missing. */
    virtual std::string GetValueText(float value) const;
    /** Whether the values 1 and 0 mean yes and no, and are written so. */
    bool IsYesNo() const { return yesNo; }

    /** The host's kind of variable. */
    int kind = 1;
    bool yesNo = false;
};

/** A variable whose values count units of time from a day. */
class KARTA_EXPORT DateTimeVariableInfo : public VariableInfo {
public:
    enum Unit { UnitDay = 0, UnitHour = 1, UnitMinute = 2, UnitSecond = 3 };

    /** Date and time as spreadsheets write them. */
    std::string GetValueText(float value) const override;

    std::string dateFormat; /**< how the host writes them itself */
    std::string timeFormat;
    int origin = 0; /**< the serial number of the day that is counted from; day 1 is 1900-01-01 */
    int unit = UnitDay;
    int resolution = 1; /**< in seconds; the host rounds to it */
};
