#include "instrument/JCAMPStream.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "base/ByteScan.h"
#include "base/Stopped.h"

namespace {

// A longer line arrives in pieces of this size, each of them a line.
constexpr std::size_t MaxLineLength = 255;

// Of lines that were read.
constexpr std::size_t BytesToLetGo = std::size_t{1} << 20;

// Begins a comment, wherever it stands.
constexpr std::string_view Comment = "$$";

// Begins a label, behind blanks at most.
constexpr std::string_view LabelMark = "##";

// Of whole lines: CR and LF together are one end.
int CountLineEnds(std::string_view text) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    std::size_t count = CountByte(begin, end, '\n');
    for (const char* at = FindByte(begin, end, '\r'); at != end; at = FindByte(at + 1, end, '\r')) {
        count += at + 1 == end || at[1] != '\n' ? 1 : 0;
    }
    return static_cast<int>(std::min<std::size_t>(count, std::numeric_limits<int>::max()));
}

}  // namespace

JCAMPStream::JCAMPStream(const char* path, Lines lineForm)
    : file(std::make_shared<MappedFile>(path)), lines(lineForm), failed(!file->IsOpen()) {
    bytes = {reinterpret_cast<const char*>(file->GetBytes().data()), file->GetBytes().size()};
}

void JCAMPStream::Seek(std::uint64_t offset) {
    failed = !file->IsOpen() || offset > bytes.size();
    atEnd = false;
    position = failed ? bytes.size() : static_cast<std::size_t>(offset);
    firstKept = std::min(firstKept, position);
}

// Pages of the file count as memory of the process while they are looked at.
void JCAMPStream::Tidy() {
    if (lines == Lines::Whole && position >= firstKept + BytesToLetGo) {
        LetGoOfLines();
    }
}

void JCAMPStream::LetGoOfLines() {
    file->LetGo(firstKept, position);
    firstKept = position;
}

// How far it is to the end of the line at the position; false where there is none before the line is too
// long or the bytes are at their end. Window by window, so that a file of CR alone isn't searched for LF anew
// for each line.
bool JCAMPStream::FindLineEnd(std::size_t& length) const {
    length = 0;
    while (true) {
        const std::string_view window = bytes.substr(position + length, MaxLineLength);
        if (window.empty()) {
            return false;
        }
        const auto* lineFeed = static_cast<const char*>(std::memchr(window.data(), '\n', window.size()));
        const std::size_t reach =
            lineFeed != nullptr ? static_cast<std::size_t>(lineFeed - window.data()) : window.size();
        const auto* carriageReturn = static_cast<const char*>(std::memchr(window.data(), '\r', reach));
        const char* const found = carriageReturn != nullptr ? carriageReturn : lineFeed;
        length += found != nullptr ? static_cast<std::size_t>(found - window.data()) : window.size();
        if (found != nullptr || lines == Lines::Pieces) {
            return found != nullptr;
        }
    }
}

bool JCAMPStream::TakeLine(std::string_view& line) {
    karta::ThrowIfStopped(stop);
    std::size_t length = 0;
    const bool isEnded = FindLineEnd(length);
    line = bytes.substr(position, length);
    if (!isEnded) {
        position += length;
        if (length < MaxLineLength || lines == Lines::Whole) {
            atEnd = failed = true;
        }
        return length > 0;
    }
    position += length + 1;
    if (position == bytes.size()) {
        atEnd = true;
        return true;
    }
    const char ended = bytes[position - 1];
    const char next = bytes[position];
    const bool isPair = lines == Lines::Whole ? ended == '\r' && next == '\n' : next == '\r' || next == '\n';
    position += isPair ? 1 : 0;
    return true;
}

bool JCAMPStream::ReadLine(std::string_view& line, int& lineNumber) {
    Tidy();
    if (failed || !TakeLine(line)) {
        return false;
    }
    line = line.substr(0, line.find('\0'));
    line = line.substr(0, line.find(Comment));
    ++lineNumber;
    return true;
}

void JCAMPStream::SkipToLabel(int& lineNumber) {
    const std::size_t begin = position;
    std::size_t found = bytes.find(LabelMark, position);
    std::size_t line = bytes.size();
    for (; found != std::string_view::npos; found = bytes.find(LabelMark, found + 1)) {
        std::size_t start = found;
        while (start > begin && (bytes[start - 1] == ' ' || bytes[start - 1] == '\t')) {
            --start;
        }
        if (start == begin || bytes[start - 1] == '\n' || bytes[start - 1] == '\r') {
            line = start;
            break;
        }
    }
    lineNumber += CountLineEnds(bytes.substr(begin, line - begin));
    position = line;
    Tidy();
    if (position == bytes.size()) {
        atEnd = failed = true;
    }
}

void JCAMPStream::SkipTo(char mark) {
    position = std::min(bytes.find(mark, position), bytes.size());
    if (position == bytes.size()) {
        atEnd = failed = true;
    }
}
