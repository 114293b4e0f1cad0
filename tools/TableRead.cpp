#include "tools/TableRead.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <utility>

#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/ImportHelperBase.h"
#include "host/NvFile.h"
#include "host/Question.h"
#include "tools/AxisCheck.h"
#include "tools/BlockAdvice.h"
#include "tools/Failure.h"
#include "tools/FormatDetection.h"
#include "tools/FormatOptions.h"
#include "tools/Interrupt.h"
#include "tools/ProgramTable.h"
#include "tools/ProjectReader.h"
#include "tools/RowFilter.h"

namespace {

constexpr unsigned int ErrorTextSize = 4096;

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

std::string OrNoReason(const std::string& text) {
    return text.empty() ? "The file holds no table (the reader gives no reason)." : text;
}

[[noreturn]] void Fail(const ReadRequest& request, const std::string& text) {
    throw Failure(request.files.front() + ": " + text);
}

/** One read by a reader that is called directly, as the driver does it, but without the flat interface. */
class DirectRead {
public:
    DirectRead(const ReadRequest& readRequest, const ChosenFormat& chosenFormat, ReadControl& readControl,
               SpreadsheetData& target, ReadReport& readReport)
        : request(readRequest),
          chosen(chosenFormat),
          control(readControl),
          sink(target),
          report(readReport),
          reader(MakeReader(*chosen.formats, chosen.format, request)) {
        if (const auto* own = dynamic_cast<FormatReader*>(reader.get())) {
            context = own->GetContext();
            context->stop = control.GetStopToken();
            context->progress = [this](double share) { control.ShowShare(share); };
            report.context = context;
            if (auto* table = dynamic_cast<TableData*>(&sink)) {
                table->SetBudget(&context->budget);
            }
        }
    }

    void Run(OptionsRecord& options) {
        try {
            Read(options);
        } catch (const karta::Stopped&) {
            // Stopped by the user, or because all that was wanted is there.
            Interrupt::ThrowIfRequested();
        } catch (...) {
            KeepWhatIsKnown();
            throw;
        }
        KeepWhatIsKnown();
        if (options.Get() != nullptr) {
            OptionsRecord::Save(request, *options.Get(), chosen.formats->IsOwn(chosen.format));
        }
        reader->Close();
    }

private:
    void Read(OptionsRecord& options) {
        reader->Open(true, request.Selection().c_str(), options.Get());
        if (reader->GetStatus() != SpreadsheetFile::StatusOk) {
            FailWithReader();
        }
        SelectPart(options);
        // In the complete reading the table is as large as its cells: the reader says so on the way.
        if (!request.IsComplete() || context == nullptr) {
            Measure();
        }
        if (reader->Read(&sink) != SpreadsheetFile::StatusOk && !control.HasEnough()) {
            FailWithReader();
        }
        if (!control.WasResized() && !control.HasEnough()) {
            TakeSize();
        }
        if (const char* warning = reader->GetWarningMessage()) {
            report.warning = warning;
        }
    }

    void SelectPart(const OptionsRecord& options) {
        if (!options.GetSelectedPart()) {
            return;
        }
        const int number = *options.GetSelectedPart();
        auto* contents = dynamic_cast<FileContents*>(reader.get());
        if (contents == nullptr || !contents->SelectPart(number)) {
            Fail(request, "--matrix: there is no matrix number " + std::to_string(number) +
                              " to choose; karta-import info lists what the file holds");
        }
    }

    void Measure() {
        const int rows = reader->GetNumRows();
        const int cols = reader->GetNumCols();
        if (rows == -1 || cols == -1) {
            FailWithReader();
        }
        if (rows <= 0 || cols <= 0) {
            Fail(request, "The selected file does not contain any data. Import will be aborted.");
        }
        sink.SetDataSize(cols, rows);
    }

    // Of a reader that hasn't told its table's size: empty rows and columns at the end count too.
    void TakeSize() {
        const int rows = reader->GetNumRows();
        const int cols = reader->GetNumCols();
        if (rows > 0 && cols > 0) {
            sink.SetDataSize(cols, rows);
        }
    }

    [[noreturn]] void FailWithReader() {
        Interrupt::ThrowIfRequested();
        if (reader->GetStatus() == SpreadsheetFile::StatusAbortedByUser) {
            const std::string advice = AdviseOnBlocks(*chosen.formats, chosen.format, request);
            if (!advice.empty()) {
                Fail(request, advice);
            }
        }
        Fail(request, MessageOf(*reader));
    }

