#include "instrument/JCAMPDocument.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/NumberParser.h"
#include "instrument/JCAMPLabels.h"
#include "instrument/JCAMPStream.h"
#include "instrument/SpectrumTexts.h"

namespace {

constexpr std::string_view Utf8Mark = "\xef\xbb\xbf";

// The name of a label as labels are told apart: "XUNITS" of "X_Units ".
std::string NormalizedLabel(std::string_view name) {
    std::string label = StripJCAMPLabel(name);
    return label;
}

bool IsDataLabel(std::string_view label) {
    for (const std::string_view known : {"XYDATA", "DATATABLE", "PEAKTABLE", "XYPOINTS", "XYPAIRS", "RADATA",
                                         "PEAKASSIGNMENTS", "ASSIGNMENTS"}) {
        if (label == known) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::string_view JCAMPBlock::Find(std::string_view label) const {
    const auto found = std::find_if(records.rbegin(), records.rend(),
                                    [label](const JCAMPRecord& record) { return record.label == label; });
    return found == records.rend() ? std::string_view() : std::string_view(found->value);
}

JCAMPDocument::JCAMPDocument(JCAMPStream& stream, SpectrumTexts& fileTexts) : texts(fileTexts) {
    std::string_view line;
    while (stream.ReadLine(line, lineNumber)) {
        if (lineNumber == 1 && line.starts_with(Utf8Mark)) {
            line.remove_prefix(Utf8Mark.size());
        }
        line = TrimSpace(line);
        if (line.starts_with("##")) {
            TakeLabel(line, stream);
        } else if (!line.empty()) {
            TakeText(line);
        }
        if (!isJCAMP && !line.empty()) {
            return;
        }
    }
    while (!open.empty()) {
        firstUnended = unended == 0 ? Current().line : firstUnended;
        ++unended;
        CloseBlock();
    }
    NoteUnended();
    NoteBlockCount();
}

void JCAMPDocument::NoteBlockCount() {
    const auto link = std::find_if(blocks.begin(), blocks.end(),
                                   [](const JCAMPBlock& block) { return !block.Find("BLOCKS").empty(); });
    const auto links =
        std::count_if(blocks.begin(), blocks.end(), [](const JCAMPBlock& block) { return block.isLink; });
    if (link == blocks.end() || links != 1) {
        return;
    }
    const std::size_t count = blocks.size() - 1;
    if (ToLeadingDouble(link->Find("BLOCKS")) != static_cast<double>(count)) {
        notes.push_back({"block-count", 1, "line " + std::to_string(link->line),
                         "the link tells of " + std::string(link->Find("BLOCKS")) + " blocks, but holds " +
                             std::to_string(count)});
    }
}

void JCAMPDocument::NoteUnended() {
    if (unended > 0) {
        notes.push_back({"missing-end", static_cast<std::uint64_t>(unended),
                         "line " + std::to_string(firstUnended),
                         karta::CountOf(static_cast<std::uint64_t>(unended), "block") + " " +
                             (unended == 1 ? "has" : "have") + " no ##END= (first: that of line " +
                             std::to_string(firstUnended) + ")"});
    }
}

void JCAMPDocument::OpenBlock(const std::string& title) {
    // Only a link holds other blocks: any other one that is still open lacks its end.
    while (!open.empty() && !Current().isLink) {
        firstUnended = unended == 0 ? Current().line : firstUnended;
        ++unended;
        CloseBlock();
    }
    open.push_back(blocks.size());
    JCAMPBlock& block = blocks.emplace_back();
    block.title = title;
    block.line = lineNumber;
    inPage = false;
    lastRecord = nullptr;
}

void JCAMPDocument::CloseBlock() {
    open.pop_back();
    inPage = false;
    lastRecord = nullptr;
}

void JCAMPDocument::TakeText(std::string_view line) {
    if (lastRecord != nullptr) {
        lastRecord->value += (lastRecord->value.empty() ? "" : "\n") + texts.ToUtf8(line);
    }
}

void JCAMPDocument::TakeLabel(std::string_view line, JCAMPStream& stream) {
    const std::size_t equals = line.find('=');
    const std::string_view name = TrimSpace(line.substr(2, std::min(equals, line.size()) - 2));
    JCAMPRecord record{
        NormalizedLabel(name), texts.ToUtf8(name),
        equals == std::string_view::npos ? "" : texts.ToUtf8(TrimSpace(line.substr(equals + 1)))};
    if (equals == std::string_view::npos) {
        notes.push_back({"label-without-value", 1, "line " + std::to_string(lineNumber),
                         "the label ##" + record.name + " on line " + std::to_string(lineNumber) +
                             " has no \"=\" and no value"});
    }
    const bool isVersion = record.label == "JCAMPDX" || record.label == "JCAMPCS";
    isJCAMP = isJCAMP || record.label == "TITLE" || isVersion;
    if (!isJCAMP) {
        return;
    }
    if (record.label == "TITLE") {
        // A version in front of the title has begun the block.
        const bool isBegun = !open.empty() && Current().title.empty() && Current().tables.empty() &&
                             Current().records.size() == 1 && Current().records.front().label == "JCAMPDX";
        if (isBegun) {
            Current().title = record.value;
        } else {
            OpenBlock(record.value);
        }
        return;
    }
    if (open.empty()) {
        if (!isVersion) {
            notes.push_back({"outside-blocks", 1, "line " + std::to_string(lineNumber),
                             "the label ##" + record.name + " on line " + std::to_string(lineNumber) +
                                 " stands outside of all blocks"});
            return;
        }
        OpenBlock("");
    }
    if (record.label == "END") {
        CloseBlock();
    } else if (IsDataLabel(record.label)) {
        AddTable(std::move(record), stream);
    } else if (record.label == "PAGE") {
        page = std::make_shared<const std::string>(std::move(record.value));
        pageRecords.clear();
        inPage = true;
        lastRecord = nullptr;
    } else if (inPage && record.label != "ENDNTUPLES") {
        TakePageRecord(std::move(record));
    } else {
        JCAMPBlock& block = Current();
        block.isLink = block.isLink || record.label == "BLOCKS" ||
                       (record.label == "DATATYPE" && StripJCAMPLabel(record.value) == "LINK");
        block.isBinary = block.isBinary || record.label.starts_with("BINARY");
        inPage = false;
        block.records.push_back(std::move(record));
        lastRecord = &block.records.back();
    }
}

// Nobody asks for the others.
void JCAMPDocument::TakePageRecord(JCAMPRecord record) {
    constexpr std::string_view Asked[] = {"FIRST", "LAST", "FACTOR", "NPOINTS", "VARDIM"};
    lastRecord = nullptr;
    if (std::find(std::begin(Asked), std::end(Asked), record.label) == std::end(Asked)) {
        return;
    }
    std::erase_if(pageRecords, [&record](const std::shared_ptr<JCAMPRecord>& known) {
        return known->label == record.label;
    });
    pageRecords.push_back(std::make_shared<JCAMPRecord>(std::move(record)));
    lastRecord = pageRecords.back().get();
}

void JCAMPDocument::AddTable(JCAMPRecord record, JCAMPStream& stream) {
    JCAMPDataTable& table = Current().tables.emplace_back();
    table.label = std::move(record.label);
    table.form = std::move(record.value);
    table.position = stream.Tell();
    table.line = lineNumber;
    if (inPage) {
        table.page = page;
        table.pageRecords.assign(pageRecords.begin(), pageRecords.end());
    }
    lastRecord = nullptr;
    stream.SkipToLabel(lineNumber);
}
