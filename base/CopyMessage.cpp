#include "base/CopyMessage.h"

#include <algorithm>
#include <cstring>

void CopyMessage(std::string_view text, char* buffer, unsigned int size) {
    if (size == 0) {
        return;
    }
    const std::size_t length = std::min<std::size_t>(text.size(), size - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}
