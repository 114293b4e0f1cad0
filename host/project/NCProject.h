#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "base/Export.h"
#include "host/project/NCDataSet.h"
#include "host/project/ProjectLayout.h"

class NvStreamSource;

/** A project: datasets by their ids, and the tables of ids that they share. */
class KARTA_EXPORT NCProject {
public:
    using Conversion = std::function<void(NCProject&)>;

    static std::shared_ptr<NCProject> Create() { return std::make_shared<NCProject>(); }

    /**
     * Loads the project from the source, which must outlive it. A project of the previous format is given to
     * `convert`, which is to convert it; it doesn't load when it isn't converted then. False for what is no
     * project, or of a version that isn't known.
     */
    bool Init(NvStreamSource* streamSource, bool readOnly, const Conversion& convert);

    int SizeDataSets() const { return static_cast<int>(catalogue.dataSets.size()); }
    /** By position, from 1, which must be there. */
    int GetDataSetId(int position) const { return EntryAt(position).id; }
    const std::string& GetDataSetName(int position) const { return EntryAt(position).name; }

    /** Null when there is no dataset of this id or it can't be read. */
    std::shared_ptr<NCDataSet> GetDataSet(int id);
    /** The same, but perhaps without its values, which ReadRows then hands out without keeping them. */
    std::shared_ptr<NCDataSet> GetDataSetHead(int id);
    /** Each row of a dataset of this project to `use`, in order; false where not all can be read. */
    bool ReadRows(const NCDataSet& dataSet, const UseRow& use) const;

    const AliasTables& GetAliasTables() const { return catalogue.aliasTables; }
    int GetVersion() const { return version; }

    /** Whether datasets of the previous format are left. */
    bool NeedsConversion() const { return needsConversion; }
    /** The datasets of the previous format may be asked for now: each is converted when it is, once. */
    void EndConversion() { needsConversion = false; }

private:
    const ProjectCatalogue::Entry& EntryAt(int position) const {
        return catalogue.dataSets[static_cast<std::size_t>(position) - 1];
    }
    const ProjectCatalogue::Entry* FindEntry(int id) const;
    std::shared_ptr<NCDataSet> LoadDataSet(const ProjectCatalogue::Entry& entry, ValueOrder order) const;

    NvStreamSource* source = nullptr;
    int version = 0;
    bool needsConversion = false;
    ProjectCatalogue catalogue;
    std::map<int, std::shared_ptr<NCDataSet>> loaded;
};
