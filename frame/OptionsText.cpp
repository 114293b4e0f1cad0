#include "frame/OptionsText.h"

#include <sstream>

#include "host/BinaryString.h"

bool HasOptions(const NvImportOpenOptions* options) {
    return options != nullptr && options->size != 0 && options->data != nullptr;
}

bool WantsOptions(const NvImportOpenOptions* options) {
    return options != nullptr && options->size == 0 && options->data == nullptr;
}

std::string DecodeOptionsText(const NvImportOpenOptions& options) {
    std::istringstream stream(std::string(reinterpret_cast<const char*>(options.data), options.size));
    return ReadBinaryString(stream);
}

std::vector<std::uint8_t> EncodeOptionsText(std::string_view text) {
    std::ostringstream stream;
    WriteBinaryString(stream, text);
    const std::string bytes = std::move(stream).str();
    return {bytes.begin(), bytes.end()};
}

void LendOptions(std::string_view text, std::vector<std::uint8_t>& memory, NvImportOpenOptions& options) {
    memory = EncodeOptionsText(text);
    options.size = static_cast<std::uint32_t>(memory.size());
    options.data = memory.data();
}
