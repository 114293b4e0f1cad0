#include "host/project/NCProject.h"

#include <algorithm>

#include "host/project/NvStreamSource.h"
#include "host/project/ProjectVersion.h"
#include "host/project/UStreamBase.h"

bool NCProject::Init(NvStreamSource* streamSource, bool /*readOnly*/, const Conversion& convert) {
    source = streamSource;
    const auto versionStream = source->OpenStream(ProjectVersion::GetVersionInfoStreamName());
    const auto stream = source->OpenStream(ProjectCatalogue::StreamName);
    if (versionStream == nullptr || stream == nullptr) {
        return false;
    }
    ProjectVersion projectVersion;
    *versionStream >> projectVersion;
    version = projectVersion.number;
    if ((version != ProjectVersion::Current && version != ProjectVersion::Previous) ||
        !ReadCatalogue(*stream, catalogue)) {
        return false;
    }
    needsConversion = version == ProjectVersion::Previous;
    if (needsConversion && convert) {
        convert(*this);
    }
    return !needsConversion;
}

const ProjectCatalogue::Entry* NCProject::FindEntry(int id) const {
    const auto& entries = catalogue.dataSets;
    const auto entry =
        std::find_if(entries.begin(), entries.end(),
                     [id](const ProjectCatalogue::Entry& candidate) { return candidate.id == id; });
    return entry == entries.end() || needsConversion ? nullptr : &*entry;
}

std::shared_ptr<NCDataSet> NCProject::GetDataSet(int id) {
    const auto known = loaded.find(id);
    if (known != loaded.end()) {
        return known->second;
    }
    const ProjectCatalogue::Entry* const entry = FindEntry(id);
    if (entry == nullptr) {
        return nullptr;
    }
    const bool isPrevious = version == ProjectVersion::Previous;
    auto dataSet = LoadDataSet(*entry, isPrevious ? ValueOrder::ByVariable : ValueOrder::ByObservation);
    if (isPrevious) {
        // What was converted is kept; to read another dataset again costs no more than the first time.
        loaded[id] = dataSet;
    }
    return dataSet;
}

std::shared_ptr<NCDataSet> NCProject::LoadDataSet(const ProjectCatalogue::Entry& entry,
                                                  ValueOrder order) const {
    const auto stream = source->OpenStream(DataSetStreamName(entry.id));
    DataSetContents contents;
    contents.id = entry.id;
    contents.name = entry.name;
    if (stream == nullptr || !ReadDataSet(*stream, order, contents)) {
        return nullptr;
    }
    return std::make_shared<NCDataSet>(*this, std::move(contents));
}

std::shared_ptr<NCDataSet> NCProject::GetDataSetHead(int id) {
    // The layout of before has its values by variable.
    if (version == ProjectVersion::Previous) {
        return GetDataSet(id);
    }
    const ProjectCatalogue::Entry* const entry = FindEntry(id);
    const auto stream = entry == nullptr ? nullptr : source->OpenStream(DataSetStreamName(id));
    DataSetContents contents;
    if (stream == nullptr || !ReadDataSetHead(*stream, contents)) {
        return nullptr;
    }
    contents.id = id;
    contents.name = entry->name;
    return std::make_shared<NCDataSet>(*this, std::move(contents));
}

bool NCProject::ReadRows(const NCDataSet& dataSet, const UseRow& use) const {
    const NCDataMatrix<float>& values = dataSet.GetData(false, nullptr);
    if (values.GetNumberOfRows() == 0) {
        const auto stream = source->OpenStream(DataSetStreamName(dataSet.GetContents().id));
        DataSetContents head;
        return stream != nullptr && ReadDataSetHead(*stream, head) &&
               head.variables.size() == dataSet.GetContents().variables.size() &&
               head.observations.size() == dataSet.GetContents().observations.size() &&
               ReadDataSetRows(*stream, head, use);
    }
    std::vector<float> row(static_cast<std::size_t>(dataSet.SizeVariables()));
    for (int observation = 1; observation <= dataSet.SizeObservations(); ++observation) {
        for (int variable = 1; variable <= dataSet.SizeVariables(); ++variable) {
            row[static_cast<std::size_t>(variable) - 1] = values(observation, variable);
        }
        use(observation, row);
    }
    return true;
}
