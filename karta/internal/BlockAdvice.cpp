#include "karta/internal/BlockAdvice.h"

#include <exception>
#include <vector>

#include "frame/FileContents.h"
#include "frame/OptionsText.h"
#include "host/XMLSection.h"
#include "karta/internal/DirectRead.h"
#include "karta/internal/SpreadsheetSink.h"

namespace {

// Each block is tried beside the first of every group; a file of thousands is for its user to know.
constexpr std::size_t MostTriedBlocks = 64;

/** Wants no row: that a read begins is all there is to find out. */
class NullSink : public SpreadsheetSink {
public:
    void Set(int /*col*/, int /*row*/, const char* /*text*/) override {}
    void Set(int /*col*/, int /*row*/, float /*value*/) override {}
    int NextRowToRead(int /*row*/) override { return -1; }
};

bool CanBeReadTogether(const FormatCatalogue& formats, int format, const karta::ReadWishes& wishes,
                       const std::vector<int>& numbers) {
    XMLSection document;
    document.CreateSection(XMLSection::Settings).Write("DataBlocks", numbers);
    std::vector<std::uint8_t> bytes = EncodeOptionsText(document.Flush());
    NvImportOpenOptions options{static_cast<std::uint32_t>(bytes.size()), bytes.data()};
    const auto reader = MakeReader(formats, format, wishes);
    NullSink sink;
    try {
        return reader->Open(true, wishes.Selection().c_str(), &options) == SpreadsheetFile::StatusOk &&
               reader->GetNumRows() > 0 && reader->GetNumCols() > 0 &&
               reader->Read(&sink) == SpreadsheetFile::StatusOk;
    } catch (const std::exception&) {
        return false;
    }
}

// "1 to 3, 5 and 6": places that rise.
std::string Listed(const std::vector<std::size_t>& places) {
    std::vector<std::string> runs;
    for (std::size_t i = 0; i < places.size();) {
        std::size_t end = i + 1;
        while (end < places.size() && places[end] == places[end - 1] + 1) {
            ++end;
        }
        std::string run = std::to_string(places[i]);
        if (end - i == 2) {
            runs.push_back(run);
            run = std::to_string(places[end - 1]);
        } else if (end - i > 2) {
            run += " to " + std::to_string(places[end - 1]);
        }
        runs.push_back(run);
        i = end;
    }
    std::string text;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == runs.size() ? " and " : ", ") + runs[i];
    }
    return text;
}

// What goes together first, then what doesn't go with anything.
std::string Describe(const std::vector<std::vector<std::size_t>>& groups) {
    std::string text;
    std::vector<std::size_t> alone;
    for (const std::vector<std::size_t>& group : groups) {
        if (group.size() == 1) {
            alone.push_back(group.front());
        } else {
            text += text.empty() ? "blocks " + Listed(group) + " share one axis"
                                 : ", blocks " + Listed(group) + " another";
        }
    }
    if (!alone.empty()) {
        text += text.empty() ? "" : ", ";
        text += alone.size() == 1 ? "block " + Listed(alone) + " stands alone"
                                  : "blocks " + Listed(alone) + " stand each alone";
    }
    return text;
}

}  // namespace

std::string AdviseOnBlocks(const FormatCatalogue& formats, int format, const karta::ReadWishes& wishes) {
    const auto scout = MakeReader(formats, format, wishes);
    auto* contents = dynamic_cast<FileContents*>(scout.get());
    if (contents == nullptr ||
        scout->Open(true, wishes.Selection().c_str(), nullptr) != SpreadsheetFile::StatusOk) {
        return {};
    }
    std::vector<FileContents::Part> blocks = contents->ListParts();
    if (blocks.size() < 2 || blocks.front().kind != "block") {
        return {};
    }
    if (blocks.size() > MostTriedBlocks) {
        return "there are " + std::to_string(blocks.size()) + " of them";
    }
    std::vector<std::vector<std::size_t>> groups;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        bool isPlaced = false;
        for (std::vector<std::size_t>& group : groups) {
            if (CanBeReadTogether(formats, format, wishes,
                                  {blocks[group.front() - 1].number, blocks[i].number})) {
                group.push_back(i + 1);
                isPlaced = true;
                break;
            }
        }
        if (!isPlaced) {
            groups.push_back({i + 1});
        }
    }
    return Describe(groups);
}
