#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

/** What of runs is still to be copied to where a sink keeps it; any thread may do it. */
class RunCopies {
public:
    void Add(void* to, const void* from, std::size_t bytes) { copies.push_back({to, from, bytes, false, 0}); }
    /** Each of these numbers and `further`. */
    void AddSums(std::int64_t* to, std::span<const std::uint32_t> from, std::int64_t further) {
        copies.push_back({to, from.data(), from.size(), true, further});
    }
    bool IsEmpty() const { return copies.empty(); }
    /** All of it, once. */
    void Do() {
        for (const Copy& copy : copies) {
            if (copy.areSums) {
                PutSums(static_cast<std::int64_t*>(copy.to), static_cast<const std::uint32_t*>(copy.from),
                        copy.count, copy.further);
            } else {
                std::memcpy(copy.to, copy.from, copy.count);
            }
        }
        copies.clear();
    }

    static void PutSums(std::int64_t* to, const std::uint32_t* from, std::size_t count,
                        std::int64_t further) {
        for (std::size_t i = 0; i < count; ++i) {
            to[i] = further + from[i];
        }
    }

private:
    struct Copy {
        void* to;
        const void* from;
        std::size_t count;  // bytes, or numbers
        bool areSums;
        std::int64_t further;
    };

    std::vector<Copy> copies;
};

/**
 * Who pushes runs and has threads that copy them. What a run is copied from stays as it is until that is
 * done; where it is copied to is the sink's matter.
 */
class RunCopying {
public:
    virtual ~RunCopying() = default;

    /** Gets what of the run at hand is to be copied. */
    virtual RunCopies& GetCopies() = 0;
    /** Whatever was to be copied so far is. A sink calls it before it moves or looks at what it copies to. */
    virtual void FinishCopies() = 0;
};
