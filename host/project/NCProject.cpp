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

std::shared_ptr<NCDataSet> NCProject::GetDataSet(int id) {
    const auto known = loaded.find(id);
    if (known != loaded.end()) {
        return known->second;
    }
    const auto& entries = catalogue.dataSets;
    const auto entry =
        std::find_if(entries.begin(), entries.end(),
                     [id](const ProjectCatalogue::Entry& candidate) { return candidate.id == id; });
    if (entry == entries.end() || needsConversion) {
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
