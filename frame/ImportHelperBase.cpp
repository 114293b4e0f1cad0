#include "frame/ImportHelperBase.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/CopyMessage.h"
#include "frame/OptionsText.h"
#include "frame/SpreadsheetData.h"
#include "frame/SpreadsheetFile.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "host/Log.h"
#include "host/NvFile.h"
#include "host/NvString.h"

namespace {

constexpr const char* LogSection = "ImportHelper";
constexpr int LogImportance = 3;

// A filter's number that stands for all files.
constexpr int AllFiles = 1;
// The answer of a message box that the user cancelled, and the one that is offered.
constexpr int AnswerCancel = 2;
constexpr int AnswerDefault = 1;

constexpr unsigned int ErrorTextSize = 1024;

// A reader's word that the user has stopped it: nothing to show.
constexpr std::string_view AbortedByUser = "AbortedByUser";

constexpr const char* ExceptionInRead = "Exception during file reading. Import will be aborted.";
constexpr const char* ExceptionInWrite = "Exception during file writing. Export will be aborted.";

/**
 * The options record of one read. A caller's record with bytes is an input, of which the reader gets a copy:
 * some renew it with memory of their own. An empty one is the caller's to be filled, and is left either with
 * bytes of its own or empty.
 */
class ReadOptionsRecord {
public:
    explicit ReadOptionsRecord(NvImportOpenOptions* options)
        : caller(options), isToBeFilled(WantsOptions(options)) {
        if (options != nullptr && !isToBeFilled) {
            input = options;
        }
    }
    ReadOptionsRecord(const ReadOptionsRecord&) = delete;
    ReadOptionsRecord& operator=(const ReadOptionsRecord&) = delete;
    ~ReadOptionsRecord() {
        if (isToBeFilled && !isKept) {
            // The bytes were the reader's, or nobody's any more.
            if (ownsBytes) {
                SpreadsheetOpenOptions::FreeOpenOptions(caller);
            }
            *caller = {0, nullptr};
        }
    }

    /** What the reader is given; null where the caller has no record. */
    NvImportOpenOptions* ForReader() {
        if (caller == nullptr || isToBeFilled) {
            return caller;
        }
        lent = *static_cast<const NvImportOpenOptions*>(input);
        return &lent;
    }

    /** Before the reader is closed: takes over the bytes, whose memory is about to go. */
    void TakeBytes() {
        if (isToBeFilled) {
            SpreadsheetOpenOptions::CopyOpenOptions(caller, caller);
            ownsBytes = true;
        }
    }
    /** The read has succeeded. */
    void Keep() { isKept = true; }

private:
    NvImportOpenOptions* caller;
    SpreadsheetOpenOptions input{nullptr};
    NvImportOpenOptions lent{0, nullptr};
    bool isToBeFilled;
    bool ownsBytes = false;
    bool isKept = false;
};

// A host that has no name yet names no file.
const char* OrNoName(const char* fileNames) {
    return fileNames == nullptr ? "" : fileNames;
}

/** Closes a reader after an exception; a second one goes nowhere. */
void CloseQuietly(SpreadsheetFile* reader) {
    try {
        if (reader != nullptr) {
            reader->Close();
        }
    } catch (...) {
        // What went wrong before is what the user is told.
    }
}

}  // namespace

ImportHelperBase::ImportHelperBase(ImportDLLLoader* newLoader, const char* pluginDirectory)
    : loader(newLoader != nullptr ? newLoader : new ImportDLLLoader) {
    // Room that is never given up: the text of a failure must find it also when memory has run out.
    errorText.reserve(ErrorTextSize + 1);
    loader->Init(pluginDirectory);
    Init();
}

ImportHelperBase::~ImportHelperBase() = default;

void ImportHelperBase::Init() {
    numFormats = loader->SizeInfos();
    formatTable.assign(static_cast<std::size_t>(numFormats) + 1, FormatEntry{});
    FormatEntry& all = formatTable[0];
    CopyMessage("All Files (*.*)", all.name, sizeof all.name);
    CopyMessage(".*", all.extensions[0], sizeof all.extensions[0]);
    all.canWrite = all.canRead = all.canReadMany = all.hostFlag = true;
    for (int i = 1; i <= numFormats; ++i) {
        const NvImportFileFormatInfo& info = *loader->GetInfo(i);
        FormatEntry& entry = formatTable[static_cast<std::size_t>(i)];
        entry.canWrite = info.canWrite != 0;
        entry.canRead = info.canRead != 0;
        entry.canReadMany = info.canReadMany != 0;
        entry.hostFlag = info.hostFlag != 0;
        CopyMessage(info.readFilter, entry.name, sizeof entry.name);
        if (entry.canWrite && info.writeFilter != nullptr) {
            CopyMessage(info.writeFilter, entry.saveName, sizeof entry.saveName);
        }
        const char* extension = info.extensions;
        for (int k = 0; k < info.numExtensions && k < FormatEntry::MaxExtensions; ++k) {
            CopyMessage(extension, entry.extensions[k], sizeof entry.extensions[k]);
            extension += std::strlen(extension) + 1;
        }
    }
}

