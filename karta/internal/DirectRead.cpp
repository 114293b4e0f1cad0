#include "karta/internal/DirectRead.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <map>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "base/Suggestion.h"
#include "base/Unicode.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "host/NvFile.h"
#include "karta/Error.h"
#include "karta/internal/AxisCheck.h"
#include "karta/internal/BlockAdvice.h"
#include "karta/internal/FormatDetection.h"
#include "karta/internal/FormatOptions.h"
#include "karta/internal/ProjectReader.h"
#include "table/TableData.h"

namespace karta {

namespace {

constexpr unsigned int ErrorTextSize = 4096;

// The budget's own words are the program's.
constexpr std::string_view ProgramsAdvice = "; --limit allows more";

void SetLimitText(Error::Details& details, std::string text) {
    details.code = ErrorCode::LimitExceeded;
    if (text.ends_with(ProgramsAdvice)) {
        text.resize(text.size() - ProgramsAdvice.size());
        details.advice = "a larger budget allows more";
    }
    details.text = std::move(text);
}

[[noreturn]] void Refuse(ErrorCode code, const std::string& file, const std::string& text) {
    throw Error({.code = code, .file = file, .text = text});
}

// Of an errno.
ErrorCode CodeOf(int reason) {
    switch (reason) {
        case ENOENT:
        case ENOTDIR:
            return ErrorCode::NotFound;
        case EACCES:
        case EPERM:
            return ErrorCode::NoPermission;
        default:
            return ErrorCode::NotReadable;
    }
}

// Names in a file may be of any encoding.
Place InUtf8(Place place) {
    place.cell = AsUtf8(place.cell);
    place.part = AsUtf8(place.part);
    return place;
}

/** One read by a reader that is called directly, as the driver does it, but without the flat interface. */
class DirectRead {
public:
    DirectRead(const ReadWishes& readWishes, const ChosenFormat& chosenFormat, ReadControl& readControl,
               ReadSpreadSheetData& target, ReadReport& readReport)
        : wishes(readWishes),
          chosen(chosenFormat),
          control(readControl),
          sink(target),
          report(readReport),
          reader(MakeReader(*chosen.formats, chosen.format, wishes, report.context)) {
        if (const auto* own = dynamic_cast<FormatReader*>(reader.get())) {
            context = own->GetContext();
            context->stop = control.GetStopToken();
            if (control.WantsShare()) {
                context->progress = [this](double share) { control.ShowShare(share); };
            }
            report.context = context;
        }
    }

    void Run(OptionsRecord& options, const ReadSteps& steps) {
        if (steps.begin) {
            steps.begin(context.get());
        }
        try {
            Read(options);
        } catch (const Stopped&) {
            // Stopped from outside, or because all that was wanted is there.
            if (control.IsStopped()) {
                throw;
            }
        } catch (...) {
            KeepWhatIsKnown();
            throw;
        }
        KeepWhatIsKnown();
        if (steps.end) {
            steps.end(*reader);
        }
        reader->Close();
    }

private:
    void Read(OptionsRecord& options) {
        reader->Open(true, wishes.Selection().c_str(), options.Get());
        if (reader->GetStatus() != SpreadsheetFile::StatusOk) {
            FailWithReader();
        }
        SelectPart(options);
        // In the complete reading the table is as large as its cells: the reader says so on the way.
        if (!wishes.IsComplete() || context == nullptr) {
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
        const std::optional<int>& selected = options.GetSelectedPart();
        if (!selected) {
            return;
        }
        const int number = *selected;
        auto* contents = dynamic_cast<FileContents*>(reader.get());
        if (contents == nullptr || !contents->SelectPart(number)) {
            throw Error({.code = ErrorCode::NoSuchPart,
                         .file = wishes.files.front(),
                         .format = chosen.GetName(),
                         .option = "matrix",
                         .text = "there is no matrix number " + std::to_string(number) + " to choose"});
        }
    }

    void Measure() {
        const int rows = reader->GetNumRows();
        const int cols = reader->GetNumCols();
        if (rows == -1 || cols == -1) {
            FailWithReader();
        }
        if (rows <= 0 || cols <= 0) {
            Fail(ErrorCode::BadFile, "The selected file does not contain any data. Import will be aborted.");
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
        if (control.IsStopped()) {
            throw Stopped();
        }
        if (reader->GetStatus() == SpreadsheetFile::StatusAbortedByUser) {
            const std::string groups = AdviseOnBlocks(*chosen.formats, chosen.format, wishes);
            if (!groups.empty()) {
                throw Error({.code = ErrorCode::NoSuchPart,
                             .file = wishes.files.front(),
                             .format = chosen.GetName(),
                             .text = "The blocks of this file don't go into one table",
                             .advice = std::string(ChooseSomeBlocks) + "; " + groups});
            }
        }
        RaiseReadersError(*reader, wishes, chosen.GetName());
    }

    [[noreturn]] void Fail(ErrorCode code, const std::string& text) {
        throw Error({.code = code, .file = wishes.files.front(), .format = chosen.GetName(), .text = text});
    }

    void KeepWhatIsKnown() {
        if (context == nullptr) {
            return;
        }
        NoteIntervalsOffAxis(wishes, *reader, context->notes);
        for (const Note& note : context->notes.GetAll()) {
            report.notes.push_back(note);
        }
        report.shape = context->shape;
        // They refer to this read, which ends here: that it had enough rows stops nothing that is made of
        // them.
        context->progress = wishes.progress;
        context->stop = wishes.stop;
    }

    const ReadWishes& wishes;
    const ChosenFormat& chosen;
    ReadControl& control;
    ReadSpreadSheetData& sink;
    ReadReport& report;
    std::unique_ptr<SpreadsheetFile> reader;
    std::shared_ptr<ReadContext> context;  // null for a module's reader
};

}  // namespace

void CheckNames(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        if (file.find('\n') != std::string::npos) {
            Refuse(ErrorCode::NotAFile, file,
                   "a file name with a line feed can't be imported: line feeds part the names of "
                   "a selection. Rename the file.");
        }
    }
}

void CheckKinds(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        struct stat info{};
        if (stat(file.c_str(), &info) == 0 && !S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode)) {
            Refuse(ErrorCode::NotAFile, file, "not a regular file; save what it gives to one first");
        }
    }
}

