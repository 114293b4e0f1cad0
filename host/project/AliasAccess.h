#pragma once

#include <string>
#include <vector>

#include "host/project/VarObsInfo.h"

/** One kind of id that a project's observations or variables have. */
struct AliasTable {
    enum Kind { KindPlain = 0, KindBatch = 1, KindPhase = 2 };
    std::string name;
    int kind = KindPlain;
};
using AliasTables = std::vector<AliasTable>;

/** The ids of a dataset's observations, or of its variables: rows or columns of texts beside the values. */
class AliasAccess {
public:
    /** The project's tables, and the numbers, from 1, of those that the dataset has. */
    AliasAccess(const AliasTables& /*tables*/, const std::vector<int>& datasetIds) : ids(datasetIds) {}

    int SizeAliases() const { return static_cast<int>(ids.size()); }
    /** The text of the id at a place, from 1; empty where the info has none. */
    const char* GetAlias(int place, const VarObsInfo& info) const {
        const auto index = static_cast<std::size_t>(place) - 1;
        return index < info.aliases.size() ? info.aliases[index].c_str() : "";
    }

private:
    std::vector<int> ids;
};

/** Which ids of a dataset tell the batch and the phase of an observation. */
class VarObs {
public:
    explicit VarObs(const AliasTables& projectTables) : tables(projectTables) {}

    /** The place in the list, from 1; 0 when none of them does. */
    int GetBatchID(const std::vector<int>& ids) const { return PlaceOf(AliasTable::KindBatch, ids); }
    int GetPhaseID(const std::vector<int>& ids) const { return PlaceOf(AliasTable::KindPhase, ids); }

private:
    int PlaceOf(int kind, const std::vector<int>& ids) const {
        for (std::size_t i = 0; i < ids.size(); ++i) {
            const auto table = static_cast<std::size_t>(ids[i]) - 1;
            if (table < tables.size() && tables[table].kind == kind) {
                return static_cast<int>(i) + 1;
            }
        }
        return 0;
    }

    const AliasTables& tables;
};

/** What a project knows of its batches. */
struct BatchInfo {
    /** The variable that is made for the time within a batch. */
    static const char* GetGeneratedTimeVariableName() { return "$Time"; }
};
