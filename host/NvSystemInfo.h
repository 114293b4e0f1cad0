#pragma once

#include <string>

#include "base/Export.h"

/** What a host tells of itself and allows. */
class KARTA_EXPORT NvSystemInfo {
public:
    /** The name that messages call the application by; "KARTA" until it is set. */
    static std::string GetApplicationName();
    static void SetApplicationName(const std::string& name);

    /** How many bytes one compressed part of a file may grow to; 1 GiB until it is set. */
    static unsigned long long GetInflateLimit();
    static void SetInflateLimit(unsigned long long bytes);
};
