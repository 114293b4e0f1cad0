#pragma once

#include <stdbool.h>

/*
 * The allocator of the C library with one difference: it says "no more memory" when told to. A program that
 * is linked with it, or for which it is preloaded, has all its allocations go through it, those of the other
 * libraries too.
 *
 * Preloaded, it reads the environment once main begins: KARTA_FAIL_AT is the number of the allocation that
 * fails, KARTA_FAIL_ON set to anything makes all later ones fail too.
 */
#ifdef __cplusplus
extern "C" {
#endif

/** From now on, fails the allocation of this number, counted from 1; 0 for none. */
__attribute__((visibility("default"))) void FailMemoryAt(long number, bool allLaterToo);

/** Ends the failing; the answer is the count of allocations since FailMemoryAt. */
__attribute__((visibility("default"))) long StopFailingMemory(void);

/** Whether an allocation was failed since FailMemoryAt. */
__attribute__((visibility("default"))) bool MemoryHasFailed(void);

#ifdef __cplusplus
}
#endif
