#include "process/BrooksideFile.h"

#include <algorithm>
#include <limits>
#include <set>
#include <string_view>

#include "base/Ascii.h"
#include "base/CopyMessage.h"
#include "base/Exception.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "frame/FormatRecogniser.h"
#include "host/NvString.h"
#include "process/BrooksideFailure.h"
#include "process/BrooksideFields.h"
#include "process/BrooksideFileSet.h"
#include "process/BrooksidePhases.h"
#include "process/BrooksideSamples.h"
#include "process/BrooksideTransition.h"
#include "process/BrooksideWarnings.h"
#include "process/TabWalk.h"

namespace {

// What stands in a duration field for a phase whose data are lost: the very text, not the number.
constexpr std::string_view MissingDuration = "-999";

// A set-point line begins with "SetPoint" and a tab, of which only the first five characters are compared.
constexpr std::string_view SetPointMark = "SetPo";

// The statuses whose text tells the log's name, which stands for the "%s".
struct FileStatusText {
    int status;
    const char* format;
};
constexpr FileStatusText FileStatusTexts[] = {
    {BrooksideFile::StatusOpenFailed, "The file %s could not be opened."},
    {BrooksideFile::StatusNoFileLine,
     "The file %s does not appear to be a Brookside file.\nA line starting with '\"File\"' could not be "
     "found."},
    {BrooksideFile::StatusNoPhases,
     "The file %s does not appear to be a Brookside file.\nThe columns that specifies the start and end of "
     "each phase could not be found."},
    {BrooksideFile::StatusUnknownException, "An unknown exception occurred while reading the file %s."},
    {BrooksideFile::StatusForeignFile, "The file %s does not appear to be a Brookside file."},
    {BrooksideFile::StatusDuplicateWafer, "The file %s contains wafer with duplicate ids. Reading aborted"},
};

std::string FileStatusTextOf(int status, const std::string& fileName) {
    for (const FileStatusText& entry : FileStatusTexts) {
        if (entry.status == status) {
            return NvString::Format(entry.format, fileName.c_str());
        }
    }
    return {};
}

using IDSet = std::set<std::string, LessIgnoringCase>;

char FirstLetter(std::string_view recipe) {
    return recipe.empty() ? '\0' : ToUpper(recipe.front());
}

// The first word of a text, white space before it aside.
std::string_view TakeWord(std::string_view text) {
    const auto* start = std::find_if_not(text.begin(), text.end(), IsSpace);
    const auto* end = std::find_if(start, text.end(), IsSpace);
    return {start, static_cast<std::size_t>(end - start)};
}

void AddCentering(std::map<std::string, float>& centering, std::string_view line) {
    std::string_view words[4];
    std::string_view field;
    TabWalk fields(line);
    for (std::string_view& word : words) {
        // A word begins behind its tab, perhaps behind further ones.
        word = TakeWord(fields.GetRest());
        if (!fields.Next(field)) {
            throw Exception("A centring line has too few fields.");
        }
    }
    const auto value = static_cast<float>(ToLeadingDouble(words[3]));
    std::string_view parts = words[1];
    bool more = true;
    while (more) {
        const std::size_t end = parts.find('$');
        more = end != std::string_view::npos;
        std::string key(words[0]);
        key.append(":").append(parts.substr(0, end)).append(":").append(words[2]);
        centering.emplace(std::move(key), value);
        parts.remove_prefix(more ? end + 1 : parts.size());
    }
}

void AddCount(std::vector<FileContents::Fact>& facts, const char* name, int count, const char* what) {
    if (count > 0) {
        facts.emplace_back(name, std::to_string(count) + what);
    }
}

// What the wafer lines say, each once.
void AddList(std::vector<FileContents::Fact>& facts, const char* name, const NCStringVector& texts) {
    std::set<std::string> known;
    std::string list;
    for (int i = 1; i <= texts.GetSize() && known.size() < MaxListedBrooksideNames; ++i) {
        if (!texts(i).empty() && known.insert(texts(i)).second) {
            list += (list.empty() ? "" : ", ") + texts(i);
        }
    }
    if (!list.empty()) {
        facts.emplace_back(name, list);
    }
}

// The data files that a log names and the variables in their headers.
void ListDataFiles(std::vector<FileContents::Fact>& facts, const BrooksideFileSet& files,
                   const std::string& chambers, const std::vector<PhaseEntry>& entries) {
    BrooksideHeader header(chambers);
    std::size_t count = 0;
    std::vector<std::string> unreadable;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i > 0 && EqualIgnoringCase(entries[i].dataFile, entries[i - 1].dataFile)) {
            continue;
        }
        ++count;
        BrooksideStream stream = files.OpenText(entries[i].dataFile);
        try {
            if (stream.IsOpen()) {
                header.Read(stream, entries[i].dataFile);
                continue;
            }
        } catch (const BrooksideFailure&) {
            // It's listed with those that aren't there: neither gives a row with values.
        }
        unreadable.emplace_back(entries[i].dataFile);
    }
    facts.emplace_back("data files", static_cast<double>(count), "");
    if (!unreadable.empty()) {
        facts.emplace_back("missing", "data files not there or without a header, " +
                                          ListBrooksideNames(unreadable, unreadable.size()));
    }
    std::vector<std::string> names;
    for (const auto& [name, col] : header.GetVariables()) {
        names.push_back(name);
    }
    facts.emplace_back("variables", ListBrooksideNames(names, names.size()));
}

}  // namespace

