#pragma once

#include <string_view>

/**
 * A date with a time, as the host keeps it: days since 1899-12-30, the fraction being the time of the day.
 * A time without a date lies in day 0.
 */
class COleDateTime {
public:
    /**
     * Reads a date, a time, or both in either order, as people and instruments write them, English names
     * of months included:
     *
     *     3/18/97   18/3/1997   97/03/18   1997-03-18   18-Mar-97   18 March 1997   March 18, 1997
     *     14:05   14:05:30   2:05 PM   1997/03/18 14:05:30   1997-03-18T14:05:30
     *
     * Three numbers are month, day and year where that is a date, else day, month and year, else year,
     * month and day; a first number of more than two digits is the year. Years of two digits lie in 1930
     * to 2029. False, leaving the value as it was, when the text is anything else.
     */
    bool ParseDateTime(std::string_view text);

    double GetSerial() const { return serial; }

private:
    double serial = 0.0;
};
