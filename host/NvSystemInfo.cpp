#include "host/NvSystemInfo.h"

#include <mutex>

#include "base/Budget.h"

namespace {

/** The name, which a host may change while other threads read. */
struct ApplicationName {
    std::mutex mutex;
    std::string name = "KARTA";
};

ApplicationName& TheName() {
    static ApplicationName name;
    return name;
}

}  // namespace

std::string NvSystemInfo::GetApplicationName() {
    const std::scoped_lock lock(TheName().mutex);
    return TheName().name;
}

void NvSystemInfo::SetApplicationName(const std::string& name) {
    const std::scoped_lock lock(TheName().mutex);
    TheName().name = name;
}

unsigned long long NvSystemInfo::GetInflateLimit() {
    return karta::Budget::GetInflateLimit();
}

void NvSystemInfo::SetInflateLimit(unsigned long long bytes) {
    karta::Budget::SetInflateLimit(bytes);
}
