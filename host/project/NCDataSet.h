#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Export.h"
#include "base/MemoryShare.h"
#include "host/NCDataMatrix.h"
#include "host/project/VarObsInfo.h"

class NCProject;

/** All that a dataset is made of. */
struct DataSetContents {
    int id = 0;
    std::string name;
    std::uint32_t flags = 0;
    std::vector<int> observationIds; /**< numbers of the project's alias tables, from 1 */
    std::vector<int> variableIds;
    std::vector<std::shared_ptr<VariableInfo>> variables;
    std::vector<VarObsInfo> observations;
    NCDataMatrix<float> values;          /**< a row an observation */
    std::shared_ptr<MemoryShare> memory; /**< that it is charged with; may be null */
};

/** One dataset of a project: a matrix whose rows are observations and whose columns are variables. */
class KARTA_EXPORT NCDataSet {
public:
    /** The mark of the datasets whose first kinds of variables get a role of their own. */
    static constexpr std::uint32_t FlagMarkedVariables = 0x20;

    NCDataSet(const NCProject& owner, DataSetContents all) : project(&owner), contents(std::move(all)) {}

    int SizeObservations() const { return static_cast<int>(contents.observations.size()); }
    int SizeVariables() const { return static_cast<int>(contents.variables.size()); }
    const std::vector<int>& GetObservationIds() const { return contents.observationIds; }
    const std::vector<int>& GetVariableIds() const { return contents.variableIds; }
    /** By their numbers, from 1, which must be there. */
    const VarObsInfo& GetObservationInfo(int number) const {
        return contents.observations[static_cast<std::size_t>(number) - 1];
    }
    const VariableInfo& GetVariableInfo(int number) const {
        return *contents.variables[static_cast<std::size_t>(number) - 1];
    }
    /** The whole matrix; nothing is scaled and no part is chosen. Without rows where only the head was read.
     */
    const NCDataMatrix<float>& GetData(bool /*scaled*/, const std::vector<int>* /*selection*/) const {
        return contents.values;
    }
    std::uint32_t GetFlags() const { return contents.flags; }
    const std::string& GetName() const { return contents.name; }
    const DataSetContents& GetContents() const { return contents; }
    /** The project that it belongs to, which must outlive it. */
    const NCProject& GetProject() const { return *project; }

private:
    const NCProject* project;
    DataSetContents contents;
};
