#include "instrument/JCAMPFile.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
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
#include "frame/OptionsText.h"
#include "host/NvFile.h"
#include "host/XMLSection.h"
#include "instrument/JCAMPDecoder.h"
#include "instrument/JCAMPLabels.h"
#include "instrument/JCAMPStream.h"

namespace {

// Columns 1 and 2 hold the row's number and label.
constexpr int HeadColumns = 2;
// Rows 1 and 2 hold the X values.
constexpr int FirstDataRow = 3;

// The mark of a missing value, and of the X of one in the first spectrum.
constexpr float MissingValue = -99.0F;

// How many values repetition counts may stand for in one read: a flat spectrum of a million points is still
// believed of the smallest file, and of a large one that nearly all of it is flat.
constexpr std::int64_t BelievedRepetitions = std::int64_t{1} << 20;
constexpr std::int64_t BelievedRepetitionsPerByte = 64;

// What a host's buffer for the heading of its list of blocks holds.
constexpr unsigned int TitleSize = 64;

// Of an axis' ends in what is shown of a file: as many as instruments write.
constexpr int ShownDigits = 9;

constexpr const char* DataBlocksKey = "DataBlocks";
constexpr std::string_view Comment = "$$";

void SetX(ReadSpreadSheetData* sink, int column, double x) {
    sink->Set(column, 1, ("t " + FormatG(x)).c_str());
    sink->Set(column, 2, x);
}

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

// The Y at each grid point, on the line between its neighbours; missing where it has none on one side.
std::vector<float> InterPolate(const std::vector<float>& grid, const std::vector<float>& xs,
                               const std::vector<float>& ys) {
    std::vector<std::pair<float, float>> points;
    for (std::size_t i = 0; i < std::min(xs.size(), ys.size()); ++i) {
        if (ys[i] != MissingValue && !std::isnan(xs[i]) && !std::isnan(ys[i])) {
            points.emplace_back(xs[i], ys[i]);
        }
    }
    std::sort(points.begin(), points.end());
    std::vector<float> result;
    result.reserve(grid.size());
    for (const float x : grid) {
        const auto upper =
            std::lower_bound(points.begin(), points.end(), x,
                             [](const auto& point, float limit) { return point.first < limit; });
        if (upper != points.end() && upper->first == x) {
            result.push_back(upper->second);
        } else if (upper == points.end() || upper == points.begin()) {
            result.push_back(MissingValue);
        } else {
            const auto lower = std::prev(upper);
            const float share = (x - lower->first) / (upper->first - lower->first);
            result.push_back(lower->second + share * (upper->second - lower->second));
        }
    }
    return result;
}

}  // namespace

/** The spectrum being read, and what goes on from one to the next. */
struct JCAMPFile::Series {
    ReadSpreadSheetData* sink = nullptr;
    int row = 1;
    bool first = true;  // this one sets the X rows
    bool interpolates = false;
    std::int64_t repetitionsLeft = BelievedRepetitions;

    bool setsX = false;  // of this spectrum's own points
    double firstX = 0.0;
    double dx = 0.0;
    double yFactor = 1.0;
    double lastY = 0.0;
    bool checkPending = false;    // the line before ended in a difference: this one begins with its sum
    bool skipCheckValue = false;  // which is no point of its own
    bool left = false;            // what there is of the spectrum isn't set
    std::vector<float> xs;        // kept only where they are needed for interpolation
    std::vector<float> ys;
};

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

// Up to the first "=" only what tells labels apart stays: "## X_Units =" is ##XUNITS=.
std::string JCAMPFile::strstrip(std::string_view text) {
    const std::size_t equals = std::min(text.find('='), text.size());
    std::string stripped;
    for (const char c : text.substr(0, equals)) {
        if (!IsSpace(c) && c != '\\' && c != '/' && c != '_' && c != '-') {
            stripped += ToUpper(c);
        }
    }
    stripped += text.substr(equals);
    return stripped;
}

