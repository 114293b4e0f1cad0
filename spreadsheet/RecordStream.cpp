#include "spreadsheet/RecordStream.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <limits>
#include <span>

#include "base/ByteCursor.h"
#include "base/Unicode.h"

namespace {

constexpr int ByteEnd = std::char_traits<char>::eof();
constexpr std::size_t StepSize = 65536;
// A count that stands for no text at all.
constexpr std::uint32_t NoText = 0xffffffff;
constexpr std::size_t CountSize = 4;

}  // namespace

RecordStream::RecordStream(std::istream& partStream, RecordForm recordForm)
    : stream(partStream), form(recordForm) {}

// Of the stream's buffer itself: that is faster, and lets pass what isn't about the part.
bool RecordStream::Next() {
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
        return false;
    }
}

// Seven bits a byte, the top bit of each telling whether another follows; the last one's is not looked at in
// the short form.
bool RecordStream::ReadNumber(int mostBytes, std::uint32_t& number) {
    number = 0;
    for (int i = 0; i < mostBytes; ++i) {
        const int byte = stream.rdbuf()->sbumpc();
        if (byte == ByteEnd) {
            return false;
        }
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
    const std::size_t kept = std::min<std::size_t>(count, LongestKept);
    // Memory follows the bytes that are there, not the length that is claimed.
    while (length < kept) {
        const std::size_t step = std::min(kept - length, StepSize);
        if (data.size() < length + step + Room) {
            data.resize(length + step + Room);
        }
        const auto got = stream.rdbuf()->sgetn(data.data() + length, static_cast<std::streamsize>(step));
        length += static_cast<std::size_t>(got);
        if (static_cast<std::size_t>(got) < step) {
            break;
        }
    }
    std::memset(data.data() + length, 0, Room);
    bool isWhole = length == kept;
    for (std::size_t left = count - kept; isWhole && left > 0; --left) {
        isWhole = stream.rdbuf()->sbumpc() != ByteEnd;
    }
    return isWhole;
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

std::uint8_t RecordStream::GetByte(std::size_t offset) const {
    return offset < length + Room ? static_cast<std::uint8_t>(data[offset]) : 0;
}

int RecordStream::GetI2(std::size_t offset) const {
    return static_cast<std::int16_t>(GetByte(offset) | GetByte(offset + 1) << 8);
}

std::int32_t RecordStream::GetI4(std::size_t offset) const {
    if (offset >= length + Room - sizeof(std::int32_t)) {
        return 0;
    }
    return ByteCursor({reinterpret_cast<const std::uint8_t*>(data.data()) + offset, sizeof(std::int32_t)})
        .ReadI32();
}

double RecordStream::GetDouble(std::size_t offset) const {
    if (offset >= length + Room - sizeof(double)) {
        return 0.0;
    }
    return ByteCursor({reinterpret_cast<const std::uint8_t*>(data.data()) + offset, sizeof(double)})
        .ReadDouble();
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
    text = Utf16ToUtf8({reinterpret_cast<const std::uint8_t*>(data.data()) + begin, std::size_t{count} * 2});
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
    const char* const first = data.data() + begin;
    const char* const end = data.data() + length;
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
