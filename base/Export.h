#pragma once

/**
 * Marks what the shared module offers to others. Everything else stays hidden, so a symbol is exported
 * on purpose only; the list of all of them is kept in tests/exported-symbols.txt.
 */
#define KARTA_EXPORT __attribute__((visibility("default")))
