#include "tools/Interrupt.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t requested = 0;

void Note(int /*signal*/) {
    requested = 1;
}

}  // namespace

void Interrupt::Install() {
    struct sigaction action{};
    action.sa_handler = Note;
    // A second Ctrl-C ends a program whose reader asks for no row.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool Interrupt::IsRequested() {
    return requested != 0;
}
