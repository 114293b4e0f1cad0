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
    const auto known = converted.find(id);
    if (known != converted.end()) {
        return known->second;
    }
    const auto& entries = catalogue.dataSets;
    const auto entry =
        std::find_if(entries.begin(), entries.end(),
                     [id](const ProjectCatalogue::Entry& candidate) { return candidate.id == id; });
    if (entry == entries.end() || version == ProjectVersion::Previous) {
        return nullptr;
    }
    return LoadDataSet(*entry, ValueOrder::ByObservation);
}

bool NCProject::ConvertDataSet(int position) {
    const ProjectCatalogue::Entry& entry = EntryAt(position);
    auto dataSet = LoadDataSet(entry, ValueOrder::ByVariable);
    if (dataSet == nullptr) {
        return false;
    }
    converted[entry.id] = std::move(dataSet);
    return true;
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
