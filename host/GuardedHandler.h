#pragma once

#include <mutex>
#include <utility>

/**
 * A host's function that any thread may set and call: each call works on a copy of its own, so that a handler
 * may ask or set another one, and a slow answer keeps nobody waiting.
 */
template <class Handler>
class GuardedHandler {
public:
    void Set(Handler newHandler) {
        const std::scoped_lock lock(mutex);
        handler = std::move(newHandler);
    }
    Handler Get() const {
        const std::scoped_lock lock(mutex);
        return handler;
    }

private:
    mutable std::mutex mutex;
    Handler handler;
};
