#pragma once

#include <map>
#include <string>

#include "base/Export.h"

namespace karta {

/** Makes names that may come again unlike each other, for objects whose keys must be: "skipped", "skipped
 * (2)". */
class KARTA_EXPORT UniqueNames {
public:
    /** The name itself the first time, then with a number. */
    std::string Take(const std::string& name);

private:
    std::map<std::string, int> numbers;  // that each name taken gets the next time
};

}  // namespace karta
