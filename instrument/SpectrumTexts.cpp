#include "instrument/SpectrumTexts.h"

#include <optional>
#include <utility>

#include "base/Unicode.h"
#include "frame/CompleteOptions.h"

void SpectrumTexts::Choose(const NvImportOpenOptions* options, karta::ReadContext& context) {
    *this = {};
    const auto wanted = CompleteOptions(options).GetText(CompleteOptions::Encoding);
    std::optional<CodePage> found = wanted ? CodePage::Find(*wanted) : std::nullopt;
    if (found) {
        chosen = std::make_unique<CodePage>(std::move(*found));
    } else if (wanted) {
        context.notes.Add({"unknown-encoding", 1, "", "the encoding \"" + *wanted + "\" isn't known"});
    }
}

std::string SpectrumTexts::ToUtf8(std::string_view bytes, int declared) {
    if (chosen != nullptr) {
        return chosen->ToUtf8(bytes);
    }
    if (declared > 0) {
        if (last == nullptr || lastNumber != declared) {
            last = std::make_unique<CodePage>(declared);
            lastNumber = declared;
        }
        if (last->IsKnown()) {
            return last->ToUtf8(bytes);
        }
    }
    std::string storage;
    const std::string_view text = AsUtf8(bytes, storage);
    guessed += text.data() != bytes.data() && !bytes.empty() ? 1 : 0;
    return std::string(text);
}

void SpectrumTexts::AddNote(const std::string& fileName, karta::ReadContext& context) {
    if (const std::uint64_t count = std::exchange(guessed, 0); count > 0) {
        context.notes.Add({"encoding", count, fileName,
                           karta::CountOf(count, "text") + " of " + fileName +
                               (count == 1 ? " isn't UTF-8 and is" : " aren't UTF-8 and are") +
                               " taken for Windows-1252; --encoding names another"});
    }
}
