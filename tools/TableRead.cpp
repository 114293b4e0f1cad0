#include "tools/TableRead.h"

#include <unistd.h>

#include <exception>
#include <iostream>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "base/MemoryShare.h"
#include "frame/ImportHelperBase.h"
#include "host/Question.h"
#include "karta/internal/FormatOptions.h"
#include "karta/internal/RowFilter.h"
#include "tools/ErrorText.h"
#include "tools/Failure.h"
#include "tools/Interrupt.h"
#include "tools/KeptOptions.h"
#include "tools/PasswordQuestion.h"
#include "tools/ProgramTable.h"
#include "tools/TerminalText.h"

namespace {

/** The driver as the program uses it: warnings are kept for the verb to show. */
class ProgramDriver : public ImportHelperBase {
public:
    ProgramDriver(ImportDLLLoader* formats, const std::string& plugins, std::string& warningText)
        : ImportHelperBase(formats, plugins.c_str()), warning(warningText) {}

protected:
    int PutMsg1(const char* text, const char* /*caption*/, MessageType /*type*/, int defaultAnswer) override {
        warning = text;
        return defaultAnswer;
    }

private:
    std::string& warning;
};

[[noreturn]] void Fail(const ReadRequest& request, const std::string& text) {
    throw Failure(request.files.front() + ": " + text);
}

// What a reader asks a person, and how the person stops it.
karta::ReadWishes PersonsWishes(const ReadRequest& request) {
    karta::ReadWishes wishes = WishesOf(request);
    wishes.stop = Interrupt::GetStopToken();
    wishes.askPassword = AskForPassword;
    return wishes;
}

void ReadThroughDriver(const ReadRequest& request, const ChosenFormat& chosen, OptionsRecord& options,
                       SpreadsheetData& sink, ReadReport& report) {
    ProgramDriver driver(new FormatCatalogue, request.plugins, report.warning);
    if (!driver.ReadSpreadsheetFile(request.Selection().c_str(), chosen.format, &sink, options.Get(), true,
                                    nullptr)) {
        Interrupt::ThrowIfRequested();
        Fail(request, karta::OrNoReason(driver.GetErrorMessage()));
    }
    SaveOptionsAfterDriver(request, options, chosen.formats->IsOwn(chosen.format));
}

void ReadByReader(const ReadRequest& request, const ChosenFormat& chosen, OptionsRecord& options,
                  ReadControl& control, SpreadsheetData& sink, ReadReport& report) {
    karta::ReadSteps steps;
    steps.begin = [&](karta::ReadContext* context) {
        if (auto* table = dynamic_cast<TableData*>(&sink); table != nullptr && context != nullptr) {
            table->SetBudget(&context->budget);
        }
    };
    // Kept behind the read, so that what goes wrong then isn't taken for the file's fault; the record is the
    // reader's.
    std::optional<std::vector<std::uint8_t>> choices;
    steps.end = [&](SpreadsheetFile&) {
        if (const NvImportOpenOptions* record = options.Get()) {
            choices.emplace(record->data, record->data + record->size);
        }
    };
    ReadDirectly(PersonsWishes(request), chosen, options, control, sink, report, steps);
    if (choices) {
        SaveOptions(request, {static_cast<std::uint32_t>(choices->size()), choices->data()},
                    chosen.formats->IsOwn(chosen.format));
    }
}

std::ostream& MessagesOf(const ReadRequest& request) {
    return request.messages == nullptr ? std::cerr : *request.messages;
}

void ShowVerbosely(const ReadRequest& request, const ChosenFormat& chosen) {
    if (request.verbose) {
        MessagesOf(request) << "karta-import: " << request.NameOf(request.files.front()) << ": read as "
                            << chosen.GetName() << " (" << chosen.reason << "), "
                            << (request.IsComplete() ? "completely" : "classically")
                            << (request.throughDriver ? ", through the driver" : "") << ", by "
                            << chosen.formats->GetModulePath(chosen.format) << '\n';
    }
}

// The library names an option by itself, the program as it is typed.
void SpellNotes(std::vector<karta::Note>& notes) {
    for (karta::Note& note : notes) {
        if (note.code == "interval-off-axis") {
            note.text.insert(0, "--");
        } else if (note.code == "unknown-setting") {
            note.text.replace(0, std::string_view("settings").size(), "--setting");
        }
    }
}

}  // namespace

std::vector<int> TableRead::Rows(const ReadRequest& request) const {
    const RowFilter filter(request.want);
    std::vector<int> rows;
    MemoryShare memory(report.context, "The list of rows");
    for (int row = filter.NextRowToRead(0); row > 0 && row <= table->GetNumberOfRows();
         row = filter.NextRowToRead(row)) {
        memory.Add(sizeof row);
        rows.push_back(row);
    }
    return rows;
}

karta::ReadOptions ReadOptionsOf(const ReadRequest& request) {
    karta::ReadOptions options = InProgramsWords([&] { return karta::MakeReadOptions(request); });
    options.stop = Interrupt::GetStopToken();
    if (!request.plugins.empty()) {
        options.plugins = {request.plugins};
    }
    return options;
}

void CheckRoad(const ReadRequest& request) {
    if (!request.throughDriver) {
        return;
    }
    if (request.givenReading == karta::Reading::Complete) {
        throw Failure("the driver reads classically; --complete can't go with --through-driver", ExitUsage);
    }
    if (!request.matrix.empty()) {
        throw Failure("--matrix is chosen in the reader itself and can't go with --through-driver",
                      ExitUsage);
    }
    if (request.password) {
        throw Failure("--password is given to the reader itself and can't go with --through-driver",
                      ExitUsage);
    }
}

