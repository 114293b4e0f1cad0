#include "tools/PageOpener.h"

#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <csignal>

namespace {

// Only what is safe between fork and exec of a program with threads.
[[noreturn]] void WaitAndOpen(int descriptor) {
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    char path[PATH_MAX + 1] = "";
    std::size_t size = 0;
    while (size < PATH_MAX) {
        const ssize_t count = read(descriptor, path + size, PATH_MAX - size);
        if (count <= 0) {
            break;
        }
        size += static_cast<std::size_t>(count);
    }
    path[size] = '\0';
    if (size == 0) {
        _exit(0);
    }
    const int nothing = open("/dev/null", O_RDWR);
    if (nothing < 0) {
        _exit(1);
    }
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(nothing, standard);
    }
    execlp("xdg-open", "xdg-open", path, nullptr);
    _exit(1);
}

}  // namespace

PageOpener::PageOpener() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[1]);
        WaitAndOpen(ends[0]);
    }
    close(ends[0]);
    if (child > 0) {
        descriptor = ends[1];
    } else {
        close(ends[1]);
    }
}

PageOpener::~PageOpener() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

void PageOpener::Open(const std::string& path) {
    if (descriptor >= 0 && path.size() <= PATH_MAX) {
        // Small enough to be written as a whole. A child that is gone opens nothing, and nothing is lost.
        [[maybe_unused]] const ssize_t ignored = write(descriptor, path.data(), path.size());
    }
}
