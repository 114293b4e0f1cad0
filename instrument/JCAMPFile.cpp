#include "instrument/JCAMPFile.h"

#include <algorithm>
#include <cmath>
#include <ios>
#include <iterator>
#include <memory>
#include <utility>

#include "base/Ascii.h"
#include "base/CopyMessage.h"
#include "base/DateParser.h"
#include "base/Exception.h"
#include "base/NumberFormat.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "base/TolerantEqual.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "frame/OptionsText.h"
#include "host/NvFile.h"
#include "host/XMLSection.h"
#include "instrument/JCAMPLabels.h"
#include "instrument/JCAMPSeries.h"
#include "instrument/JCAMPStream.h"
#include "instrument/JCAMPTable.h"
#include "instrument/SpectrumTable.h"

namespace {

// Columns 1 and 2 hold the row's number and label.
constexpr int HeadColumns = 2;
// Rows 1 and 2 hold the X values.
constexpr int FirstDataRow = 3;

// What a host's buffer for the heading of its list of blocks holds.
constexpr unsigned int TitleSize = 64;

// Of an axis' ends in what is shown of a file: as many as instruments write.
constexpr int ShownDigits = 9;

constexpr const char* DataBlocksKey = "DataBlocks";

// Before which messages the name of the file stands, in a selection of several.
enum class Prefix { None, File, Line };

struct PrefixedText {
    int status;
    Prefix prefix;
    std::string_view text;
};

// In those of data that can't be read a blank stands where a product's name once was.
constexpr PrefixedText StatusTexts[] = {
    {JCAMPFile::StatusCannotOpen, Prefix::None, "Unable to open file."},
    {JCAMPFile::StatusBinaryData, Prefix::File, "The data is stored in an unsupported (binary) form."},
    {JCAMPFile::StatusNoTerminator, Prefix::Line,
     "Found a label with the data label terminator ('=') missing."},
    {JCAMPFile::StatusMissingValue, Prefix::Line, "A label with a missing value was found in the file."},
    {JCAMPFile::StatusUnpairedTitles, Prefix::File,
     "Mismatching '##TITLE=' and '##END=' labels were found in the file."},
    {JCAMPFile::StatusIllegalPointCount, Prefix::Line,
     "Invalid value of '##NPOINTS=' label in the file. The value of '##NPOINTS=' must be a positive "
     "integer."},
    {JCAMPFile::StatusNothingSelected, Prefix::None, "No data blocks were selected."},
    {JCAMPFile::StatusNoBlocks, Prefix::Line, "Error occurred while reading the file."},
    {JCAMPFile::StatusSizeUnknown, Prefix::File,
     "The size of the data block could not be established. The '##NPOINTS'-label could not be found or had "
     "an illegal value."},
    {JCAMPFile::StatusNoPages, Prefix::File, "Couldn't find valid data to import."},
    {JCAMPFile::StatusUnknownClass, Prefix::Line,
     "Does not recognize the value of the '##DATACLASS=' label as a valid JCAMP-DX 5.0 dataclass"},
    {JCAMPFile::StatusAssignments, Prefix::File, " can currently not read assignments."},
    {JCAMPFile::StatusRAData, Prefix::File, " can currently not read RA-data."},
    {JCAMPFile::StatusNTuples, Prefix::File, " Can currently not read n-tuples."},
    {JCAMPFile::StatusXYPoints, Prefix::File, " can currently not read XY points."},
    {JCAMPFile::StatusXYPairs, Prefix::File, " can currently not read XY pairs."},
    {JCAMPFile::StatusInvalidSeries, Prefix::File, "The selected series is invalid"},
    {JCAMPFile::StatusNoSpacing, Prefix::File,
     "Couldn't establish dx, either the '##FIRSTX=' and/or '##LASTX=' labels are missing in the file, or the "
     "'##DELTAX=' label."},
    {JCAMPFile::StatusAbscissaRepeated, Prefix::Line,
     "Duplicate suppression count (DUP) should be 1 for abscissa."},
    {JCAMPFile::StatusFirstOrdinateDifference, Prefix::Line, "A DUP-value is not allowed as first ordinate."},
    {JCAMPFile::StatusUnexpectedEnd, Prefix::File,
     "Found unexpected End-of-file while reading data from file."},
    {JCAMPFile::StatusInvalidCharacter, Prefix::Line,
     "Found an invalid character while reading data from the dataset"},
    {JCAMPFile::StatusRepeatedTwice, Prefix::Line, "Two consecutive DUP-values is not allowed."},
    {JCAMPFile::StatusClassesDiffer, Prefix::None,
     "Only files with dataclass = 'XYDATA' are supported by multiselection."},
    {JCAMPFile::StatusInterrupted, Prefix::None, "File read interrupted by the user."}};

// So many axes are told apart in a message.
constexpr std::size_t MaxToldAxes = 12;

// Whether two of the values differ under the tolerant comparison. In the order of their magnitudes, a value
// differs most from the least or from the greatest of those before it.
bool AnyDiffer(std::vector<double> values) {
    const auto isNaN = [](double value) { return std::isnan(value); };
    if (std::any_of(values.begin(), values.end(), isNaN)) {
        return !std::all_of(values.begin(), values.end(), isNaN);
    }
    std::sort(values.begin(), values.end(), [](double a, double b) { return std::fabs(a) < std::fabs(b); });
    double least = values.front();
    double greatest = values.front();
    for (const double value : values) {
        if (!TolerantEqual(value, least) || !TolerantEqual(value, greatest)) {
            return true;
        }
        least = std::min(least, value);
        greatest = std::max(greatest, value);
    }
    return false;
}

bool AnyRangesDiffer(const std::vector<const JCAMPData*>& blocks) {
    std::vector<double> starts;
    std::vector<double> ends;
    for (const JCAMPData* block : blocks) {
        starts.push_back(block->firstX);
        ends.push_back(block->lastX);
    }
    return AnyDiffer(std::move(starts)) || AnyDiffer(std::move(ends));
}

}  // namespace

