#include "container/KpfFileImport.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <span>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "archive/CompoundFile.h"
#include "base/TemporaryFolder.h"
#include "frame/CellOutput.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "host/ImportSpecBase.h"
#include "host/project/AliasAccess.h"
#include "host/project/CompoundFileStreamSource.h"
#include "host/project/Karta12KpfConverter.h"
#include "host/project/NCProgress.h"
#include "host/project/NCProject.h"
#include "host/project/OldKpfReader.h"
#include "host/project/ProjectLayout.h"
#include "host/project/ProjectVersion.h"

namespace {

constexpr const char* TemporaryPrefix = "kpf";

constexpr int RowsBetweenLooks = 1024;
// The names that a note tells, of more datasets.
constexpr std::uint64_t MaxNamesInNote = 20;

// The host's codes of what a row or column is, passed on as they are.
constexpr int RowRolePrimaryId = 0x11;
constexpr int RowRoleId = 0x12;
constexpr int ColumnRolePrimaryId = 5;
constexpr int ColumnRoleId = 6;
constexpr int ColumnRoleBatchId = 7;
constexpr int ColumnRolePhaseId = 8;
constexpr int ColumnRoleGeneratedTime = 1;
// Of the variables of the first kinds, and of the others.
constexpr int ColumnRoleFirstYesNo = 3;
constexpr int ColumnRoleFirstMarked = 12;
constexpr int ColumnRoleFirstDateTime = 9;
constexpr int ColumnRoleFirst = 4;
constexpr int ColumnRoleYesNo = 2;
constexpr int ColumnRoleDateTime = 10;

bool IsFirstKind(const VariableInfo& variable) {
    return variable.kind == 1 || variable.kind == 3;
}

// Only the first letter counts: all the variables that the host makes begin with it.
bool IsGeneratedTime(const VariableInfo& variable) {
    return std::strncmp(variable.GetPrimaryAlias().c_str(), BatchInfo::GetGeneratedTimeVariableName(), 1) ==
           0;
}

void TellDateTime(ImportSpecBase& spec, int column, const DateTimeVariableInfo& variable) {
    spec.SetDateTimeFormat(column, variable.dateFormat.c_str(), variable.timeFormat.c_str(), variable.origin,
                           variable.unit, variable.resolution);
}

int ColsOf(const NCDataSet& part) {
    return part.SizeVariables() + static_cast<int>(part.GetObservationIds().size());
}

int RowsOf(const NCDataSet& part) {
    return part.SizeObservations() + static_cast<int>(part.GetVariableIds().size());
}

int AddRows(int rows, int more) {
    return rows > std::numeric_limits<int>::max() - more ? std::numeric_limits<int>::max() : rows + more;
}

// Counted from the variable's day, and rounded to the second, as the host does. What no calendar has stays a
// number.
void PutDateTime(CellOutput& output, int col, int row, const DateTimeVariableInfo& variable, float value) {
    constexpr double SecondsOf[] = {86400.0, 3600.0, 60.0, 1.0};
    constexpr std::int64_t SecondsOfDay = 86400;
    constexpr std::int64_t MicrosecondsOfSecond = 1'000'000;
    constexpr double LongestTime = 3e11;  // as long as the calendar
    // Serial days: the first after the one that never was, that of 1970-01-01, and the first too late.
    constexpr std::int64_t DayThatNeverWas = 60;
    constexpr std::int64_t Epoch = 25569;
    constexpr std::int64_t EndOfCalendar = 2958466;
    const bool isKnownUnit =
        variable.unit >= DateTimeVariableInfo::UnitDay && variable.unit <= DateTimeVariableInfo::UnitSecond;
    const double seconds =
        static_cast<double>(value) * (isKnownUnit ? SecondsOf[variable.unit] : SecondsOf[0]);
    if (!(std::abs(seconds) < LongestTime)) {
        output.Number(col, row, value);
        return;
    }
    const std::int64_t whole = std::llround(seconds);
    std::int64_t second = whole % SecondsOfDay;
    second += second < 0 ? SecondsOfDay : 0;
    const std::int64_t day = variable.origin + (whole - second) / SecondsOfDay;
    if (day < 0 || day >= EndOfCalendar || day == DayThatNeverWas) {
        output.Number(col, row, value);
    } else if (day == 0) {
        output.Time(col, row, second * MicrosecondsOfSecond);
    } else {
        const std::int64_t epochDay = day - Epoch + (day < DayThatNeverWas ? 1 : 0);
        const bool isDate =
            variable.timeFormat.empty() && variable.unit == DateTimeVariableInfo::UnitDay && second == 0;
        if (isDate) {
            output.Date(col, row, static_cast<std::int32_t>(epochDay));
        } else {
            output.DateTime(col, row, (epochDay * SecondsOfDay + second) * MicrosecondsOfSecond);
        }
    }
}

bool IsPlain(const VariableInfo& variable) {
    return dynamic_cast<const DateTimeVariableInfo*>(&variable) == nullptr && !variable.IsYesNo();
}

void PutValue(CellOutput& output, int col, int row, const VariableInfo& variable, float value) {
    const auto* const dateTime = dynamic_cast<const DateTimeVariableInfo*>(&variable);
    if (VariableInfo::IsMissing(value)) {
        output.Missing(col, row);
    } else if (dateTime != nullptr) {
        PutDateTime(output, col, row, *dateTime, value);
    } else if (variable.IsYesNo() && (value == 0.0F || value == 1.0F)) {
        output.Bool(col, row, value == 1.0F);
    } else {
        output.Number(col, row, value);
    }
}

bool IsKpfHead(const char* path) {
    const CompoundFile file(path);
    const auto& entries = file.GetEntries();
    return std::any_of(entries.begin(), entries.end(), [](const CompoundFile::Entry& entry) {
        return entry.isStream && (entry.name == ProjectCatalogue::StreamName || entry.name == OldStreamName);
    });
}

// A compound file that holds the streams of a project.
FormatRecogniser::Evidence Recognise(const char* path, std::string_view /*head*/) {
    const bool isProject = CompoundFile::IsCompoundFile(path) && IsKpfHead(path);
    return isProject ? FormatRecogniser::Evidence::Proof : FormatRecogniser::Evidence::None;
}

// A source over a project, ready to be opened: what an earlier run left of its folder is gone.
std::unique_ptr<CompoundFileStreamSource> MakeSource(const std::string& path) {
    std::error_code error;
    const std::string temporaryPath = std::filesystem::temp_directory_path(error).string();
    auto source = std::make_unique<CompoundFileStreamSource>(
        path, CompoundFileStreamSource::GetTempFolderName(path, temporaryPath));
    if (source->DirectoryExists()) {
        source->DeleteDirectory();
    }
    return source;
}

/** A specification that notes the roles of the columns, neighbours of one role together. */
class RoleNotes : public ImportSpecBase {
public:
    void SetColumnRole(int column, int role) override {
        if (role == lastRole && column == lastColumn + 1) {
            lastColumn = column;
            return;
        }
        Flush();
        firstColumn = lastColumn = column;
        lastRole = role;
    }
    std::string GetText() {
        Flush();
        return text;
    }

private:
    void Flush() {
        if (lastRole == 0) {
            return;
        }
        text += (text.empty() ? "" : ", ") + std::to_string(firstColumn);
        text += lastColumn == firstColumn ? "" : "-" + std::to_string(lastColumn);
        text += ": " + std::to_string(lastRole);
        lastRole = 0;
    }

