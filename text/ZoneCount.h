#pragma once

#include <cstdint>

/** Times with a zone, and the record that has the first one. */
struct ZoneCount {
    std::uint64_t count = 0;
    const char* first = nullptr;

    void Add(const char* record) { first = count++ == 0 ? record : first; }
};