/** What a message begins with when there are several files. */
struct JCAMPFile::Prefixes {
    std::string file;
    std::string line;
};

JCAMPFile::JCAMPFile() = default;
JCAMPFile::~JCAMPFile() = default;

// Lines

std::string_view JCAMPFile::deblank(std::string_view text) {
    return TrimSpace(text);
}

std::string JCAMPFile::strstrip(std::string_view text) {
    return StripJCAMPLabel(text);
}

// Labels

int JCAMPFile::CheckFile(JCAMPStream& stream) {
    stream.Seek(0);
    std::string_view line;
    while (line.empty()) {
        if (!stream.ReadLine(line, progress.lineNumber)) {
            return StatusNotJCAMP;
        }
        line = deblank(line);
    }
    if (!strstrip(line).starts_with("##TITLE=")) {
        return StatusNotJCAMP;
    }
    depth = 0;
    while (!stream.AtEnd()) {
        if (line.starts_with("##")) {
            const int code = ReadLabel(line, stream);
            if (code != StatusOk) {
                return code;
            }
        }
        stream.ReadLine(line, progress.lineNumber);
        line = deblank(line);
    }
    // The line on which the end was met: an ##END= without a line end counts, and anything else may fail.
    ReadLabel(line, stream);
    if (depth != 0) {
        return StatusUnpairedTitles;
    }
    return StatusOk;
}