    void KeepWhatIsKnown() {
        if (context == nullptr) {
            return;
        }
        NoteIntervalsOffAxis(request, *reader, context->notes);
        for (const karta::Note& note : context->notes.GetAll()) {
            report.notes.push_back(note);
        }
        report.shape = context->shape;
        // It refers to this read, which ends here.
        context->progress = nullptr;
    }

    const ReadRequest& request;
    const ChosenFormat& chosen;
    ReadControl& control;
    SpreadsheetData& sink;
    ReadReport& report;
    std::unique_ptr<SpreadsheetFile> reader;
    std::shared_ptr<karta::ReadContext> context;  // null for a module's reader
};

void ReadThroughDriver(const ReadRequest& request, const ChosenFormat& chosen, OptionsRecord& options,
                       SpreadsheetData& sink, ReadReport& report) {
    ProgramDriver driver(new FormatCatalogue, request.plugins, report.warning);
    if (!driver.ReadSpreadsheetFile(request.Selection().c_str(), chosen.format, &sink, options.Get(), true,
                                    nullptr)) {
        Interrupt::ThrowIfRequested();
        Fail(request, OrNoReason(driver.GetErrorMessage()));
    }
    options.SaveAfterDriver(request, chosen.formats->IsOwn(chosen.format));
}

void ShowVerbosely(const ReadRequest& request, const ChosenFormat& chosen) {
    if (request.verbose) {
        std::cerr << "karta-import: " << request.files.front() << ": read as " << chosen.GetName() << " ("
                  << chosen.reason << "), " << (request.IsComplete() ? "completely" : "classically")
                  << (request.throughDriver ? ", through the driver" : "") << ", by "
                  << chosen.formats->GetModulePath(chosen.format) << '\n';
    }
}

}  // namespace

std::vector<int> TableRead::Rows(const ReadRequest& request) const {
    const RowFilter filter(request.want);
    std::vector<int> rows;
    for (int row = filter.NextRowToRead(0); row > 0 && row <= table->GetNumberOfRows();
         row = filter.NextRowToRead(row)) {
        rows.push_back(row);
    }
    return rows;
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
    for (const std::string& file : request.files) {
        if (file.find('\n') != std::string::npos) {
            throw Failure(
                "a file name with a line feed can't be imported: line feeds part the names of a selection. "
                "Rename the file.");
        }
    }
}

void CheckKinds(const ReadRequest& request) {
    for (const std::string& file : request.files) {
        struct stat info{};
        if (stat(file.c_str(), &info) == 0 && !S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode)) {
            throw Failure(file + ": not a regular file; save what it gives to one first");
        }
    }
}

void CheckFiles(const ReadRequest& request) {
    CheckNames(request);
    CheckKinds(request);
    for (const std::string& file : request.files) {
        if (!NvFile::Exists(file.c_str())) {
            throw Failure(file + ": " + std::strerror(errno));
        }
        if (NvFile::IsDirectory(file.c_str())) {
            throw Failure(file + ": Directories can not be imported.");
        }
        if (!NvFile::CanOpen(file.c_str())) {
            throw Failure(file + ": The file could not be opened. (" + std::strerror(errno) + ")");
        }
    }
}

std::unique_ptr<FormatCatalogue> LoadFormats(const ReadRequest& request) {
    auto formats = std::make_unique<FormatCatalogue>();
    formats->Init(request.plugins.c_str());
    return formats;
}

int FindNamedFormat(const FormatCatalogue& formats, const ReadRequest& request) {
    if (request.format.empty()) {
        return 0;
    }
    const int format = formats.FindFormat(request.format);
    if (format == 0) {
        throw Failure("there is no format '" + request.format + "'; karta-import formats lists them",
                      ExitUsage);
    }
    return format;
}

void CheckSelection(const FormatCatalogue& formats, int format, const ReadRequest& request) {
    if (request.files.size() > 1 && formats.GetInfo(format)->canReadMany == 0) {
        Fail(request,
             std::string(formats.GetInfo(format)->readFilter) + " can only be imported one at a time.");
    }
}

ChosenFormat ChooseFormat(const ReadRequest& request) {
    CheckRoad(request);
    CheckFiles(request);
    AnswerQuestions(request);
    ChosenFormat chosen{LoadFormats(request), 0, "named with --format"};
    chosen.format = FindNamedFormat(*chosen.formats, request);
    if (chosen.format == 0) {
        const FormatFinding finding =
            FormatDetection(*chosen.formats).DetectForUser(request.files.front(), request.reading);
        if (finding.format == 0) {
            Fail(request, finding.reason);
        }
        chosen.format = finding.format;
        chosen.reason = finding.reason;
    }
    CheckSelection(*chosen.formats, chosen.format, request);
    CheckFormatOptions(*chosen.formats, chosen.format, request);
    return chosen;
}

