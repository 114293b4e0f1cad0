#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "spreadsheet/BaseStream.h"

/**
 * A workbook's stream as its record reader takes it: small pieces, one behind the other. Where the stream has
 * its bytes in memory, they are taken from there without a call for each piece. A failure shows in GetStatus
 * and stays there.
 */
class RecordBytes {
public:
    RecordBytes() = default;
    explicit RecordBytes(std::unique_ptr<BaseStream> workbookStream) : stream(std::move(workbookStream)) {}

    bool IsOpen() const { return stream != nullptr; }

    /** `count` bytes; false where there are fewer, or where the stream has failed before. */
    bool Read(char* buffer, std::size_t count) {
        if (count >= window.size() - taken) {
            return ReadOn(buffer, count);
        }
        std::memcpy(buffer, window.data() + taken, count);
        taken += count;
        return true;
    }
    /** What lies ahead in memory, if anything. */
    std::string_view GetAhead() const { return window.substr(taken); }
    /** Over fewer bytes than lie ahead. */
    void Skip(std::size_t count) { taken += count; }
    /** As BaseStream has them. */
    void Seek(long long offset, int origin);
    int Tell();
    int GetStatus() { return stream->GetStatus(); }

private:
    bool ReadOn(char* buffer, std::size_t count);
    void LeaveWindow();

    std::unique_ptr<BaseStream> stream;
    std::string_view window;  // bytes from the stream's position on
    std::size_t taken = 0;    // of them
};