int JCAMPFile::ReadLabel(std::string_view line, JCAMPStream& stream) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return StatusNoTerminator;
    }
    const JCAMPLabel label = FindJCAMPLabel(strstrip(line.substr(0, equals + 1)));
    const std::string_view value = deblank(line.substr(equals + 1));
    switch (label) {
        case JCAMPLabel::Title:
            ReadTitle(value);
            return StatusOk;
        case JCAMPLabel::DataClass:
            if (!blocks.empty()) {
                blocks.back().dataClass = FindJCAMPClass(strstrip(value));
            }
            return StatusOk;
        case JCAMPLabel::Binary:
            return StatusBinaryData;
        case JCAMPLabel::End:
            --depth;
            ++endsSeen;
            if (depth < 0) {
                return StatusUnpairedTitles;
            }
            return StatusOk;
        case JCAMPLabel::DataTable:
            return ReadDataLabel(value, stream);
        case JCAMPLabel::Page:
            AddPage(value, stream);
            stream.SkipTo('#');
            return StatusOk;
        case JCAMPLabel::RAData:
            return StatusRAData;
        case JCAMPLabel::XYPairs:
            return StatusXYPairs;
        case JCAMPLabel::Assignments:
            return StatusAssignments;
        default:
            return blocks.empty() ? StatusOk : ReadJCAMPBlockLabel(blocks.back(), label, value, errorText);
    }
}

// A title inside a block that hasn't ended makes no block: so the first member of a link fills the link's
// own record.
void JCAMPFile::ReadTitle(std::string_view value) {
    if (titlesSeen > 0 && endsSeen == 0 && !blocks.empty()) {
        blocks.back().title = value;
    } else {
        JCAMPData& block = blocks.emplace_back();
        block.title = value;
        block.fileName = currentFileName;
        block.path = currentPath;
        if (titlesSeen == endsSeen) {
            titlesSeen = 0;
            endsSeen = 0;
        }
    }
    ++titleCount;
    ++depth;
    ++titlesSeen;
}

// A label behind which data stand: its value is their form.
int JCAMPFile::ReadDataLabel(std::string_view form, JCAMPStream& stream) {
    AddPage(currentFileName, stream);
    if (!blocks.empty()) {
        const int code = ReadJCAMPForm(blocks.back(), strstrip(form));
        if (code != StatusOk) {
            return code;
        }
    }
    stream.SkipTo('#');
    return StatusOk;
}

void JCAMPFile::AddPage(std::string_view name, const JCAMPStream& stream) {
    if (blocks.empty()) {
        return;
    }
    JCAMPData& block = blocks.back();
    ++block.numPages;
    block.pages.push_back({stream.Tell(), std::string(name), block.nPoints});
}

// Opening and selection

int JCAMPFile::Open(bool forRead, const char* fileName, NvImportOpenOptions* options) {
    if (status != StatusOk) {
        return status;
    }
    if (!forRead) {
        status = StatusWrongMode;
        return status;
    }
    Reset();
    const std::vector<std::string> paths = NvFile::GetFileNames(fileName);
    multiFile = paths.size() > 1;
    if (IsComplete()) {
        return OpenComplete(paths, options);
    }
    for (const std::string& path : paths) {
        currentFileName = NvGetFileName(path);
        currentPath = path;
        JCAMPStream stream(path.c_str());
        stream.SetStop(GetContext()->stop);
        status = stream.IsOpen() ? CheckFile(stream) : StatusCannotOpen;
        if (status != StatusOk) {
            return status;
        }
        if (!blocks.empty()) {
            blocks.back().position = stream.Tell();
        }
    }
    SetOptions(options);
    return status;
}

int JCAMPFile::OpenComplete(const std::vector<std::string>& paths, const NvImportOpenOptions* options) {
    status = WithinBudget(StatusSizeUnknown, [&] {
        complete = std::make_unique<JCAMPTable>(*GetContext());
        try {
            complete->ChooseEncoding(options);
            for (const std::string& path : paths) {
                const int code = complete->AddFile(path);
                if (code != StatusOk) {
                    return code;
                }
            }
            const std::optional<std::string> wanted = CompleteOptions(options).GetText(CompleteOptions::Part);
            const int code = complete->Choose(wanted);
            if (code != StatusOk && code != StatusNothingSelected) {
                failureText = complete->DescribeProblems();
                if (const int line = complete->FindProblemLine(); line > 0) {
                    failurePlace.line = static_cast<std::uint64_t>(line);
                }
            }
            return code;
        } catch (const std::ios_base::failure&) {
            return static_cast<int>(StatusCannotOpen);
        }
    });
    return status;
}

