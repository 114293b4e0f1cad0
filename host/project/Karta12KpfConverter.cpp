#include "host/project/Karta12KpfConverter.h"

#include <algorithm>
#include <utility>

#include "host/project/NCProgress.h"

Karta12KpfConverter::Karta12KpfConverter(NCProject& projectToConvert,
                                         std::vector<std::shared_ptr<NCProject>> related)
    : project(projectToConvert), others(std::move(related)) {}

bool Karta12KpfConverter::Execute(NCProgress& progress, bool /*keepOriginals*/) {
    int steps = project.SizeDataSets();
    for (const auto& other : others) {
        steps += other->SizeDataSets();
    }
    progress.SetMaximum(steps);
    return Convert(project, progress) && std::all_of(others.begin(), others.end(), [&](const auto& other) {
               return Convert(*other, progress);
           });
}

// The datasets themselves are converted as they are asked for: a project may list thousands, of which one is
// read.
bool Karta12KpfConverter::Convert(NCProject& project, NCProgress& progress) {
    for (int position = 1; position <= project.SizeDataSets(); ++position) {
        if (!progress.Step()) {
            return false;
        }
    }
    project.EndConversion();
    return true;
}
