#include "instrument/JCAMPLabels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "base/Ascii.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "instrument/JCAMPFile.h"

namespace {

// A ##TIME= joins a date text that is no longer: one that is longer holds its time already.
constexpr std::size_t LongestDateAlone = 11;

constexpr std::string_view LinkType = "LINK";

struct LabelName {
    std::string_view name;
    JCAMPLabel label;
};

constexpr LabelName LabelNames[] = {{"##TITLE=", JCAMPLabel::Title},
                                    {"##DATATYPE=", JCAMPLabel::DataType},
                                    {"##DATACLASS=", JCAMPLabel::DataClass},
                                    {"##BLOCKS=", JCAMPLabel::Blocks},
                                    {"##BLOCKID=", JCAMPLabel::BlockId},
                                    {"##XUNITS=", JCAMPLabel::XUnits},
                                    {"##YUNITS=", JCAMPLabel::YUnits},
                                    {"##FIRSTX=", JCAMPLabel::FirstX},
                                    {"##LASTX=", JCAMPLabel::LastX},
                                    {"##DELTAX=", JCAMPLabel::DeltaX},
                                    {"##XFACTOR=", JCAMPLabel::XFactor},
                                    {"##YFACTOR=", JCAMPLabel::YFactor},
                                    {"##NPOINTS=", JCAMPLabel::NPoints},
                                    {"##END=", JCAMPLabel::End},
                                    {"##XYDATA=", JCAMPLabel::DataTable},
                                    {"##DATATABLE=", JCAMPLabel::DataTable},
                                    {"##PEAKTABLE=", JCAMPLabel::DataTable},
                                    {"##XYPOINTS=", JCAMPLabel::DataTable},
                                    {"##RADATA=", JCAMPLabel::RAData},
                                    {"##XYPAIRS=", JCAMPLabel::XYPairs},
                                    {"##ASSIGNMENTS=", JCAMPLabel::Assignments},
                                    {"##PEAKASSIGNMENTS=", JCAMPLabel::Assignments},
                                    {"##PAGE=", JCAMPLabel::Page},
                                    {"##DATE=", JCAMPLabel::Date},
                                    {"##TIME=", JCAMPLabel::Time}};

struct ClassName {
    std::string_view name;
    int dataClass;
};

constexpr ClassName ClassNames[] = {
    {"XYDATA", JCAMPData::ClassXYData},           {"RADATA", JCAMPData::ClassRAData},
    {"XYPOINTS", JCAMPData::ClassXYPoints},       {"PEAKTABLE", JCAMPData::ClassPeakTable},
    {"ASSIGNMENTS", JCAMPData::ClassAssignments}, {"NTUPLES", JCAMPData::ClassNTuples}};

void SetDataType(JCAMPData& block, std::string_view value) {
    if (value == LinkType) {
        block.dataType = LinkType;
        block.dataClass = JCAMPData::ClassLink;
        block.selected = true;
        return;
    }
    std::string text = ToLowerCase(value);
    if (!text.empty()) {
        text.front() = ToUpper(text.front());
    }
    block.dataType = std::move(text);
}

void AddTime(JCAMPData& block, std::string_view value) {
    if (!block.dateText) {
        block.dateText = value;
    } else if (block.dateText->size() <= LongestDateAlone) {
        *block.dateText += ' ';
        *block.dateText += value;
    }
}

int ReadBlockCount(JCAMPData& block, std::string_view value, std::string& errorText) {
    if (value.empty()) {
        return JCAMPFile::StatusNoTerminator;
    }
    if (block.dataClass != JCAMPData::ClassLink) {
        errorText = "Found an illegal label ##BLOCKS within a LINK-block";
        return JCAMPFile::StatusIllegalLabel;
    }
    const double count = ToLeadingDouble(value);
    if (std::fabs(count) <= std::numeric_limits<int>::max()) {
        block.blockCount = static_cast<int>(count);
    }
    return 0;
}

int ReadNumber(double& field, std::string_view value) {
    if (value.empty()) {
        return JCAMPFile::StatusMissingValue;
    }
    field = ToLeadingDouble(value);
    return 0;
}

int ReadFactor(double& field, std::string_view value) {
    if (value.empty()) {
        return JCAMPFile::StatusMissingValue;
    }
    const double factor = ToLeadingDouble(value);
    if (factor == 0.0) {
        return JCAMPFile::StatusIllegalFactor;
    }
    field = factor;
    return 0;
}

int ReadPointCount(JCAMPData& block, std::string_view value) {
    if (value.empty()) {
        return JCAMPFile::StatusMissingValue;
    }
    const double count = ToLeadingDouble(value);
    const bool possible = count >= 1.0 && count <= std::numeric_limits<int>::max();
    if (!possible || count != std::trunc(count)) {
        return JCAMPFile::StatusIllegalPointCount;
    }
    block.nPoints = static_cast<int>(count);
    return 0;
}

}  // namespace

