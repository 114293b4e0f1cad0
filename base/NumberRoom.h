#pragma once

#include <algorithm>
#include <cstddef>
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

}  // namespace karta
