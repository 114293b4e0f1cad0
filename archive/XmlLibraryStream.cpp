#include "archive/XmlLibraryStream.h"

#include <algorithm>
#include <cstdint>
#include <istream>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include <xercesc/sax2/Attributes.hpp>

#include "archive/XmlPlatform.h"
#include "base/Unicode.h"

namespace {

std::u16string_view View(const XMLCh* text) {
    return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}

/**
 * Hands on what the library finds, in UTF-8, without what the handler has got already. Half a character at
 * the end of a piece of text waits for the other half.
 */
class LibraryEvents : public XmlHandler {
public:
    LibraryEvents(XmlEvents& handler, XmlNames wantedNames, const XmlScanner::Progress& handedOut)
        : events(handler), byNamespace(wantedNames == XmlNames::ByNamespace), left(handedOut) {}

    void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name,
                      const xercesc::Attributes& list) override {
        if (!IsNextTag()) {
            return;
        }
        texts.clear();
        attributes.clear();
        // Room for all at once: the views below stay.
        texts.reserve(3 * list.getLength() + 2);
        for (XMLSize_t i = 0; i < list.getLength(); ++i) {
            attributes.push_back({Keep(list.getQName(i)), Keep(list.getValue(i)),
                                  byNamespace ? Keep(list.getLocalName(i)) : std::string_view(),
                                  byNamespace ? KeepUri(list.getURI(i)) : std::string_view()});
        }
        events.StartElement({Keep(name), byNamespace ? Keep(localName) : std::string_view(),
                             byNamespace ? KeepUri(uri) : std::string_view(), attributes});
    }

    void endElement(const XMLCh* /*uri*/, const XMLCh* /*localName*/, const XMLCh* /*name*/) override {
        if (IsNextTag()) {
            events.EndElement();
        }
    }

    void characters(const XMLCh* chars, XMLSize_t length) override {
        if (left.tags > 0) {
            return;
        }
        units.append(chars, length);
        const bool isHalf = !units.empty() && IsHighSurrogate(units.back());
        const std::string text =
            ToUtf8(std::u16string_view(units).substr(0, units.size() - (isHalf ? 1 : 0)));
        units.erase(0, units.size() - (isHalf ? 1 : 0));
        const std::size_t known = std::min<std::uint64_t>(left.bytes, text.size());
        left.bytes -= known;
        if (known < text.size()) {
            events.Characters(std::string_view(text).substr(known));
        }
    }

    void comment(const XMLCh* /*chars*/, XMLSize_t /*length*/) override { Interrupt(); }
    void processingInstruction(const XMLCh* /*target*/, const XMLCh* /*data*/) override { Interrupt(); }
    void startCDATA() override { Interrupt(); }
    void endCDATA() override { Interrupt(); }

private:
    // Whether a tag is one that the handler hasn't got.
    bool IsNextTag() {
        if (left.tags > 0) {
            --left.tags;
            return false;
        }
        left.bytes = 0;
        return true;
    }

    // Where all text before was handed out, it doesn't matter whether this was too.
    void Interrupt() {
        if (left.tags == 0 && left.bytes == 0) {
            events.Interrupt();
        }
    }

    std::string_view Keep(const XMLCh* text) { return texts.emplace_back(ToUtf8(View(text))); }
    std::string_view KeepUri(const XMLCh* text) { return *uris.emplace(ToUtf8(View(text))).first; }

    XmlEvents& events;
    bool byNamespace;
    XmlScanner::Progress left;
    std::vector<std::string> texts;
    std::vector<XmlAttribute> attributes;
    std::unordered_set<std::string> uris;
    std::u16string units;
};

}  // namespace

bool karta_xml_stream(std::istream& stream, XmlEvents& events, XmlNames names,
                      const XmlScanner::Progress& handedOut) {
    const XmlPlatform running;
    LibraryEvents handler(events, names, handedOut);
    return ParseXml(stream, handler, names);
}
