#include "host/project/ProjectLayout.h"

#include <algorithm>
#include <bit>

#include "host/project/UStreamBase.h"

namespace {

// Marks of a variable.
constexpr std::uint8_t MarkYesNo = 1;
constexpr std::uint8_t MarkDateTime = 2;

// The least bytes of an element bound how many of them a stream can hold.
constexpr std::size_t SmallestText = 4;
constexpr std::size_t SmallestVariable = 2;
constexpr std::size_t SmallestCatalogueEntry = 8;

template <class Number>
void Put(std::string& bytes, Number value) {
    const auto wide = static_cast<std::uint64_t>(value);
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        bytes += static_cast<char>((wide >> (8 * i)) & 0xFF);
    }
}

void Put(std::string& bytes, const std::string& text) {
    Put(bytes, static_cast<std::uint32_t>(text.size()));
    bytes += text;
}

void Put(std::string& bytes, float value) {
    Put(bytes, std::bit_cast<std::uint32_t>(value));
}

void Put(std::string& bytes, double value) {
    Put(bytes, std::bit_cast<std::uint64_t>(value));
}

// A count of elements that are still to come.
bool ReadCount(UStreamBase& stream, std::size_t smallestElement, std::uint32_t& count) {
    count = stream.ReadNumber<std::uint32_t>();
    return !stream.HasFailed() && count <= stream.GetRemaining() / smallestElement;
}

void PutIds(std::string& bytes, const std::vector<int>& ids) {
    Put(bytes, static_cast<std::uint32_t>(ids.size()));
    for (const int id : ids) {
        Put(bytes, id);
    }
}

bool ReadIds(UStreamBase& stream, std::vector<int>& ids) {
    std::uint32_t count = 0;
    if (!ReadCount(stream, sizeof(std::int32_t), count)) {
        return false;
    }
    stream.Keep(std::uint64_t{count} * sizeof(int));
    ids.resize(count);
    for (int& id : ids) {
        id = stream.ReadNumber<std::int32_t>();
    }
    return !stream.HasFailed();
}

// As many texts as there are ids; one that is missing is written as empty.
void PutAliases(std::string& bytes, const VarObsInfo& info, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        Put(bytes, i < info.aliases.size() ? info.aliases[i] : std::string());
    }
}

bool ReadAliases(UStreamBase& stream, VarObsInfo& info, std::size_t count) {
    stream.Keep(count * sizeof(std::string));
    info.aliases.resize(count);
    for (std::string& alias : info.aliases) {
        alias = stream.ReadText();
    }
    return !stream.HasFailed();
}

void PutVariable(std::string& bytes, const VariableInfo& variable, std::size_t aliasCount) {
    const auto* dateTime = dynamic_cast<const DateTimeVariableInfo*>(&variable);
    Put(bytes, static_cast<std::uint8_t>(variable.kind));
    Put(bytes, static_cast<std::uint8_t>((variable.yesNo ? MarkYesNo : 0) |
                                         (dateTime != nullptr ? MarkDateTime : 0)));
    if (dateTime != nullptr) {
        Put(bytes, dateTime->dateFormat);
        Put(bytes, dateTime->timeFormat);
        Put(bytes, dateTime->origin);
        Put(bytes, dateTime->unit);
        Put(bytes, dateTime->resolution);
    }
    PutAliases(bytes, variable, aliasCount);
}

std::shared_ptr<VariableInfo> ReadVariable(UStreamBase& stream, std::size_t aliasCount) {
    const int kind = stream.ReadNumber<std::uint8_t>();
    const auto marks = stream.ReadNumber<std::uint8_t>();
    std::shared_ptr<VariableInfo> variable;
    stream.Keep(sizeof(DateTimeVariableInfo));
    if ((marks & MarkDateTime) != 0) {
        auto dateTime = std::make_shared<DateTimeVariableInfo>();
        dateTime->dateFormat = stream.ReadText();
        dateTime->timeFormat = stream.ReadText();
        dateTime->origin = stream.ReadNumber<std::int32_t>();
        dateTime->unit = stream.ReadNumber<std::int32_t>();
        dateTime->resolution = stream.ReadNumber<std::int32_t>();
        variable = dateTime;
    } else {
        variable = std::make_shared<VariableInfo>();
    }
    variable->kind = kind;
    variable->yesNo = (marks & MarkYesNo) != 0;
    return ReadAliases(stream, *variable, aliasCount) ? variable : nullptr;
}

// False where the values couldn't be there.
bool MayHaveMatrix(const UStreamBase& stream, std::size_t valueSize, const DataSetContents& dataSet) {
    const std::uint64_t rows = dataSet.observations.size();
    return rows == 0 || dataSet.variables.size() <= stream.GetRemaining() / valueSize / rows;
}

