#pragma once

#include <functional>

/**
 * The most memory, in bytes, that a process of its own has while it does the work, mapped files and what the
 * process began with included; below 0 where the work fails or raises.
 */
double PeakMemoryOf(const std::function<bool()>& work);

/** Whether that says something: a sanitizer's own memory is many times that of the work. */
bool IsMemoryMeasurable();
