#include "archive/FastInflate.h"

#include <limits>

#ifdef KARTA_HAS_ISAL

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace {

#ifdef __x86_64__
__attribute__((target("avx"))) void EmptyUpperHalves() {
    _mm256_zeroupper();
}
#endif

// The library leaves the upper halves of the wide registers in use, and with them so all code behind it takes
// twice its time.
std::uint32_t UpdateChecksum(std::uint32_t checksum, std::span<char> bytes) {
    const std::uint32_t updated =
        crc32_gzip_refl(checksum, reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size());
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx") != 0) {
        EmptyUpperHalves();
    }
#endif
    return updated;
}

}  // namespace

struct FastInflate::State {
    // Its 90 KB aren't cleared: the library says what counts of them.
    State() { isal_inflate_init(&inflate); }  // NOLINT(cppcoreguidelines-pro-type-member-init)

    inflate_state inflate;
};

FastInflate::FastInflate(std::span<const std::uint8_t> packedBytes, std::uint32_t expectedChecksum,
                         std::uint64_t expectedSize)
    : state(new State), wantedChecksum(expectedChecksum), bytesLeft(expectedSize) {
    // The library counts in 32 bits.
    hasGivenUp = packedBytes.size() > std::numeric_limits<std::uint32_t>::max();
    state->inflate.crc_flag = ISAL_DEFLATE;
    state->inflate.next_in = const_cast<std::uint8_t*>(packedBytes.data());
    state->inflate.avail_in = hasGivenUp ? 0 : static_cast<std::uint32_t>(packedBytes.size());
}

bool FastInflate::IsThere() {
    return true;
}

std::size_t FastInflate::Read(std::span<char> room) {
    if (isAtEnd || hasGivenUp) {
        return 0;
    }
    inflate_state& inflate = state->inflate;
    inflate.next_out = reinterpret_cast<std::uint8_t*>(room.data());
    inflate.avail_out = static_cast<std::uint32_t>(room.size());
    while (inflate.avail_out > 0 && !isAtEnd && !hasGivenUp) {
        const std::uint32_t roomBefore = inflate.avail_out;
        const std::uint32_t packedBefore = inflate.avail_in;
        hasGivenUp = isal_inflate(&inflate) != ISAL_DECOMP_OK;
        isAtEnd = inflate.block_state == ISAL_BLOCK_FINISH;
        const bool hasMoved = roomBefore != inflate.avail_out || packedBefore != inflate.avail_in;
        hasGivenUp = hasGivenUp || (!isAtEnd && !hasMoved);
    }
    const std::size_t count = room.size() - inflate.avail_out;
    checksum = UpdateChecksum(checksum, room.first(count));
    hasGivenUp = hasGivenUp || count > bytesLeft || (isAtEnd && count != bytesLeft) ||
                 (isAtEnd && checksum != wantedChecksum);
    bytesLeft -= hasGivenUp ? 0 : count;
    return hasGivenUp ? 0 : count;
}

#else

struct FastInflate::State {};

FastInflate::FastInflate(std::span<const std::uint8_t> /*packedBytes*/, std::uint32_t expectedChecksum,
                         std::uint64_t expectedSize)
    : wantedChecksum(expectedChecksum), bytesLeft(expectedSize), hasGivenUp(true) {}

bool FastInflate::IsThere() {
    return false;
}

std::size_t FastInflate::Read(std::span<char> /*room*/) {
    return 0;
}

#endif

FastInflate::~FastInflate() = default;
