#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <span>
#include <utility>

namespace karta {

/** Numbers that come one after the other, nobody knows how many: they grow without a copy. */
class NumberRoom {
public:
    NumberRoom() = default;
    NumberRoom(NumberRoom&& other) noexcept { swap(other); }
    NumberRoom& operator=(NumberRoom&& other) noexcept {
        swap(other);
        return *this;
    }
    ~NumberRoom();

    std::size_t size() const { return count; }
    bool empty() const { return count == 0; }
    std::span<const double> Get() const { return {numbers, count}; }

    void Add(double number) {
        if (count == capacity) {
            Grow(1);
        }
        numbers[count++] = number;
    }
    void Add(std::span<const double> more) {
        if (more.size() > capacity - count) {
            Grow(more.size());
        }
        std::copy(more.begin(), more.end(), numbers + count);
        count += more.size();
    }
    /** Room for so many more, of which Extend then says how many are there. */
    std::span<double> GetFree(std::size_t more) {
        if (more > capacity - count) {
            Grow(more);
        }
        return {numbers + count, more};
    }
    void Extend(std::size_t more) { count += more; }
    /** The room stays for the next ones. */
    void Clear() { count = 0; }

private:
    friend class NumberStore;

    void swap(NumberRoom& other) noexcept {
        std::swap(numbers, other.numbers);
        std::swap(count, other.count);
        std::swap(capacity, other.capacity);
    }
    void Grow(std::size_t more);

    double* numbers = nullptr;
    std::size_t count = 0;
    std::size_t capacity = 0;
};

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
