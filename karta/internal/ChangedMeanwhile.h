#pragma once

#include <stdexcept>

namespace karta {

/** A file that is read twice isn't the same as before. */
class ChangedMeanwhile : public std::runtime_error {
public:
    ChangedMeanwhile() : std::runtime_error("the file was changed while it was read") {}
};

}  // namespace karta
