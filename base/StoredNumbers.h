#pragma once

#include <cstddef>
#include <memory>
#include <span>

namespace karta {

/** An array of numbers, which may share its memory with others of a NumberStore. Copies share the numbers. */
class StoredNumbers {
public:
    StoredNumbers() = default;

    /** Also of those that were let go of. */
    std::size_t size() const { return count; }
    /** Not of those that were let go of. */
    double operator[](std::size_t place) const { return numbers[place]; }
    std::span<const double> Get() const { return {numbers, count}; }

    /** The numbers are needed no more: the memory goes when all that share it have left it. */
    void LetGo() {
        memory.reset();
        numbers = nullptr;
    }
    bool IsGone() const { return numbers == nullptr && count > 0; }

private:
    friend class NumberStore;

    std::shared_ptr<void> memory;
    const double* numbers = nullptr;
    std::size_t count = 0;
};

}  // namespace karta
