#pragma once

#include <cstdint>
#include <stop_token>

#include "base/Stopped.h"
#include "karta/Error.h"

namespace karta {

/** Looks once in so many steps whether a stop was asked for. */
class StopLook {
public:
    /** The token stays the caller's. */
    explicit StopLook(const std::stop_token& stopToken) : stop(stopToken) {}

    /** Before work of about so many numbers or texts. Raises an Error with the code Stopped. */
    void Count(std::int64_t steps = 1) {
        untilLook -= steps;
        if (untilLook < 0) {
            untilLook = StepsBetweenLooks;
            if (stop.stop_requested()) {
                throw Error({.code = ErrorCode::Stopped, .text = Stopped().what()});
            }
        }
    }

private:
    static constexpr std::int64_t StepsBetweenLooks = 1 << 14;

    const std::stop_token& stop;
    std::int64_t untilLook = 0;  // at once the first time
};

}  // namespace karta
