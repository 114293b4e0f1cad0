#pragma once

#include <atomic>
#include <cstddef>

#include "karta/Buffer.h"

namespace karta {

/** Memory that several buffers lie in; the last owner frees it. */
struct SharedBlock {
    Buffer memory;
    std::atomic<std::size_t> owners = 1;

    void Own() { owners.fetch_add(1, std::memory_order_relaxed); }
    void Release() {
        if (owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete this;
        }
    }
};

}  // namespace karta
