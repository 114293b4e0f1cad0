#pragma once

#include <string>

/** What ends a read of a process log: thrown inside the reader and caught at the end of its Read. */
struct BrooksideFailure {
    int status;
    std::string text; /**< for the statuses whose message is composed where they arise */
};
