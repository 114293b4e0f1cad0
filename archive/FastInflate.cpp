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
void TidyRegisters() {
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx") != 0) {
        EmptyUpperHalves();
    }
#endif
}

// What zlib takes: a window of 32 KB at most, and no dictionary.
bool HasPlainZlibHead(std::span<const std::uint8_t> bytes) {
    constexpr unsigned int Deflated = 8;
    constexpr unsigned int LargestWindow = 7;
    constexpr unsigned int DictionaryBit = 0x20;
    constexpr unsigned int CheckDivisor = 31;
    return bytes.size() >= 2 && (bytes[0] & 0x0fU) == Deflated && bytes[0] >> 4U <= LargestWindow &&
           (bytes[1] & DictionaryBit) == 0 && (bytes[0] * 256U + bytes[1]) % CheckDivisor == 0;
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
    Start(packedBytes, false);
}

FastInflate::FastInflate(std::span<const std::uint8_t> zlibBytes) : state(new State), isChecked(true) {
    Start(zlibBytes, true);
    hasGivenUp = hasGivenUp || !HasPlainZlibHead(zlibBytes);
}

void FastInflate::Start(std::span<const std::uint8_t> bytes, bool isZlib) {
    // The library counts in 32 bits.
    hasGivenUp = bytes.size() > std::numeric_limits<std::uint32_t>::max();
    state->inflate.crc_flag = isZlib ? ISAL_ZLIB : ISAL_DEFLATE;
    state->inflate.next_in = const_cast<std::uint8_t*>(bytes.data());
    state->inflate.avail_in = hasGivenUp ? 0 : static_cast<std::uint32_t>(bytes.size());
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
    hasGivenUp = hasGivenUp || !IsRight(room.first(count));
    TidyRegisters();
    return hasGivenUp ? 0 : count;
}

bool FastInflate::IsRight(std::span<char> unpacked) {
    if (isChecked) {
        return true;
    }
    checksum = crc32_gzip_refl(checksum, reinterpret_cast<std::uint8_t*>(unpacked.data()), unpacked.size());
    const bool isRight = unpacked.size() <= bytesLeft &&
                         (!isAtEnd || (unpacked.size() == bytesLeft && checksum == wantedChecksum));
    bytesLeft -= isRight ? unpacked.size() : 0;
    return isRight;
}

#else

struct FastInflate::State {};

FastInflate::FastInflate(std::span<const std::uint8_t> /*packedBytes*/, std::uint32_t expectedChecksum,
                         std::uint64_t expectedSize)
    : wantedChecksum(expectedChecksum), bytesLeft(expectedSize), hasGivenUp(true) {}

FastInflate::FastInflate(std::span<const std::uint8_t> /*zlibBytes*/) : hasGivenUp(true) {}

bool FastInflate::IsThere() {
    return false;
}

std::size_t FastInflate::Read(std::span<char> /*room*/) {
    return 0;
}

#endif

FastInflate::~FastInflate() = default;