void JCAMPFile::Close() {
    FormatReader::Close();
}

// What an earlier life has left. The lines are counted on.
void JCAMPFile::Reset() {
    blocks.clear();
    complete.reset();
    xRangesDiffer = false;
    pointCountsDiffer = false;
    currentBlock = -1;
    depth = -1;
    titlesSeen = 0;
    endsSeen = 0;
    titleCount = 0;
    progress = {.lineNumber = progress.lineNumber};
    errorText.clear();
}

bool JCAMPFile::SetOptions(NvImportOpenOptions* options) {
    std::vector<int> selection{0};
    try {
        if (blocks.size() > 1) {
            const bool given = HasOptions(options);
            selection =
                given ? GetVectorFromString(DecodeOptionsText(*options)) : GetSelectedJCAMPDataBlocks();
            if (options != nullptr) {
                LendOptions(GetStringFromVector(selection), optionsBlob, *options);
            }
        }
        SelectJCAMPBlock(selection);
    } catch (...) {
        status = StatusCannotOpen;
    }
    return status == StatusOk;
}

std::vector<int> JCAMPFile::GetVectorFromString(const std::string& text) {
    const std::unique_ptr<XMLSection> document = XMLSection::CreateXMLSectionFromString(text);
    if (document == nullptr) {
        throw Exception("The options are no section.");
    }
    std::vector<int> indexes;
    if (const XMLSection* settings = document->GetSection(XMLSection::Settings)) {
        settings->Read(DataBlocksKey, indexes);
    }
    return indexes;
}

std::string JCAMPFile::GetStringFromVector(const std::vector<int>& indexes) {
    XMLSection document;
    document.CreateSection(XMLSection::Settings).Write(DataBlocksKey, indexes);
    return document.Flush();
}

std::vector<int> JCAMPFile::GetSelectedJCAMPDataBlocks() {
    std::vector<int> all(blocks.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = static_cast<int>(i);
    }
    return all;
}

int JCAMPFile::SelectJCAMPBlock(int index) {
    if (index < 0 || blocks.empty()) {
        return -1;
    }
    if (index < GetNumJCAMPBlocks()) {
        JCAMPData& block = blocks[static_cast<std::size_t>(index)];
        block.selected = block.selected || block.dataClass != JCAMPData::ClassLink;
    }
    return 0;
}

int JCAMPFile::SelectJCAMPBlock(const std::vector<int>& indexes) {
    if (blocks.empty()) {
        return -1;
    }
    for (JCAMPData& block : blocks) {
        block.selected = false;
    }
    for (const int index : indexes) {
        SelectJCAMPBlock(index);
    }
    return 0;
}

int JCAMPFile::GetJCAMPBlockList(std::vector<std::string>& list) {
    if (status != StatusOk) {
        return status;
    }
    if (blocks.empty()) {
        return -1;
    }
    for (const JCAMPData& block : blocks) {
        if (block.dataClass != JCAMPData::ClassLink) {
            list.push_back((multiFile ? block.fileName : "") + block.dataType.value_or("") + ", " +
                           std::to_string(block.numPages) + "x" + std::to_string(block.nPoints) + " obs, " +
                           block.title);
        }
    }
    status = StatusOk;
    return status;
}

// Empty as soon as there are blocks: a host that has some shows no heading.
void JCAMPFile::GetTitle(char* buffer) const {
    const char* text = "";
    if (blocks.empty()) {
        text = multiFile ? "File, datatype, size of dataset, title." : "Data type, size of dataset, title.";
    }
    CopyMessage(text, buffer, TitleSize);
}

