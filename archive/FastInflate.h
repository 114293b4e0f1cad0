#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

/**
 * Unpacks deflated bytes by a library that is three times as fast as zlib. It never decides that bytes
 * are damaged: another one has to do that, from the beginning.
 */
class FastInflate {
public:
    /** The packed bytes stay the caller's; what they unpack to has this checksum and size. */
    FastInflate(std::span<const std::uint8_t> packedBytes, std::uint32_t expectedChecksum,
                std::uint64_t expectedSize);
    /** Bytes with the head of the zlib format in front and its check value behind them. */
    explicit FastInflate(std::span<const std::uint8_t> zlibBytes);
    FastInflate(const FastInflate&) = delete;
    FastInflate& operator=(const FastInflate&) = delete;
    ~FastInflate();

    /** Whether this program has the library. */
    static bool IsThere();

    /** The next bytes, as many as there is room for; none at the end, and where it gives up. */
    std::size_t Read(std::span<char> room);
    /** All that was read is right, but what follows is another's to find out. */
    bool HasGivenUp() const { return hasGivenUp; }
    /** All is unpacked, and what it was checked by is right. */
    bool IsAtEnd() const { return isAtEnd && !hasGivenUp; }

private:
    struct State;

    void Start(std::span<const std::uint8_t> bytes, bool isZlib);
    bool IsRight(std::span<char> unpacked);

    std::unique_ptr<State> state;
    bool isChecked = false;  // by the library itself
    std::uint32_t checksum = 0;
    std::uint32_t wantedChecksum = 0;
    std::uint64_t bytesLeft = 0;
    bool isAtEnd = false;
    bool hasGivenUp = false;
};
