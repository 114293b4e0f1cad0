#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/project/ProjectWriter.h"

inline std::shared_ptr<VariableInfo> NamedVariable(const std::string& name, int kind = 1) {
    auto variable = std::make_shared<VariableInfo>();
    variable->aliases = {name};
    variable->kind = kind;
    return variable;
}

inline std::shared_ptr<VariableInfo> YesNoVariable(const std::string& name, int kind = 1) {
    auto variable = NamedVariable(name, kind);
    variable->yesNo = true;
    return variable;
}

/** Counts hours from the first day of 2001. */
inline std::shared_ptr<DateTimeVariableInfo> HourVariable(const std::string& name, int kind = 1) {
    auto variable = std::make_shared<DateTimeVariableInfo>();
    variable->aliases = {name};
    variable->kind = kind;
    variable->dateFormat = "YYYY-MM-DD";
    variable->timeFormat = "HH:MM";
    variable->origin = 36892;
    variable->unit = DateTimeVariableInfo::UnitHour;
    variable->resolution = 60;
    return variable;
}

/** One table of ids on either side; rows of values, one an observation. */
inline DataSetContents SmallDataSet(int id, const std::string& name,
                                    std::vector<std::shared_ptr<VariableInfo>> variables,
                                    const std::vector<std::string>& observations,
                                    const std::vector<std::vector<float>>& values) {
    DataSetContents dataSet;
    dataSet.id = id;
    dataSet.name = name;
    dataSet.observationIds = {1};
    dataSet.variableIds = {1};
    dataSet.variables = std::move(variables);
    for (const std::string& observation : observations) {
        dataSet.observations.emplace_back();
        dataSet.observations.back().aliases = {observation};
    }
    dataSet.values.InsertRows(1, static_cast<int>(values.size()));
    dataSet.values.InsertColumns(1, static_cast<int>(dataSet.variables.size()));
    for (std::size_t row = 0; row < values.size(); ++row) {
        for (std::size_t col = 0; col < values[row].size(); ++col) {
            dataSet.values(static_cast<int>(row) + 1, static_cast<int>(col) + 1) = values[row][col];
        }
    }
    return dataSet;
}

/** Two observations of two variables, one value of them missing. */
inline ProjectContents SmallProject() {
    ProjectContents project;
    project.aliasTables = {{"Primary ID", AliasTable::KindPlain}};
    project.dataSets.push_back(SmallDataSet(1, "Wines", {NamedVariable("pH"), NamedVariable("Sugar")},
                                            {"Red", "White"},
                                            {{3.5F, 0.1F}, {VariableInfo::MissingValue, 1e-7F}}));
    return project;
}

/** The sample beside the netCDF ones: batches of a fermentation, with its hours, a mark and a second dataset.
 */
inline ProjectContents SampleProject() {
    ProjectContents project;
    project.aliasTables = {{"Primary ID", AliasTable::KindPlain}, {"Batch", AliasTable::KindBatch}};
    DataSetContents runs = SmallDataSet(
        1, "Fermentation",
        {HourVariable("$Time"), NamedVariable("pH"), NamedVariable("Glucose g/l"), YesNoVariable("Foam", 2)},
        {}, {});
    runs.observationIds = {1, 2};
    constexpr int Hours = 12;
    runs.values.InsertRows(1, 3 * Hours);
    for (int batch = 0; batch < 3; ++batch) {
        for (int hour = 0; hour < Hours; ++hour) {
            const int row = batch * Hours + hour + 1;
            runs.observations.emplace_back();
            runs.observations.back().aliases = {"F" + std::to_string(row),
                                                "Batch " + std::to_string(batch + 1)};
            runs.values(row, 1) = static_cast<float>(24 * batch + hour);
            runs.values(row, 2) = 6.5F - 0.05F * static_cast<float>(hour);
            runs.values(row, 3) =
                40.0F - (3.0F + 0.25F * static_cast<float>(batch)) * static_cast<float>(hour);
            runs.values(row, 4) = hour > 8 ? 1.0F : 0.0F;
        }
    }
    runs.values(5, 2) = VariableInfo::MissingValue;
    project.dataSets = {};
    project.dataSets.push_back(runs);
    project.dataSets.push_back(SmallDataSet(2, "Yield", {NamedVariable("Ethanol g/l")},
                                            {"Batch 1", "Batch 2", "Batch 3"}, {{18.2F}, {17.9F}, {19.1F}}));
    return project;
}