std::string JCAMPFile::GetDateCreated(COleDateTime& date) const {
    if (currentBlock == -1) {
        return {};
    }
    const std::string text = blocks[static_cast<std::size_t>(currentBlock)].dateText.value_or("");
    return date.ParseDateTime(text) ? text : std::string();
}

// Sizes

int JCAMPFile::EstablishSize() {
    return StatusNotMeasured;
}

int JCAMPFile::GetNumRows() {
    if (status == StatusOk && complete != nullptr) {
        return complete->CountRows();
    }
    if (status != StatusOk || blocks.empty()) {
        return -1;
    }
    std::int64_t rows = 0;
    bool anySelected = false;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        currentBlock = static_cast<int>(i);
        if (blocks[i].nPoints == -1) {
            status = StatusSizeUnknown;
            return -1;
        }
        anySelected = anySelected || blocks[i].selected;
        rows += blocks[i].selected ? blocks[i].numPages : 0;
    }
    if (!anySelected || rows == 0) {
        status = anySelected ? StatusSizeUnknown : StatusNothingSelected;
        return -1;
    }
    return static_cast<int>(std::min<std::int64_t>(rows + FirstDataRow - 1, std::numeric_limits<int>::max()));
}

int JCAMPFile::GetNumCols() {
    if (status == StatusOk && complete != nullptr) {
        return complete->CountColumns();
    }
    if (status != StatusOk || blocks.empty()) {
        return -1;
    }
    int points = 0;
    bool anyPage = false;
    for (const JCAMPData& block : blocks) {
        for (std::size_t i = 0; block.selected && i < block.pages.size(); ++i) {
            anyPage = true;
            if (block.pages[i].points == -1) {
                status = StatusSizeUnknown;
                return -1;
            }
            points = std::max(points, block.pages[i].points);
        }
    }
    if (points == 0) {
        status = anyPage ? StatusSizeUnknown : StatusNothingSelected;
        return -1;
    }
    return std::min(points, std::numeric_limits<int>::max() - HeadColumns) + HeadColumns;
}

// Reading

int JCAMPFile::MinPagePointNo(const std::vector<JCAMPPage>& pages) {
    int least = pages.empty() ? -1 : pages.front().points;
    for (const JCAMPPage& page : pages) {
        least = std::min(least, page.points);
    }
    return least;
}

int JCAMPFile::MaxPagePointNo(const std::vector<JCAMPPage>& pages) {
    int greatest = -1;
    for (const JCAMPPage& page : pages) {
        greatest = std::max(greatest, page.points);
    }
    return greatest;
}

// Whether the selected blocks can be read together, and on one axis. Every block is looked at together with
// every later one; since classes and point counts that equal the first block's equal each other too, one
// round answers for these.
int JCAMPFile::CheckMultiSelection() {
    std::vector<const JCAMPData*> chosen;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i].selected) {
            currentBlock = chosen.empty() ? static_cast<int>(i) : currentBlock;
            chosen.push_back(&blocks[i]);
        }
    }
    if (chosen.empty()) {
        return StatusNothingSelected;
    }
    const JCAMPData& first = *chosen.front();
    const int points = MinPagePointNo(first.pages);
    const bool firstIsUneven = points != MaxPagePointNo(first.pages);
    for (std::size_t j = 1; j < chosen.size(); ++j) {
        const JCAMPData& other = *chosen[j];
        if (other.dataClass != first.dataClass) {
            return StatusClassesDiffer;
        }
        pointCountsDiffer = pointCountsDiffer || firstIsUneven || points != MinPagePointNo(other.pages) ||
                            points != MaxPagePointNo(other.pages);
        xRangesDiffer = xRangesDiffer || !TolerantEqual(first.firstX, other.firstX) ||
                        !TolerantEqual(first.lastX, other.lastX);
        if (pointCountsDiffer && xRangesDiffer) {
            return StatusOk;
        }
    }
    xRangesDiffer = xRangesDiffer || AnyRangesDiffer(chosen);
    return StatusOk;
}

