#pragma once

#include <stop_token>

#include "tools/Failure.h"

/**
 * SIGINT and SIGTERM end the program in order: what is being read or written is asked to stop, and what isn't
 * whole is removed. Who doesn't stop within a moment is ended by the watcher, which removes unfinished files
 * itself; so does a second signal, at once.
 */
class Interrupt {
public:
    /** From now on the signals are watched. One that is ignored from the start stays so. */
    static void Install();
    static bool IsRequested();
    /** With the signal's exit status, once one came. */
    static Failure GetFailure();
    /** Raises it once a signal came. */
    static void ThrowIfRequested();
    /** Asked to stop by the first signal. */
    static std::stop_token GetStopToken();
    /** Called by the watcher before it ends the program; a plain function, or null. */
    static void SetLastAct(void (*act)());
};
