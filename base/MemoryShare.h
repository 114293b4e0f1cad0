#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "base/ReadContext.h"

/**
 * What one holder keeps in memory of a read's budget, and gives back when it goes. It is charged in steps, so
 * that a holder of many small things can count each of them.
 */
class MemoryShare {
public:
    /** `what` is a literal that names the memory for people. Without a context nothing is counted. */
    MemoryShare(std::shared_ptr<karta::ReadContext> readContext, const char* what)
        : context(std::move(readContext)), name(what) {}
    MemoryShare(const MemoryShare&) = delete;
    MemoryShare& operator=(const MemoryShare&) = delete;
    ~MemoryShare() { Release(); }

    /** Raises BudgetExceeded. */
    void Add(std::uint64_t bytes) {
        pending += bytes;
        if (pending >= Step) {
            Charge();
        }
    }

    void Release() {
        if (context != nullptr) {
            context->budget.ReleaseMemory(charged);
        }
        charged = 0;
        pending = 0;
    }

private:
    static constexpr std::uint64_t Step = 65536;

    void Charge() {
        if (context != nullptr) {
            context->budget.ChargeMemory(pending, name);
            charged += pending;
        }
        pending = 0;
    }

    std::shared_ptr<karta::ReadContext> context;
    const char* name;
    std::uint64_t pending = 0;
    std::uint64_t charged = 0;
};
