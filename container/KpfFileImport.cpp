#include "container/KpfFileImport.h"

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "base/TemporaryFile.h"
#include "host/ImportSpecBase.h"
#include "host/project/AliasAccess.h"
#include "host/project/CompoundFileStreamSource.h"
#include "host/project/Karta12KpfConverter.h"
#include "host/project/NCProgress.h"
#include "host/project/NCProject.h"
#include "host/project/OldKpfReader.h"
#include "host/project/ProjectVersion.h"

namespace {

constexpr const char* TemporaryPrefix = "kpf";

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
    importSpec = std::exchange(other.importSpec, nullptr);
    ownsTemporaryFile = std::exchange(other.ownsTemporaryFile, false);
    other.sizeKnown = false;
}

void KpfFileImport::Release() {
    dataset.reset();
    project.reset();
    if (source == nullptr) {
        return;
    }
    source->Close(CompoundFileStreamSource::CloseUnchanged, true);
    if (std::exchange(ownsTemporaryFile, false)) {
        unlink(source->GetFileName().c_str());
    }
    source.reset();
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

int KpfFileImport::Open(bool forRead, const char* path, NvImportOpenOptions* /*options*/) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    Release();
    sizeKnown = false;
    try {
        status = OpenProject(path);
        if (status == StatusOk) {
            status = LoadProject();
        }
    } catch (const ProjectCipher::NoMemory&) {
        status = StatusNoKeyMemory;
    }
    return status;
}

int KpfFileImport::OpenProject(const std::string& path) {
    source = MakeSource(path);
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

// An old project is rewritten in the layout of today, to a temporary file that takes its place.
int KpfFileImport::OpenOldProject(const std::string& path, std::string& password) {
    source->Close(CompoundFileStreamSource::CloseUnchanged, true);
    source.reset();
    const std::string target = MakeTemporaryFile(TemporaryPrefix);
    // The password has been asked for already.
    OldKpfReader reader(path, password, [](CompundFileBase& file, std::string& known) {
        return file.SetPassword(known.c_str());
    });
    // Owned before it is written, so that it goes also when the conversion raises.
    source = MakeSource(target);
    ownsTemporaryFile = !target.empty();
    if (!ownsTemporaryFile || !reader.ConvertKpf(target) ||
        source->Open(CompoundFileStreamSource::OpenForReading, false) != CompoundFileStreamSource::OpenOk) {
        return StatusNotConverted;
    }
    if (source->IsEncrypted()) {
        source->SetPassword(password.c_str());
    }
    return StatusOk;
}

int KpfFileImport::LoadProject() {
    project = NCProject::Create();
    if (!project->Init(source.get(), true, [this](NCProject& oldProject) { ConvertProject(oldProject); })) {
        // A conversion that the user cancelled has left its own status.
        return status == StatusOk ? static_cast<int>(StatusNotRead) : status;
    }
    if (project->SizeDataSets() == 0) {
        return StatusNoDataSet;
    }
    const int id = project->SizeDataSets() < 2 ? project->GetDataSetId(1) : SelectDataset(project);
    if (project->SizeDataSets() >= 2 && id < 1) {
        return StatusAbortedByUser;
    }
    dataset = project->GetDataSet(id);
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
    numCols = dataset->SizeVariables() + static_cast<int>(dataset->GetObservationIds().size());
    numRows = dataset->SizeObservations() + static_cast<int>(dataset->GetVariableIds().size());
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
    const AliasAccess variableAliases(project->GetAliasTables(), dataset->GetVariableIds());
    const AliasAccess observationAliases(project->GetAliasTables(), dataset->GetObservationIds());
    const int idRows = variableAliases.SizeAliases();
    const int idColumns = observationAliases.SizeAliases();
    sink->layoutDefault = true;
    for (int alias = 1; alias <= idRows; ++alias) {
        for (int variable = 1; variable <= dataset->SizeVariables(); ++variable) {
            sink->Set(idColumns + variable, alias,
                      variableAliases.GetAlias(alias, dataset->GetVariableInfo(variable)));
        }
    }
    const NCDataMatrix<float>& values = dataset->GetData(false, nullptr);
    for (int observation = 1; observation <= dataset->SizeObservations(); ++observation) {
        const int row = idRows + observation;
        for (int alias = 1; alias <= idColumns; ++alias) {
            sink->Set(alias, row,
                      observationAliases.GetAlias(alias, dataset->GetObservationInfo(observation)));
        }
        for (int variable = 1; variable <= dataset->SizeVariables(); ++variable) {
            const std::string text =
                dataset->GetVariableInfo(variable).GetValueText(values(observation, variable));
            sink->Set(idColumns + variable, row, text.c_str());
        }
    }
    if (importSpec != nullptr) {
        TellLayout(*importSpec);
        importSpec->honoured = true;
    }
    return status;
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
    dataset = project->GetDataSet(project->GetDataSetId(number));
    sizeKnown = false;
    if (dataset == nullptr) {
        status = StatusNoDataSet;
    }
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
