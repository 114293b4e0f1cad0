#pragma once

#include <stdexcept>

#include "base/Export.h"

namespace karta {

/** A read was stopped by who asked for it. */
class KARTA_EXPORT Stopped : public std::runtime_error {
public:
    Stopped() : std::runtime_error("stopped") {}
};

}  // namespace karta
