#include "base/TextBuffer.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t LeastRoom = 256;

}  // namespace

void TextBuffer::Grow(std::size_t bytes) {
    const std::size_t wanted = std::max({size + bytes + 1, 2 * capacity, LeastRoom});
    std::unique_ptr<char[]> larger(new char[wanted]);
    std::copy_n(memory.get(), size, larger.get());
    memory = std::move(larger);
    capacity = wanted;
}