void CheckNames(const ReadRequest& request) {
    InProgramsWords([&] { karta::CheckNames(request.files); });
}

void CheckKinds(const ReadRequest& request) {
    InProgramsWords([&] { karta::CheckKinds(request.files); });
}

void CheckFiles(const ReadRequest& request) {
    InProgramsWords([&] { karta::CheckFiles(request.files); });
}

std::unique_ptr<FormatCatalogue> LoadFormats(const ReadRequest& request) {
    auto formats = std::make_unique<FormatCatalogue>();
    formats->Init(request.plugins.c_str());
    return formats;
}

int FindNamedFormat(const FormatCatalogue& formats, const ReadRequest& request) {
    return InProgramsWords([&] { return karta::FindNamedFormat(formats, request); });
}

void CheckSelection(const FormatCatalogue& formats, int format, const ReadRequest& request) {
    InProgramsWords([&] { karta::CheckSelection(formats, format, request); });
}

std::string ReasonOf(const FormatFinding& finding) {
    std::string text = finding.reason;
    if (!finding.possible.empty()) {
        text += " Name it with --format. These may fit:";
    }
    for (const std::string& name : finding.possible) {
        text += "\n  " + name;
    }
    return text;
}

ChosenFormat ChooseFormat(const ReadRequest& request) {
    CheckRoad(request);
    CheckFiles(request);
    AnswerQuestions(request);
    ChosenFormat chosen{LoadFormats(request), 0, "named with --format"};
    chosen.format = FindNamedFormat(*chosen.formats, request);
    if (chosen.format == 0) {
        const FormatFinding finding =
            FormatDetection(*chosen.formats)
                .DetectForUser(request.files.front(), request.reading, FormatDetection::Verdicts::UpToProof);
        if (finding.format == 0) {
            Fail(request, ReasonOf(finding));
        }
        chosen.format = finding.format;
        chosen.reason = finding.reason;
    }
    CheckSelection(*chosen.formats, chosen.format, request);
    InProgramsWords([&] { CheckFormatOptions(*chosen.formats, chosen.format, request); });
    return chosen;
}

std::unique_ptr<SpreadsheetFile> MakeReader(const FormatCatalogue& formats, int format,
                                            const ReadRequest& request) {
    return karta::MakeReader(formats, format, PersonsWishes(request));
}

OptionsRecord MakeOptions(const FormatCatalogue& formats, int format, const ReadRequest& request,
                          Unopened unopened) {
    return InProgramsWords(
        [&] { return karta::MakeOptions(formats, format, PersonsWishes(request), unopened); });
}

void ShowReport(const ReadRequest& request, const ReadReport& report) {
    if (request.quiet) {
        return;
    }
    std::cout.flush();
    std::ostream& messages = MessagesOf(request);
    const std::string file = request.NameOf(request.files.front());
    if (!report.warning.empty()) {
        messages << "karta-import: " << file << ": warning: " << report.warning << '\n';
    }
    for (const karta::Note& note : report.notes) {
        // One line a note: a line feed in a sheet's name must not begin what looks like a message of ours.
        messages << "karta-import: " << file << ": note: " << VisibleText(note.text) << '\n';
    }
}

void AnswerQuestions(const ReadRequest& request) {
    if (request.answerYes || request.answerNo) {
        const bool yes = request.answerYes;
        Question::SetHandler([yes](const std::string&) { return yes; });
    } else if (isatty(STDIN_FILENO) != 0) {
        Question::SetHandler([](const std::string& text) {
            static std::mutex oneAtATime;
            const std::scoped_lock lock(oneAtATime);
            std::cerr << text << " [Y/n] " << std::flush;
            std::string answer;
            std::getline(std::cin, answer);
            return answer.empty() || answer.front() == 'y' || answer.front() == 'Y';
        });
    }
}

PersonsControl::PersonsControl(const ReadRequest& request, int rowsOfHead)
    : progress(!request.quiet && request.drawsProgress),
      control(InProgramsWords([&] { return RowFilter(request.want); }),
              {Interrupt::GetStopToken(), [this](int row, int rows) { progress.Show(row, rows); },
               [this](double share) { progress.ShowShare(share); }},
              rowsOfHead) {}

void ReadSelection(const ReadRequest& request, const ChosenFormat& chosen, ReadControl& control,
                   SpreadsheetData& sink, ReadReport& report) {
    ShowVerbosely(request, chosen);
    report.notes = NoteUnknownSettings(*chosen.formats, chosen.format, request);
    OptionsRecord options = MakeOptions(*chosen.formats, chosen.format, request);
    try {
        if (request.throughDriver) {
            ReadThroughDriver(request, chosen, options, sink, report);
        } else {
            InProgramsWords([&] { ReadByReader(request, chosen, options, control, sink, report); });
        }
    } catch (const Failure&) {
        SpellNotes(report.notes);
        throw;
    } catch (const std::bad_alloc&) {
        Fail(request, NotEnoughMemory);
    } catch (const std::exception& exception) {
        Interrupt::ThrowIfRequested();
        Fail(request, exception.what());
    }
    SpellNotes(report.notes);
    Interrupt::ThrowIfRequested();
}

void ReadTable(const ReadRequest& request, TableRead& result, int headRows) {
    const ChosenFormat chosen = ChooseFormat(request);
    PersonsControl control(request, headRows);
    auto table = std::make_unique<ProgramTable>(control.Get());
    ReadSelection(request, chosen, control.Get(), *table, result.report);
    result.hasMoreRows =
        control.Get().HasEnough() && table->GetNumberOfRows() <= control.Get().GetLastOfUse();
    result.table = std::move(table);
}
