#pragma once

#include <stdexcept>
#include <string>

#include "base/Export.h"

/** A failure that leaves a reader as an exception, built from its text. */
class KARTA_EXPORT Exception : public std::runtime_error {
public:
    explicit Exception(const std::string& text) : std::runtime_error(text) {}
};
