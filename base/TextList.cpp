#include "base/TextList.h"

#include <atomic>

void TextList::Clear() {
    texts.clear();
    arena.Clear();
    number = TakeNumber();
}

// From 1.
std::uint64_t TextList::TakeNumber() {
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}
