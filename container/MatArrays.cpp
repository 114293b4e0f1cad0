#include "container/MatArrays.h"

MatArrays::~MatArrays() = default;

int MatArrays::ForEachElement(const MatArray& /*array*/, const Visit& /*visit*/) {
    return 0;
}

bool MatArrays::IsSoundToTheEnd(const MatArray& /*array*/) {
    return true;
}
