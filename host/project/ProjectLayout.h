#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/project/AliasAccess.h"
#include "host/project/NCDataSet.h"

class UStreamBase;

// The bytes of a project's streams, read and written beside each other. Numbers are little-endian; a text is
// its length as 32 bits and its bytes, UTF-8; a list is its length as 32 bits and its elements. Reading is
// false for a stream that is cut or tells what it can't hold.

/** The stream of the catalogue: what datasets there are, and the tables of ids. */
struct ProjectCatalogue {
    static constexpr const char* StreamName = "Project";

    struct Entry {
        int id = 0;
        std::string name;
    };
    std::vector<Entry> dataSets;
    AliasTables aliasTables;
    std::shared_ptr<MemoryShare> memory; /**< that it is charged with; may be null */
};
std::string WriteCatalogue(const ProjectCatalogue& catalogue);
bool ReadCatalogue(UStreamBase& stream, ProjectCatalogue& catalogue);

/** The stream of a dataset in the layouts of today and before. */
std::string DataSetStreamName(int id);
/** Values observation by observation, or, in the previous layout, variable by variable; NaN is missing. */
enum class ValueOrder { ByObservation, ByVariable };
std::string WriteDataSet(const DataSetContents& dataSet, ValueOrder order);
bool ReadDataSet(UStreamBase& stream, ValueOrder order, DataSetContents& dataSet);
/** All but the values, which stand behind it. */
bool ReadDataSetHead(UStreamBase& stream, DataSetContents& dataSet);
/** The values behind a dataset's head, by observation: each row to `use`, with its number from 1. */
using UseRow = std::function<void(int observation, std::span<const float> values)>;
bool ReadDataSetRows(UStreamBase& stream, const DataSetContents& dataSet, const UseRow& use);

/** The one stream of the layouts of old: names and doubles, variable by variable, NaN missing. */
constexpr const char* OldStreamName = "Datasets";
std::string WriteOldDataSets(const std::vector<DataSetContents>& dataSets);
bool ReadOldDataSets(UStreamBase& stream, std::vector<DataSetContents>& dataSets);
