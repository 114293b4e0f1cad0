#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/Export.h"
#include "container/ClassicTables.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"

class NetCDF;

/** The convention that a netCDF file follows, by the first of its marking attributes that it has. */
enum ENetCDFTemplate {
    TemplateNone = 0,             /**< no netCDF file */
    TemplateMva = 1,              /**< "mva_template_revision": a table of observations */
    TemplateAia = 2,              /**< "aia_template_revision": chromatography (ANDI) */
    TemplateMassSpectrometry = 3, /**< "ms_template_revision" */
    TemplateOther = 4
};

/**
 * netCDF files. The format holds data of several conventions: this class looks which one a file follows,
 * makes the reader for it and passes everything on to that one, which it owns. It reads nothing itself.
 *
 * MVACDF tables (MvaCDFFileReader) and ANDI chromatograms (AndiFileReader) are read; all else is refused.
 * Of a selection of several files the first decides.
 *
 * In the complete reading every file of the classic formats is read, as one table a part (ClassicTables); the
 * first part of a chromatogram or an MVACDF table is what its reader makes of it. Without a choice the
 * largest part is read.
 */
class KARTA_EXPORT NetCDFFile : public FormatReader, public FileContents {
public:
    enum NetCDFFileStatus { StatusUnknownTemplate = 0x800, StatusNoNetCDF = 0x801 };

    NetCDFFile();
    NetCDFFile(const NetCDFFile&) = delete;
    NetCDFFile& operator=(const NetCDFFile&) = delete;
    ~NetCDFFile() override;

    int GetNumCols() override;
    int GetNumRows() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    int Open(bool forRead, const char* path, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    /** Isn't called: the size is the reader's. */
    int EstablishSize() override;

    /** A new reader for chromatograms; a host returns its own here. */
    virtual SpreadsheetFile* GetAndiFileReader();

    /** There is no reader for files of other conventions. */
    int ReadGeneralNetCDFFile(ReadSpreadSheetData* sink);

    static bool IsNetCDFFile(const char* path);
    static ENetCDFTemplate GetFileTemplate(const char* path);
    static ENetCDFTemplate GetFileTemplate(const NetCDF& file);

    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

private:
    /** A part of the complete reading: a table of the file, or the reader's. */
    struct Content {
        Part part;
        const ClassicTables::Table* table = nullptr;  // null for the reader's
        std::uint64_t numbers = 0;
    };

    void MakeReader(const char* path, NvImportOpenOptions* options,
                    const std::shared_ptr<const NetCDF>& first);

    int OpenCompletely(const char* path, NvImportOpenOptions* options);
    int FailAs(int failure, const std::string& text);
    void ListContents();
    void AddReaderPart();
    bool ChooseParts(const NvImportOpenOptions* options);
    std::size_t FindLargest() const;
    void NoteOtherParts();
    std::vector<Part> GetParts() const;
    int ReadCompletely(ReadSpreadSheetData& sink);

    std::vector<std::string> fileNames;
    ENetCDFTemplate fileTemplate = TemplateNone;
    std::unique_ptr<SpreadsheetFile> reader;
    // The complete reading's: the first file, its tables, all parts, and the places of those to be read.
    std::shared_ptr<const ClassicFile> file;
    std::unique_ptr<ClassicTables> tables;
    std::vector<Content> contents;
    std::vector<std::size_t> chosen;
};

class KARTA_EXPORT NetCDFFileFactory : public SprFileFactory {
public:
    explicit NetCDFFileFactory(signed char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
