#include "process/BrooksideFile.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>

#include "base/Ascii.h"
#include "base/CopyMessage.h"
#include "base/Exception.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "host/NvString.h"
#include "process/BrooksideFailure.h"
#include "process/BrooksideFields.h"
#include "process/BrooksideFileSet.h"
#include "process/BrooksidePhases.h"
#include "process/BrooksideSamples.h"
#include "process/BrooksideTransition.h"
#include "process/BrooksideWarnings.h"

namespace {

// What stands in a duration field for a phase whose data are lost: the very text, not the number.
constexpr std::string_view MissingDuration = "-999";

// The mark of the set-point line is compared in its first five characters only; files rely on it.
constexpr std::string_view SetPointMark = "SetPo";

using IDSet = std::set<std::string, LessIgnoringCase>;

char FirstLetter(std::string_view recipe) {
    return recipe.empty() ? '\0' : ToUpper(recipe.front());
}

// The rest of a line behind its n-th tab. False when there are fewer.
bool FindBehindTab(std::string_view line, int tabs, std::string_view& rest) {
    rest = line;
    for (int i = 0; i < tabs; ++i) {
        const std::size_t tab = rest.find('\t');
        if (tab == std::string_view::npos) {
            return false;
        }
        rest.remove_prefix(tab + 1);
    }
    return true;
}

// The first word of a text, white space before it aside.
std::string_view TakeWord(std::string_view text) {
    const auto* start = std::find_if_not(text.begin(), text.end(), IsSpace);
    const auto* end = std::find_if(start, text.end(), IsSpace);
    return {start, static_cast<std::size_t>(end - start)};
}

void AddCentering(std::map<std::string, float>& centering, std::string_view line) {
    std::string_view words[4];
    for (int i = 0; i < 4; ++i) {
        std::string_view rest;
        if (!FindBehindTab(line, i, rest)) {
            throw Exception("A centring line has too few fields.");
        }
        words[i] = TakeWord(rest);
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

// The data files that a log names and the variables in their headers.
void ListDataFiles(std::vector<FileContents::Fact>& facts, const BrooksideFileSet& files, char chamber,
                   const std::vector<PhaseEntry>& entries) {
    BrooksideHeader header(chamber);
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
    facts.emplace_back("data files", std::to_string(count));
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
    std::optional<char> chamber;
    IDSet seen;
    IDSet duplicates;
    std::vector<std::string> phasesWithoutData;  // the first few
    std::size_t countWithoutData = 0;
};

BrooksideFile::BrooksideFile() = default;

BrooksideFile::BrooksideFile(const char* packageText, const char* name, bool isCenterFile) : fileName(name) {
    try {
        fileSet = std::make_shared<BrooksideFileSet>(
            packageText, fileName,
            isCenterFile ? BrooksideFileSet::PackageOfCenterFiles : BrooksideFileSet::PackageOfLog);
    } catch (const Exception& exception) {
        errorText = exception.what();
        status = StatusNoFileSet;
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
    const std::string file = "The file " + fileName;
    std::string text = "Unknown error.";
    switch (status) {
        case StatusOk:
            text.clear();
            break;
        case StatusNotImplemented:
            text = "Not implemented yet!";
            break;
        case StatusWrongMode:
            text = "Brookside files can only be read.";
            break;
        case StatusOpenFailed:
            text = file + " could not be opened.";
            break;
        case StatusNoFileLine:
            text = file +
                   " does not appear to be a Brookside file.\nA line starting with '\"File\"' could not be "
                   "found.";
            break;
        case StatusNoPhases:
            text = file +
                   " does not appear to be a Brookside file.\nThe columns that specifies the start and end "
                   "of each phase could not be found.";
            break;
        case StatusUnknownException:
            text = "An unknown exception occurred while reading the file " + fileName + ".";
            break;
        case StatusForeignFile:
            text = file + " does not appear to be a Brookside file.";
            break;
        case StatusDuplicateWafer:
            text = file + " contains wafer with duplicate ids. Reading aborted";
            break;
        case StatusDuplicatePhase:
        case StatusReserved4:
        case StatusDifferentChambers:
        case StatusException:
        case StatusNoTime:
        case StatusReserved9:
        case StatusEndOfFile:
        case StatusNotANumber:
        case StatusNoFileSet:
        case StatusNoData:
            text = errorText;
            break;
        default:
            break;
    }
    CopyMessage(text, buffer, size);
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
    try {
        fileSet = std::make_shared<BrooksideFileSet>(fileName);
    } catch (const Exception& exception) {
        errorText = exception.what();
        status = StatusNoFileSet;
    }
    return status;
}

int BrooksideFile::EstablishSize() {
    numCols = 1;
    numRows = 1;
    sizeKnown = true;
    return StatusOk;
}

BrooksideStream BrooksideFile::OpenOwnText() const {
    return fileSet == nullptr ? BrooksideStream() : fileSet->OpenText(fileName);
}

void BrooksideFile::FailWith(BrooksideFileStatus failure, const std::string& text) const {
    throw BrooksideFailure{failure, text};
}

// The first wafer's recipe names the chamber; one log has one.
void BrooksideFile::CheckChamber(LogRead& log) const {
    const char letter = FirstLetter(log.transition.GetFields().GetText(BrooksideTransition::FieldRecipe));
    if (!log.chamber.has_value()) {
        log.chamber = letter;
    } else if (*log.chamber != letter) {
        FailWith(StatusDifferentChambers, "The file " + fileName + " contains data from different chambers.");
    }
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
    if (duration == nullptr) {
        FailWith(StatusForeignFile);
    }
    if (*duration == MissingDuration) {
        if (++log.countWithoutData <= MaxListedBrooksideNames) {
            log.phasesWithoutData.push_back(NvString::Format("%s phase %i", wafer, phase));
        }
        AddBrooksideWarning(
            warningText,
            NvString::Format("All data for wafer %s, phase %i, are missing. Phase skipped\n", wafer, phase));
        return;
    }
    const std::string_view* from = log.transition.GetFrom(phase);
    const std::string_view* to = log.transition.GetTo(phase);
    if (from == nullptr || to == nullptr) {
        FailWith(StatusForeignFile);
    }
    switch (log.phases.Insert({dataFile, wafer, ToLeadingInt(*from), ToLeadingInt(*to), phase})) {
        case BrooksidePhases::Duplicate:
            FailWith(StatusDuplicatePhase,
                     "File " + fileName + ": Contains duplicate phase entries for the wafer " + wafer + ".");
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
    if (!log.transition.FindFileLine()) {
        FailWith(StatusNoFileLine);
    }
    if (log.transition.GetNumberOfPhases() == 0) {
        FailWith(StatusNoPhases);
    }
    while (log.transition.NextWafer()) {
        CheckChamber(log);
        AddWafer(log);
        const BrooksideFields& fields = log.transition.GetFields();
        const char* const dataFile = log.phases.Keep(fields.GetText(BrooksideTransition::FieldDataFile));
        const char* const wafer = log.phases.Keep(fields.GetText(BrooksideTransition::FieldWafer));
        for (int phase = 1; phase <= log.transition.GetNumberOfPhases(); ++phase) {
            AddPhase(log, phase, dataFile, wafer);
        }
    }
    WarnOfDuplicates(log);
}

// The name row, and a word about what was left out.
void BrooksideFile::FinishTable(ReadSpreadSheetData& sink, const LogRead& log,
                                const BrooksideSamples& samples) {
    if (sink.GetNumberOfRows() >= 1) {
        static constexpr const char* FirstNames[] = {"Wafer (Batch)", "Interval (Phase)", "Time"};
        const int columns = sink.GetNumberOfColumns();
        for (int col = 1; col <= std::min(columns, 3); ++col) {
            sink.Set(col, 1, FirstNames[col - 1]);
        }
    }
    for (const auto& [name, col] : samples.GetVariables()) {
        sink.Set(col, 1, name.c_str());
    }
    if (samples.HasDifferentVariables()) {
        AddBrooksideWarning(warningText, "All the data files did not contain the same variables.\n");
    }
    const auto warn = [this](int count, const char* format) {
        if (count > 0) {
            AddBrooksideWarning(warningText, std::to_string(count) + format);
        }
    };
    const BrooksideTransition::Skipped& skipped = log.transition.GetSkipped();
    warn(skipped.unknown, " wafer(s) had an ID of 'unknown'. The wafers were skipped.\n");
    warn(skipped.none, " wafer(s) had an ID of 'none'. The wafers were skipped.\n");
    warn(skipped.questionMark, " wafer(s) had an ID that started with '?'. The wafers were skipped.\n");
}

void BrooksideFile::ReadLog(ReadSpreadSheetData& sink) {
    LogRead log(OpenOwnText());
    if (!log.transition.IsOpen()) {
        FailWith(StatusOpenFailed);
    }
    ReadTransition(log);
    const std::int64_t lastRow = log.phases.AssignRows();
    if (lastRow < 2) {
        FailWith(StatusNoData, "The file " + fileName + " does not contain any data.");
    }
    BrooksideSamples samples(*fileSet, log.chamber.value_or('\0'), sink, warningText);
    samples.Read(log.phases.GetEntries(), lastRow);
    FinishTable(sink, log, samples);
}

int BrooksideFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    try {
        ReadLog(*sink);
    } catch (const BrooksideFailure& failure) {
        status = failure.status;
        errorText = failure.text;
    } catch (const Exception& exception) {
        status = StatusException;
        errorText =
            std::string("The following exception occurred while reading the file :\n") + exception.what();
    } catch (...) {
        status = StatusUnknownException;
    }
    return status;
}

// False with a status: the one before, or that of a text that can't be opened.
bool BrooksideFile::OpenCentering(BrooksideStream& stream) {
    if (status != StatusOk) {
        return false;
    }
    stream = OpenOwnText();
    if (!stream.IsOpen()) {
        status = StatusOpenFailed;
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
    // A second reader over the same texts, so that nothing of this one's reading changes.
    BrooksideFile scan;
    scan.fileName = fileName;
    scan.fileSet = fileSet;
    LogRead log(scan.OpenOwnText());
    if (!log.transition.IsOpen()) {
        return {};
    }
    try {
        scan.ReadTransition(log);
    } catch (const BrooksideFailure&) {
        // Read will tell why; until then what was found up to there is worth seeing.
    }
    std::vector<Fact> facts;
    facts.emplace_back("wafers", std::to_string(scan.waferIndex.size()));
    facts.emplace_back("phases", std::to_string(log.transition.GetNumberOfPhases()));
    const std::int64_t lastRow = log.phases.AssignRows();
    facts.emplace_back("samples", std::to_string(std::max<std::int64_t>(lastRow - 1, 0)));
    if (log.chamber.value_or('\0') != '\0') {
        facts.emplace_back("chamber", std::string(1, *log.chamber));
    }
    ListDataFiles(facts, *fileSet, log.chamber.value_or('\0'), log.phases.GetEntries());
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
