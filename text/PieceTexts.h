#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "frame/CellRunSink.h"

/** The texts of one column of a piece, one behind the other. All of it in the header: it runs once a cell. */
class PieceTexts {
public:
    void Clear() { size = 0; }
    /** For the texts of so many rows. */
    void MakeRoom(std::size_t rows) { ends.resize(rows); }

    /** The text of a row, behind those of all rows above it. Bytes up to `readable` may be looked at. */
    void Put(std::uint32_t row, std::string_view text, const char* readable) {
        if (bytes.size() < size + text.size() + WordsAtOnce) {
            bytes.resize(std::max(2 * bytes.size(), size + text.size() + WordsAtOnce));
        }
        // Most texts are short, and a copy of a fixed size is no call.
        if (text.size() <= WordsAtOnce &&
            readable - text.data() >= static_cast<std::ptrdiff_t>(WordsAtOnce)) {
            std::memcpy(bytes.data() + size, text.data(), WordsAtOnce);
        } else if (!text.empty()) {
            std::memcpy(bytes.data() + size, text.data(), text.size());
        }
        size += text.size();
        ends[row] = static_cast<std::uint32_t>(size);
    }
    /** A row without a text, or one whose text is taken back. */
    void PutNothing(std::uint32_t row) {
        ends[row] = row == 0 ? 0 : ends[row - 1];
        size = ends[row];
    }

    /** Of the rows from one to before the other. */
    TextRun GetRun(std::uint32_t first, std::uint32_t last) const {
        return {bytes.data(), first == 0 ? 0 : ends[first - 1], std::span(ends).subspan(first, last - first)};
    }

private:
    static constexpr std::size_t WordsAtOnce = 16;

    std::vector<char> bytes;
    std::size_t size = 0;
    std::vector<std::uint32_t> ends;  // one a row
};
