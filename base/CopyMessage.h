#pragma once

#include <string_view>

/**
 * Copies a message into a caller's buffer of `size` bytes: cut where it is too long, always ended by a
 * NUL within the buffer. A size of 0 writes nothing.
 */
void CopyMessage(std::string_view text, char* buffer, unsigned int size);
