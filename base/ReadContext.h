#pragma once

#include <functional>
#include <stop_token>
#include <string>
#include <thread>

#include "base/Budget.h"
#include "base/Export.h"
#include "base/Note.h"
#include "base/Reading.h"
#include "base/Stopped.h"
#include "base/TableShape.h"

namespace karta {

/**
 * What a read needs beside its file: how to read, what it may cost, whom to ask, and what it has to say. A
 * reader holds one from before Open on and hands it to the readers and layers below. Its settings don't
 * change during a read; budget and stop token may be used from any thread of it, the rest only from the
 * reader's.
 */
struct KARTA_EXPORT ReadContext {
    Reading reading = Reading::Classic;
    std::stop_token stop;
    /** Charging it hears a stop too, so that whatever takes memory or work can be stopped. */
    Budget budget{&stop};

    /** Gets the share that is done, 0 to 1, or below 0 where it isn't known; may be empty. */
    std::function<void(double share)> progress;
    /** The thread that `progress` is for; none: whoever reads calls it, and nobody else does. */
    std::thread::id progressThread;
    /** A yes-or-no question; empty: the process-wide handler. */
    std::function<bool(const std::string& text)> question;
    /** A message for the log, with its section and key; empty: the process-wide handler. */
    std::function<void(const std::string& section, const std::string& key, const std::string& text)> log;

    /** How many threads the read may take, the caller's among them; 0: one a core, where that brings
     * something. */
    unsigned int threads = 0;

    Notes notes;
    TableShape shape;

    /**
     * Raises Stopped once a stop was asked for, and lets `progress` show that the read goes on. Cheap enough
     * for every record, and for any thread of the read.
     */
    void ThrowIfStopped() const {
        karta::ThrowIfStopped(stop);
        if (progressThread == std::this_thread::get_id() && progress) {
            progress(-1.0);
        }
    }
};

}  // namespace karta