// A matrix of the dataset's size with every value missing. False where the values couldn't be there.
bool MakeMatrix(UStreamBase& stream, std::size_t valueSize, DataSetContents& dataSet) {
    const std::uint64_t rows = dataSet.observations.size();
    const std::uint64_t cols = dataSet.variables.size();
    if (!MayHaveMatrix(stream, valueSize, dataSet)) {
        return false;
    }
    stream.Keep(rows * (sizeof(std::vector<float>) + cols * sizeof(float)));
    dataSet.values.InsertRows(1, static_cast<int>(rows));
    dataSet.values.InsertColumns(1, static_cast<int>(cols));
    return true;
}

// Values variable by variable, NaN missing; of doubles those that a float can't hold become infinities.
template <class Value>
bool ReadByVariable(UStreamBase& stream, NCDataMatrix<float>& values) {
    std::vector<std::uint8_t> raw(static_cast<std::size_t>(values.GetNumberOfRows()) * sizeof(Value));
    for (int col = 1; col <= values.GetNumberOfColumns(); ++col) {
        stream.Keep(0);
        if (!stream.Read(raw.data(), raw.size())) {
            return false;
        }
        ByteCursor cursor(raw);
        for (int row = 1; row <= values.GetNumberOfRows(); ++row) {
            values(row, col) = static_cast<float>(cursor.Read<Value>());
        }
    }
    return true;
}

bool ReadByObservation(UStreamBase& stream, NCDataMatrix<float>& values) {
    std::vector<std::uint8_t> raw(static_cast<std::size_t>(values.GetNumberOfColumns()) * sizeof(float));
    for (int row = 1; row <= values.GetNumberOfRows(); ++row) {
        stream.Keep(0);
        if (!stream.Read(raw.data(), raw.size())) {
            return false;
        }
        ByteCursor cursor(raw);
        for (int col = 1; col <= values.GetNumberOfColumns(); ++col) {
            values(row, col) = cursor.Read<float>();
        }
    }
    return true;
}

template <class Value>
void PutByVariable(std::string& bytes, const NCDataMatrix<float>& values) {
    for (int col = 1; col <= values.GetNumberOfColumns(); ++col) {
        for (int row = 1; row <= values.GetNumberOfRows(); ++row) {
            Put(bytes, static_cast<Value>(values(row, col)));
        }
    }
}

void PutByObservation(std::string& bytes, const NCDataMatrix<float>& values) {
    for (int row = 1; row <= values.GetNumberOfRows(); ++row) {
        for (int col = 1; col <= values.GetNumberOfColumns(); ++col) {
            Put(bytes, values(row, col));
        }
    }
}

bool ReadOldDataSet(UStreamBase& stream, DataSetContents& dataSet) {
    dataSet.memory = stream.GetKept();
    dataSet.name = stream.ReadText();
    dataSet.observationIds = {1};
    dataSet.variableIds = {1};
    std::uint32_t count = 0;
    if (!ReadCount(stream, SmallestText, count)) {
        return false;
    }
    for (std::uint32_t i = 0; i < count && !stream.HasFailed(); ++i) {
        stream.Keep(sizeof(VariableInfo) + sizeof(std::string));
        auto variable = std::make_shared<VariableInfo>();
        variable->aliases.push_back(stream.ReadText());
        dataSet.variables.push_back(variable);
    }
    if (!ReadCount(stream, SmallestText, count)) {
        return false;
    }
    for (std::uint32_t i = 0; i < count && !stream.HasFailed(); ++i) {
        stream.Keep(sizeof(VarObsInfo) + sizeof(std::string));
        VarObsInfo observation;
        observation.aliases.push_back(stream.ReadText());
        dataSet.observations.push_back(observation);
    }
    return !stream.HasFailed() && MakeMatrix(stream, sizeof(double), dataSet) &&
           ReadByVariable<double>(stream, dataSet.values);
}

}  // namespace

std::string WriteCatalogue(const ProjectCatalogue& catalogue) {
    std::string bytes;
    Put(bytes, static_cast<std::uint32_t>(catalogue.dataSets.size()));
    for (const ProjectCatalogue::Entry& entry : catalogue.dataSets) {
        Put(bytes, entry.id);
        Put(bytes, entry.name);
    }
    Put(bytes, static_cast<std::uint32_t>(catalogue.aliasTables.size()));
    for (const AliasTable& table : catalogue.aliasTables) {
        Put(bytes, table.kind);
        Put(bytes, table.name);
    }
    return bytes;
}

bool ReadCatalogue(UStreamBase& stream, ProjectCatalogue& catalogue) {
    catalogue.memory = stream.GetKept();
    std::uint32_t count = 0;
    if (!ReadCount(stream, SmallestCatalogueEntry, count)) {
        return false;
    }
    for (std::uint32_t i = 0; i < count && !stream.HasFailed(); ++i) {
        ProjectCatalogue::Entry entry;
        stream.Keep(sizeof entry);
        entry.id = stream.ReadNumber<std::int32_t>();
        entry.name = stream.ReadText();
        catalogue.dataSets.push_back(entry);
    }
    if (!ReadCount(stream, SmallestCatalogueEntry, count)) {
        return false;
    }
    for (std::uint32_t i = 0; i < count && !stream.HasFailed(); ++i) {
        AliasTable table;
        stream.Keep(sizeof table);
        table.kind = stream.ReadNumber<std::int32_t>();
        table.name = stream.ReadText();
        catalogue.aliasTables.push_back(table);
    }
    return !stream.HasFailed();
}

