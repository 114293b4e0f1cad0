#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Export.h"

/**
 * A section of named values and subsections, kept as XML text: the form in which a reader's choices travel
 * in the options record. `<XMLSection><Settings><Key>value</Key></Settings></XMLSection>`, UTF-8, no
 * declaration. Values are escaped %HH, so that any bytes pass.
 */
class KARTA_EXPORT XMLSection {
public:
    /** The subsection that all readers use. */
    static constexpr const char* Settings = "Settings";

    /** An empty document. */
    XMLSection() = default;
    /** Raises Exception for a text that is no section. */
    explicit XMLSection(std::string_view text);
    /** Null for a text that is no section. */
    static std::unique_ptr<XMLSection> CreateXMLSectionFromString(std::string_view text);

    /** The subsection of a name; null when it isn't there. */
    const XMLSection* GetSection(std::string_view name) const;
    /** The subsection of a name, made when it isn't there. */
    XMLSection& CreateSection(std::string_view name);

    /** A key that isn't there, or whose value is of another kind, leaves `value` as it was: false. */
    bool Read(std::string_view key, bool& value) const;
    bool Read(std::string_view key, int& value) const;
    bool Read(std::string_view key, float& value) const;
    bool Read(std::string_view key, std::string& value) const;
    bool Read(std::string_view key, std::vector<int>& value) const;
    bool Read(std::string_view key, std::vector<float>& value) const;

    /** Each replaces an older value of the key. */
    void Write(std::string_view key, bool value);
    void Write(std::string_view key, int value);
    void Write(std::string_view key, float value);
    void Write(std::string_view key, std::string_view value);
    void Write(std::string_view key, const char* value) { Write(key, std::string_view(value)); }
    void Write(std::string_view key, const std::vector<int>& value);
    void Write(std::string_view key, const std::vector<float>& value);

    /** The keys of the values, in their order. */
    std::vector<std::string> GetKeys() const;

    /** The text of the whole document. */
    std::string Flush() const;

private:
    struct Parser;

    const std::string* Find(std::string_view key) const;
    void Put(std::string_view key, std::string escaped);
    void Append(std::string& text) const;

    // In the order of their making, which is the order in the text. Values are kept escaped.
    std::vector<std::pair<std::string, std::string>> values;
    std::vector<std::pair<std::string, std::unique_ptr<XMLSection>>> sections;
};
