#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

struct FreeTableBlock {
    void operator()(void* block) const { std::free(block); }
};

/** A block of a table's memory: not initialised, of elements that need no construction. */
template <class Element>
using TableBlock = std::unique_ptr<Element[], FreeTableBlock>;

/** At least `size` bytes, to be given back with std::free; raises bad_alloc. */
void* AllocateTableBlock(std::size_t size);

template <class Element>
TableBlock<Element> MakeTableBlock(std::size_t count) {
    return TableBlock<Element>(static_cast<Element*>(AllocateTableBlock(count * sizeof(Element))));
}
