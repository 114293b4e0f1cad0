#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace karta {

/** Where in a file something is; what isn't known is empty. All count from 1 but bytes, which count from 0.
 */
struct Place {
    std::optional<std::uint64_t> line = {};
    std::optional<std::uint64_t> record = {};
    std::optional<std::uint64_t> byte = {};
    std::string cell = {}; /**< "B7", of a damaged sheet the last one that was read: "Results!B7" */
    std::string part = {}; /**< of a file of parts, by the name that it has there: "xl/workbook.xml" */
};

}  // namespace karta