    std::string text;
    int firstColumn = 0;
    int lastColumn = 0;
    int lastRole = 0;
};

}  // namespace

KpfFileImport::KpfFileImport() = default;

KpfFileImport::KpfFileImport(KpfFileImport& other) : FormatReader(other), FileContents(other) {
    TakeOver(other);
}

KpfFileImport& KpfFileImport::operator=(KpfFileImport& other) {
    if (this != &other) {
        Release();
        SpreadsheetFile::operator=(other);
        TakeOver(other);
    }
    return *this;
}

// The driver deletes a reader that has failed without closing it.
KpfFileImport::~KpfFileImport() {
    Release();
}

void KpfFileImport::TakeOver(KpfFileImport& other) {
    source = std::move(other.source);
    project = std::move(other.project);
    dataset = std::move(other.dataset);
    chosen = std::move(other.chosen);
    importSpec = std::exchange(other.importSpec, nullptr);
    converted = std::move(other.converted);
    other.sizeKnown = false;
}

void KpfFileImport::Release() {
    dataset.reset();
    project.reset();
    if (source == nullptr) {
        return;
    }
    source->Close(CompoundFileStreamSource::CloseUnchanged, true);
    source.reset();
    converted.reset();
}

void KpfFileImport::Close() {
    Release();
    importSpec = nullptr;
    sizeKnown = false;
    FormatReader::Close();
}

