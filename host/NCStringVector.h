#pragma once

#include <string>

#include "host/NCVector.h"

/** A vector of texts that counts from 1. */
class NCStringVector : public NCVector<std::string> {
public:
    /** Puts `count` empty texts before `position`. */
    void InsertStrings(int position, int count) { InsertValues(position, count, std::string()); }
};
