#include "base/PathNames.h"

#include <algorithm>

#include "base/Ascii.h"

namespace {

std::string_view NameOf(std::string_view path) {
    const std::size_t separator = path.find_last_of("/\\");
    return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

}  // namespace

std::string NvGetFileName(std::string_view path) {
    return std::string(NameOf(path));
}

std::string NvGetFileTitle(std::string_view path) {
    const std::string_view name = NameOf(path);
    return std::string(name.substr(0, name.rfind('.')));
}

std::string NvGetFileExtension(std::string_view path) {
    const std::string_view name = NameOf(path);
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos ? std::string() : std::string(name.substr(dot + 1));
}

bool HasExtension(std::string_view path, std::string_view extension) {
    return EqualIgnoringCase(NvGetFileExtension(path), extension);
}

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return ToLower(a) == ToLower(b); });
}

std::string ToLowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), ToLower);
    return lower;
}