void KpfFileImport::GetErrorMessage(char* buffer, unsigned int size) {
    static constexpr StatusText Texts[] = {
        {StatusDamaged, "The file is damaged or not a KARTA project."},
        {StatusNotDecrypted, "The file could not be decrypted."},
        {StatusNotRead, "The file could not be read."},
        {StatusNoDataSet, "The dataset could not be read."},
        {StatusNoKeyMemory, "There is not enough memory for the project's key."}};
    CopyStatusText(Texts, buffer, size);
}

int KpfFileImport::Open(bool forRead, const char* path, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    Release();
    sizeKnown = false;
    const auto wanted = IsComplete() ? CompleteOptions(options).GetText(CompleteOptions::Part) : std::nullopt;
    try {
        status = WithinBudget(StatusNotRead, [&] {
            const int opened = OpenProject(path);
            return opened == StatusOk ? LoadProject(wanted) : opened;
        });
    } catch (const ProjectCipher::NoMemory&) {
        status = StatusNoKeyMemory;
    }
    return status;
}

int KpfFileImport::OpenProject(const std::string& path) {
    source = MakeSource(path);
    source->SetContext(GetContext());
    if (source->Open(CompoundFileStreamSource::OpenForReading, false) != CompoundFileStreamSource::OpenOk) {
        return StatusDamaged;
    }
    std::string password;
    if (source->IsEncrypted() && !SetPassword(*source, password)) {
        return StatusNotDecrypted;
    }
    ProjectVersion version;
    if (const auto stream = source->OpenStream(ProjectVersion::GetVersionInfoStreamName())) {
        *stream >> version;
    }
    return version.number > ProjectVersion::LastOld ? StatusOk : OpenOldProject(path, password);
}

// An old project is rewritten in the layout of today, to a temporary file that is read in its place.
int KpfFileImport::OpenOldProject(const std::string& path, std::string& password) {
    source->Close(CompoundFileStreamSource::CloseUnchanged, true);
    source.reset();
    // The password has been asked for already.
    OldKpfReader reader(path, password, [](CompundFileBase& file, std::string& known) {
        return file.SetPassword(known.c_str());
    });
    reader.SetContext(GetContext());
    // A folder, since the library that writes makes files of its own beside the one that is asked for.
    converted = std::make_unique<TemporaryFolder>(TemporaryPrefix);
    const std::string target = converted->GetPath() + "/project.kpf";
    source = MakeSource(target);
    if (converted->GetPath().empty() || !reader.ConvertKpf(target) ||
        source->Open(CompoundFileStreamSource::OpenForReading, false) != CompoundFileStreamSource::OpenOk) {
        return StatusNotConverted;
    }
    if (source->IsEncrypted()) {
        source->SetPassword(password.c_str());
    }
    return StatusOk;
}

int KpfFileImport::LoadProject(const std::optional<std::string>& wanted) {
    project = NCProject::Create();
    if (!project->Init(source.get(), true, [this](NCProject& oldProject) { ConvertProject(oldProject); })) {
        // A conversion that the user cancelled has left its own status.
        return status == StatusOk ? static_cast<int>(StatusNotRead) : status;
    }
    if (project->SizeDataSets() == 0) {
        return StatusNoDataSet;
    }
    if (wanted) {
        return ChooseParts(*wanted);
    }
    const int id = project->SizeDataSets() < 2 ? project->GetDataSetId(1) : SelectDataset(project);
    if (project->SizeDataSets() >= 2 && id < 1) {
        return StatusAbortedByUser;
    }
    chosen = {1};
    for (int place = 1; place <= project->SizeDataSets(); ++place) {
        if (project->GetDataSetId(place) == id) {
            chosen = {place};
            break;
        }
    }
    dataset = IsComplete() ? project->GetDataSetHead(id) : project->GetDataSet(id);
    return dataset == nullptr ? static_cast<int>(StatusNoDataSet) : static_cast<int>(StatusOk);
}

// Where one dataset is the table, its values needn't be in memory beside it. Of several that are, one that
// can't be read to its end has no rows in it.
std::shared_ptr<NCDataSet> KpfFileImport::GetDataSet(int place) const {
    const int id = project->GetDataSetId(place);
    return IsComplete() && chosen.size() == 1 ? project->GetDataSetHead(id) : project->GetDataSet(id);
}

