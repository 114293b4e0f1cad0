#include "tests/support/PeakMemory.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

double PeakMemoryOf(const std::function<bool()>& work) {
    // What this process has freed but keeps would count in the other's peak.
    malloc_trim(0);
    const pid_t child = fork();
    if (child == 0) {
        try {
            _exit(work() ? 0 : 1);
        } catch (...) {
            _exit(1);
        }
    }
    int status = -1;
    rusage used{};
    if (wait4(child, &status, 0, &used) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        return -1.0;
    }
    return static_cast<double>(used.ru_maxrss) * 1024.0;
}

bool IsMemoryMeasurable() {
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
    return false;
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}
