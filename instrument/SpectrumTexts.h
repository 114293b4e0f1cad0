#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/CodePage.h"
#include "base/ReadContext.h"
#include "frame/NvImport.h"

/**
 * The texts of instruments' files as UTF-8, which hardly ever tell their encoding: by the one that was asked
 * for, else as they stand where they are UTF-8, else as Windows-1252, which a note tells.
 */
class SpectrumTexts {
public:
    /** UTF-8 or Windows-1252. */
    SpectrumTexts() = default;
    /** The encoding that the options ask for, which may be none; one that isn't known gets a note. */
    void Choose(const NvImportOpenOptions* options, karta::ReadContext& context);

    /** `declared` is a code page that the file names, 0 for none. */
    std::string ToUtf8(std::string_view bytes, int declared = 0);
    /** Tells how many texts of the file had to be taken for Windows-1252 since this was asked last. */
    void AddNote(const std::string& fileName, karta::ReadContext& context);

private:
    std::unique_ptr<CodePage> chosen;
    std::unique_ptr<CodePage> last;  // of the file's own
    int lastNumber = 0;
    std::uint64_t guessed = 0;
};
