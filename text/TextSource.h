#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/MappedFile.h"
#include "base/ReadContext.h"
#include "text/TextEncoding.h"

/**
 * The text of a file. What is UTF-8 or Windows-1252 stays in the mapped file, where every delimiter is the
 * byte that it is in ASCII; everything else, and text with NULs in it, is made UTF-8 once.
 */
class TextSource {
public:
    /** A file that is no text; tells what it is. */
    class Refused : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    /** `encodingName` is the user's, if any. Raises Refused, or another std::exception with its reason for
     * people. */
    void Open(const char* path, const std::optional<std::string>& encodingName, karta::ReadContext& context);
    void Close();

    /** Without the mark; UTF-8, or Windows-1252 by GetEncoding. */
    std::string_view GetText() const { return text; }
    const TextEncoding& GetEncoding() const { return encoding; }
    /** Whether fields may have to be converted by ToUtf8. */
    bool NeedsConversion() const { return !isKnownUtf8; }

    /** The beginning in UTF-8, at most so many characters; `isCut` tells whether it is all. */
    std::string GetBeginning(std::size_t characters, bool& isCut) const;

    /**
     * Looks at the whole file where so far only its beginning was. True where that changed the text: it isn't
     * UTF-8 after all, or holds NULs.
     */
    bool ExamineWhole(karta::ReadContext& context);

    /**
     * How much of the beginning is plain, where all of the text may be: who reads the whole may look at it
     * meanwhile, and call ExamineWhole at the first place that isn't. 0 where that is to be called at once.
     */
    std::size_t GetPlainBeginning() const;
    /** All of the text was found to be plain. */
    void TakeAsPlain() { isExamined = isKnownUtf8 = true; }

    /** The text up to here isn't looked at again soon: its memory may be used otherwise meanwhile. */
    void LetGo(std::size_t offset) const { LetGo(0, offset); }

    /** A field as UTF-8, in `storage` where that is another text. */
    std::string_view ToUtf8(std::string_view field, std::string& storage);

    /** Says what was left out or converted. */
    void AddNotes(karta::Notes& notes) const;

private:
    void RefuseForeign(const char* path) const;
    void TakeBytes(karta::ReadContext& context);
    ByteFacts ExamineInPieces(std::string_view& otherPiece, const karta::ReadContext& context) const;
    void LetGo(std::size_t begin, std::size_t end) const;
    void DropNuls(karta::ReadContext& context);

    MappedFile file;
    std::string_view bytes;  // the file's
    std::string decoded;     // where the text isn't the file's bytes
    std::string_view text;
    TextEncoding encoding;
    bool isNamed = false;      // by the user
    bool isExamined = false;   // the whole file is
    bool isKnownUtf8 = false;  // the text is, all of it
    bool hasEndMark = false;
    std::uint64_t nuls = 0;
    std::uint64_t undecodable = 0;
    std::uint64_t fieldsOfOtherBytes = 0;
};
