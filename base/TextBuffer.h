#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

#include "base/Export.h"

/** Bytes that are put down one behind the other, mostly a few at a time: without a call a piece, and in
 * memory that stays when they are taken. */
class KARTA_EXPORT TextBuffer {
public:
    /** The place behind the last byte, where there is room for so many more. */
    char* MakeRoom(std::size_t bytes) {
        if (capacity - size <= bytes) {
            Grow(bytes);
        }
        return memory.get() + size;
    }
    /** What was put down in that room ends here. */
    void EndAt(const char* end) { size = static_cast<std::size_t>(end - memory.get()); }

    void Append(char byte) {
        *MakeRoom(1) = byte;
        ++size;
    }
    void Append(std::string_view bytes) {
        char* const place = MakeRoom(bytes.size());
        Copy(bytes, place);
        size += bytes.size();
    }
    void Append(std::size_t count, char byte) {
        std::memset(MakeRoom(count), byte, count);
        size += count;
    }
    /** Bytes between two others. */
    void AppendBetween(char before, std::string_view bytes, char behind) {
        char* const place = MakeRoom(bytes.size() + 2);
        *place = before;
        Copy(bytes, place + 1);
        place[bytes.size() + 1] = behind;
        size += bytes.size() + 2;
    }

    /** Without what is behind so many bytes. */
    void CutAt(std::size_t bytes) { size = bytes; }
    std::size_t GetSize() const { return size; }
    std::string_view GetBytes() const { return {memory.get(), size}; }

private:
    // Most pieces are a few bytes, for which the C library's function is far.
    static void Copy(std::string_view bytes, char* to) {
        constexpr std::size_t Half = 8;
        const std::size_t count = bytes.size();
        if (count > 2 * Half) {
            std::memcpy(to, bytes.data(), count);
        } else if (count >= Half) {
            CopyEnds<Half>(bytes, to);
        } else if (count >= Half / 2) {
            CopyEnds<Half / 2>(bytes, to);
        } else {
            for (std::size_t i = 0; i < count; ++i) {
                to[i] = bytes[i];
            }
        }
    }
    // Up to twice as many, which overlap.
    template <std::size_t Bytes>
    static void CopyEnds(std::string_view bytes, char* to) {
        char first[Bytes];
        char last[Bytes];
        const char* const from = bytes.data();
        std::memcpy(first, from, Bytes);
        std::memcpy(last, from + bytes.size() - Bytes, Bytes);
        std::memcpy(to, first, Bytes);
        std::memcpy(to + bytes.size() - Bytes, last, Bytes);
    }
    void Grow(std::size_t bytes);

    std::unique_ptr<char[]> memory;
    std::size_t size = 0;
    std::size_t capacity = 0;
};
