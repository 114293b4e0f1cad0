#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/Export.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"

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

    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

private:
    void MakeReader(const char* path, NvImportOpenOptions* options);

    std::vector<std::string> fileNames;
    ENetCDFTemplate fileTemplate = TemplateNone;
    std::unique_ptr<SpreadsheetFile> reader;
};

class KARTA_EXPORT NetCDFFileFactory : public SprFileFactory {
public:
    explicit NetCDFFileFactory(signed char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
