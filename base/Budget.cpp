#include "base/Budget.h"

#include <sys/stat.h>

#include <algorithm>

#include "base/Stopped.h"

namespace karta {

namespace {

// Small files may claim this much; larger ones so many times their own bytes. No honest file is known to
// come near: a workbook's cells are ten times its packed bytes, text at most eight.
constexpr std::uint64_t LeastMemory = std::uint64_t{256} << 20;
constexpr std::uint64_t LeastOutput = std::uint64_t{1} << 30;
constexpr std::uint64_t LeastWork = 4'000'000'000;
constexpr std::uint64_t TimesInput = 64;

std::uint64_t InProportion(std::uint64_t inputBytes) {
    return inputBytes > Budget::Unlimited / TimesInput ? Budget::Unlimited : inputBytes * TimesInput;
}

bool IsTooMuch(std::uint64_t used, std::uint64_t amount, std::uint64_t limit) {
    return amount > limit || used > limit - amount;
}

[[noreturn]] void Refuse(std::uint64_t limit, const char* what, const char* unit) {
    throw BudgetExceeded(std::string(what) + " would take more than the " + std::to_string(limit) + " " +
                         unit + " that a file of this size may take; --limit allows more");
}

// Read by any thread of any read.
std::atomic<std::uint64_t> inflateLimit = std::uint64_t{1} << 30;

}  // namespace

std::uint64_t Budget::GetInflateLimit() {
    return inflateLimit;
}

void Budget::SetInflateLimit(std::uint64_t bytes) {
    inflateLimit = bytes;
}

void Budget::AddInput(const char* path) {
    struct stat info{};
    if (stat(path, &info) != 0 || !S_ISREG(info.st_mode)) {
        return;
    }
    const std::lock_guard lock(inputMutex);
    if (inputs.emplace(info.st_dev, info.st_ino).second) {
        inputBytes += static_cast<std::uint64_t>(info.st_size);
    }
}

std::uint64_t Budget::GetMemoryLimit() const {
    return fixedLimit != 0 ? fixedLimit : std::max(LeastMemory, InProportion(inputBytes));
}

std::uint64_t Budget::GetOutputLimit() const {
    return fixedLimit != 0 ? fixedLimit : std::max(LeastOutput, InProportion(inputBytes));
}

std::uint64_t Budget::GetWorkLimit() const {
    if (fixedLimit == Unlimited) {
        return Unlimited;
    }
    const std::uint64_t proportional =
        InProportion(std::max<std::uint64_t>(inputBytes, fixedLimit / TimesInput));
    return proportional > Unlimited - LeastWork ? Unlimited : proportional + LeastWork;
}

void Budget::ChargeMemory(std::uint64_t bytes, const char* what) {
    Charge(memory, bytes, GetMemoryLimit(), what, "bytes in memory");
}

void Budget::ChargeOutput(std::uint64_t bytes, const char* what) {
    Charge(output, bytes, GetOutputLimit(), what, "bytes of output");
}

void Budget::ExpectOutput(std::uint64_t bytes, const char* what) {
    if (IsTooMuch(output, bytes, GetOutputLimit())) {
        wasExceeded = true;
        Refuse(GetOutputLimit(), what, "bytes of output");
    }
}

void Budget::ChargeWork(std::uint64_t steps, const char* what) {
    Charge(work, steps, GetWorkLimit(), what, "steps of work");
}

void Budget::Charge(std::atomic<std::uint64_t>& used, std::uint64_t amount, std::uint64_t limit,
                    const char* what, const char* unit) {
    if (stop != nullptr) {
        ThrowIfStopped(*stop);
    }
    const std::uint64_t before = used.fetch_add(amount);
    if (IsTooMuch(before, amount, limit)) {
        used -= amount;
        wasExceeded = true;
        Refuse(limit, what, unit);
    }
}

}  // namespace karta
