#pragma once

#include <memory>
#include <vector>

#include "host/project/NCProject.h"

class NCProgress;

/** Converts a loaded project of the previous format in place; the file stays as it is. */
class Karta12KpfConverter {
public:
    /** `related` are projects to convert along with it. */
    Karta12KpfConverter(NCProject& projectToConvert, std::vector<std::shared_ptr<NCProject>> related);

    /** One step of progress a dataset. False when it was cancelled. */
    bool Execute(NCProgress& progress, bool keepOriginals);

private:
    static bool Convert(NCProject& project, NCProgress& progress);

    NCProject& project;
    std::vector<std::shared_ptr<NCProject>> others;
};