void CheckFiles(const std::vector<std::string>& files) {
    CheckNames(files);
    CheckKinds(files);
    for (const std::string& file : files) {
        if (!NvFile::Exists(file.c_str())) {
            Refuse(CodeOf(errno), file, std::strerror(errno));
        }
        if (NvFile::IsDirectory(file.c_str())) {
            Refuse(ErrorCode::NotAFile, file, "Directories can not be imported.");
        }
        if (!NvFile::CanOpen(file.c_str())) {
            const int reason = errno;
            Refuse(CodeOf(reason), file,
                   std::string("The file could not be opened. (") + std::strerror(reason) + ")");
        }
    }
}

// The name that was meant: a format's own, that without the word "File", or its short one.
std::string SuggestFormat(const FormatCatalogue& formats, const std::string& wanted) {
    std::vector<std::string> spellings;
    std::map<std::string, std::string> names;
    const auto add = [&](const std::string& spelling, const std::string& name) {
        if (names.emplace(spelling, name).second) {
            spellings.push_back(spelling);
        }
    };
    for (int i = 1; i <= formats.SizeInfos(); ++i) {
        const std::string name = formats.GetInfo(i)->formatName;
        add(name, name);
        add(name.substr(0, name.rfind(" File")), name);
        if (const FormatRecogniser* const recogniser = formats.GetRecogniser(i)) {
            add(recogniser->GetShortName(), recogniser->GetShortName());
        }
    }
    const std::string meant = FindSuggestion(wanted, spellings);
    return meant.empty() ? meant : names[meant];
}

int FindNamedFormat(const FormatCatalogue& formats, const ReadWishes& wishes) {
    if (wishes.format.empty()) {
        return 0;
    }
    const int format = formats.FindFormat(wishes.format);
    if (format == 0) {
        const std::string meant = SuggestFormat(formats, wishes.format);
        throw Error({.code = ErrorCode::UnknownFormat,
                     .format = wishes.format,
                     .text = "there is no format '" + wishes.format + "'" +
                             (meant.empty() ? "" : " (did you mean '" + meant + "'?)")});
    }
    return format;
}

void CheckSelection(const FormatCatalogue& formats, int format, const ReadWishes& wishes) {
    if (wishes.files.size() > 1 && formats.GetInfo(format)->canReadMany == 0) {
        Refuse(ErrorCode::BadFile, wishes.files.front(),
               std::string(formats.GetInfo(format)->readFilter) + " can only be imported one at a time.");
    }
}

ChosenFormat ChooseFormat(std::shared_ptr<FormatCatalogue> formats, const ReadWishes& wishes) {
    CheckFiles(wishes.files);
    ChosenFormat chosen{std::move(formats), 0, "named by the options"};
    chosen.format = FindNamedFormat(*chosen.formats, wishes);
    if (chosen.format == 0) {
        FormatFinding finding =
            FormatDetection(*chosen.formats)
                .DetectForUser(wishes.files.front(), wishes.reading, FormatDetection::Verdicts::UpToProof);
        if (finding.format == 0) {
            Error::Details details{
                .code = ErrorCode::NotDetermined, .file = wishes.files.front(), .text = finding.reason};
            for (const std::string& name : finding.possible) {
                details.advice += (details.advice.empty() ? "name its format; these may fit: " : ", ") + name;
            }
            throw Error(details);
        }
        chosen.format = finding.format;
        chosen.reason = std::move(finding.reason);
    }
    CheckSelection(*chosen.formats, chosen.format, wishes);
    CheckFormatOptions(*chosen.formats, chosen.format, wishes);
    return chosen;
}

