#pragma once

/** Ctrl-C ends a read at its next row, so that nothing half-written stays. */
class Interrupt {
public:
    /** From now on the key is noted instead of ending the program. */
    static void Install();
    static bool IsRequested();
};