// "blocks 1 to 3 share one axis, block 4 has another": by the places of ListParts.
std::string JCAMPFile::DescribeAxes() const {
    struct Axis {
        const JCAMPData* block;
        std::vector<int> places;
    };
    std::vector<Axis> axes;
    int place = 0;
    for (const JCAMPData& block : blocks) {
        if (block.dataClass == JCAMPData::ClassLink) {
            continue;
        }
        ++place;
        const auto same = std::find_if(axes.begin(), axes.end(), [&block](const Axis& axis) {
            return axis.block->nPoints == block.nPoints && TolerantEqual(axis.block->firstX, block.firstX) &&
                   TolerantEqual(axis.block->lastX, block.lastX);
        });
        if (same == axes.end()) {
            axes.push_back({&block, {place}});
        } else {
            same->places.push_back(place);
        }
        if (axes.size() > MaxToldAxes) {
            return "there are more than " + std::to_string(MaxToldAxes) + " axes";
        }
    }
    std::string text;
    for (const Axis& axis : axes) {
        const bool several = axis.places.size() > 1;
        text += (text.empty() ? "" : ", ") + std::string(several ? "blocks " : "block ") +
                ListNumbers(axis.places) + (several ? " share" : " has") +
                (text.empty() ? " one axis" : " another");
    }
    return text;
}

int JCAMPFile::InitXValues(ReadSpreadSheetData* /*sink*/) {
    AddNote({"different-axes", static_cast<std::uint64_t>(GetNumJCAMPBlocks()), "",
             "the blocks have different axes and can't be one table: " + DescribeAxes() +
                 "; choose blocks that share one"});
    status = StatusAbortedByUser;
    return status;
}

int JCAMPFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
        return status;
    }
    if (complete != nullptr) {
        status = complete->Read(*sink);
        return status;
    }
    if (blocks.empty()) {
        status = StatusNoBlocks;
        return status;
    }
    status = CheckMultiSelection();
    if (status != StatusOk) {
        return status;
    }
    const bool axesDiffer = xRangesDiffer || pointCountsDiffer;
    if (axesDiffer && InitXValues(sink) != StatusOk) {
        return status;
    }
    JCAMPSeries series(*sink, progress, xGrid, axesDiffer);
    std::optional<JCAMPStream> stream;
    std::string_view openPath;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (!blocks[i].selected) {
            continue;
        }
        currentBlock = static_cast<int>(i);
        if (!stream || openPath != blocks[i].path) {
            openPath = blocks[i].path;
            stream.emplace(blocks[i].path.c_str());
            stream->SetStop(GetContext()->stop);
            series.AddFile(stream->GetSize());
        }
        status = ReadBlock(series, *stream, blocks[i]);
        if (status != StatusOk) {
            return status;
        }
    }
    return status;
}

int JCAMPFile::ReadBlock(JCAMPSeries& series, JCAMPStream& stream, const JCAMPData& block) {
    switch (block.dataClass) {
        case JCAMPData::ClassLink:
            return StatusOk;
        case JCAMPData::ClassXYData:
        case JCAMPData::ClassXYPoints:
        case JCAMPData::ClassPeakTable:
            break;
        case JCAMPData::ClassRAData:
            return StatusRAData;
        case JCAMPData::ClassAssignments:
            return StatusAssignments;
        case JCAMPData::ClassNTuples:
            return StatusNTuples;
        default:
            return StatusUnknownClass;
    }
    if (block.nPoints < 1) {
        return StatusSizeUnknown;
    }
    if (block.numPages == 0) {
        return StatusNoPages;
    }
    const std::string label = LabelOf(block);
    for (const JCAMPPage& page : block.pages) {
        GetContext()->ThrowIfStopped();
        const int code = series.ReadPage(stream, block, page, label);
        if (code != StatusOk) {
            return code;
        }
    }
    return StatusOk;
}

