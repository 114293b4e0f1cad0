#pragma once

#include <string>

/**
 * A spreadsheet's serial day number as text. Day 1 is 1900-01-01, and day 60 is the 1900-02-29 that never
 * was, so that day 61 is 1900-03-01. The fraction is the time, rounded to the nearest second.
 *
 * A whole number gives "YYYY-MM-DD", one below 1 "HH:MM:SS", any other "YYYY-MM-DD HH:MM:SS"; 0 gives
 * "00:00:00". A negative, non-finite or too large (above 2958465.999994) number is no date: "%.15g".
 */
std::string IEEEDate_2_string(double serial);
