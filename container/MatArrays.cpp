#include "container/MatArrays.h"

MatArrays::~MatArrays() = default;
