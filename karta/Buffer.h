#pragma once

#include <cstddef>
#include <memory>

#include "base/Export.h"

namespace karta {

struct SharedBlock;

/**
 * Bytes of a table's column, aligned to 64 and filled with zeros from the start. Memory that nobody writes
 * to costs next to nothing: a large buffer is handed out by the system page by page. A large buffer whose
 * owner fills all of it anyway may get the memory of one that is gone.
 */
class KARTA_EXPORT Buffer {
public:
    static constexpr std::size_t Alignment = 64;

    Buffer() = default;
    /** `size` bytes of zeros. Raises bad_alloc. */
    explicit Buffer(std::size_t size);
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    Buffer(Buffer&& other) noexcept;
    Buffer& operator=(Buffer&& other) noexcept;
    ~Buffer();

    /** Never null for a size above 0. */
    void* GetData() { return data; }
    const void* GetData() const { return data; }
    std::size_t GetSize() const { return size; }

    /** The first `size` bytes as elements. */
    template <class Element>
    Element* As() {
        return static_cast<Element*>(data);
    }
    template <class Element>
    const Element* As() const {
        return static_cast<const Element*>(data);
    }

    /** Keeps what is there; what is new are zeros. Large buffers are moved without a copy. */
    void Resize(std::size_t newSize);
    /** Keeps what is there; what is new holds anything. */
    void ResizeUnset(std::size_t newSize);

private:
    friend class BufferRoom;

    /** In a block, with room for an address in front. */
    Buffer(SharedBlock& block, void* room, std::size_t roomSize);

    void Free();
    void Remap(std::size_t whole);
    void Move(std::size_t newSize, bool areZeros);

    void* data = nullptr;
    std::size_t size = 0;
    std::size_t mapped = 0;  // bytes from the system; 0: from the heap, or of a block
};

/** A buffer that columns share; the last one frees it. */
using SharedBuffer = std::shared_ptr<const Buffer>;

}  // namespace karta
