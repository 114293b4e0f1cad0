#include "base/UniqueNames.h"

namespace karta {

std::string UniqueNames::Take(const std::string& name) {
    std::string unique = name;
    for (int number = 2; !taken.insert(unique).second; ++number) {
        unique = name + " (" + std::to_string(number) + ")";
    }
    return unique;
}

}  // namespace karta
