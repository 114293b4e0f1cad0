#include "base/UniqueNames.h"

namespace karta {

std::string UniqueNames::Take(const std::string& name) {
    const auto [known, isNew] = numbers.try_emplace(name, 2);
    std::string unique = name;
    for (bool isUnique = isNew; !isUnique; isUnique = numbers.try_emplace(unique, 2).second) {
        unique = name + " (" + std::to_string(known->second++) + ")";
    }
    return unique;
}

}  // namespace karta
