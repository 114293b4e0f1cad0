#pragma once

#include <stop_token>
#include <vector>

/** Stands where there is no value. */
constexpr float MissingValue = -99.0F;

/**
 * The values of a spectrum at the points of another axis, one for each, by straight lines between
 * neighbours. Points whose y is missing are passed over. Outside the spectrum's range an ascending grid is
 * served from the two nearest points, a descending one with missing values. A grid point gets a value only
 * where the spectrum's point of the same index lies within `tolerance` of it.
 *
 * Empty when `xs` and `ys` differ in size or one of the three holds fewer than two values. Takes time in
 * proportion to the points when grid and xs are regular axes, whatever their directions. Raises
 * karta::Stopped once a stop was asked for.
 */
std::vector<float> InterPolateValues(const std::vector<float>& grid, const std::vector<float>& xs,
                                     const std::vector<float>& ys, double tolerance,
                                     const std::stop_token& stop = {});

/** The value at x on the line through two points, in float. */
float LinearValue(float x1, float x2, float y1, float y2, float x);
