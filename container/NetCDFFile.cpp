#include "container/NetCDFFile.h"

#include <algorithm>
#include <limits>

#include "base/Ascii.h"
#include "base/CopyMessage.h"
#include "base/PathNames.h"
#include "container/AndiFileReader.h"
#include "container/ClassicFile.h"
#include "container/MvaCDFFileReader.h"
#include "container/NetCDF.h"
#include "frame/CellOutput.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
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

// The table of a chromatogram's points holds nothing that the reader's doesn't, unless there are further
// variables; of MVACDF the data's own matrix doesn't, if its missing values aside.
bool IsPartOfReader(const ClassicFile& file, const ClassicTables::Table& table,
                    const std::vector<std::string>& readersVariables) {
    return std::all_of(table.variables.begin(), table.variables.end(),
                       [&](std::size_t place) {
                           const std::string_view name = file.GetHeader().variables[place].name;
                           return std::find(readersVariables.begin(), readersVariables.end(), name) !=
                                  readersVariables.end();
                       }) &&
           !table.variables.empty();
}

bool AreDigits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), IsDigit);
}

// A time stamp of ANDI, "19900425154459-0800", by ISO 8601; any other text as it stands.
std::string ToIsoTime(const std::string& text) {
    constexpr std::size_t DateAndTime = 14;
    if (text.size() < DateAndTime || !AreDigits(std::string_view(text).substr(0, DateAndTime))) {
        return text;
    }
    const auto part = [&text](std::size_t at, std::size_t length) { return text.substr(at, length); };
    std::string zone = text.substr(DateAndTime);
    // Some files leave out a zone's first zero.
    const bool isZone = (zone.size() == 5 || zone.size() == 4) && (zone[0] == '+' || zone[0] == '-') &&
                        AreDigits(std::string_view(zone).substr(1));
    if (isZone) {
        zone.insert(1, zone.size() == 4 ? "0" : "");
        zone.insert(3, ":");
    } else if (!zone.empty()) {
        return text;
    }
    return part(0, 4) + "-" + part(4, 2) + "-" + part(6, 2) + "T" + part(8, 2) + ":" + part(10, 2) + ":" +
           part(12, 2) + zone;
}

// The dimensions, and what the file says of itself.
void AddFacts(const ClassicFile& file, std::vector<FileContents::Fact>& facts) {
    const ClassicHeader& header = file.GetHeader();
    for (const ClassicDimension& dimension : header.dimensions) {
        facts.emplace_back("dimension " + file.Decode(dimension.name), static_cast<double>(dimension.length),
                           dimension.isRecord ? "records" : "");
    }
    for (const ClassicAttribute& attribute : header.attributes) {
        std::string name = file.Decode(attribute.name);
        std::replace(name.begin(), name.end(), '_', ' ');
        const std::vector<double> numbers = ClassicFile::GetNumbers(&attribute);
        const std::string text = ToIsoTime(file.GetText(&attribute));
        if (numbers.size() == 1) {
            facts.emplace_back(name, numbers.front(), "");
        } else if (!text.empty()) {
            facts.emplace_back(name, text);
        }
    }
}

}  // namespace

NetCDFFile::NetCDFFile() = default;
NetCDFFile::~NetCDFFile() = default;

int NetCDFFile::GetNumCols() {
    if (tables != nullptr) {
        int columns = 0;
        for (const std::size_t place : chosen) {
            columns = std::max(columns, contents[place].part.cols);
        }
        return status == StatusOk ? columns : -1;
    }
    return reader == nullptr ? -1 : reader->GetNumCols();
}

int NetCDFFile::GetNumRows() {
    if (tables != nullptr) {
        std::int64_t rows = 0;
        for (const std::size_t place : chosen) {
            rows += contents[place].part.rows;
        }
        return status == StatusOk && rows <= std::numeric_limits<int>::max() ? static_cast<int>(rows) : -1;
    }
    return reader == nullptr ? -1 : reader->GetNumRows();
}