std::string DataSetStreamName(int id) {
    return "DataSet " + std::to_string(id);
}

std::string WriteDataSet(const DataSetContents& dataSet, ValueOrder order) {
    std::string bytes;
    Put(bytes, dataSet.flags);
    PutIds(bytes, dataSet.observationIds);
    PutIds(bytes, dataSet.variableIds);
    Put(bytes, static_cast<std::uint32_t>(dataSet.variables.size()));
    for (const auto& variable : dataSet.variables) {
        PutVariable(bytes, *variable, dataSet.variableIds.size());
    }
    Put(bytes, static_cast<std::uint32_t>(dataSet.observations.size()));
    for (const VarObsInfo& observation : dataSet.observations) {
        PutAliases(bytes, observation, dataSet.observationIds.size());
    }
    if (order == ValueOrder::ByVariable) {
        PutByVariable<float>(bytes, dataSet.values);
    } else {
        PutByObservation(bytes, dataSet.values);
    }
    return bytes;
}

bool ReadDataSetHead(UStreamBase& stream, DataSetContents& dataSet) {
    dataSet.memory = stream.GetKept();
    dataSet.flags = stream.ReadNumber<std::uint32_t>();
    std::uint32_t count = 0;
    if (!ReadIds(stream, dataSet.observationIds) || !ReadIds(stream, dataSet.variableIds) ||
        !ReadCount(stream, SmallestVariable + SmallestText * dataSet.variableIds.size(), count)) {
        return false;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        dataSet.variables.push_back(ReadVariable(stream, dataSet.variableIds.size()));
        if (dataSet.variables.back() == nullptr) {
            return false;
        }
    }
    // Observations without ids take no bytes here, only in the matrix.
    const std::size_t smallest =
        SmallestText * dataSet.observationIds.size() + sizeof(float) * dataSet.variables.size();
    if (!ReadCount(stream, std::max<std::size_t>(smallest, 1), count)) {
        return false;
    }
    stream.Keep(std::uint64_t{count} * sizeof(VarObsInfo));
    dataSet.observations.resize(count);
    for (VarObsInfo& observation : dataSet.observations) {
        if (!ReadAliases(stream, observation, dataSet.observationIds.size())) {
            return false;
        }
    }
    return MayHaveMatrix(stream, sizeof(float), dataSet);
}

bool ReadDataSetRows(UStreamBase& stream, const DataSetContents& dataSet, const UseRow& use) {
    std::vector<std::uint8_t> raw(dataSet.variables.size() * sizeof(float));
    std::vector<float> row(dataSet.variables.size());
    for (std::size_t i = 0; i < dataSet.observations.size(); ++i) {
        stream.Pass(raw.size());
        if (!stream.Read(raw.data(), raw.size())) {
            return false;
        }
        ByteCursor cursor(raw);
        for (float& value : row) {
            value = cursor.Read<float>();
        }
        use(static_cast<int>(i) + 1, row);
    }
    return true;
}

bool ReadDataSet(UStreamBase& stream, ValueOrder order, DataSetContents& dataSet) {
    if (!ReadDataSetHead(stream, dataSet) || !MakeMatrix(stream, sizeof(float), dataSet)) {
        return false;
    }
    return order == ValueOrder::ByVariable ? ReadByVariable<float>(stream, dataSet.values)
                                           : ReadByObservation(stream, dataSet.values);
}

std::string WriteOldDataSets(const std::vector<DataSetContents>& dataSets) {
    std::string bytes;
    Put(bytes, static_cast<std::uint32_t>(dataSets.size()));
    for (const DataSetContents& dataSet : dataSets) {
        Put(bytes, dataSet.name);
        Put(bytes, static_cast<std::uint32_t>(dataSet.variables.size()));
        for (const auto& variable : dataSet.variables) {
            Put(bytes, variable->GetPrimaryAlias());
        }
        Put(bytes, static_cast<std::uint32_t>(dataSet.observations.size()));
        for (const VarObsInfo& observation : dataSet.observations) {
            Put(bytes, observation.GetPrimaryAlias());
        }
        PutByVariable<double>(bytes, dataSet.values);
    }
    return bytes;
}

bool ReadOldDataSets(UStreamBase& stream, std::vector<DataSetContents>& dataSets) {
    std::uint32_t count = 0;
    if (!ReadCount(stream, 3 * sizeof(std::uint32_t), count)) {
        return false;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        DataSetContents dataSet;
        dataSet.id = static_cast<int>(i) + 1;
        if (!ReadOldDataSet(stream, dataSet)) {
            return false;
        }
        dataSets.push_back(std::move(dataSet));
    }
    return true;
}
