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
                                            {"Red", "White"}, {{3.5F, 0.1F}, {-99.0F, 1e-7F}}));
    return project;
}
