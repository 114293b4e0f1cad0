#include "process/BrooksideParse.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <istream>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "archive/XmlModule.h"
#include "archive/XmlScanner.h"
#include "base/FileStream.h"
#include "process/BrooksideLibraryParse.h"

namespace {

constexpr std::size_t PieceSize = std::size_t{1} << 18;
// A file may claim any size.
constexpr std::size_t MostRoomAhead = std::size_t{1} << 30;

/** Makes the tree of a document as it streams by. */
class TreeBuilder : public XmlEvents {
public:
    /** `documentSize` is what there is at most, or nothing where it isn't known. */
    TreeBuilder(RawTextExtent rawTextExtent, std::size_t documentSize)
        : extent(rawTextExtent), roomWanted(std::min(documentSize, MostRoomAhead)) {}

    void StartElement(const XmlElement& element) override {
        if (depthPassedOver > 0 || !BrooksideTree::IsAskedFor(element.name)) {
            Interrupt();
            ++depthPassedOver;
            return;
        }
        std::vector<BrooksideElement::Attribute> attributes;
        attributes.reserve(element.attributes.size());
        for (const XmlAttribute& attribute : element.attributes) {
            attributes.push_back({std::string(attribute.name), std::string(attribute.value)});
        }
        std::sort(attributes.begin(), attributes.end(),
                  [](const auto& left, const auto& right) { return left.name < right.name; });
        BrooksideElement& begun = tree.Begin(std::string(element.name), std::move(attributes));
        if (BrooksideTree::IsRawData(element.name)) {
            // All that stands in it is its text.
            rawElement = &begun;
            depthPassedOver = 1;
            runEnded = false;
        }
    }

    void EndElement() override {
        if (depthPassedOver == 0) {
            tree.End();
            return;
        }
        --depthPassedOver;
        if (depthPassedOver == 0 && rawElement != nullptr) {
            EndRun();
            rawElement = nullptr;
            tree.End();
        }
    }

    void Characters(std::string_view text) override {
        if (rawElement != nullptr && depthPassedOver == 1 && !runEnded) {
            if (!rawElement->hasText) {
                // The first one is nearly all of most documents; what isn't filled costs nothing.
                rawElement->raw.text.reserve(std::exchange(roomWanted, 0));
                rawElement->hasText = true;
            }
            rawElement->raw.Append(text);
        }
    }

    // What stands between texts ends the first run. CDATA isn't told from text here, and none of it counts
    // for the first run.
    void Interrupt() override {
        if (rawElement == nullptr || extent == RawTextExtent::AllText) {
            return;
        }
        if (!rawElement->hasText && !runEnded) {
            throw XmlEnd("something stands before a raw text");
        }
        EndRun();
    }

    BrooksideTree tree;

private:
    void EndRun() { runEnded = rawElement->hasText; }

    RawTextExtent extent;
    std::size_t roomWanted;                  // for the next raw text
    BrooksideElement* rawElement = nullptr;  // that is open
    int depthPassedOver = 0;                 // of open elements, from one on whose inside isn't asked for
    bool runEnded = false;
};

class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(const char* text) {
        char* const begin = const_cast<char*>(text);
        setg(begin, begin, begin + std::strlen(text));
    }
};

std::optional<BrooksideTree> ScanDocument(std::streambuf& source, RawTextExtent extent, std::size_t size) {
    try {
        TreeBuilder builder(extent, size);
        XmlScanner scanner(XmlNames::AsWritten, PieceSize);
        if (scanner.Scan(source, builder) == XmlScanner::Result::WellFormed) {
            return std::move(builder.tree);
        }
    } catch (const XmlEnd&) {
        // The library decides.
    }
    return std::nullopt;
}

}  // namespace

BrooksideTree ParseBrookside(const BrooksideDocument& document, RawTextExtent extent) {
    std::optional<BrooksideTree> tree;
    if (document.path != nullptr) {
        FileStream file(document.path);
        if (file.good()) {
            std::error_code error;
            const std::uintmax_t size = std::filesystem::file_size(document.path, error);
            tree = ScanDocument(*file.rdbuf(), extent, error ? 0 : static_cast<std::size_t>(size));
        }
    } else {
        TextBuffer text(document.text);
        tree = ScanDocument(text, extent, 0);
    }
    if (!tree) {
        XmlModule::Find("karta_xml_parse_brookside", karta_xml_parse_brookside)(document, extent,
                                                                                tree.emplace());
    }
    return std::move(*tree);
}