struct BrooksideFile::LogRead {
    explicit LogRead(BrooksideStream text) : transition(std::move(text)) {}

    BrooksideTransition transition;
    BrooksidePhases phases;
    std::string chambers;  // the first letters of the recipes, each once; the classic reading takes one
    IDSet seen;
    IDSet duplicates;
    std::vector<std::string> phasesWithoutData;  // the first few
    std::size_t countWithoutData = 0;
    std::uint64_t phasesWithoutLines = 0;
    std::uint64_t duplicatePhases = 0;
};

BrooksideFile::BrooksideFile() = default;

BrooksideFile::BrooksideFile(const char* packageText, const char* name, bool isCenterFile) : fileName(name) {
    try {
        fileSet = std::make_shared<BrooksideFileSet>(
            packageText, fileName,
            isCenterFile ? BrooksideFileSet::PackageOfCenterFiles : BrooksideFileSet::PackageOfLog);
    } catch (const Exception& exception) {
        FailAs(StatusNoFileSet, exception.what());
    }
}

BrooksideFile::~BrooksideFile() = default;

void BrooksideFile::Close() {
    fileSet.reset();
    fileName.clear();
    warningText.clear();
    FormatReader::Close();
}

void BrooksideFile::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusOk, ""},
        {StatusNotImplemented, "Not implemented yet!"},
        {StatusWrongMode, "Brookside files can only be read."},
        {StatusReserved4, ""},
        {StatusReserved9, ""},
    };
    const bool isKnown = !failureText.empty() ||
                         std::any_of(std::begin(Texts), std::end(Texts),
                                     [this](const StatusText& entry) { return entry.status == status; });
    if (isKnown) {
        CopyStatusText(Texts, buffer, size);
    } else {
        CopyMessage("Unknown error.", buffer, size);
    }
}

// A failure's text is settled where it arises, since it tells names.
int BrooksideFile::FailAs(int failure, const std::string& text) {
    status = failure;
    failureText = text.empty() ? FileStatusTextOf(failure, fileName) : text;
    return status;
}

const char* BrooksideFile::GetWarningMessage() {
    return warningText.empty() ? nullptr : warningText.c_str();
}

int BrooksideFile::Open(bool forRead, const char* name, NvImportOpenOptions* /*options*/) {
    if (!forRead) {
        return StatusWrongMode;
    }
    if (status != StatusOk) {
        return status;
    }
    fileName = name;
    warningText.clear();
    fileSet.reset();
    sizeKnown = false;
    try {
        fileSet = std::make_shared<BrooksideFileSet>(fileName, GetContext());
    } catch (const Exception& exception) {
        FailAs(StatusNoFileSet, exception.what());
    }
    return status;
}

// The classic size is known in Read only.
int BrooksideFile::EstablishSize() {
    numCols = 1;
    numRows = 1;
    sizeKnown = true;
    if (!IsComplete()) {
        return StatusOk;
    }
    return WithinBudget(StatusSizeFailed, [this] {
        const auto scan = MakeScan();
        try {
            LogRead log(scan->OpenOwnText());
            scan->ReadTransition(log);
            BrooksideSamples samples(*fileSet, log.chambers, *GetContext(), scan->warningText);
            numRows = static_cast<int>(PlanRows(log, samples));
            numCols = samples.GetHeader().CountColumns();
        } catch (const BrooksideFailure& failure) {
            FailAs(failure.status, failure.text);
        }
        return status;
    });
}

