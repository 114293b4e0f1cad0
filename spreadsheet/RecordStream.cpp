#include "spreadsheet/RecordStream.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <span>

#include "base/Unicode.h"

namespace {

constexpr int ByteEnd = std::char_traits<char>::eof();
// A count that stands for no text at all.
constexpr std::uint32_t NoText = 0xffffffff;
constexpr std::size_t CountSize = 4;

}  // namespace

RecordStream::RecordStream(std::istream& partStream, RecordForm recordForm)
    : stream(partStream), form(recordForm) {}

// Of the stream's buffer itself: that is faster, and lets pass what isn't about the part.
bool RecordStream::ReadNext() {
    if (damaged) {
        return false;
    }
    try {
        std::uint32_t nextId = 0;
        std::uint32_t count = 0;
        if (!ReadNumber(2, nextId) || !ReadNumber(form == RecordForm::Short ? 2 : 4, count)) {
            return false;
        }
        id = static_cast<std::uint16_t>(nextId);
        return ReadData(count);
    } catch (const std::ios_base::failure&) {
        damaged = true;
        next = limit;
        return false;
    }
}

// Reads on behind what isn't taken yet, no further than the stream has bytes at hand: what stands before a
// damage counts. False at the end of the part.
bool RecordStream::Fill() {
    const auto kept = static_cast<std::size_t>(limit - next);
    std::memmove(block.data(), next, kept);
    next = block.data();
    limit = next + kept;
    std::streambuf& source = *stream.rdbuf();
    if (source.sgetc() == ByteEnd) {
        return false;
    }
    const auto atHand = std::max<std::streamsize>(source.in_avail(), 1);
    const auto room = static_cast<std::streamsize>(block.size() - kept);
    const std::streamsize got = source.sgetn(block.data() + kept, std::min(room, atHand));
    limit += got;
    return got > 0;
}

// Seven bits a byte, the top bit of each telling whether another follows; the last one's is not looked at in
// the short form.
bool RecordStream::ReadNumber(int mostBytes, std::uint32_t& number) {
    number = 0;
    for (int i = 0; i < mostBytes; ++i) {
        if (next == limit && !Fill()) {
            return false;
        }
        const auto byte = static_cast<std::uint8_t>(*next++);
        const bool isLast = i + 1 == mostBytes;
        const auto bits =
            static_cast<std::uint32_t>(isLast && form == RecordForm::Short ? byte : byte & 0x7f);
        number += bits << (7 * i);
        if ((byte & 0x80) == 0) {
            break;
        }
    }
    return true;
}

bool RecordStream::ReadData(std::uint32_t count) {
    length = 0;
    if (count > block.size() / 2) {
        return ReadLongData(count);
    }
    while (static_cast<std::size_t>(limit - next) < count && Fill()) {
    }
    data = next;
    length = std::min<std::size_t>(count, static_cast<std::size_t>(limit - next));
    next += length;
    return length == count;
}

// Memory follows the bytes that are there, not the length that is claimed.
bool RecordStream::ReadLongData(std::size_t count) {
    std::size_t left = count;
    longData.clear();
    while (left > 0 && (next != limit || Fill())) {
        const std::size_t here = std::min(left, static_cast<std::size_t>(limit - next));
        longData.insert(longData.end(), next, next + std::min(here, LongestKept - longData.size()));
        next += here;
        left -= here;
    }
    data = longData.data();
    length = longData.size();
    return left == 0;
}

bool RecordStream::Find(int wanted) {
    bool good = Next();
    while (good && id != wanted) {
        good = Next();
    }
    return good;
}

bool RecordStream::IsIntact() {
    char rest[4096];
    try {
        while (!damaged && stream.rdbuf()->sgetn(rest, sizeof rest) > 0) {
        }
    } catch (const std::ios_base::failure&) {
        damaged = true;
    }
    return !damaged;
}

bool RecordStream::GetText(std::size_t offset, std::string& text) const {
    const auto count = static_cast<std::uint32_t>(GetI4(offset));
    const std::size_t begin = std::min(offset + CountSize, length);
    if (form == RecordForm::Short) {
        return GetShortText(begin, count, text);
    }
    if (count == NoText) {
        text.clear();
        return true;
    }
    if (offset + CountSize > length || count > (length - begin) / 2) {
        return false;
    }
    text = Utf16ToUtf8({reinterpret_cast<const std::uint8_t*>(data) + begin, std::size_t{count} * 2});
    return true;
}

bool RecordStream::HasCutCharacters(std::size_t offset) const {
    const std::size_t begin = std::min(offset + CountSize, length);
    const std::size_t there = (length - begin) / 2;
    const auto count = std::min<std::size_t>(static_cast<std::uint32_t>(GetI4(offset)), there);
    for (std::size_t i = 0; form == RecordForm::Short && i < count; ++i) {
        if (data[begin + 2 * i + 1] != 0) {
            return true;
        }
    }
    return false;
}

bool RecordStream::GetShortText(std::size_t begin, std::uint32_t count, std::string& text) const {
    const char* const first = data + begin;
    const char* const end = data + length;
    if (count < static_cast<std::size_t>(std::find(first, end, '\0') - first)) {
        return false;
    }
    text.clear();
    const std::size_t there = static_cast<std::size_t>(end - first + 1) / 2;
    for (std::size_t i = 0; i < std::min<std::size_t>(count, there); ++i) {
        text += first[2 * i];
    }
    return true;
}
