#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stop_token>
#include <string_view>
#include <utility>

#include "base/MappedFile.h"

/**
 * The bytes of one JCAMP-DX file, read forward as a stream is: that the end is reached is known when
 * something was looked for behind it, and a stream that has failed gives no more lines. A copy is another
 * place in the same file, which another thread may read from.
 */
class JCAMPStream {
public:
    /** How long a line may be, and what ends one. */
    enum class Lines {
        Pieces, /**< of 255 bytes, each of them a line; any two of CR and LF are one end */
        Whole   /**< only CR and LF together are one end */
    };

    /** Check IsOpen afterwards. */
    explicit JCAMPStream(const char* path, Lines lineForm = Lines::Pieces);

    /** From now on a stop that was asked for ends the reading: it raises karta::Stopped. */
    void SetStop(std::stop_token readStop) { stop = std::move(readStop); }

    bool IsOpen() const { return file->IsOpen(); }
    bool HasFailed() const { return failed; }
    bool AtEnd() const { return atEnd; }
    std::size_t GetSize() const { return bytes.size(); }
    std::uint64_t Tell() const { return position; }

    /** To an offset from the start; the stream is as good as new there. */
    void Seek(std::uint64_t offset);

    /**
     * The next line without its end, which is CR, LF or two of them. False when not even one byte is left.
     */
    bool TakeLine(std::string_view& line);

    /**
     * The same line up to a NUL and without its comment, counted in `lineNumber`. False, leaving the line
     * as it was, when the stream has failed before.
     */
    bool ReadLine(std::string_view& line, int& lineNumber);

    /**
     * To the next line that begins as a label does, or to the end; whole lines passed over are counted.
     * Wants whole lines, and to stand at the beginning of one.
     */
    void SkipToLabel(int& lineNumber);

    /** To the next such byte, which is left to be read. */
    void SkipTo(char mark);

    /** The lines that were read aren't looked at again soon: the memory that they lie in may go. */
    void LetGoOfLines();

private:
    bool FindLineEnd(std::size_t& length) const;
    void Tidy();

    std::shared_ptr<const MappedFile> file;
    std::stop_token stop;
    std::string_view bytes;

    Lines lines;
    std::size_t position = 0;
    std::size_t firstKept = 0;  // the bytes before it, as far as they were read here, are let go of
    bool atEnd = false;
    bool failed;
};
