#pragma once

#include <optional>
#include <string>

namespace karta {

/** Something that a file tells of itself. */
struct Fact {
    std::string name;             /**< "spacing" */
    std::string text;             /**< for people; a number with its unit: "1.928 cm-1"; dates by ISO 8601 */
    std::optional<double> number; /**< where the fact is a number */
    std::string unit;             /**< of the number, "cm-1"; may be empty */
};

}  // namespace karta
