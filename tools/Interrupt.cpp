#include "tools/Interrupt.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <ctime>
#include <string_view>

#include "base/UnfinishedFile.h"

namespace {

// How long a stage may take to notice that it is to stop; the whole end has a second.
constexpr long PatienceInNanoseconds = 700'000'000;

constexpr int SignalBase = 128;

std::atomic<int> received = 0;
std::atomic<void (*)()> lastAct = nullptr;
sigset_t watched;

std::stop_source& TheStopSource() {
    static std::stop_source source;
    return source;
}

[[noreturn]] void EndAtOnce() {
    UnfinishedFile::RemoveAll();
    if (void (*const act)() = lastAct.load()) {
        act();
    }
    constexpr std::string_view Message = "karta-import: interrupted\n";
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, Message.data(), Message.size());
    _exit(SignalBase + received);
}

void* Watch(void* /*unused*/) {
    int signal = 0;
    if (sigwait(&watched, &signal) != 0) {
        return nullptr;
    }
    received = signal;
    TheStopSource().request_stop();
    const timespec patience{0, PatienceInNanoseconds};
    // Either a second signal, or the time is over.
    sigtimedwait(&watched, nullptr, &patience);
    EndAtOnce();
}

// A program that was started to live through the key, in the background of a shell, goes on doing so.
bool IsIgnored(int signal) {
    struct sigaction action{};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

void Interrupt::Install() {
    sigemptyset(&watched);
    for (const int signal : {SIGINT, SIGTERM}) {
        if (!IsIgnored(signal)) {
            sigaddset(&watched, signal);
        }
    }
    TheStopSource();
    // Threads made later take no signal either: all of them are the watcher's.
    pthread_sigmask(SIG_BLOCK, &watched, nullptr);
    pthread_t watcher{};
    if (pthread_create(&watcher, nullptr, Watch, nullptr) == 0) {
        pthread_detach(watcher);
    } else {
        pthread_sigmask(SIG_UNBLOCK, &watched, nullptr);
    }
}

bool Interrupt::IsRequested() {
    return received.load(std::memory_order_relaxed) != 0;
}

Failure Interrupt::GetFailure() {
    return Failure("interrupted", static_cast<ExitStatus>(SignalBase + received));
}

void Interrupt::ThrowIfRequested() {
    if (IsRequested()) {
        throw GetFailure();
    }
}

std::stop_token Interrupt::GetStopToken() {
    return TheStopSource().get_token();
}

void Interrupt::SetLastAct(void (*act)()) {
    lastAct = act;
}
