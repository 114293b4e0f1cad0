#pragma once

#include <nanobind/nanobind.h>

#include <string>
#include <vector>

namespace karta::python {

/** Names of files are bytes to the system, and come as such. */
inline std::vector<std::string> PathsOf(const std::vector<nanobind::bytes>& names) {
    std::vector<std::string> paths;
    for (const nanobind::bytes& name : names) {
        paths.emplace_back(name.c_str(), name.size());
    }
    return paths;
}

}  // namespace karta::python