int KpfFileImport::ChooseParts(const std::string& wanted) {
    const auto places = FindParts(ListParts(), wanted);
    if (!places) {
        failureText = "The project has no dataset \"" + wanted + "\".";
        return StatusNoDataSet;
    }
    // Entries of one id are one dataset.
    std::unordered_set<int> ids;
    chosen.clear();
    for (const std::size_t place : *places) {
        if (ids.insert(project->GetDataSetId(static_cast<int>(place) + 1)).second) {
            chosen.push_back(static_cast<int>(place) + 1);
        }
    }
    dataset = GetDataSet(chosen.front());
    failurePlace.part = dataset == nullptr ? project->GetDataSetName(chosen.front()) : std::string();
    return dataset == nullptr ? static_cast<int>(StatusNoDataSet) : static_cast<int>(StatusOk);
}

void KpfFileImport::ConvertProject(NCProject& oldProject) {
    Karta12KpfConverter converter(oldProject, {});
    NCProgress progress("Converting old project", 0, 0, 0, 1, 1,
                        "Do you really want to stop? The project will not open.");
    converter.Execute(progress, false);
    if (progress.IsCancelled()) {
        status = StatusAbortedByUser;
    }
}

bool KpfFileImport::SetPassword(CompundFileBase& /*file*/, std::string& /*password*/) {
    return false;
}

// By value: the project is the host's to keep.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
int KpfFileImport::SelectDataset(std::shared_ptr<NCProject> candidates) {
    return candidates->GetDataSetId(1);
}

void KpfFileImport::SetImportSpec(ImportSpecBase* spec) {
    importSpec = spec;
}

int KpfFileImport::EstablishSize() {
    if (status != StatusOk) {
        return status;
    }
    if (dataset == nullptr) {
        return StatusSizeFailed;
    }
    return WithinBudget(StatusNotRead, [this] { return MeasureParts(); });
}

int KpfFileImport::MeasureParts() {
    numCols = ColsOf(*dataset);
    numRows = RowsOf(*dataset);
    for (std::size_t i = 1; i < chosen.size(); ++i) {
        if (const auto part = GetDataSet(chosen[i])) {
            numCols = std::max(numCols, ColsOf(*part));
            numRows = AddRows(numRows, RowsOf(*part));
        }
    }
    sizeKnown = true;
    return StatusOk;
}

int KpfFileImport::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (dataset == nullptr) {
        status = StatusNoDataSet;
        return status;
    }
    sink->layoutDefault = true;
    status =
        WithinBudget(StatusNotRead, [&] { return IsComplete() ? ReadComplete(*sink) : ReadClassic(*sink); });
    if (importSpec != nullptr) {
        TellLayout(*importSpec);
        importSpec->honoured = true;
    }
    return status;
}

// Every value as text, as its variable writes it.
int KpfFileImport::ReadClassic(ReadSpreadSheetData& sink) const {
    const AliasAccess variableAliases(project->GetAliasTables(), dataset->GetVariableIds());
    const AliasAccess observationAliases(project->GetAliasTables(), dataset->GetObservationIds());
    const int idRows = variableAliases.SizeAliases();
    const int idColumns = observationAliases.SizeAliases();
    for (int alias = 1; alias <= idRows; ++alias) {
        for (int variable = 1; variable <= dataset->SizeVariables(); ++variable) {
            sink.Set(idColumns + variable, alias,
                     variableAliases.GetAlias(alias, dataset->GetVariableInfo(variable)));
        }
    }
    const NCDataMatrix<float>& values = dataset->GetData(false, nullptr);
    for (int observation = 1; observation <= dataset->SizeObservations(); ++observation) {
        const int row = idRows + observation;
        if (observation % RowsBetweenLooks == 0) {
            GetContext()->ThrowIfStopped();
        }
        for (int alias = 1; alias <= idColumns; ++alias) {
            sink.Set(alias, row,
                     observationAliases.GetAlias(alias, dataset->GetObservationInfo(observation)));
        }
        for (int variable = 1; variable <= dataset->SizeVariables(); ++variable) {
            const std::string text =
                dataset->GetVariableInfo(variable).GetValueText(values(observation, variable));
            sink.Set(idColumns + variable, row, text.c_str());
        }
    }
    return StatusOk;
}