// A stream that has failed already leaves the line as it was.
bool JCAMPFile::ReadLine(std::string_view& line, JCAMPStream& stream) {
    if (stream.HasFailed() || !stream.TakeLine(line)) {
        return false;
    }
    line = line.substr(0, line.find('\0'));
    line = line.substr(0, line.find(Comment));
    ++lineNumber;
    return true;
}

// Labels

int JCAMPFile::CheckFile(JCAMPStream& stream) {
    stream.Seek(0);
    std::string_view line;
    while (line.empty()) {
        if (!ReadLine(line, stream)) {
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
        ReadLine(line, stream);
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
    const std::vector<std::string> paths = NvFile::GetFileNames(fileName);
    multiFile = paths.size() > 1;
    for (const std::string& path : paths) {
        currentFileName = NvGetFileName(path);
        currentPath = path;
        JCAMPStream stream(path.c_str());
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

void JCAMPFile::Close() {
    FormatReader::Close();
}

bool JCAMPFile::SetOptions(NvImportOpenOptions* options) {
    std::vector<int> selection{0};
    try {
        if (blocks.size() > 1) {
            const bool given = HasOptions(options);
            selection =
                given ? GetVectorFromString(DecodeOptionsText(*options)) : GetSelectedJCAMPDataBlocks();
            if (options != nullptr) {
                RenewOptions(*options, GetStringFromVector(selection));
            }
        }
        SelectJCAMPBlock(selection);
    } catch (...) {
        status = StatusCannotOpen;
    }
    return status == StatusOk;
}

// Bytes that the caller gave stay its own and are renewed in place; the new form is no longer than they are
// unless they hold no selection at all. An empty record gets bytes that are this reader's: its user copies
// them before the reader is gone.
void JCAMPFile::RenewOptions(NvImportOpenOptions& options, const std::string& text) {
    if (WantsOptions(&options)) {
        LendOptions(text, optionsBlob, options);
        return;
    }
    const std::vector<std::uint8_t> bytes = EncodeOptionsText(text);
    if (HasOptions(&options) && bytes.size() <= options.size) {
        std::copy(bytes.begin(), bytes.end(), options.data);
        options.size = static_cast<std::uint32_t>(bytes.size());
    }
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

// The test is the wrong way round, and hosts have come to rely on it.
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

int JCAMPFile::InitXValues(ReadSpreadSheetData* /*sink*/) {
    status = StatusAbortedByUser;
    return status;
}

int JCAMPFile::Read(ReadSpreadSheetData* sink) {
    if (status != StatusOk) {
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
    Series series;
    series.sink = sink;
    series.interpolates = xRangesDiffer || pointCountsDiffer;
    if (series.interpolates && InitXValues(sink) != StatusOk) {
        return status;
    }
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
            series.repetitionsLeft +=
                BelievedRepetitionsPerByte * static_cast<std::int64_t>(stream->GetSize());
        }
        status = ReadBlock(series, *stream, blocks[i]);
        if (status != StatusOk) {
            return status;
        }
    }
    return status;
}

int JCAMPFile::ReadBlock(Series& series, JCAMPStream& stream, const JCAMPData& block) {
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
    for (const JCAMPPage& page : block.pages) {
        stream.Seek(page.position);
        const int code = block.dataClass == JCAMPData::ClassXYData
                             ? ReadXYData(series, stream, block, page)
                             : ReadPeakTable(series, stream, block, page);
        if (code != StatusOk) {
            return code;
        }
        ++series.row;
        series.first = false;
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

void JCAMPFile::BeginPage(Series& series, const JCAMPData& block) {
    series.setsX = series.first && xGrid.empty();
    series.firstX = block.firstX;
    series.yFactor = block.yFactor;
    series.lastY = 0.0;
    series.checkPending = false;
    series.skipCheckValue = false;
    series.left = false;
    series.xs.clear();
    series.ys.clear();
    if (series.first) {
        ++series.row;
        series.sink->Set(1, series.row, series.row - 1);
        series.sink->Set(2, series.row, block.xUnits.empty() ? "X" : block.xUnits.c_str());
        ++series.row;
    }
    series.sink->Set(1, series.row, series.row - 1);
    series.sink->Set(2, series.row, LabelOf(block).c_str());
}

int JCAMPFile::ReadXYData(Series& series, JCAMPStream& stream, const JCAMPData& block,
                          const JCAMPPage& page) {
    valuesExpected = page.points;
    valuesRead = 0;
    series.dx = 0.0;
    if (valuesExpected > 1) {
        series.dx = (block.lastX - block.firstX) / (valuesExpected - 1);
        series.dx = series.dx == 0.0 ? block.deltaX : series.dx;
        if (series.dx == 0.0) {
            return StatusNoSpacing;
        }
    }
    BeginPage(series, block);
    std::string_view line;
    while (ReadLine(line, stream)) {
        line = deblank(line);
        if (line.starts_with('#')) {
            EndPage(series);
            return StatusOk;
        }
        const int code = line.empty() ? StatusOk : ReadXYLine(series, line);
        if (code != StatusOk || series.left) {
            return code;
        }
    }
    return StatusUnexpectedEnd;
}

// An abscissa and the ordinates that begin there. Behind a line that ended in a difference the first
// ordinate repeats the last one, as a check.
int JCAMPFile::ReadXYLine(Series& series, std::string_view line) {
    JCAMPDecoder decoder(line);
    double y = 0.0;
    int count = 0;
    bool missing = false;
    int code = ReadNextValue(decoder, y, count, missing, false);
    if (code != StatusOk) {
        return code;
    }
    if (count != 1) {
        return StatusAbscissaRepeated;
    }
    code = ReadNextValue(decoder, y, count, missing, false);
    if (code == StatusOk && count < 0) {
        return StatusFirstOrdinateDifference;
    }
    if (code == StatusOk && series.checkPending) {
        if (y != series.lastY) {
            warningCode = valuesRead == valuesExpected ? warningCode : WarningCheckFailed;
            series.left = true;
            return StatusOk;
        }
        series.skipCheckValue = true;
        series.checkPending = false;
    }
    while (code == StatusOk && count != 0) {
        series.checkPending = count < 0;
        code = EmitPoints(series, y, count, missing);
        if (code != StatusOk || series.left) {
            return code;
        }
        series.skipCheckValue = false;
        code = ReadNextValue(decoder, y, count, missing, false);
    }
    return code;
}

// One decoded value, as often as it stands; the first point too many ends the page.
int JCAMPFile::EmitPoints(Series& series, double y, int count, bool missing) {
    const bool difference = count < 0;
    const std::int64_t useful = std::max<std::int64_t>(std::int64_t{valuesExpected} - valuesRead + 1, 1);
    const std::int64_t repetitions = std::min<std::int64_t>(std::abs(count), useful);
    series.repetitionsLeft -= repetitions - 1;
    if (series.repetitionsLeft < 0) {
        return StatusSizeUnknown;
    }
    for (std::int64_t i = 0; i < repetitions; ++i) {
        series.lastY = difference ? y + series.lastY : y;
        if (series.skipCheckValue) {
            continue;
        }
        ++valuesRead;
        if (valuesRead > valuesExpected) {
            warningCode = WarningTooMany;
            series.left = true;
            return StatusOk;
        }
        if (series.setsX) {
            const double x = missing ? MissingValue : (valuesRead - 1) * series.dx + series.firstX;
            SetX(series.sink, valuesRead + HeadColumns, x);
        } else if (series.interpolates) {
            const auto distance = static_cast<float>((valuesRead - 1) * series.dx);
            series.xs.push_back(static_cast<float>(distance + series.firstX));
        }
        series.ys.push_back(missing ? MissingValue : static_cast<float>(series.yFactor * series.lastY));
    }
    return StatusOk;
}

int JCAMPFile::ReadPeakTable(Series& series, JCAMPStream& stream, const JCAMPData& block,
                             const JCAMPPage& page) {
    valuesExpected = page.points;
    valuesRead = 0;
    BeginPage(series, block);
    std::string_view line;
    while (ReadLine(line, stream)) {
        line = deblank(line);
        if (line.empty()) {
            continue;
        }
        if (line.starts_with('#')) {
            EndPage(series);
            return StatusOk;
        }
        if (valuesRead > valuesExpected) {
            return StatusOk;
        }
        const int code = ReadPeaks(series, line, block);
        if (code != StatusOk) {
            return code;
        }
    }
    return StatusUnexpectedEnd;
}

// Pairs of X and Y; an X without its Y at the end of a line is a peak of a missing height.
int JCAMPFile::ReadPeaks(Series& series, std::string_view line, const JCAMPData& block) {
    JCAMPDecoder decoder(line);
    while (true) {
        double x = 0.0;
        double y = 0.0;
        int count = 0;
        bool missing = false;
        int code = ReadNextValue(decoder, x, count, missing, true);
        if (code != StatusOk || count == 0) {
            return code;
        }
        x *= block.xFactor;
        if (series.setsX) {
            x = missing ? MissingValue : x;
            SetX(series.sink, valuesRead + HeadColumns + 1, x);
        }
        code = ReadNextValue(decoder, y, count, missing, true);
        if (code != StatusOk) {
            return code;
        }
        if (series.interpolates) {
            series.xs.push_back(static_cast<float>(x));
        }
        series.ys.push_back(missing || count == 0 ? MissingValue : static_cast<float>(block.yFactor * y));
        ++valuesRead;
    }
}

int JCAMPFile::ReadNextValue(JCAMPDecoder& line, double& value, int& count, bool& missing,
                             bool strict) const {
    const bool peaks = blocks[static_cast<std::size_t>(currentBlock)].dataClass == JCAMPData::ClassPeakTable;
    JCAMPDecoder::Value next;
    switch (line.Next(next, {.commaSeparates = peaks, .strict = strict})) {
        case JCAMPDecoder::IllegalCharacter:
            return StatusIllegalCharacter;
        case JCAMPDecoder::NotPlain:
            return StatusInvalidCharacter;
        case JCAMPDecoder::RepeatedTwice:
            return StatusRepeatedTwice;
        default:
            value = next.value;
            count = next.count;
            missing = next.missing;
            return StatusOk;
    }
}

void JCAMPFile::EndPage(Series& series) {
    if (valuesRead < valuesExpected) {
        warningCode = WarningTooFew;
    }
    if (series.interpolates) {
        series.ys = InterPolate(xGrid, series.xs, series.ys);
        for (std::size_t i = 0; i < xGrid.size(); ++i) {
            SetX(series.sink, static_cast<int>(i) + HeadColumns + 1, xGrid[i]);
        }
    }
    int column = HeadColumns;
    for (const float y : series.ys) {
        ++column;
        // An ordinate of just this value is missing too.
        if (y == MissingValue) {
            series.sink->Set(column, series.row, "");
        } else {
            series.sink->Set(column, series.row, y);
        }
    }
}

// Messages

JCAMPFile::Prefixes JCAMPFile::MakePrefixes() const {
    if (!multiFile || currentBlock == -1) {
        return {};
    }
    const std::string file =
        "Error in file '" + blocks[static_cast<std::size_t>(currentBlock)].fileName + "'";
    return {file + ": ", file + ", line " + std::to_string(lineNumber) + ": "};
}

std::string JCAMPFile::DescribeLabelStatus(const Prefixes& prefix) const {
    switch (status) {
        case StatusCannotOpen:
            return "Unable to open file.";
        case StatusNotJCAMP:
            return multiFile ? "One of the files does not appear to be a valid JCAMP-DX file."
                             : "The file does not appear to be a valid JCAMP-DX file.";
        case StatusBinaryData:
            return prefix.file + "The data is stored in an unsupported (binary) form.";
        case StatusNoTerminator:
            return prefix.line + "Found a label with the data label terminator ('=') missing.";
        case StatusMissingValue:
            return prefix.line + "A label with a missing value was found in the file.";
        case StatusUnpairedTitles:
            return prefix.file + "Mismatching '##TITLE=' and '##END=' labels were found in the file.";
        case StatusIllegalLabel:
            return errorText;
        case StatusIllegalFactor:
            return prefix.file + "The label on line " + std::to_string(lineNumber) + " has an illegal value.";
        case StatusIllegalPointCount:
            return prefix.line +
                   "Invalid value of '##NPOINTS=' label in the file. The value of '##NPOINTS=' must be a "
                   "positive integer.";
        default:
            return {};
    }
}

std::string JCAMPFile::DescribeDataStatus(const Prefixes& prefix) {
    switch (status) {
        case StatusNothingSelected:
            return "No data blocks were selected.";
        case StatusNoBlocks:
            return prefix.line + "Error occurred while reading the file.";
        case StatusSizeUnknown:
            return prefix.file +
                   "The size of the data block could not be established. The '##NPOINTS'-label could not be "
                   "found or had an illegal value.";
        case StatusNoPages:
            return prefix.file + "Couldn't find valid data to import.";
        case StatusUnknownClass:
            return prefix.line +
                   "Does not recognize the value of the '##DATACLASS=' label as a valid JCAMP-DX 5.0 "
                   "dataclass";
        // The blank before "can" in these is a place for a name that was never filled.
        case StatusAssignments:
            return prefix.file + " can currently not read assignments.";
        case StatusRAData:
            return prefix.file + " can currently not read RA-data.";
        case StatusNTuples:
            return prefix.file + " Can currently not read n-tuples.";
        case StatusXYPoints:
            return prefix.file + " can currently not read XY points.";
        case StatusXYPairs:
            return prefix.file + " can currently not read XY pairs.";
        case StatusInvalidSeries:
            return prefix.file + "The selected series is invalid";
        case StatusNoSpacing:
            return prefix.file +
                   "Couldn't establish dx, either the '##FIRSTX=' and/or '##LASTX=' labels are missing in "
                   "the file, or the '##DELTAX=' label.";
        case StatusAbscissaRepeated:
            return prefix.line + "Duplicate suppression count (DUP) should be 1 for abscissa.";
        case StatusFirstOrdinateDifference:
            return prefix.line + "A DUP-value is not allowed as first ordinate.";
        case StatusUnexpectedEnd:
            return prefix.file + "Found unexpected End-of-file while reading data from file.";
        case StatusIllegalCharacter:
            return prefix.file + "Found an illegal character on line " + std::to_string(lineNumber) +
                   " while reading data from the file.";
        case StatusInvalidCharacter:
            return prefix.line + "Found an invalid character while reading data from the dataset";
        case StatusRepeatedTwice:
            return prefix.line + "Two consecutive DUP-values is not allowed.";
        // After these two no message names a file any more.
        case StatusClassesDiffer:
            multiFile = false;
            return "Only files with dataclass = 'XYDATA' are supported by multiselection.";
        case StatusInterrupted:
            multiFile = false;
            return "File read interrupted by the user.";
        default:
            return {};
    }
}

void JCAMPFile::GetErrorMessage(char* buffer, unsigned int size) {
    const Prefixes prefix = MakePrefixes();
    std::string text = DescribeLabelStatus(prefix);
    if (text.empty()) {
        text = DescribeDataStatus(prefix);
    }
    if (text.empty()) {
        SpreadsheetFile::GetErrorMessage(buffer, size);
    } else {
        CopyMessage(text, buffer, size);
    }
}

const char* JCAMPFile::GetWarningMessage() {
    const Prefixes prefix = MakePrefixes();
    switch (warningCode) {
        case WarningNone:
            return nullptr;
        case WarningTooFew:
            warningText =
                prefix.line + "Data seem to be missing in the file. Could only read " +
                std::to_string(valuesRead) + " y-values, but expected to read " +
                std::to_string(valuesExpected) +
                ". Continue with the import will cause incorrectly computed x-values, since the nominal "
                "spacing between the x-values is calculated from the number of y-values.";
            break;
        case WarningTooMany:
            warningText =
                prefix.file +
                "There seem to be more y-values in the file than specified by the '##NPOINTS'-label. "
                "Continue with the import will cause incorrectly computed x-values, since the nominal "
                "spacing between the x-values is calculated from the number of y-values.";
            break;
        case WarningCheckFailed:
            warningText = prefix.file + "Y-value check failed on line " + std::to_string(lineNumber) +
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
