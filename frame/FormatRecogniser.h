#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"

/**
 * What the complete detection knows of a format beside its record: a short name for people, further
 * extensions, and a test by content. A static object at the end of a reader's source, beside its factory,
 * enters it.
 *
 * The classic detection looks at none of this.
 */
class KARTA_EXPORT FormatRecogniser {
public:
    /** What a file's first bytes say of a format. */
    enum class Evidence { None, Proof };
    /** Looks at a file by its name and its first HeadSize bytes; may look further into the file. */
    using Test = Evidence (*)(const char* path, std::string_view head);
    static constexpr std::size_t HeadSize = 4096;
    /** In place of a test: a file's content never proves the format, so that nobody has to look. */
    static Evidence ProvesNothing(const char* /*path*/, std::string_view /*head*/) { return Evidence::None; }

    /**
     * `formatName` is the name in the format's record, `shortName` its name for people ("spc"); both
     * literals. `extensions` are those beside the record's, with their dots, in lower case. `test` may be
     * null.
     */
    FormatRecogniser(const char* formatName, const char* shortName, std::vector<std::string> extensions,
                     Test test);
    FormatRecogniser(const FormatRecogniser&) = delete;
    FormatRecogniser& operator=(const FormatRecogniser&) = delete;
    ~FormatRecogniser();

    const char* GetFormatName() const { return formatName; }
    const char* GetShortName() const { return shortName; }
    const std::vector<std::string>& GetExtensions() const { return extensions; }
    bool HasTest() const { return test != nullptr && test != ProvesNothing; }
    bool CanProve() const { return test != ProvesNothing; }
    /** None where there is no test. */
    Evidence Recognise(const char* path, std::string_view head) const;

    /** Of the format with this name in its record, or null. */
    static const FormatRecogniser* Find(std::string_view formatName);
    /** All, in the byte-wise order of the formats' names. */
    static std::vector<const FormatRecogniser*> GetAll();

private:
    const char* formatName;
    const char* shortName;
    std::vector<std::string> extensions;
    Test test;
};
