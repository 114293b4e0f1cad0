#include "process/BrooksideStream.h"

#include <algorithm>

BrooksideStream BrooksideStream::OfFile(const std::string& path, std::size_t longestLine) {
    BrooksideStream stream;
    stream.file = std::make_shared<const MappedFile>(path.c_str());
    stream.open = stream.file->IsOpen();
    const auto bytes = stream.file->GetBytes();
    stream.text = {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    stream.longest = longestLine;
    return stream;
}

BrooksideStream BrooksideStream::OfText(std::string_view text, std::size_t longestLine) {
    BrooksideStream stream;
    stream.open = true;
    stream.text = text;
    stream.longest = longestLine;
    return stream;
}

std::string_view BrooksideStream::NextLine() {
    if (AtEnd()) {
        return {};
    }
    // The line feed behind a line of the greatest length belongs to it.
    const std::string_view rest = text.substr(position);
    const std::string_view reach = longest < rest.size() ? rest.substr(0, longest + 1) : rest;
    const std::size_t feed = reach.find('\n');
    std::size_t length = std::min(feed, std::min(rest.size(), longest));
    position += length + (feed == std::string_view::npos ? 0 : 1);
    if (length > 0 && rest[length - 1] == '\r') {
        --length;
    }
    const std::string_view line = rest.substr(0, length);
    return line.substr(0, line.find('\0'));
}

std::size_t BrooksideStream::CountLines() {
    std::size_t count = 0;
    for (; !AtEnd(); ++count) {
        const std::size_t feed =
            longest == AnyLineLength ? text.find('\n', position) : std::string_view::npos;
        if (feed != std::string_view::npos) {
            position = feed + 1;
        } else {
            NextLine();
        }
    }
    return count;
}
