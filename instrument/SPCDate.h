#pragma once

#include <string>

/**
 * The date cell of an SPC sub-file: the file's packed date, moved on by the sub-file's time in seconds.
 * A time that is negative or no number gives midnight; one beyond any clock counts as 0.
 */
std::string FormatSPCDate(unsigned int packedDate, float seconds);

/**
 * The last day of a month. A day of 27 or less comes back as it stands; a month that isn't one gives -1.
 */
int GetDaysInMonth(int day, int month, int year);
