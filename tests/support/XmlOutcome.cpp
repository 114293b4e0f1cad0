#include "tests/support/XmlOutcome.h"

#include <memory>
#include <sstream>

#include "archive/XmlScanner.h"
#include "base/Unicode.h"

namespace {

class Log : public XmlEvents {
public:
    void StartElement(const XmlElement& element) override {
        EndText();
        log += "<" + std::string(element.name) + " " + std::string(element.localName) + " {" +
               std::string(element.uri) + "}";
        for (const XmlAttribute& attribute : element.attributes) {
            log += "\n  " + std::string(attribute.name) + " " + std::string(attribute.localName) + " {" +
                   std::string(attribute.uri) + "}=" + std::string(attribute.value);
        }
        log += "\n";
    }
    void EndElement() override {
        EndText();
        log += ">\n";
    }
    void Characters(std::string_view piece) override { text += piece; }
    // One behind the other, or in front of the text, is as good as one.
    void Interrupt() override {
        if (!text.empty() && !text.ends_with(Mark)) {
            text += Mark;
        }
    }

    std::string log;

private:
    // No document can hold it.
    static constexpr char Mark = '\x01';

    void EndText() {
        if (!text.empty()) {
            log += "text " + text + "\n";
        }
        text.clear();
    }

    std::string text;
};

}  // namespace

std::string XmlOutcome(std::string_view document, XmlNames names, XmlParsers parsers, std::size_t pieceSize) {
    Log log;
    const bool isGood = StreamXml([&] { return std::make_unique<std::istringstream>(std::string(document)); },
                                  log, names, parsers, pieceSize);
    return log.log + (isGood ? "well-formed" : "refused");
}

bool Agree(std::string_view document, const std::string& library, const std::string& both) {
    constexpr std::string_view Refused = "refused";
    bool isUtf8 = true;
    while (isUtf8 && !document.empty()) {
        const std::size_t length = GetUtf8Length(document);
        isUtf8 = length > 0;
        document.remove_prefix(length);
    }
    if (isUtf8 || !library.ends_with(Refused)) {
        return library == both;
    }
    return both.ends_with(Refused) &&
           both.starts_with(std::string_view(library).substr(0, library.size() - Refused.size()));
}

bool IsKnownToScanner(std::string_view document, XmlNames names) {
    std::stringbuf stream{std::string(document)};
    Log log;
    return XmlScanner(names).Scan(stream, log) == XmlScanner::Result::WellFormed;
}
