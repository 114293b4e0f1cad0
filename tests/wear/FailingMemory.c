#define _GNU_SOURCE
#include "FailingMemory.h"

#include <dlfcn.h>
#include <errno.h>
#include <stddef.h>
#include <stdlib.h>

/* The C library's own functions, under the names that it keeps for replacements such as this one. */
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

static bool counting = false;
static bool failAllLater = false;
static bool hasFailed = false;
static long failAt = 0;
static long count = 0;

void FailMemoryAt(long number, bool allLaterToo) {
    failAt = number;
    failAllLater = allLaterToo;
    hasFailed = false;
    count = 0;
    counting = true;
}

long StopFailingMemory(void) {
    counting = false;
    return count;
}

bool MemoryHasFailed(void) {
    return hasFailed;
}

static bool FailsNow(void) {
    if (!counting) {
        return false;
    }
    ++count;
    if (failAt == 0 || count < failAt || (count > failAt && !failAllLater)) {
        return false;
    }
    hasFailed = true;
    errno = ENOMEM;
    return true;
}

/* A sanitizer's allocator can't be replaced; what needs this one is skipped there. */
#ifndef KARTA_SANITIZED

#define REPLACING __attribute__((visibility("default")))

REPLACING void* malloc(size_t size) {
    return FailsNow() ? NULL : __libc_malloc(size);
}

REPLACING void* calloc(size_t number, size_t size) {
    return FailsNow() ? NULL : __libc_calloc(number, size);
}

REPLACING void* realloc(void* block, size_t size) {
    /* Size 0 frees. */
    return size != 0 && FailsNow() ? NULL : __libc_realloc(block, size);
}

REPLACING void* memalign(size_t alignment, size_t size) {
    return FailsNow() ? NULL : __libc_memalign(alignment, size);
}

REPLACING void* aligned_alloc(size_t alignment, size_t size) {
    return FailsNow() ? NULL : __libc_memalign(alignment, size);
}

REPLACING int posix_memalign(void** block, size_t alignment, size_t size) {
    void* made = FailsNow() ? NULL : __libc_memalign(alignment, size);
    if (made == NULL) {
        return ENOMEM;
    }
    *block = made;
    return 0;
}

/* What libraries allocate before main is not the program's to answer for. */
typedef int (*MainFunction)(int, char**, char**);
typedef int (*StartFunction)(MainFunction, int, char**, void (*)(void), void (*)(void), void (*)(void),
                             void*);

static MainFunction programMain = NULL;

static int ArmedMain(int argumentCount, char** arguments, char** environment) {
    const char* number = getenv("KARTA_FAIL_AT");
    if (number != NULL) {
        FailMemoryAt(atol(number), getenv("KARTA_FAIL_ON") != NULL);
    }
    const int result = programMain(argumentCount, arguments, environment);
    StopFailingMemory();
    return result;
}

REPLACING int __libc_start_main(MainFunction theMain, int argumentCount, char** arguments, void (*init)(void),
                                void (*fini)(void), void (*loaderFini)(void), void* stackEnd) {
    programMain = theMain;
    StartFunction start = (StartFunction)dlsym(RTLD_NEXT, "__libc_start_main");
    return start(ArmedMain, argumentCount, arguments, init, fini, loaderFini, stackEnd);
}

#endif
