#pragma once

#include <string>
#include <string_view>

/** The first bytes of a file, and what they say without any format's help. */
class FileHead {
public:
    /** As many bytes as text is judged by. */
    static constexpr std::size_t Size = 1 << 16;

    /** A file that can't be read has an empty head. */
    explicit FileHead(const std::string& path);

    std::string_view GetBytes() const { return bytes; }

    /** Whether people could read it: UTF-8, UTF-16 by mark or by its NULs, or 8-bit text. Also if it is
     * empty. */
    bool IsText() const;

    /** A kind of file that no format here reads. */
    struct Kind {
        const char* name;   /**< "gzip-compressed data"; null: none that is known */
        const char* advice; /**< what to do instead; may be empty */
        bool isCertain;     /**< a file of this kind is nothing else, whatever its name */
    };
    Kind GetForeignKind() const;

private:
    std::string bytes;
};