bool ImportHelperBase::CheckFile(const std::string& name, ReadErrors& error) {
    if (!NvFile::Exists(name.c_str())) {
        error = ReadFileMissing;
        return false;
    }
    if (NvFile::IsDirectory(name.c_str())) {
        SetErrorText("Directories can not be imported.");
        error = ReadIsDirectory;
        return false;
    }
    if (!NvFile::CanOpen(name.c_str())) {
        SetErrorText("The file could not be opened.");
        return false;
    }
    return true;
}

// The format number of a dialog's filter; 0 when it stands for all files. A choice that lands on format
// number 1 is one of those, since 1 has two meanings here; hosts know it so.
int ImportHelperBase::FormatForReading(int formatChoice) const {
    // A number below the first filter lands on no format; and the lowest int has no number before it.
    int remaining = std::max(formatChoice, AllFiles) - 1;
    for (int i = 1; i <= numFormats && remaining > 0; ++i) {
        if (formatTable[static_cast<std::size_t>(i)].canRead && --remaining == 0) {
            return i == AllFiles ? 0 : i;
        }
    }
    return 0;
}

// A module's test or the host's sorting may raise an exception, which must not leave the driver.
bool ImportHelperBase::CheckFilesBeforeRead(const char* fileNames, int& formatChoice, ReadErrors& error,
                                            bool reportMany) {
    error = ReadOk;
    try {
        return CheckFiles(fileNames, formatChoice, error, reportMany);
    } catch (...) {
        SetErrorText(ExceptionInRead);
        return false;
    }
}

bool ImportHelperBase::CheckFiles(const char* fileNames, int& formatChoice, ReadErrors& error,
                                  bool reportMany) {
    const std::vector<std::string> names = NvFile::GetFileNames(OrNoName(fileNames));
    if (names.empty()) {
        error = ReadFileMissing;
        return false;
    }
    for (const std::string& name : names) {
        if (!CheckFile(name, error)) {
            return false;
        }
    }
    formatChoice = formatChoice == AllFiles ? 0 : FormatForReading(formatChoice);
    if (formatChoice == 0) {
        formatChoice = loader->GetSpreadsheetFileIndex(names.front().c_str());
        if (formatChoice == -1) {
            error = ReadTypeUndetermined;
            SetErrorText(
                NvString::Format("The file type could not be determined (%s).", names.front().c_str()));
            return false;
        }
    }
    if (names.size() > 1) {
        const FormatEntry& entry = formatTable[static_cast<std::size_t>(std::max(formatChoice, 0))];
        if (!entry.canReadMany) {
            error = ReadNotMultiFile;
            if (reportMany) {
                SetErrorText(NvString::Format(
                    "%s can only be imported one at a time.\n\n Import will be aborted.", entry.name));
            }
            return false;
        }
        if (!SortFiles(fileNames, error)) {
            return false;
        }
    }
    if (formatChoice > 0) {
        return true;
    }
    SetErrorText(
        "The file type is either not supported or could not be deduced from the file's extension or "
        "contents.");
    error = ReadTypeUnsupported;
    return false;
}

void ImportHelperBase::SetErrorText(std::string_view text) {
    errorText.assign(text);
}

bool ImportHelperBase::FailWith(SpreadsheetFile& reader) {
    // One byte more than is said: DLLFile ends a long text behind the size.
    char buffer[ErrorTextSize + 1] = "";
    reader.GetErrorMessage(buffer, ErrorTextSize);
    SetErrorText(buffer == AbortedByUser ? std::string_view() : std::string_view(buffer));
    return false;
}