void NetCDFFile::GetErrorMessage(char* buffer, unsigned int size) {
    if (status != StatusOk && !failureText.empty()) {
        CopyMessage(failureText, buffer, size);
    } else if (status == StatusUnknownTemplate) {
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
    contents.clear();
    chosen.clear();
    tables.reset();
    file.reset();
    fileNames = NvFile::GetFileNames(path);
    if (IsComplete()) {
        return WithinBudget(StatusNoNetCDF, [&] { return OpenCompletely(path, options); });
    }
    const std::string name = fileNames.empty() ? std::string() : fileNames.front();
    const auto first = std::make_shared<const NetCDF>(name.c_str());
    fileTemplate = GetFileTemplate(*first);
    if (fileTemplate == TemplateNone) {
        status = StatusNoNetCDF;
        return status;
    }
    MakeReader(path, options, first);
    status = reader == nullptr ? StatusUnknownTemplate : reader->GetStatus();
    return status;
}

// The constructor of the reader of tables measures the files; Open would do it once more.
void NetCDFFile::MakeReader(const char* path, NvImportOpenOptions* options,
                            const std::shared_ptr<const NetCDF>& first) {
    if (fileTemplate == TemplateMva && IsComplete()) {
        reader = std::make_unique<MvaCDFFileReader>(path, GetContext());
    } else if (fileTemplate == TemplateMva) {
        auto mva = std::make_unique<MvaCDFFileReader>(path, first);
        mva->SetContext(GetContext());
        reader = std::move(mva);
    } else if (fileTemplate == TemplateAia) {
        reader.reset(GetAndiFileReader());
        if (auto* andi = dynamic_cast<FormatReader*>(reader.get())) {
            andi->SetContext(GetContext());
        }
        if (auto* own = dynamic_cast<AndiFileReader*>(reader.get())) {
            own->Lend(fileNames.front(), first);
            own->Lend(fileNames.front(), file);
        }
        reader->Open(true, path, options);
    }
}

int NetCDFFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (tables != nullptr) {
        return WithinBudget(StatusNoNetCDF, [&] { return ReadCompletely(*sink); });
    }
    status = reader == nullptr ? ReadGeneralNetCDFFile(sink) : reader->Read(sink);
    return status;
}

// ---- The complete reading ----

int NetCDFFile::FailAs(int failure, const std::string& text) {
    status = failure;
    failureText = text;
    return status;
}

int NetCDFFile::OpenCompletely(const char* path, NvImportOpenOptions* options) {
    const std::string name = fileNames.empty() ? std::string() : fileNames.front();
    file = std::make_shared<const ClassicFile>(name.c_str());
    if (file->IsHDF5()) {
        return FailAs(StatusNoNetCDF, NvGetFileName(name) +
                                          " is an HDF5 file; netCDF-4 isn't read yet, but the copy that "
                                          "\"nccopy -k nc3 IN OUT\" makes of it is.");
    }
    if (!file->IsOpen()) {
        failurePlace.byte = file->GetBrokenAt();
        status = StatusNoNetCDF;
        return status;
    }
    fileTemplate = TemplateOther;
    for (const MarkingAttribute& attribute : MarkingAttributes) {
        if (file->FindAttribute(attribute.name) != nullptr) {
            fileTemplate = attribute.marked;
            break;
        }
    }
    const auto convention = fileTemplate == TemplateAia                ? ClassicTables::Chromatogram
                            : fileTemplate == TemplateMassSpectrometry ? ClassicTables::MassSpectra
                                                                       : ClassicTables::Plain;
    tables = std::make_unique<ClassicTables>(*file, convention, *GetContext());
    MakeReader(path, options, nullptr);
    ListContents();
    if (status == StatusOk && ChooseParts(options)) {
        NoteOtherParts();
    }
    return status;
}

// What the reader of the convention makes of the files stands first. Where it can't, that costs this part.
void NetCDFFile::AddReaderPart() {
    if (reader == nullptr) {
        return;
    }
    if (reader->GetStatus() != StatusOk) {
        char text[1024];
        reader->GetErrorMessage(text, sizeof text);
        if (fileNames.size() > 1) {
            FailAs(StatusUnknownTemplate, text);
        } else {
            AddNote({"unreadable-part", 1, {}, text});
        }
        reader.reset();
        return;
    }
    const bool isTrace = fileTemplate == TemplateAia;
    Content content;
    content.part.kind = isTrace ? "spectrum" : "matrix";
    content.part.name = isTrace ? "trace" : "observations";
    content.part.rows = std::max(reader->GetNumRows(), 0);
    content.part.cols = std::max(reader->GetNumCols(), 0);
    content.part.detail =
        isTrace ? file->GetText(file->FindAttribute("detector_unit")) : "a row an observation";
    content.part.members = isTrace ? std::vector<std::string>{"ordinate_values", "raw_data_retention"}
                                   : std::vector<std::string>{"observation", "spectral_data_values"};
    // Its own variables count, not that the axis stands beside them.
    content.numbers = std::numeric_limits<std::uint64_t>::max();
    contents.push_back(std::move(content));
}

void NetCDFFile::ListContents() {
    AddReaderPart();
    for (const ClassicTables::Table& table : tables->GetTables()) {
        if (reader == nullptr || !IsPartOfReader(*file, table, contents.front().part.members)) {
            contents.push_back({table.part, &table, table.numbers});
        }
    }
    for (std::size_t i = 0; i < contents.size(); ++i) {
        contents[i].part.number = static_cast<int>(i) + 1;
    }
    if (fileNames.size() > 1 && reader == nullptr) {
        AddNote({"other-files", fileNames.size() - 1, fileNames[1],
                 "only the first of " + std::to_string(fileNames.size()) + " files is read"});
    }
}

