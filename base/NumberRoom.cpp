#include "base/NumberRoom.h"

#include <new>

#include "base/PageMemory.h"

namespace karta {

namespace {

constexpr std::size_t SmallestRoom = std::size_t{1} << 16;
constexpr std::size_t MostNumbers = ~std::size_t{0} / sizeof(double) / 4;

}  // namespace

NumberRoom::~NumberRoom() {
    if (numbers != nullptr) {
        UnmapPages(numbers, capacity * sizeof(double));
    }
}

void NumberRoom::Grow(std::size_t more) {
    if (more > MostNumbers - count) {
        throw std::bad_alloc();
    }
    const std::size_t wanted = std::max({count + more, 2 * capacity, SmallestRoom / sizeof(double)});
    const std::size_t bytes = wanted * sizeof(double);
    void* const pages =
        numbers == nullptr ? MapPages(bytes) : ResizePages(numbers, capacity * sizeof(double), bytes);
    numbers = static_cast<double*>(pages);
    capacity = wanted;
    WishForHugePages(numbers, bytes);
}

}  // namespace karta
