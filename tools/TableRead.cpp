#include "tools/TableRead.h"

#include <unistd.h>

#include <algorithm>
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
#include "tools/Failure.h"
#include "tools/Interrupt.h"
#include "tools/Progress.h"
#include "tools/ProjectReader.h"
#include "tools/RowFilter.h"

namespace {

constexpr unsigned int ErrorTextSize = 4096;

/** The program's table: filters rows, draws progress and lets Ctrl-C through. */
class ProgramTable : public TableData {
public:
    explicit ProgramTable(const ReadRequest& request) : filter(request.want), progress(!request.quiet) {}

    int NextRowToRead(int row) override {
        progress.Show(row, GetNumberOfRows());
        return filter.NextRowToRead(row);
    }

    void SetDataSize(int cols, int rows) override {
        // A reader that asks for no row can still be stopped where it grows the table.
        if (Interrupt::IsRequested()) {
            throw Failure("interrupted", ExitInterrupted);
        }
        progress.Show(rows, GetNumberOfRows());
        TableData::SetDataSize(cols, rows);
    }

private:
    RowFilter filter;
    Progress progress;
};

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

void SelectMatrix(SpreadsheetFile& reader, const ReadRequest& request) {
    if (!request.matrix) {
        return;
    }
    auto* contents = dynamic_cast<FileContents*>(&reader);
    if (contents == nullptr || !contents->SelectPart(*request.matrix)) {
        Fail(request, "--matrix: there is no matrix number " + std::to_string(*request.matrix) +
                          " to choose; karta-import info lists what the file holds");
    }
}

// What a reader has to say after a read that succeeded, and its end.
void KeepRead(SpreadsheetFile& reader, OptionsRecord& options, const ReadRequest& request,
              TableRead& result) {
    const char* warning = reader.GetWarningMessage();
    result.warning = warning == nullptr ? "" : warning;
    if (const auto* own = dynamic_cast<FormatReader*>(&reader)) {
        result.notes = own->GetContext()->notes.GetAll();
    }
    if (options.Get() != nullptr) {
        OptionsRecord::Save(request, *options.Get());
    }
    reader.Close();
}

// Open, measure, read: as the driver does it, but without the flat interface between.
void ReadDirectly(SpreadsheetFile& reader, OptionsRecord& options, const ReadRequest& request,
                  TableRead& result, TableData& table) {
    reader.Open(true, request.Selection().c_str(), options.Get());
    if (reader.GetStatus() != SpreadsheetFile::StatusOk) {
        Fail(request, MessageOf(reader));
    }
    SelectMatrix(reader, request);
    if (request.reading == karta::Reading::Complete) {
        // The table is as large as its cells: what the reader says on the way.
        if (reader.Read(&table) != SpreadsheetFile::StatusOk) {
            Fail(request, MessageOf(reader));
        }
        KeepRead(reader, options, request, result);
        return;
    }
    const int rows = reader.GetNumRows();
    const int cols = reader.GetNumCols();
    if (rows == -1 || cols == -1) {
        Fail(request, MessageOf(reader));
    }
    if (rows <= 0 || cols <= 0) {
        Fail(request, "The selected file does not contain any data. Import will be aborted.");
    }
    table.SetDataSize(cols, rows);
    if (reader.Read(&table) != SpreadsheetFile::StatusOk) {
        Fail(request, MessageOf(reader));
    }
    KeepRead(reader, options, request, result);
}

void ReadThroughDriver(int format, OptionsRecord& options, const ReadRequest& request, TableRead& result,
                       TableData& table) {
    ProgramDriver driver(new FormatCatalogue, request.plugins, result.warning);
    if (!driver.ReadSpreadsheetFile(request.Selection().c_str(), format, &table, options.Get(), true,
                                    nullptr)) {
        Fail(request, OrNoReason(driver.GetErrorMessage()));
    }
    options.SaveAfterDriver(request);
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
    if (request.matrix) {
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

void CheckFiles(const ReadRequest& request) {
    CheckNames(request);
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

int ChooseFormat(FormatCatalogue& formats, const ReadRequest& request) {
    if (!request.format.empty()) {
        const int format = formats.FindFormat(request.format);
        if (format == 0) {
            throw Failure("there is no format '" + request.format + "'; karta-import formats lists them",
                          ExitUsage);
        }
        return format;
    }
    const std::string& file = request.files.front();
    const int format = formats.GetSpreadsheetFileIndex(file.c_str());
    if (format < 1) {
        std::string possible;
        for (const std::string& name : formats.PossibleFormats(file)) {
            possible += "\n  " + name;
        }
        throw Failure(file + ": The file type could not be determined (" + file + ")." +
                      (possible.empty() ? " No format fits its content."
                                        : " Name it with --format. These are possible:" + possible));
    }
    return format;
}

void CheckSelection(const FormatCatalogue& formats, int format, const ReadRequest& request) {
    if (request.files.size() > 1 && formats.GetInfo(format)->canReadMany == 0) {
        Fail(request,
             std::string(formats.GetInfo(format)->readFilter) + " can only be imported one at a time.");
    }
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
        rest.sideBySide = false;
        return {rest, {}};
    }
    auto* contents = dynamic_cast<FileContents*>(scout.get());
    return {request, contents == nullptr ? std::vector<FileContents::Part>() : contents->ListParts()};
}

std::string MessageOf(SpreadsheetFile& reader) {
    char buffer[ErrorTextSize + 1] = "";
    reader.GetErrorMessage(buffer, ErrorTextSize);
    return OrNoReason(buffer);
}

void ShowWarning(const ReadRequest& request, const std::string& warning) {
    if (!request.quiet && !warning.empty()) {
        std::cout.flush();
        std::cerr << "karta-import: " << request.files.front() << ": warning: " << warning << '\n';
    }
}

void ShowNotes(const ReadRequest& request, const std::vector<karta::Note>& notes) {
    if (request.quiet) {
        return;
    }
    std::cout.flush();
    for (const karta::Note& note : notes) {
        std::cerr << "karta-import: " << request.files.front() << ": note: " << note.text << '\n';
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

void ReadTable(const ReadRequest& request, TableRead& result) {
    CheckRoad(request);
    CheckFiles(request);
    AnswerQuestions(request);
    const auto formats = LoadFormats(request);
    const int format = ChooseFormat(*formats, request);
    CheckSelection(*formats, format, request);
    result.formatName = formats->GetInfo(format)->formatName;
    OptionsRecord options = MakeOptions(*formats, format, request);
    auto table = std::make_unique<ProgramTable>(request);
    try {
        if (request.throughDriver) {
            ReadThroughDriver(format, options, request, result, *table);
        } else {
            const auto reader = MakeReader(*formats, format, request);
            ReadDirectly(*reader, options, request, result, *table);
        }
    } catch (const Failure&) {
        throw;
    } catch (const std::bad_alloc&) {
        Fail(request, NotEnoughMemory);
    } catch (const std::exception& exception) {
        Fail(request, exception.what());
    }
    if (Interrupt::IsRequested()) {
        throw Failure("interrupted", ExitInterrupted);
    }
    result.table = std::move(table);
}
