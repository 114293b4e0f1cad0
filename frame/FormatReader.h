#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "base/Place.h"
#include "base/ReadContext.h"
#include "frame/SpreadsheetFile.h"

/**
 * What the readers of this library share beyond the contract: the context of a read. It adds no virtual
 * operation, so that the contract's slots stay where modules expect them.
 *
 * A reader that is given no context makes one of its own, which reads classically, leaves questions and the
 * log to the process-wide handlers, and sets no limits.
 */
class KARTA_EXPORT FormatReader : public SpreadsheetFile {
public:
    /** Before Open; holds for one life from Open to Close and is let go of there. Null: one of its own. */
    void SetContext(std::shared_ptr<karta::ReadContext> newContext);
    /** Never null. Readers that forward to others hand it on before they open them. */
    const std::shared_ptr<karta::ReadContext>& GetContext() const;

    /** Lets the budget grow with the bytes of a selection; for who gave the context, before Open. */
    void AddInputs(const char* fileNames);

    /** Ends what Open began; a context that was given stays for its owner to look at. */
    void Close() override;

    /**
     * Where the read failed, as far as the reader knows; of a file of several encodings in the encoding of
     * its error message. Known once that has been asked for.
     */
    const karta::Place& GetFailurePlace() const { return failurePlace; }

protected:
    /** One status of a format and its text. */
    struct StatusText {
        int status;
        std::string_view text;
    };

    /** GetErrorMessage by a format's own table; what isn't in it is the contract's. */
    void CopyStatusText(std::span<const StatusText> texts, char* buffer, unsigned int size);

    bool IsComplete() const { return context != nullptr && context->reading == karta::Reading::Complete; }
    void AddNote(karta::Note note) { GetContext()->notes.Add(std::move(note)); }
    /** The user's answer to a yes-or-no question. */
    bool Ask(const std::string& text) const;
    void WriteLog(const std::string& section, const std::string& key, const std::string& text, int importance,
                  const std::string& detail = {}) const;

    /**
     * Does a step whose outgrowing the budget is a failure of this format: it ends in `failure`, and the
     * error message then tells what grew.
     */
    template <class Step>
    int WithinBudget(int failure, Step step) {
        try {
            return step();
        } catch (const karta::BudgetExceeded& exceeded) {
            failureText = exceeded.what();
            status = failure;
            return status;
        }
    }

    /** Told by GetErrorMessage in place of the status's own text while it isn't empty. */
    std::string failureText;
    karta::Place failurePlace;

private:
    mutable std::shared_ptr<karta::ReadContext> context;  // null until one of its own is needed
    bool isOwnContext = true;
};
