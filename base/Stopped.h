#pragma once

#include <stdexcept>
#include <stop_token>

#include "base/Export.h"

namespace karta {

/** A read was stopped by who asked for it. */
class KARTA_EXPORT Stopped : public std::runtime_error {
public:
    Stopped() : std::runtime_error("stopped") {}
};

/** Raises Stopped once a stop was asked for. */
inline void ThrowIfStopped(const std::stop_token& stop) {
    if (stop.stop_requested()) {
        throw Stopped();
    }
}

}  // namespace karta
