#pragma once

/**
 * Whether two axis values are the same for a reader: their difference is at most 2^-23 scaled by the
 * binary exponent of the one of larger magnitude. Two NaN are equal, and so are two infinities of one
 * sign.
 */
bool TolerantEqual(double left, double right);
