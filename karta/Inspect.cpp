#include "karta/Inspect.h"

#include "karta/internal/Selection.h"

namespace karta {

Inspection Inspect(const std::string& path, const ReadOptions& options) {
    return Inspect(std::vector{path}, options);
}

Inspection Inspect(const std::vector<std::string>& paths, const ReadOptions& options) {
    return Selection(paths, options, LoadFormats(options.plugins)).Inspect();
}

}  // namespace karta
