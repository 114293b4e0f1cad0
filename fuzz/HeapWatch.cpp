#include "fuzz/HeapWatch.h"

#include <algorithm>
#include <atomic>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/allocator_interface.h>
#define KARTA_SANITIZER_TELLS
#endif
#endif

namespace {

// Counted from the start of the watch; below 0 when what was there before is given back.
std::atomic<long long> inUse = 0;
std::atomic<long long> peak = 0;

#ifdef KARTA_SANITIZER_TELLS
void Took(const volatile void*, std::size_t size) {
    const long long now = inUse += static_cast<long long>(size);
    long long seen = peak;
    while (now > seen && !peak.compare_exchange_weak(seen, now)) {
    }
}

void GaveBack(const volatile void* place) {
    if (place != nullptr) {
        inUse -= static_cast<long long>(__sanitizer_get_allocated_size(place));
    }
}
#endif

}  // namespace

HeapWatch::HeapWatch() {
#ifdef KARTA_SANITIZER_TELLS
    static const int installed = __sanitizer_install_malloc_and_free_hooks(Took, GaveBack);
    (void)installed;
#endif
    inUse = 0;
    peak = 0;
}

std::size_t HeapWatch::GetPeak() const {
    return static_cast<std::size_t>(std::max(0LL, peak.load()));
}