// The middle of a read: an open reader is measured and read into the host's table.
bool ImportHelperBase::ReadWith(SpreadsheetFile& reader, SpreadsheetData* data, int format) {
    if (reader.GetStatus() != SpreadsheetFile::StatusOk) {
        return FailWith(reader);
    }
    if (loader->GetInfo(format)->sinkFlag == 0) {
        data->layoutDefault = false;
    }
    const int rows = reader.GetNumRows();
    const int cols = reader.GetNumCols();
    if (rows == -1 || cols == -1) {
        return FailWith(reader);
    }
    if (rows <= 0 || cols <= 0) {
        SetErrorText("The selected file does not contain any data. Import will be aborted.");
        return false;
    }
    data->SetDataSize(cols, rows);
    ShowProgressBarWhileReading(data, cols, rows);
    int result = SpreadsheetFile::StatusOk;
    try {
        result = reader.Read(data);
    } catch (...) {
        StopProgressBar(data);
        throw;
    }
    StopProgressBar(data);
    if (result != SpreadsheetFile::StatusOk) {
        return FailWith(reader);
    }
    const char* warning = reader.GetWarningMessage();
    return warning == nullptr || warning[0] == '\0' ||
           PutMsg1(warning, "Warning", MessageWarning, AnswerDefault) != AnswerCancel;
}

bool ImportHelperBase::ReadSpreadsheetFile(const char* fileNames, int formatChoice, SpreadsheetData* data,
                                           NvImportOpenOptions* options, bool formatIsIndex,
                                           ImportSpecBase* spec) {
    if (!formatIsIndex || formatChoice < 1) {
        ReadErrors error = ReadOk;
        if (!CheckFilesBeforeRead(fileNames, formatChoice, error, true)) {
            return false;
        }
    }
    std::unique_ptr<SpreadsheetFile> reader;
    try {
        ReadOptionsRecord record(options);
        reader.reset(loader->GetSpreadsheetFile(formatChoice));
        reader->Open(true, OrNoName(fileNames), record.ForReader());
        if (spec != nullptr) {
            reader->SetImportSpec(spec);
        }
        if (!ReadWith(*reader, data, formatChoice)) {
            return false;
        }
        record.TakeBytes();
        reader->Close();
        record.Keep();
        return true;
    } catch (...) {
        SetErrorText(ExceptionInRead);
        CloseQuietly(reader.get());
        return false;
    }
}

// The format number for a write; 0 when there is none.
int ImportHelperBase::FormatForWriting(const char* fileName, int formatChoice) const {
    if (formatChoice <= 0) {
        const int format = loader->GetSpreadsheetFileIndex(fileName);
        return format > 0 && formatTable[static_cast<std::size_t>(format)].canWrite ? format : 0;
    }
    for (int i = 1; i <= numFormats; ++i) {
        if (formatTable[static_cast<std::size_t>(i)].canWrite && --formatChoice == 0) {
            return i;
        }
    }
    return 0;
}

// The name goes to the writer as the caller gave it: one that wants the format's extension adds it
// itself.
bool ImportHelperBase::WriteSpreadsheetFile(const char* fileName, int formatChoice, SpreadsheetData* data,
                                            NvImportOpenOptions* options) {
    fileName = OrNoName(fileName);
    try {
        const int format = FormatForWriting(fileName, formatChoice);
        if (format == 0) {
            SetErrorText(
                "Save not supported for the current file format\nor the file format could not be deduced.");
            return false;
        }
        const std::unique_ptr<SpreadsheetFile> writer(loader->GetSpreadsheetFile(format));
        writer->Open(false, fileName, options);
        if (writer->GetStatus() != SpreadsheetFile::StatusOk) {
            return FailWith(*writer);
        }
        if (writer->Write(data) != SpreadsheetFile::StatusOk) {
            return FailWith(*writer);
        }
        writer->Close();
        return true;
    } catch (...) {
        SetErrorText(ExceptionInWrite);
        return false;
    }
}

int ImportHelperBase::PutMsg1(const char* text, const char* /*caption*/, MessageType /*type*/,
                              int defaultAnswer) {
    Log::WriteMessage(LogSection, "PutMsgMB", text, LogImportance);
    return defaultAnswer;
}

void ImportHelperBase::PutMsg2(const char* first, const char* second, const char* third) {
    Log::WriteMessage(LogSection, "PutMsgDD", std::string(first) + ": " + second, LogImportance, third);
}

bool ImportHelperBase::SortFiles(const char* /*fileNames*/, ReadErrors& /*error*/) {
    return true;
}

void ImportHelperBase::ShowProgressBarWhileReading(SpreadsheetData* /*data*/, int /*cols*/, int /*rows*/) {}

void ImportHelperBase::StopProgressBar(SpreadsheetData* /*data*/) {}
