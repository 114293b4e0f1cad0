#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <set>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <utility>

#include "base/Export.h"

namespace karta {

/** A read wants more than its budget; the text says what grew, how far, and how to allow more. */
class KARTA_EXPORT BudgetExceeded : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/**
 * What one read may cost: bytes kept in memory, bytes written, and steps of work, in proportion to the bytes
 * of the files that it has opened. Charged before anything is taken, so that a few bytes can't claim
 * gigabytes. What is streamed is work, what is kept is memory. Any thread of the read may charge it.
 */
class KARTA_EXPORT Budget {
public:
    Budget() = default;
    /** The token, which stays the caller's, ends the read where anything is charged after a stop. */
    explicit Budget(const std::stop_token* readStop) : stop(readStop) {}
    Budget(const Budget&) = delete;
    Budget& operator=(const Budget&) = delete;

    /** In place of the limits that follow from the files; Unlimited lifts all. */
    void SetLimit(std::uint64_t bytes) { fixedLimit = bytes; }
    static constexpr std::uint64_t Unlimited = ~std::uint64_t{0};

    /** A file of the read is opened: every limit grows with its bytes, once, however often it is opened. */
    void AddInput(const char* path);

    /** `what` names it for people: "the table", "shared strings". Raises BudgetExceeded and Stopped. */
    void ChargeMemory(std::uint64_t bytes, const char* what);
    void ReleaseMemory(std::uint64_t bytes) { memory -= bytes; }
    void ChargeOutput(std::uint64_t bytes, const char* what);
    /** Raises BudgetExceeded where so many bytes could not be written any more; charges nothing. */
    void ExpectOutput(std::uint64_t bytes, const char* what);
    /** Bytes unpacked or scanned, cells, records. */
    void ChargeWork(std::uint64_t steps, const char* what);

    /** How many bytes one compressed part of any file may grow to; 1 GiB until a host sets it. */
    static std::uint64_t GetInflateLimit();
    static void SetInflateLimit(std::uint64_t bytes);

    /** Whether something was refused. */
    bool WasExceeded() const { return wasExceeded; }

    std::uint64_t GetMemory() const { return memory; }
    std::uint64_t GetMemoryLimit() const;
    std::uint64_t GetOutputLimit() const;
    std::uint64_t GetWorkLimit() const;

private:
    void Charge(std::atomic<std::uint64_t>& used, std::uint64_t amount, std::uint64_t limit, const char* what,
                const char* unit);

    const std::stop_token* stop = nullptr;
    std::mutex inputMutex;
    std::set<std::pair<std::uint64_t, std::uint64_t>> inputs;  // device and file
    std::atomic<std::uint64_t> inputBytes = 0;
    std::atomic<std::uint64_t> memory = 0;
    std::atomic<std::uint64_t> output = 0;
    std::atomic<std::uint64_t> work = 0;
    std::atomic<bool> wasExceeded = false;
    std::uint64_t fixedLimit = 0;  // 0: from the files
};

}  // namespace karta