// A second reader over the same texts, so that nothing of this one's reading changes.
std::shared_ptr<BrooksideFile> BrooksideFile::MakeScan() const {
    auto scan = std::make_shared<BrooksideFile>();
    scan->fileName = fileName;
    scan->fileSet = fileSet;
    scan->SetContext(GetContext());
    return scan;
}

BrooksideStream BrooksideFile::OpenOwnText() const {
    return fileSet == nullptr ? BrooksideStream() : fileSet->OpenText(fileName);
}

void BrooksideFile::FailWith(BrooksideFileStatus failure, const std::string& text) const {
    throw BrooksideFailure{failure, text};
}

// The recipes name the chambers. By the classic rule one log has one; the complete table has the variables of
// all of them.
void BrooksideFile::CheckChamber(LogRead& log) const {
    char letter = FirstLetter(log.transition.GetFields().GetText(BrooksideTransition::FieldRecipe));
    if (letter == '\0' && IsComplete()) {
        letter = BrooksideHeader::AllChambers;
    }
    if (log.chambers.find(letter) != std::string::npos) {
        return;
    }
    if (!log.chambers.empty() && !IsComplete()) {
        FailWith(StatusDifferentChambers, "The file " + fileName + " contains data from different chambers.");
    }
    log.chambers += letter;
}

void BrooksideFile::AddWafer(LogRead& log) {
    const BrooksideFields& fields = log.transition.GetFields();
    const auto text = [&fields](BrooksideTransition::Field field) {
        return std::string(fields.GetText(field));
    };
    const auto number = [](const std::string_view* field) {
        return field == nullptr ? 0 : ToLeadingInt(*field);
    };
    dataFileNames.push_back(text(BrooksideTransition::FieldDataFile));
    recipes.push_back(text(BrooksideTransition::FieldRecipe));
    lots.push_back(text(BrooksideTransition::FieldLot));
    slots.push_back(text(BrooksideTransition::FieldSlot));
    operations.push_back(text(BrooksideTransition::FieldOperation));

    int from = ToLeadingInt(fields.GetText(BrooksideTransition::FieldFrom));
    int to = ToLeadingInt(fields.GetText(BrooksideTransition::FieldTo));
    auto time = static_cast<float>(ToLeadingDouble(fields.GetText(BrooksideTransition::FieldDuration)));
    for (int phase = 2; phase <= log.transition.GetNumberOfPhases(); ++phase) {
        from = std::min(from, number(log.transition.GetFrom(phase)));
        to = std::max(to, number(log.transition.GetTo(phase)));
        const std::string_view* duration = log.transition.GetDuration(phase);
        time = static_cast<float>(static_cast<double>(time) +
                                  (duration == nullptr ? 0.0 : ToLeadingDouble(*duration)));
    }
    fromLines.push_back(from);
    toLines.push_back(to);
    times.push_back(time);

    const std::string id = text(BrooksideTransition::FieldWafer);
    waferIndex.emplace(id, dataFileNames.GetSize());
    if (!log.seen.insert(id).second) {
        if (isPicky) {
            FailWith(StatusDuplicateWafer);
        }
        log.duplicates.insert(id);
    }
}

void BrooksideFile::AddPhase(LogRead& log, int phase, const char* dataFile, const char* wafer) {
    const std::string_view* duration = log.transition.GetDuration(phase);
    const std::string_view* from = log.transition.GetFrom(phase);
    const std::string_view* to = log.transition.GetTo(phase);
    const bool hasLines = from != nullptr && to != nullptr;
    if (duration == nullptr ? !IsComplete() : *duration != MissingDuration && !hasLines && !IsComplete()) {
        FailWith(StatusForeignFile);
    }
    if (duration != nullptr && *duration == MissingDuration) {
        if (++log.countWithoutData <= MaxListedBrooksideNames) {
            log.phasesWithoutData.push_back(NvString::Format("%s phase %i", wafer, phase));
        }
        AddBrooksideWarning(
            warningText,
            NvString::Format("All data for wafer %s, phase %i, are missing. Phase skipped\n", wafer, phase));
        return;
    }
    if (!hasLines || (IsComplete() && (TrimSpace(*from).empty() || TrimSpace(*to).empty()))) {
        ++log.phasesWithoutLines;
        return;
    }
    // A phase that is there twice is a failure by the classic rule; the complete table has it twice.
    const auto duplicates = IsComplete() ? BrooksidePhases::Keep : BrooksidePhases::LeaveOut;
    const PhaseEntry entry{dataFile, wafer, ToLeadingInt(*from), ToLeadingInt(*to), phase};
    switch (log.phases.Insert(entry, duplicates)) {
        case BrooksidePhases::Duplicate:
            if (!IsComplete()) {
                FailWith(
                    StatusDuplicatePhase,
                    "File " + fileName + ": Contains duplicate phase entries for the wafer " + wafer + ".");
            }
            ++log.duplicatePhases;
            break;
        case BrooksidePhases::OutOfOrder:
            AddBrooksideWarning(warningText, "File " + fileName + ": The phases for the wafer " + wafer +
                                                 " are not in order.\n");
            break;
        case BrooksidePhases::Inserted:
            break;
    }
}