std::string JCAMPFile::LabelOf(const JCAMPData& block) const {
    const std::string type = block.dataType.value_or("");
    if (type.empty() && block.title.empty()) {
        return "Y";
    }
    const std::string parting = type.empty() || block.title.empty() ? "" : " : ";
    return (multiFile ? block.fileName + ", " : "") + type + parting + block.title;
}

// Messages

JCAMPFile::Prefixes JCAMPFile::MakePrefixes() const {
    if (!multiFile || currentBlock == -1) {
        return {};
    }
    const std::string file =
        "Error in file '" + blocks[static_cast<std::size_t>(currentBlock)].fileName + "'";
    return {file + ": ", file + ", line " + std::to_string(progress.lineNumber) + ": "};
}

// What a status says, behind the prefix that it has in a selection of files; empty where that is the
// contract's to say.
std::string JCAMPFile::DescribeStatus() const {
    const Prefixes prefix = MakePrefixes();
    switch (status) {
        case StatusNotJCAMP:
            return multiFile ? "One of the files does not appear to be a valid JCAMP-DX file."
                             : "The file does not appear to be a valid JCAMP-DX file.";
        case StatusIllegalLabel:
            return errorText;
        case StatusIllegalFactor:
            return prefix.file + "The label on line " + std::to_string(progress.lineNumber) +
                   " has an illegal value.";
        case StatusIllegalCharacter:
            return prefix.file + "Found an illegal character on line " + std::to_string(progress.lineNumber) +
                   " while reading data from the file.";
        default:
            break;
    }
    const auto* found = std::find_if(std::begin(StatusTexts), std::end(StatusTexts),
                                     [this](const PrefixedText& entry) { return entry.status == status; });
    if (found == std::end(StatusTexts)) {
        return {};
    }
    const std::string& before = found->prefix == Prefix::File ? prefix.file : prefix.line;
    return (found->prefix == Prefix::None ? "" : before) + std::string(found->text);
}

// Whether a failure has to do with the line that was read last.
bool JCAMPFile::TellsLine() const {
    return status == StatusIllegalFactor || status == StatusIllegalCharacter ||
           std::any_of(std::begin(StatusTexts), std::end(StatusTexts), [this](const PrefixedText& entry) {
               return entry.status == status && entry.prefix == Prefix::Line;
           });
}

void JCAMPFile::GetErrorMessage(char* buffer, unsigned int size) {
    const std::string text = DescribeStatus();
    if (complete == nullptr && TellsLine()) {
        failurePlace.line = static_cast<std::uint64_t>(progress.lineNumber);
    }
    const StatusText own{status, text};
    CopyStatusText({&own, text.empty() ? std::size_t{0} : std::size_t{1}}, buffer, size);
    // After these two no message names a file any more.
    if (status == StatusClassesDiffer || status == StatusInterrupted) {
        multiFile = false;
    }
}

const char* JCAMPFile::GetWarningMessage() {
    const Prefixes prefix = MakePrefixes();
    switch (progress.warningCode) {
        case JCAMPProgress::WarningNone:
            return nullptr;
        case JCAMPProgress::WarningTooFew:
            warningText =
                prefix.line + "Data seem to be missing in the file. Could only read " +
                std::to_string(progress.valuesRead) + " y-values, but expected to read " +
                std::to_string(progress.valuesExpected) +
                ". Continue with the import will cause incorrectly computed x-values, since the nominal "
                "spacing between the x-values is calculated from the number of y-values.";
            break;
        case JCAMPProgress::WarningTooMany:
            warningText =
                prefix.file +
                "There seem to be more y-values in the file than specified by the '##NPOINTS'-label. "
                "Continue with the import will cause incorrectly computed x-values, since the nominal "
                "spacing between the x-values is calculated from the number of y-values.";
            break;
        case JCAMPProgress::WarningCheckFailed:
            warningText = prefix.file + "Y-value check failed on line " +
                          std::to_string(progress.lineNumber) +
                          ". The remaining part of the dataset will be ignored.";
            break;
        default:
            warningText = "Internal error.";
            break;
    }
    return warningText.c_str();
}