std::string StripJCAMPLabel(std::string_view text) {
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

JCAMPLabel FindJCAMPLabel(std::string_view text) {
    for (const LabelName& known : LabelNames) {
        if (text == known.name) {
            return known.label;
        }
    }
    // Of this one only the beginning counts.
    return text.starts_with("##BINARY") ? JCAMPLabel::Binary : JCAMPLabel::Other;
}

int FindJCAMPClass(std::string_view text) {
    for (const ClassName& known : ClassNames) {
        if (text == known.name) {
            return known.dataClass;
        }
    }
    return JCAMPData::ClassUnrecognised;
}

int ReadJCAMPBlockLabel(JCAMPData& block, JCAMPLabel label, std::string_view value, std::string& errorText) {
    switch (label) {
        case JCAMPLabel::DataType:
            SetDataType(block, value);
            return 0;
        case JCAMPLabel::Blocks:
            return ReadBlockCount(block, value, errorText);
        case JCAMPLabel::BlockId:
            if (block.dataType) {
                block.blockId = value;
            }
            return 0;
        case JCAMPLabel::XUnits:
            block.xUnits = value;
            return 0;
        case JCAMPLabel::YUnits:
            block.yUnits = value;
            return 0;
        case JCAMPLabel::FirstX:
            return ReadNumber(block.firstX, value);
        case JCAMPLabel::LastX:
            return ReadNumber(block.lastX, value);
        case JCAMPLabel::DeltaX:
            return ReadNumber(block.deltaX, value);
        case JCAMPLabel::XFactor:
            return ReadFactor(block.xFactor, value);
        case JCAMPLabel::YFactor:
            return ReadFactor(block.yFactor, value);
        case JCAMPLabel::NPoints:
            return ReadPointCount(block, value);
        case JCAMPLabel::Date:
            if (!block.dateText) {
                block.dateText = value;
            }
            return 0;
        case JCAMPLabel::Time:
            AddTime(block, value);
            return 0;
        default:
            return 0;
    }
}

// The form of the data decides their class before the class label does, and refuses what can't be read.
int ReadJCAMPForm(JCAMPData& block, std::string_view form) {
    if (form.starts_with("(X++(Y..Y))") || form.starts_with("XYDATA")) {
        block.dataClass = JCAMPData::ClassXYData;
    } else if (form.starts_with("(XY..XY)")) {
        block.dataClass = JCAMPData::ClassPeakTable;
    } else if (form.starts_with("(XA)") || form.starts_with("(XYA)") || form.starts_with("(XYMA)")) {
        return JCAMPFile::StatusAssignments;
    }
    if (block.dataClass == JCAMPData::ClassRAData) {
        return JCAMPFile::StatusRAData;
    }
    return block.dataClass == JCAMPData::ClassNTuples ? JCAMPFile::StatusNTuples : 0;
}
