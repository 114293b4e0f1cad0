#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/project/AliasAccess.h"
#include "host/project/NCDataSet.h"
#include "host/project/ProjectVersion.h"

/** A whole project, to be written. */
struct ProjectContents {
    AliasTables aliasTables;
    std::vector<DataSetContents> dataSets;
};

/** How it is written. */
struct ProjectWriteOptions {
    /** 6 or 5; up to 4 the layout of old, which keeps names and values only, and 0 that without a version. */
    int version = ProjectVersion::Current;
    /** Not empty: the streams are sealed. */
    std::string password = {};
};

/** Writes a project's file; an older one stays when that fails. */
bool WriteProject(const std::string& path, const ProjectContents& contents,
                  const ProjectWriteOptions& options = {});

/** Writes a compound file of these streams, names and bytes, as they are. */
bool WriteProjectStreams(const std::string& path,
                         const std::vector<std::pair<std::string, std::string>>& streams);