void BrooksideFile::WarnOfDuplicates(const LogRead& log) {
    if (log.duplicates.empty()) {
        return;
    }
    AddBrooksideWarning(warningText, "More than one entry for the following wafers was found.\n");
    for (const std::string& id : log.duplicates) {
        AddBrooksideWarning(warningText, id + "\n");
    }
}

// The wafers, their phases, and where each phase's lines are.
void BrooksideFile::ReadTransition(LogRead& log) {
    if (!log.transition.IsOpen()) {
        FailWith(StatusOpenFailed);
    }
    if (!log.transition.FindFileLine()) {
        FailWith(StatusNoFileLine);
    }
    if (log.transition.GetNumberOfPhases() == 0) {
        FailWith(StatusNoPhases);
    }
    while (log.transition.NextWafer()) {
        GetContext()->ThrowIfStopped();
        CheckChamber(log);
        AddWafer(log);
        const BrooksideFields& fields = log.transition.GetFields();
        // Without folders one data file has one name, however the log's lines spell it.
        const std::string_view namedFile = fields.GetText(BrooksideTransition::FieldDataFile);
        const char* const dataFile =
            log.phases.KeepText(IsComplete() ? NvGetFileName(namedFile) : std::string(namedFile));
        const char* const wafer = log.phases.KeepText(fields.GetText(BrooksideTransition::FieldWafer));
        for (int phase = 1; phase <= log.transition.GetNumberOfPhases(); ++phase) {
            AddPhase(log, phase, dataFile, wafer);
        }
    }
    WarnOfDuplicates(log);
}

void BrooksideFile::WarnOfSkippedWafers(const LogRead& log) {
    const auto warn = [this](int count, const char* text) {
        if (count > 0) {
            AddBrooksideWarning(warningText, std::to_string(count) + text);
        }
    };
    const BrooksideTransition::Skipped& skipped = log.transition.GetSkipped();
    warn(skipped.unknown, " wafer(s) had an ID of 'unknown'. The wafers were skipped.\n");
    warn(skipped.none, " wafer(s) had an ID of 'none'. The wafers were skipped.\n");
    warn(skipped.questionMark, " wafer(s) had an ID that started with '?'. The wafers were skipped.\n");
}

// The name row, and a word about what was left out.
void BrooksideFile::FinishTable(ReadSpreadSheetData& sink, const LogRead& log,
                                const BrooksideSamples& samples) {
    if (sink.GetNumberOfRows() >= 1) {
        static constexpr const char* FirstNames[] = {BrooksideSamples::WaferName, BrooksideSamples::PhaseName,
                                                     BrooksideSamples::TimeName};
        const int columns = sink.GetNumberOfColumns();
        for (int col = 1; col <= std::min(columns, 3); ++col) {
            sink.Set(col, 1, FirstNames[col - 1]);
        }
    }
    for (const auto& [name, col] : samples.GetHeader().GetVariables()) {
        sink.Set(col, 1, name.c_str());
    }
    if (samples.HasDifferentVariables()) {
        AddBrooksideWarning(warningText, "All the data files did not contain the same variables.\n");
    }
    WarnOfSkippedWafers(log);
}