// Every value as what it is; several datasets below each other, each with its own ids above.
int KpfFileImport::ReadComplete(ReadSpreadSheetData& sink) {
    CellOutput output(sink);
    if (chosen.size() == 1) {
        sink.SetDataSize(ColsOf(*dataset), RowsOf(*dataset));
    }
    int cols = 0;
    int rows = 0;
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        const auto part = i == 0 ? dataset : GetDataSet(chosen[i]);
        if (part == nullptr) {
            const std::string& name = project->GetDataSetName(chosen[i]);
            AddNote({"unreadable-part", 1, name, "the dataset \"" + name + "\" can't be read"});
            continue;
        }
        if (!PutDataSet(output, *part, rows)) {
            failurePlace.part = part->GetName();
            return StatusNoDataSet;
        }
        cols = std::max(cols, ColsOf(*part));
        rows = AddRows(rows, RowsOf(*part));
    }
    sink.SetDataSize(cols, rows);
    if (chosen.size() == 1) {
        ShapeTable();
    }
    NoteOtherParts();
    return StatusOk;
}

bool KpfFileImport::PutDataSet(CellOutput& output, const NCDataSet& part, int rowOffset) const {
    const AliasAccess variableAliases(project->GetAliasTables(), part.GetVariableIds());
    const AliasAccess observationAliases(project->GetAliasTables(), part.GetObservationIds());
    const int idRows = variableAliases.SizeAliases();
    const int idColumns = observationAliases.SizeAliases();
    for (int alias = 1; alias <= idRows; ++alias) {
        for (int variable = 1; variable <= part.SizeVariables(); ++variable) {
            output.Text(idColumns + variable, rowOffset + alias,
                        variableAliases.GetAlias(alias, part.GetVariableInfo(variable)));
        }
    }
    // What isn't a date nor a truth value goes out in runs.
    std::vector<bool> arePlain;
    for (int variable = 1; variable <= part.SizeVariables(); ++variable) {
        arePlain.push_back(IsPlain(part.GetVariableInfo(variable)));
    }
    std::vector<float> run;
    return project->ReadRows(part, [&](int observation, std::span<const float> values) {
        const int row = rowOffset + idRows + observation;
        if (observation % RowsBetweenLooks == 0) {
            GetContext()->ThrowIfStopped();
        }
        for (int alias = 1; alias <= idColumns; ++alias) {
            output.Text(alias, row, observationAliases.GetAlias(alias, part.GetObservationInfo(observation)));
        }
        const auto putRun = [&](int end) {
            if (!run.empty()) {
                output.RowRun(idColumns + end - static_cast<int>(run.size()), row, run);
                run.clear();
            }
        };
        for (int variable = 1; variable <= part.SizeVariables(); ++variable) {
            const auto place = static_cast<std::size_t>(variable) - 1;
            const float value = values[place];
            if (arePlain[place] && !VariableInfo::IsMissing(value)) {
                run.push_back(value);
                continue;
            }
            putRun(variable);
            PutValue(output, idColumns + variable, row, part.GetVariableInfo(variable), value);
        }
        putRun(part.SizeVariables() + 1);
        output.EndRow(row);
    });
}

void KpfFileImport::NoteOtherParts() {
    std::unordered_set<int> ids;
    for (const int place : chosen) {
        ids.insert(project->GetDataSetId(place));
    }
    std::string names;
    std::uint64_t count = 0;
    for (int place = 1; place <= project->SizeDataSets(); ++place) {
        if (ids.contains(project->GetDataSetId(place))) {
            continue;
        }
        if (++count <= MaxNamesInNote) {
            names += (names.empty() ? "\"" : ", \"") + project->GetDataSetName(place) + "\"";
        }
    }
    if (count > 0) {
        AddNote({"other-parts",
                 count,
                 {},
                 "datasets that are not in this table: " + names + (count > MaxNamesInNote ? ", ..." : "")});
    }
}

void KpfFileImport::ShapeTable() {
    karta::TableShape& shape = GetContext()->shape;
    const int idRows = static_cast<int>(dataset->GetVariableIds().size());
    shape = {};
    shape.isKnown = true;
    shape.nameRow = std::min(idRows, 1);
    shape.firstDataRow = idRows + 1;
    for (int col = 1; col <= static_cast<int>(dataset->GetObservationIds().size()); ++col) {
        shape.labelColumns.push_back(col);
    }
}

