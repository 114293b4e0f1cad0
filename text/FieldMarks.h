#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/**
 * Where in some lines fields end and points stand, one place after the other. They are looked for in 64 bytes
 * at once and ahead of who reads the fields, so that the processor needn't have read one to begin with the
 * next ones.
 */
class FieldMarks {
public:
    /** Where the reading is among the marks. Who reads keeps it, so that it may stay in registers. */
    class Reading {
    public:
        /** Goes on at `at`, where a field begins; no mark before it is wanted any more. */
        void Seek(const char* at) {
            while (next < end && base + *next < at) {
                ++next;
            }
        }
        /** Whether the next two marks are known: each is a delimiter, a line feed or a point. */
        bool HasTwo() const { return end - next >= 2; }
        const char* GetFirst() const { return base + next[0]; }
        const char* GetSecond() const { return base + next[1]; }
        void Skip(std::size_t marks) { next += marks; }

    private:
        friend class FieldMarks;

        const char* base = nullptr;
        const std::uint32_t* next = nullptr;
        const std::uint32_t* end = nullptr;
    };

    /** No byte beyond the lines is looked at. `delimiter` parts the fields. */
    void Begin(std::string_view lines, char delimiter);
    /** Looks for marks from `at` on, in vain where the lines end or none is close by. */
    Reading Look(const char* at);

private:
    // So many bytes are looked at at once: few enough to stay in the cache for who reads them.
    static constexpr std::size_t Window = 4096;
    static constexpr std::size_t Block = 64;

    void Add(std::uint64_t mask, std::uint32_t place);

    const char* end = nullptr;
    char delimiter = ',';
    std::size_t count = 0;
    std::size_t atOnce = 0;  // marks of a block are added so many at a time
    // The last ones take what a block adds beyond its marks.
    std::array<std::uint32_t, Window + Block> places{};
};