void BrooksideFile::NoteWhatIsLeftOut(const LogRead& log, const BrooksideHeader& header) {
    const auto note = [this](const char* code, std::uint64_t count, const std::string& text) {
        if (count > 0) {
            AddNote({code, count, {}, text});
        }
    };
    const BrooksideTransition::Skipped& skipped = log.transition.GetSkipped();
    const auto skippedWafers =
        static_cast<std::uint64_t>(skipped.unknown) + static_cast<std::uint64_t>(skipped.none) +
        static_cast<std::uint64_t>(skipped.questionMark) + static_cast<std::uint64_t>(skipped.empty);
    note("wafers-without-id", skippedWafers,
         karta::CountOf(skippedWafers, "line") + " of the transition file " +
             (skippedWafers == 1 ? "tells no wafer and has" : "tell no wafer and have") + " no rows");
    note("phases-without-data", log.countWithoutData,
         karta::CountOf(log.countWithoutData, "phase") +
             " without data: " + ListBrooksideNames(log.phasesWithoutData, log.countWithoutData));
    note("phases-without-lines", log.phasesWithoutLines,
         karta::CountOf(log.phasesWithoutLines, "phase tells", "phases tell") + " no first and last line");
    note("duplicate-phases", log.duplicatePhases,
         karta::CountOf(log.duplicatePhases, "phase is", "phases are") +
             " listed twice with the same lines: the table has them twice");
    const auto& others = header.GetOthers();
    note("other-chambers", others.size(),
         "variables of other chambers are not in this table: " +
             ListBrooksideNames({others.begin(), others.end()}, others.size()));
}

// Row 1 and the first two columns are names.
void BrooksideFile::TellShape() {
    karta::TableShape& shape = GetContext()->shape;
    shape = {};
    shape.isKnown = true;
    shape.nameRow = 1;
    shape.firstDataRow = 2;
    shape.labelColumns = {BrooksideHeader::ColumnWafer, BrooksideHeader::ColumnPhase};
}

// Where the phases' lines are known, the table's last row.
std::int64_t BrooksideFile::PlanRows(LogRead& log, BrooksideSamples& samples) const {
    samples.FitToData(log.phases.CollectEntries());
    const std::int64_t lastRow = log.phases.AssignRows();
    if (lastRow < 2) {
        FailWith(StatusNoData, "The file " + fileName + " does not contain any data.");
    }
    if (lastRow >= std::numeric_limits<int>::max()) {
        FailWith(StatusNoData, "The file " + fileName + " asks for more rows than a table can have.");
    }
    return lastRow;
}

void BrooksideFile::ReadLog(ReadSpreadSheetData& sink) {
    LogRead log(OpenOwnText());
    ReadTransition(log);
    if (IsComplete()) {
        ReadLogCompletely(log, sink);
        return;
    }
    log.phases.CollectEntries();
    const std::int64_t lastRow = log.phases.AssignRows();
    if (lastRow < 2) {
        FailWith(StatusNoData, "The file " + fileName + " does not contain any data.");
    }
    BrooksideSamples samples(*fileSet, log.chambers, *GetContext(), warningText);
    samples.Read(log.phases.GetEntries(), lastRow, sink);
    FinishTable(sink, log, samples);
    NoteWhatIsLeftOut(log, samples.GetHeader());
}

void BrooksideFile::ReadLogCompletely(LogRead& log, ReadSpreadSheetData& sink) {
    BrooksideSamples samples(*fileSet, log.chambers, *GetContext(), warningText);
    const std::int64_t lastRow = PlanRows(log, samples);
    TellShape();
    samples.ReadCompletely(log.phases.GetEntries(), lastRow, sink);
    WarnOfSkippedWafers(log);
    NoteWhatIsLeftOut(log, samples.GetHeader());
}

// What the sink throws is the caller's.
int BrooksideFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    return WithinBudget(StatusForeignFile, [this, sink] {
        try {
            ReadLog(*sink);
        } catch (const BrooksideFailure& failure) {
            FailAs(failure.status, failure.text);
        }
        return status;
    });
}

// False with a status: the one before, or that of a text that can't be opened.
bool BrooksideFile::OpenCentering(BrooksideStream& stream) {
    if (status != StatusOk) {
        return false;
    }
    stream = OpenOwnText();
    if (!stream.IsOpen()) {
        FailAs(StatusOpenFailed, {});
    }
    return stream.IsOpen();
}

int BrooksideFile::GetCentering(std::map<std::string, float>& centering) {
    BrooksideStream stream;
    if (!OpenCentering(stream)) {
        return status;
    }
    try {
        std::string line;
        while (!stream.AtEnd()) {
            ReadLineWithoutQuotes(stream, line);
            if (!line.empty()) {
                AddCentering(centering, line);
            }
        }
    } catch (...) {
        return StatusForeignFile;
    }
    return StatusOk;
}