// Contents

std::vector<FileContents::Part> JCAMPFile::ListParts() {
    if (complete != nullptr) {
        return complete->ListParts();
    }
    std::vector<Part> parts;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const JCAMPData& block = blocks[i];
        if (block.dataClass == JCAMPData::ClassLink) {
            continue;
        }
        Part part;
        part.kind = "block";
        part.name = block.title;
        part.number = static_cast<int>(i);
        part.rows = block.numPages;
        part.cols = block.nPoints;
        part.detail = block.dataType.value_or("");
        if (multiFile) {
            part.detail += (part.detail.empty() ? "" : ", ") + block.fileName;
        }
        parts.push_back(std::move(part));
    }
    return parts;
}

std::vector<FileContents::Fact> JCAMPFile::ListFacts() {
    if (complete != nullptr) {
        return complete->ListFacts();
    }
    std::int64_t spectra = 0;
    for (const JCAMPData& block : blocks) {
        spectra += block.numPages;
    }
    std::vector<Fact> facts{{"spectra", std::to_string(spectra)}};
    const auto found = std::find_if(blocks.begin(), blocks.end(),
                                    [](const JCAMPData& block) { return !block.pages.empty(); });
    if (found == blocks.end()) {
        return facts;
    }
    const JCAMPData& block = *found;
    const std::string unit = block.xUnits.empty() ? "" : " " + block.xUnits;
    facts.emplace_back("points", std::to_string(block.nPoints));
    if (!std::isnan(block.firstX) && !std::isnan(block.lastX)) {
        facts.emplace_back("first X", FormatG(block.firstX, ShownDigits) + unit);
        facts.emplace_back("last X", FormatG(block.lastX, ShownDigits) + unit);
        if (block.dataClass == JCAMPData::ClassXYData && block.nPoints > 1) {
            const double spacing = (block.lastX - block.firstX) / (block.nPoints - 1);
            facts.emplace_back("spacing", FormatG(spacing == 0.0 ? block.deltaX : spacing) + unit);
        }
    }
    if (!block.yUnits.empty()) {
        facts.emplace_back("Y unit", block.yUnits);
    }
    if (block.dateText) {
        facts.emplace_back("date", *block.dateText);
    }
    return facts;
}

JCAMPFileFactory::JCAMPFileFactory(signed char priority)
    : SprFileFactory("JCAMP-DX File", "JCAMP-DX Files (*.jcm; *.dx; *.jdx)", nullptr, 3, ".jcm\0.dx\0.jdx\0",
                     0, 1, 1, 1, 0, priority) {}

MyKindOfFile JCAMPFileFactory::IsMyKindOfFile(const char* /*fileName*/) {
    return KindUnknown;
}

SpreadsheetFile* JCAMPFileFactory::GetSpreadsheetFile() {
    return new JCAMPFile;
}

static JCAMPFileFactory jcampFileFactory(1);

// The first label of a file tells: a title, or the version that some write in front of it.
static FormatRecogniser::Evidence RecogniseJCAMP(const char* /*path*/, std::string_view head) {
    if (head.starts_with("\xef\xbb\xbf")) {
        head.remove_prefix(3);
    }
    const std::size_t begin = head.find_first_not_of(" \t\r\n");
    const std::string line = StripJCAMPLabel(head.substr(std::min(begin, head.size()), 64));
    const bool isProof = line.starts_with("##TITLE=") || line.starts_with("##JCAMPDX=");
    return isProof ? FormatRecogniser::Evidence::Proof : FormatRecogniser::Evidence::None;
}

static const FormatRecogniser jcampRecogniser("JCAMP-DX File", "jcamp", {}, RecogniseJCAMP);
