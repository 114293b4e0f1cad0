#pragma once

#include <vector>

#include "host/NCDataVector.h"

/**
 * The Y of a spectrum at each point of a grid, on the line between the neighbours; missing where there is
 * none on one side. Points without a value are passed over.
 */
std::vector<float> JCAMPInterPolate(const NCDataVector<float>& grid, const std::vector<float>& xs,
                                    const std::vector<float>& ys);