std::vector<FileContents::Part> NetCDFFile::GetParts() const {
    std::vector<Part> parts;
    for (const Content& content : contents) {
        parts.push_back(content.part);
    }
    return parts;
}

// The part with most numbers, of equal ones the first; a part without any only where none has some.
std::size_t NetCDFFile::FindLargest() const {
    const auto largest = std::max_element(
        contents.begin(), contents.end(),
        [](const Content& left, const Content& right) { return left.numbers < right.numbers; });
    return static_cast<std::size_t>(largest - contents.begin());
}

// False: the status is set.
bool NetCDFFile::ChooseParts(const NvImportOpenOptions* options) {
    const auto wanted = CompleteOptions(options).GetText(CompleteOptions::Part);
    if (!wanted || wanted->empty()) {
        chosen = {FindLargest()};
        return true;
    }
    if (auto found = FindParts(GetParts(), *wanted)) {
        chosen = std::move(*found);
    } else {
        FailAs(StatusUnknownTemplate, "The file has no part \"" + *wanted + "\".");
        return false;
    }
    // The reader begins in row 1.
    const auto readers = std::find_if(chosen.begin(), chosen.end(),
                                      [this](std::size_t place) { return contents[place].table == nullptr; });
    if (readers != chosen.end()) {
        std::rotate(chosen.begin(), readers, readers + 1);
    }
    return true;
}

void NetCDFFile::NoteOtherParts() {
    std::string names;
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < contents.size(); ++i) {
        if (std::find(chosen.begin(), chosen.end(), i) == chosen.end()) {
            names += (count++ == 0 ? "" : ", ") + contents[i].part.name;
        }
    }
    if (count > 0) {
        AddNote({"other-parts",
                 count,
                 {},
                 karta::CountOf(count, "part is", "parts are") + " not in this table: " + names});
    }
}

int NetCDFFile::ReadCompletely(ReadSpreadSheetData& sink) {
    const int rows = GetNumRows();
    if (rows < 0) {
        return FailAs(StatusUnknownTemplate, "The parts together have more rows than a table can have.");
    }
    CellOutput output(sink);
    bool isSizeTold = false;
    int firstRow = 1;
    for (const std::size_t place : chosen) {
        const Content& content = contents[place];
        if (content.table == nullptr) {
            status = reader->Read(&sink);
            if (status != StatusOk) {
                return status;
            }
        } else {
            if (!isSizeTold) {
                sink.SetDataSize(GetNumCols(), rows);
                isSizeTold = true;
            }
            if (chosen.size() == 1) {
                tables->TellShape(*content.table);
            }
            tables->Read(*content.table, output, firstRow);
        }
        firstRow += content.part.rows;
    }
    if (chosen.size() > 1) {
        // Tables below each other have no heads in common.
        GetContext()->shape = {};
    }
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
    return GetFileTemplate(NetCDF(path));
}

ENetCDFTemplate NetCDFFile::GetFileTemplate(const NetCDF& file) {
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
    if (tables != nullptr) {
        return GetParts();
    }
    auto* readersContents = dynamic_cast<FileContents*>(reader.get());
    return readersContents == nullptr ? std::vector<Part>() : readersContents->ListParts();
}

std::vector<FileContents::Fact> NetCDFFile::ListFacts() {
    auto* readersContents = dynamic_cast<FileContents*>(reader.get());
    std::vector<Fact> facts = readersContents == nullptr ? std::vector<Fact>() : readersContents->ListFacts();
    if (tables != nullptr) {
        if (facts.empty()) {
            facts.emplace_back("convention", fileTemplate == TemplateMassSpectrometry
                                                 ? "ANDI mass spectrometry"
                                                 : "none that is known");
        }
        AddFacts(*file, facts);
    }
    return facts;
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

namespace {

// Also a netCDF-4 file, so that it is refused by its name.
FormatRecogniser::Evidence RecogniseNetCDF(const char* path, std::string_view head) {
    if (head.starts_with("\x89HDF\r\n\x1a\n") && (HasExtension(path, "nc") || HasExtension(path, "cdf"))) {
        return FormatRecogniser::Evidence::Proof;
    }
    const bool isKnownVersion = head.size() > 3 && (head[3] == 1 || head[3] == 2 || head[3] == 5);
    return head.starts_with("CDF") && isKnownVersion ? FormatRecogniser::Evidence::Proof
                                                     : FormatRecogniser::Evidence::None;
}

const FormatRecogniser netCDFRecogniser("NetCDF Files", "netcdf", {}, RecogniseNetCDF);

}  // namespace
