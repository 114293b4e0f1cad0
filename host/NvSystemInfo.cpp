#include "host/NvSystemInfo.h"

#include "base/Budget.h"

namespace {

std::string& TheName() {
    static std::string name = "KARTA";
    return name;
}

}  // namespace

const std::string& NvSystemInfo::GetApplicationName() {
    return TheName();
}

void NvSystemInfo::SetApplicationName(const std::string& name) {
    TheName() = name;
}

unsigned long long NvSystemInfo::GetInflateLimit() {
    return karta::Budget::GetInflateLimit();
}

void NvSystemInfo::SetInflateLimit(unsigned long long bytes) {
    karta::Budget::SetInflateLimit(bytes);
}