int BrooksideFile::GetCentering(std::string& first, std::string& second, std::string& third, float& value) {
    BrooksideStream stream;
    if (!OpenCentering(stream)) {
        return status;
    }
    std::string line;
    while (!stream.AtEnd()) {
        ReadLineWithoutQuotes(stream, line);
        if (!line.starts_with(SetPointMark)) {
            continue;
        }
        BrooksideFields fields;
        fields.Split(line);
        if (fields.GetCount() < 5) {
            return StatusForeignFile;
        }
        first = fields.GetText(2);
        second = fields.GetText(3);
        third = fields.GetText(4);
        value = static_cast<float>(ToLeadingDouble(fields.GetText(5)));
        break;
    }
    return StatusOk;
}

int BrooksideFile::GetIxFromWaferID(const std::string& waferID) const {
    const auto found = waferIndex.find(waferID);
    return found == waferIndex.end() ? 0 : found->second;
}

std::vector<FileContents::Fact> BrooksideFile::ListFacts() {
    const auto scan = MakeScan();
    LogRead log(scan->OpenOwnText());
    if (!log.transition.IsOpen()) {
        return {};
    }
    try {
        scan->ReadTransition(log);
    } catch (const BrooksideFailure&) {
        // Read will tell why; until then what was found up to there is worth seeing.
    }
    std::vector<Fact> facts;
    facts.emplace_back("wafers", static_cast<double>(scan->waferIndex.size()), "");
    facts.emplace_back("phases", log.transition.GetNumberOfPhases(), "");
    log.phases.CollectEntries();
    const std::int64_t lastRow = log.phases.AssignRows();
    facts.emplace_back("samples", static_cast<double>(std::max<std::int64_t>(lastRow - 1, 0)), "");
    std::string chambers = log.chambers;
    std::erase_if(chambers,
                  [](char letter) { return letter == '\0' || letter == BrooksideHeader::AllChambers; });
    if (!chambers.empty()) {
        facts.emplace_back("chamber", chambers);
    }
    AddList(facts, "recipe", scan->recipes);
    AddList(facts, "lot", scan->lots);
    AddList(facts, "operation", scan->operations);
    ListDataFiles(facts, *fileSet, log.chambers, log.phases.GetEntries());
    if (log.countWithoutData > 0) {
        facts.emplace_back("skipped", "phases whose data are all missing, " +
                                          ListBrooksideNames(log.phasesWithoutData, log.countWithoutData));
    }
    const BrooksideTransition::Skipped& skipped = log.transition.GetSkipped();
    AddCount(facts, "skipped", skipped.unknown, " wafer(s) with the ID 'unknown'");
    AddCount(facts, "skipped", skipped.none, " wafer(s) with the ID 'none'");
    AddCount(facts, "skipped", skipped.questionMark, " wafer(s) with an ID that starts with '?'");
    return facts;
}

BrooksideFileFileFactory::BrooksideFileFileFactory()
    : SprFileFactory("Brookside File", "Brookside Files (*.trn; *.pkg)", nullptr, 2, ".trn\0.pkg\0", 0, 1, 0,
                     1, 0, 1) {}

MyKindOfFile BrooksideFileFileFactory::IsMyKindOfFile(const char* /*fileName*/) {
    return KindUnknown;
}

SpreadsheetFile* BrooksideFileFileFactory::GetSpreadsheetFile() {
    return new BrooksideFile;
}

static BrooksideFileFileFactory brooksideFileFileFactory;

namespace {

// A package's first tag, or the line that tells where each phase has its columns.
FormatRecogniser::Evidence RecogniseLog(const char* /*path*/, std::string_view head) {
    if (head.find("<trn_file_name>") != std::string_view::npos) {
        return FormatRecogniser::Evidence::Proof;
    }
    BrooksideTransition transition(BrooksideStream::OfText(head, BrooksideStream::AnyLineLength));
    return transition.FindFileLine() && transition.GetNumberOfPhases() > 0 ? FormatRecogniser::Evidence::Proof
                                                                           : FormatRecogniser::Evidence::None;
}

const FormatRecogniser brooksideRecogniser("Brookside File", "brookside", {}, RecogniseLog);

}  // namespace
