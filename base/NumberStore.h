#pragma once

#include <cstddef>
#include <memory>
#include <mutex>

#include "base/NumberRoom.h"
#include "base/StoredNumbers.h"

namespace karta {

/**
 * Keeps many arrays of numbers that live long, small ones one behind the other in large blocks: no allocation
 * an array, and the memory goes back to the system while they are let go of in the order in which they came.
 * Any thread may use it.
 */
class NumberStore {
public:
    NumberStore() = default;
    NumberStore(const NumberStore&) = delete;
    NumberStore& operator=(const NumberStore&) = delete;

    /**
     * The numbers times the factor. Those of a small room are copied; a large one is taken, and left empty.
     * What is kept may outlive the store.
     */
    StoredNumbers Keep(NumberRoom& room, double factor);

private:
    double* Take(std::size_t count, std::shared_ptr<void>& memory);

    std::mutex mutex;
    std::shared_ptr<void> block;
    double* next = nullptr;
    std::size_t remaining = 0;
    std::size_t blockBytes = 0;
};

}  // namespace karta
