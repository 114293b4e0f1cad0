#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Export.h"
#include "base/Note.h"
#include "base/ReadContext.h"
#include "base/TableShape.h"
#include "frame/SpreadsheetData.h"
#include "frame/SpreadsheetFile.h"
#include "karta/internal/FormatCatalogue.h"
#include "karta/internal/OptionsRecord.h"
#include "karta/internal/ReadControl.h"
#include "karta/internal/ReadWishes.h"

// What every read does with its wishes, one step a function. Each raises Error with the file's name.

namespace karta {

/** Refuses names that can't be part of a selection. */
KARTA_EXPORT void CheckNames(const std::vector<std::string>& files);

/** Refuses what is there and is neither a file nor a folder: reading it may never end. */
KARTA_EXPORT void CheckKinds(const std::vector<std::string>& files);

/** Refuses names that can't be part of a selection, missing files, directories and unreadable ones. */
KARTA_EXPORT void CheckFiles(const std::vector<std::string>& files);

/** The number of the format that is wished by name; 0 where none is. */
KARTA_EXPORT int FindNamedFormat(const FormatCatalogue& formats, const ReadWishes& wishes);

/** Refuses a selection of several files where the format takes one. */
KARTA_EXPORT void CheckSelection(const FormatCatalogue& formats, int format, const ReadWishes& wishes);

/** The formats, and the one to read a selection by. */
struct ChosenFormat {
    const char* GetName() const { return formats->GetInfo(format)->formatName; }

    std::shared_ptr<FormatCatalogue> formats;
    int format = 0;
    std::string reason;  // why this one, for people
};

/** Checks the files, and chooses the format that is wished or detected, and that knows the wishes. */
KARTA_EXPORT ChosenFormat ChooseFormat(std::shared_ptr<FormatCatalogue> formats, const ReadWishes& wishes);

/**
 * A reader of the format that is called directly where the format is this library's, with the context that
 * is wished, and with passwords where they are known.
 */
KARTA_EXPORT std::unique_ptr<SpreadsheetFile> MakeReader(const FormatCatalogue& formats, int format,
                                                         const ReadWishes& wishes,
                                                         std::shared_ptr<ReadContext> context = nullptr);

/** A context by the wishes. */
std::shared_ptr<ReadContext> MakeContext(const ReadWishes& wishes);

/** A file that can't be opened, where a choice goes by what it holds. */
enum class Unopened {
    Fails,      // no choice, no read
    HasNoParts  // such choices are left out: the read itself is to show the failure
};

/** The options record; looks into the file first where a choice goes by what it holds. */
KARTA_EXPORT OptionsRecord MakeOptions(const FormatCatalogue& formats, int format, const ReadWishes& wishes,
                                       Unopened unopened = Unopened::Fails);

/** Raises why a reader has failed. */
[[noreturn]] void RaiseReadersError(SpreadsheetFile& reader, const ReadWishes& wishes,
                                    const std::string& format);

/** The reader's message, or a word for a status that has none. */
KARTA_EXPORT std::string MessageOf(SpreadsheetFile& reader);
KARTA_EXPORT std::string OrNoReason(const std::string& text);

/** What a read says beside its table. */
struct ReadReport {
    /** What the read may cost, for what is kept and written of it; null for a module's reader. */
    Budget* GetBudget() const { return context == nullptr ? nullptr : &context->budget; }

    // Of the read; null: it makes one, where the reader is this library's.
    std::shared_ptr<ReadContext> context;
    std::string warning;
    std::vector<Note> notes;
    TableShape shape;
};

/** What goes on at the ends of a read; each may be empty. */
struct ReadSteps {
    /** Before Open, with the reader's context, which is null for a module's reader. */
    std::function<void(ReadContext*)> begin;
    /** After a read that gave a table, before the reader is closed. */
    std::function<void(SpreadsheetFile&)> end;
};

/**
 * Reads the selection into the sink by a reader that is called directly. Raises Error when there is no table;
 * the report then holds what was known.
 */
KARTA_EXPORT void ReadDirectly(const ReadWishes& wishes, const ChosenFormat& chosen, OptionsRecord& options,
                               ReadControl& control, ReadSpreadSheetData& sink, ReadReport& report,
                               const ReadSteps& steps = {});

/** The exception that is handled at the moment as an Error. */
[[noreturn]] KARTA_EXPORT void RaiseAsError(const ReadWishes& wishes, const std::string& format);

/** Does a step of a read; exceptions that aren't Errors become some. */
template <class Step>
auto WithErrors(const ReadWishes& wishes, const std::string& format, const Step& step) {
    try {
        return step();
    } catch (...) {
        RaiseAsError(wishes, format);
    }
}

}  // namespace karta
