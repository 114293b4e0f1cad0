#pragma once

#include "host/NCVector.h"

/** A vector of measured values that counts from 1; -99 stands for a missing one. */
template <class Value>
class NCDataVector : public NCVector<Value> {
public:
    static constexpr Value MissingValue = Value(-99);
};
