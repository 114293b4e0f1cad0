#include "tools/Screen.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "base/OutputFile.h"
#include "host/NvString.h"
#include "tools/Interrupt.h"

namespace {

constexpr std::size_t UsualWidth = 80;

// For a signal in the middle: the terminal is the pager's until it ends.
std::atomic<pid_t> running = -1;

void WaitFor(pid_t process) {
    while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
}

void LeaveTerminalToPager() {
    if (running > 0) {
        close(STDOUT_FILENO);
        WaitFor(running);
    }
}

std::size_t WishedWidth() {
    int columns = 0;
    const char* wanted = std::getenv("COLUMNS");
    return wanted != nullptr && NvString::ToInt(wanted, columns) && columns > 0
               ? static_cast<std::size_t>(columns)
               : UsualWidth;
}

// Colours pass (R), long lines aren't broken (S), one screen is shown at once (F) and stays (X).
[[noreturn]] void BecomePager(const std::string& wanted) {
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    setenv("LESS", "FRSX", 0);
    if (!wanted.empty()) {
        execl("/bin/sh", "sh", "-c", wanted.c_str(), nullptr);
    }
    execlp("less", "less", nullptr);
    execlp("more", "more", nullptr);
    execlp("cat", "cat", nullptr);
    _exit(1);
}

}  // namespace

Screen::Screen() : isTerminal(isatty(STDOUT_FILENO) != 0), width(WishedWidth()) {
    const char* const noColour = std::getenv("NO_COLOR");
    const char* const kind = std::getenv("TERM");
    hasColour = isTerminal && (noColour == nullptr || *noColour == '\0') &&
                (kind == nullptr || std::string_view(kind) != "dumb");
    winsize size{};
    if (isTerminal && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
        width = size.ws_col > 0 ? size.ws_col : width;
        height = size.ws_row;
    }
}

Screen::~Screen() {
    if (pager > 0) {
        std::cout.flush();
        close(STDOUT_FILENO);
        WaitFor(pager);
        running = -1;
    }
}

void Screen::StartPager() {
    int ends[2];
    if (!isTerminal || pager > 0 || pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    const char* const wanted = std::getenv("PAGER");
    pager = fork();
    if (pager == 0) {
        dup2(ends[0], STDIN_FILENO);
        BecomePager(wanted == nullptr ? std::string() : wanted);
    }
    if (pager > 0) {
        dup2(ends[1], STDOUT_FILENO);
        running = pager;
        Interrupt::SetLastAct(LeaveTerminalToPager);
    }
    close(ends[0]);
    close(ends[1]);
}

void Screen::Write(const std::string& text) const {
    if (!isTerminal) {
        std::cout << text;
        return;
    }
    // Past the stream, which shows what colours a terminal as text.
    std::cout.flush();
    OutputFile file(STDOUT_FILENO);
    file.Write(text);
    // Who leaves a pager early has seen enough.
    file.Commit();
}