void KpfFileImport::TellLayout(ImportSpecBase& spec) const {
    const std::vector<int>& observationIds = dataset->GetObservationIds();
    const int idRows = static_cast<int>(dataset->GetVariableIds().size());
    const int idColumns = static_cast<int>(observationIds.size());
    spec.SetSpecSize(dataset->SizeObservations() + idRows, dataset->SizeVariables() + idColumns);
    for (int row = 1; row <= idRows; ++row) {
        spec.SetRowRole(row, row == 1 ? RowRolePrimaryId : RowRoleId);
    }
    const VarObs ids(project->GetAliasTables());
    const int batchColumn = ids.GetBatchID(observationIds);
    const int phaseColumn = ids.GetPhaseID(observationIds);
    for (int column = 1; column <= idColumns; ++column) {
        int role = ColumnRoleId;
        if (column == 1) {
            role = ColumnRolePrimaryId;
        } else if (column == batchColumn) {
            role = ColumnRoleBatchId;
        } else if (column == phaseColumn) {
            role = ColumnRolePhaseId;
        }
        spec.SetColumnRole(column, role);
    }
    for (int variable = 1; variable <= dataset->SizeVariables(); ++variable) {
        TellVariable(spec, variable, idColumns + variable);
    }
}

// The first rule that fits.
void KpfFileImport::TellVariable(ImportSpecBase& spec, int variable, int column) const {
    const VariableInfo& info = dataset->GetVariableInfo(variable);
    const auto* dateTime = dynamic_cast<const DateTimeVariableInfo*>(&info);
    if (IsGeneratedTime(info)) {
        spec.SetColumnRole(column, ColumnRoleGeneratedTime);
    } else if (IsFirstKind(info) && info.IsYesNo()) {
        spec.SetColumnRole(column, ColumnRoleFirstYesNo);
    } else if (IsFirstKind(info) && (dataset->GetFlags() & NCDataSet::FlagMarkedVariables) != 0) {
        spec.SetColumnRole(column, ColumnRoleFirstMarked);
    } else if (IsFirstKind(info) && dateTime != nullptr) {
        spec.SetColumnRole(column, ColumnRoleFirstDateTime);
        TellDateTime(spec, column, *dateTime);
    } else if (IsFirstKind(info)) {
        spec.SetColumnRole(column, ColumnRoleFirst);
    } else if (info.IsYesNo()) {
        spec.SetColumnRole(column, ColumnRoleYesNo);
    } else if (dateTime != nullptr) {
        spec.SetColumnRole(column, ColumnRoleDateTime);
        TellDateTime(spec, column, *dateTime);
    }
}

bool KpfFileImport::IsKpf(const char* path) {
    return PureCompoundFileStreamSource().Open(path, true);
}

std::vector<FileContents::Part> KpfFileImport::ListParts() {
    std::vector<Part> parts;
    for (int position = 1; project != nullptr && position <= project->SizeDataSets(); ++position) {
        Part part;
        part.kind = "matrix";
        part.name = project->GetDataSetName(position);
        part.number = position;
        if (IsComplete() && dataset != nullptr && chosen.size() == 1 && chosen.front() == position) {
            part.cols = ColsOf(*dataset);
            part.rows = RowsOf(*dataset);
        }
        parts.push_back(part);
    }
    return parts;
}

std::vector<FileContents::Fact> KpfFileImport::ListFacts() {
    if (dataset == nullptr) {
        return {};
    }
    RoleNotes roles;
    TellLayout(roles);
    return {{"project version", std::to_string(project->GetVersion())},
            {"encrypted", source->IsEncrypted() ? "yes" : "no"},
            {"dataset", dataset->GetName()},
            {"observations", std::to_string(dataset->SizeObservations())},
            {"variables", std::to_string(dataset->SizeVariables())},
            {"column roles", roles.GetText()}};
}

bool KpfFileImport::SelectPart(int number) {
    if (project == nullptr || number < 1 || number > project->SizeDataSets()) {
        return false;
    }
    chosen = {number};
    sizeKnown = false;
    status = WithinBudget(StatusNotRead, [&] {
        dataset = GetDataSet(number);
        failurePlace.part = dataset == nullptr ? project->GetDataSetName(number) : std::string();
        return dataset == nullptr ? static_cast<int>(StatusNoDataSet) : status;
    });
    return true;
}

KpfFileFactory::KpfFileFactory(signed char priority)
    : SprFileFactory("KARTA project file", "KARTA project file (*.kpf)", nullptr, 1, ".kpf\0", 0, 1, 0, 1, 0,
                     priority) {}

MyKindOfFile KpfFileFactory::IsMyKindOfFile(const char* fileName) {
    return KpfFileImport::IsKpf(fileName) ? KindProbably : KindNo;
}

SpreadsheetFile* KpfFileFactory::GetSpreadsheetFile() {
    return new KpfFileImport;
}

static KpfFileFactory kpfFileFactory(1);
static const FormatRecogniser kpfFileRecogniser("KARTA project file", "kpf", {}, Recognise);
