#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Export.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"

class CellOutput;
class CompoundFileStreamSource;
class CompundFileBase;
class ImportSpecBase;
class NCDataSet;
class NCProject;
class TemporaryFolder;

/**
 * One dataset out of a KARTA project, or in the complete reading several below each other. The project itself
 * is read by the project library (host/project); this class opens it, converts it where it is old, chooses
 * the dataset and copies it: the ids of the variables as leading rows, those of the observations as leading
 * columns, and every value: in the classic reading as text, as its variable writes it, in the complete one as
 * the number, truth value or date that it is. A specification that the host hands over learns what each row
 * and column is.
 *
 * An encrypted project is only opened by a derived class that sets its password. Of several datasets the
 * first is taken, unless a derived class chooses another one, or SelectPart afterwards.
 */
class KARTA_EXPORT KpfFileImport : public FormatReader, public FileContents {
public:
    enum KpfFileStatus {
        StatusDamaged = 100,
        StatusNotDecrypted = 0x65,
        StatusNotRead = 0x66,
        StatusNoDataSet = 0x67,
        StatusNotConverted = 0x68,
        StatusNoKeyMemory = 0x69
    };

    KpfFileImport();
    /** These take the other's state over: it is closed afterwards. */
    KpfFileImport(KpfFileImport& other);
    KpfFileImport& operator=(KpfFileImport& other);
    ~KpfFileImport() override;

    void Close() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    /** Of `options` the complete reading looks at "Part": datasets by their names or places, or all. */
    int Open(bool forRead, const char* path, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    /** Keeps the specification for Read; it stays the caller's. */
    void SetImportSpec(ImportSpecBase* spec) override;
    int EstablishSize() override;

    /** Sets the file's password and tells it; false when there is none, which is so here. */
    virtual bool SetPassword(CompundFileBase& file, std::string& password);
    /** The id of the dataset to read; below 1 when the user cancelled. The first one here. */
    virtual int SelectDataset(std::shared_ptr<NCProject> project);

    /** Whether the file may be a project: a compound file is all that is asked for. */
    static bool IsKpf(const char* path);

    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;
    /** Another dataset, by its place from 1. */
    bool SelectPart(int number) override;

private:
    int OpenProject(const std::string& path);
    int OpenOldProject(const std::string& path, std::string& password);
    int LoadProject(const std::optional<std::string>& wanted);
    void ConvertProject(NCProject& oldProject);
    int ChooseParts(const std::string& wanted);
    int MeasureParts();
    int ReadClassic(ReadSpreadSheetData& sink) const;
    int ReadComplete(ReadSpreadSheetData& sink);
    std::shared_ptr<NCDataSet> GetDataSet(int place) const;
    bool PutDataSet(CellOutput& output, const NCDataSet& part, int rowOffset) const;
    void NoteOtherParts();
    void ShapeTable();
    void Release();
    void TakeOver(KpfFileImport& other);
    void TellLayout(ImportSpecBase& spec) const;
    void TellVariable(ImportSpecBase& spec, int variable, int column) const;

    std::unique_ptr<CompoundFileStreamSource> source;
    std::shared_ptr<NCProject> project;
    std::shared_ptr<NCDataSet> dataset;
    std::vector<int> chosen;  // places of the datasets that are read, from 1; of these `dataset` is the first
    ImportSpecBase* importSpec = nullptr;
    std::unique_ptr<TemporaryFolder> converted;  // holds what an old project was rewritten to
};

class KARTA_EXPORT KpfFileFactory : public SprFileFactory {
public:
    explicit KpfFileFactory(signed char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
