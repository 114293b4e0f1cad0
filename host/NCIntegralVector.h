#pragma once

#include "host/NCVector.h"

/** A vector of whole numbers that counts from 1; one of them stands for a missing number. */
template <class Value, Value Missing>
class NCIntegralVector : public NCVector<Value> {
public:
    static constexpr Value MissingValue = Missing;
};
