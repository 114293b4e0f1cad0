#include "host/NvSystemInfo.h"

namespace {

constexpr unsigned long long DefaultInflateLimit = 1ULL << 30;

std::string& TheName() {
    static std::string name = "KARTA";
    return name;
}

unsigned long long& TheInflateLimit() {
    static unsigned long long limit = DefaultInflateLimit;
    return limit;
}

}  // namespace

const std::string& NvSystemInfo::GetApplicationName() {
    return TheName();
}

void NvSystemInfo::SetApplicationName(const std::string& name) {
    TheName() = name;
}

unsigned long long NvSystemInfo::GetInflateLimit() {
    return TheInflateLimit();
}

void NvSystemInfo::SetInflateLimit(unsigned long long bytes) {
    TheInflateLimit() = bytes;
}