std::unique_ptr<SpreadsheetFile> MakeReader(const FormatCatalogue& formats, int format,
                                            const ReadWishes& wishes, std::shared_ptr<ReadContext> context) {
    auto reader = formats.MakeReader(format);
    if (dynamic_cast<KpfFileImport*>(reader.get()) != nullptr) {
        reader = wishes.password ? std::make_unique<ProjectReader>(wishes.password)
                                 : std::make_unique<ProjectReader>(wishes.askPassword);
    }
    if (auto* own = dynamic_cast<FormatReader*>(reader.get())) {
        own->SetContext(context == nullptr ? MakeContext(wishes) : std::move(context));
        own->AddInputs(wishes.Selection().c_str());
    }
    return reader;
}

std::shared_ptr<ReadContext> MakeContext(const ReadWishes& wishes) {
    auto context = std::make_shared<ReadContext>();
    context->reading = wishes.reading;
    context->stop = wishes.stop;
    context->progress = wishes.progress;
    context->progressThread = std::this_thread::get_id();
    context->question = wishes.question;
    if (wishes.limit) {
        context->budget.SetLimit(*wishes.limit);
    }
    return context;
}

void RaiseReadersError(SpreadsheetFile& reader, const ReadWishes& wishes, const std::string& format) {
    Error::Details details{.code = ErrorCode::BadFile, .file = wishes.files.front(), .format = format};
    details.text = MessageOf(reader);
    const auto* project = dynamic_cast<ProjectReader*>(&reader);
    const auto* own = dynamic_cast<FormatReader*>(&reader);
    if (project != nullptr && project->IsLocked()) {
        details.code = ErrorCode::NeedsPassword;
    } else if (own != nullptr && own->GetContext()->budget.WasExceeded()) {
        SetLimitText(details, details.text);
    }
    if (own != nullptr) {
        details.place = InUtf8(own->GetFailurePlace());
    }
    throw Error(details);
}

OptionsRecord MakeOptions(const FormatCatalogue& formats, int format, const ReadWishes& wishes,
                          Unopened unopened) {
    if (!OptionsRecord::NeedsParts(wishes)) {
        return {wishes, {}};
    }
    const auto scout = MakeReader(formats, format, wishes);
    if (scout->Open(true, wishes.Selection().c_str(), nullptr) != SpreadsheetFile::StatusOk) {
        if (unopened == Unopened::Fails) {
            RaiseReadersError(*scout, wishes, formats.GetInfo(format)->formatName);
        }
        ReadWishes rest = wishes;
        rest.sheets.clear();
        rest.blocks.clear();
        rest.part.clear();
        rest.sideBySide = false;
        return {rest, {}};
    }
    auto* contents = dynamic_cast<FileContents*>(scout.get());
    return {wishes, contents == nullptr ? std::vector<FileContents::Part>() : contents->ListParts()};
}

std::string OrNoReason(const std::string& text) {
    return text.empty() ? "The file holds no table (the reader gives no reason)." : text;
}

std::string MessageOf(SpreadsheetFile& reader) {
    char buffer[ErrorTextSize + 1] = "";
    reader.GetErrorMessage(buffer, ErrorTextSize);
    // A key between reader and driver, and not for people.
    return std::strcmp(buffer, "AbortedByUser") == 0
               ? "The import was given up: a question was answered so, or a choice is missing."
               : OrNoReason(buffer);
}

void ReadDirectly(const ReadWishes& wishes, const ChosenFormat& chosen, OptionsRecord& options,
                  ReadControl& control, ReadSpreadSheetData& sink, ReadReport& report,
                  const ReadSteps& steps) {
    WithErrors(wishes, chosen.GetName(),
               [&] { DirectRead(wishes, chosen, control, sink, report).Run(options, steps); });
}

void RaiseAsError(const ReadWishes& wishes, const std::string& format) {
    Error::Details details{.code = ErrorCode::BadFile, .file = wishes.files.front(), .format = format};
    try {
        throw;
    } catch (const Error&) {
        throw;
    } catch (const Stopped& stopped) {
        details.code = ErrorCode::Stopped;
        details.text = stopped.what();
    } catch (const BudgetExceeded& exceeded) {
        SetLimitText(details, exceeded.what());
    } catch (const std::bad_alloc&) {
        details.code = ErrorCode::OutOfMemory;
        details.text = "there is not enough memory";
    } catch (const std::exception& exception) {
        details.text = exception.what();
    }
    throw Error(details);
}

}  // namespace karta
