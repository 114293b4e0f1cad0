#include "container/NetCDFFile.h"

#include "base/CopyMessage.h"
#include "container/AndiFileReader.h"
#include "container/MvaCDFFileReader.h"
#include "container/NetCDF.h"
#include "host/NvFile.h"
#include "host/NvSystemInfo.h"

namespace {

// In the order in which they are looked for.
struct MarkingAttribute {
    const char* name;
    ENetCDFTemplate marked;
};
constexpr MarkingAttribute MarkingAttributes[] = {
    {"mva_template_revision", TemplateMva},
    {"aia_template_revision", TemplateAia},
    {"ms_template_revision", TemplateMassSpectrometry},
};

std::string UnknownTemplateText(ENetCDFTemplate fileTemplate) {
    const std::string application = NvSystemInfo::GetApplicationName();
    if (fileTemplate == TemplateMassSpectrometry) {
        return "This NetCDF file contains the raw data from one GcMS run. Such files cannot be imported by " +
               application + ". Please see Q576 in the knowledge base for further information.";
    }
    return "The NetCDF template used to create this file is not recognized by " + application + ".";
}

}  // namespace

NetCDFFile::NetCDFFile() = default;
NetCDFFile::~NetCDFFile() = default;

int NetCDFFile::GetNumCols() {
    return reader == nullptr ? -1 : reader->GetNumCols();
}

int NetCDFFile::GetNumRows() {
    return reader == nullptr ? -1 : reader->GetNumRows();
}

void NetCDFFile::GetErrorMessage(char* buffer, unsigned int size) {
    if (status == StatusUnknownTemplate) {
        CopyMessage(UnknownTemplateText(fileTemplate), buffer, size);
    } else if (status == StatusNoNetCDF) {
        CopyMessage("The file does not seem to be a valid NetCDF file.", buffer, size);
    } else if (reader == nullptr) {
        CopyMessage("No further information is available.", buffer, size);
    } else {
        reader->GetErrorMessage(buffer, size);
    }
}

int NetCDFFile::Open(bool forRead, const char* path, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    reader.reset();
    fileNames = NvFile::GetFileNames(path);
    fileTemplate = fileNames.empty() ? TemplateNone : GetFileTemplate(fileNames.front().c_str());
    if (fileTemplate == TemplateNone) {
        status = StatusNoNetCDF;
        return status;
    }
    MakeReader(path, options);
    status = reader == nullptr ? StatusUnknownTemplate : reader->GetStatus();
    return status;
}

void NetCDFFile::MakeReader(const char* path, NvImportOpenOptions* options) {
    if (fileTemplate == TemplateMva) {
        // Its constructor measures the files; Open would do it once more.
        reader = std::make_unique<MvaCDFFileReader>(path);
    } else if (fileTemplate == TemplateAia) {
        reader.reset(GetAndiFileReader());
        reader->Open(true, path, options);
    }
}

int NetCDFFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    status = reader == nullptr ? ReadGeneralNetCDFFile(sink) : reader->Read(sink);
    return status;
}

int NetCDFFile::EstablishSize() {
    return StatusNotImplemented;
}

SpreadsheetFile* NetCDFFile::GetAndiFileReader() {
    return new AndiFileReader;
}

int NetCDFFile::ReadGeneralNetCDFFile(ReadSpreadSheetData* /*sink*/) {
    return StatusUnknownTemplate;
}

bool NetCDFFile::IsNetCDFFile(const char* path) {
    return NetCDF(path).IsOpen();
}

ENetCDFTemplate NetCDFFile::GetFileTemplate(const char* path) {
    const NetCDF file(path);
    if (!file.IsOpen()) {
        return TemplateNone;
    }
    for (const MarkingAttribute& attribute : MarkingAttributes) {
        if (file.HasAttribute(NetCDF::Global, attribute.name)) {
            return attribute.marked;
        }
    }
    return TemplateOther;
}

std::vector<FileContents::Part> NetCDFFile::ListParts() {
    auto* contents = dynamic_cast<FileContents*>(reader.get());
    return contents == nullptr ? std::vector<Part>() : contents->ListParts();
}

std::vector<FileContents::Fact> NetCDFFile::ListFacts() {
    auto* contents = dynamic_cast<FileContents*>(reader.get());
    return contents == nullptr ? std::vector<Fact>() : contents->ListFacts();
}

NetCDFFileFactory::NetCDFFileFactory(signed char priority)
    : SprFileFactory("NetCDF Files", "NetCDF Files (*.nc; *.cdf) (MVACDF, ANDI)", nullptr, 2, ".nc\0.cdf\0",
                     0, 1, 1, 1, 0, priority) {}

MyKindOfFile NetCDFFileFactory::IsMyKindOfFile(const char* fileName) {
    return NetCDFFile::IsNetCDFFile(fileName) ? KindYes : KindNo;
}

SpreadsheetFile* NetCDFFileFactory::GetSpreadsheetFile() {
    return new NetCDFFile;
}

static NetCDFFileFactory netCDFFileFactory(1);