std::unique_ptr<SpreadsheetFile> MakeReader(const FormatCatalogue& formats, int format,
                                            const ReadRequest& request) {
    auto reader = formats.MakeReader(format);
    if (dynamic_cast<KpfFileImport*>(reader.get()) != nullptr) {
        reader = std::make_unique<ProjectReader>(request.password);
    }
    if (auto* own = dynamic_cast<FormatReader*>(reader.get())) {
        auto context = std::make_shared<karta::ReadContext>();
        context->reading = request.reading;
        context->stop = Interrupt::GetStopToken();
        if (request.limit) {
            context->budget.SetLimit(*request.limit);
        }
        own->SetContext(std::move(context));
    }
    return reader;
}

OptionsRecord MakeOptions(const FormatCatalogue& formats, int format, const ReadRequest& request,
                          Unopened unopened) {
    if (!OptionsRecord::NeedsParts(request)) {
        return {request, {}};
    }
    const auto scout = MakeReader(formats, format, request);
    if (scout->Open(true, request.Selection().c_str(), nullptr) != SpreadsheetFile::StatusOk) {
        if (unopened == Unopened::Fails) {
            Fail(request, MessageOf(*scout));
        }
        ReadRequest rest = request;
        rest.sheets.clear();
        rest.blocks.clear();
        rest.part.clear();
        rest.sideBySide = false;
        return {rest, {}};
    }
    auto* contents = dynamic_cast<FileContents*>(scout.get());
    return {request, contents == nullptr ? std::vector<FileContents::Part>() : contents->ListParts()};
}

std::string MessageOf(SpreadsheetFile& reader) {
    char buffer[ErrorTextSize + 1] = "";
    reader.GetErrorMessage(buffer, ErrorTextSize);
    // A key between reader and driver, and not for people.
    return std::strcmp(buffer, "AbortedByUser") == 0
               ? "The import was given up: a question was answered so, or a choice is missing."
               : OrNoReason(buffer);
}

void ShowReport(const ReadRequest& request, const ReadReport& report) {
    if (request.quiet) {
        return;
    }
    std::cout.flush();
    const std::string& file = request.files.front();
    if (!report.warning.empty()) {
        std::cerr << "karta-import: " << file << ": warning: " << report.warning << '\n';
    }
    for (const karta::Note& note : report.notes) {
        std::cerr << "karta-import: " << file << ": note: " << note.text << '\n';
    }
}

void AnswerQuestions(const ReadRequest& request) {
    if (request.answerYes || request.answerNo) {
        const bool yes = request.answerYes;
        Question::SetHandler([yes](const std::string&) { return yes; });
    } else if (isatty(STDIN_FILENO) != 0) {
        Question::SetHandler([](const std::string& text) {
            std::cerr << text << " [Y/n] " << std::flush;
            std::string answer;
            std::getline(std::cin, answer);
            return answer.empty() || answer.front() == 'y' || answer.front() == 'Y';
        });
    }
}

void ReadSelection(const ReadRequest& request, const ChosenFormat& chosen, ReadControl& control,
                   SpreadsheetData& sink, ReadReport& report) {
    ShowVerbosely(request, chosen);
    report.notes = NoteUnknownSettings(*chosen.formats, chosen.format, request);
    OptionsRecord options = MakeOptions(*chosen.formats, chosen.format, request);
    try {
        if (request.throughDriver) {
            ReadThroughDriver(request, chosen, options, sink, report);
        } else {
            DirectRead(request, chosen, control, sink, report).Run(options);
        }
    } catch (const Failure&) {
        throw;
    } catch (const std::bad_alloc&) {
        Fail(request, NotEnoughMemory);
    } catch (const std::exception& exception) {
        Interrupt::ThrowIfRequested();
        Fail(request, exception.what());
    }
    Interrupt::ThrowIfRequested();
}

void ReadTable(const ReadRequest& request, TableRead& result, int headRows) {
    const ChosenFormat chosen = ChooseFormat(request);
    ReadControl control(request, headRows);
    auto table = std::make_unique<ProgramTable>(control);
    ReadSelection(request, chosen, control, *table, result.report);
    result.hasMoreRows = control.HasEnough() && table->GetNumberOfRows() <= control.GetLastOfUse();
    result.table = std::move(table);
}
