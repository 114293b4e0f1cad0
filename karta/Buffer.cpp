#include "karta/Buffer.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "base/PageMemory.h"
#include "karta/internal/BlockPool.h"
#include "karta/internal/SharedBlock.h"

namespace karta {

namespace {

// From here on the system hands out pages by itself: they are zeros, cost nothing until they are written to,
// and grow without a copy.
constexpr std::size_t SmallestMapped = std::size_t{1} << 18;
constexpr std::size_t PageSize = 4096;
// Only a block of whole ones begins where one does.
constexpr std::size_t HugePageSize = std::size_t{1} << 21;

std::size_t RoundUp(std::size_t size, std::size_t unit) {
    if (size > ~std::size_t{0} - unit) {
        throw std::bad_alloc();
    }
    return (size + unit - 1) / unit * unit;
}

std::size_t RoundToPages(std::size_t size) {
    return RoundUp(size, size >= SmallestHuge ? HugePageSize : PageSize);
}

// Added to the address of an owner, which is even: that of a block with several buffers, and not the heap's.
constexpr std::size_t OfSharedBlock = 1;

void PutOwner(char* data, const char* owner) {
    std::memcpy(data - sizeof owner, static_cast<const void*>(&owner), sizeof owner);
}

// Aligned, with the block's own address right in front: what the C library aligns by itself costs several
// times as much, and of a wide table's columns each has a few.
void* AllocateAligned(std::size_t size) {
    char* const block = static_cast<char*>(std::malloc(size + Buffer::Alignment));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    const std::size_t beyond = reinterpret_cast<std::uintptr_t>(block) % Buffer::Alignment;
    char* const data = block + (Buffer::Alignment - beyond);
    PutOwner(data, block);
    return data;
}

void FreeAligned(void* data) {
    if (data == nullptr) {
        return;
    }
    char* owner = nullptr;
    std::memcpy(static_cast<void*>(&owner), static_cast<char*>(data) - sizeof owner, sizeof owner);
    if (reinterpret_cast<std::uintptr_t>(owner) % 2 == OfSharedBlock) {
        reinterpret_cast<SharedBlock*>(owner - OfSharedBlock)->Release();
    } else {
        std::free(owner);
    }
}

void* Map(std::size_t size) {
    void* const data = MapPages(size);
    WishForHugePages(data, size);
    return data;
}

}  // namespace

Buffer::Buffer(std::size_t newSize) {
    Resize(newSize);
}

Buffer::Buffer(SharedBlock& block, void* room, std::size_t roomSize) : data(room), size(roomSize) {
    block.Own();
    PutOwner(As<char>(), reinterpret_cast<const char*>(&block) + OfSharedBlock);
}

Buffer::Buffer(Buffer&& other) noexcept
    : data(std::exchange(other.data, nullptr)),
      size(std::exchange(other.size, 0)),
      mapped(std::exchange(other.mapped, 0)) {}

Buffer& Buffer::operator=(Buffer&& other) noexcept {
    if (this != &other) {
        Free();
        data = std::exchange(other.data, nullptr);
        size = std::exchange(other.size, 0);
        mapped = std::exchange(other.mapped, 0);
    }
    return *this;
}

Buffer::~Buffer() {
    Free();
}

void Buffer::Free() {
    if (mapped != 0) {
        BlockPool::GetShared().Give({data, mapped});
    } else {
        FreeAligned(data);
    }
}

// What was beyond the size may hold anything, what is mapped anew are zeros.
void Buffer::Resize(std::size_t newSize) {
    const std::size_t end = std::min(newSize, mapped);
    if (end > size && newSize >= SmallestMapped) {
        std::memset(As<char>() + size, 0, end - size);
    }
    Move(newSize, true);
}

void Buffer::ResizeUnset(std::size_t newSize) {
    Move(newSize, false);
}

void Buffer::Remap(std::size_t whole) {
    void* const moved = ResizePages(data, mapped, whole);
    if (whole > mapped) {
        WishForHugePages(moved, whole);
    }
    data = moved;
    mapped = whole;
}

void Buffer::Move(std::size_t newSize, bool areZeros) {
    if (newSize == size) {
        return;
    }
    if (mapped != 0 && newSize >= SmallestMapped) {
        const std::size_t whole = RoundToPages(newSize);
        if (whole > mapped || newSize < size) {
            Remap(whole);
        }
        size = newSize;
        return;
    }
    if (mapped == 0 && size > 0 && newSize > 0 && newSize < SmallestMapped &&
        RoundUp(newSize, Alignment) == RoundUp(size, Alignment)) {
        // The block is as large as it is to be.
        if (areZeros && newSize > size) {
            std::memset(As<char>() + size, 0, newSize - size);
        }
        size = newSize;
        return;
    }
    Buffer other;
    if (newSize >= SmallestMapped) {
        const std::size_t whole = RoundToPages(newSize);
        const BlockPool::Block block = areZeros ? BlockPool::Block() : BlockPool::GetShared().Take(whole);
        other.data = block.data == nullptr ? Map(whole) : block.data;
        other.mapped = block.data == nullptr ? whole : block.size;
    } else if (newSize > 0) {
        const std::size_t whole = RoundUp(newSize, Alignment);
        other.data = AllocateAligned(whole);
        const std::size_t begin = areZeros ? std::min(size, newSize) : newSize;
        std::memset(other.As<char>() + begin, 0, whole - begin);
    }
    other.size = newSize;
    if (size > 0 && newSize > 0) {
        std::memcpy(other.data, data, std::min(size, newSize));
    }
    *this = std::move(other);
}

}  // namespace karta
