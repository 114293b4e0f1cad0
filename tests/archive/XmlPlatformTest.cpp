#include "archive/XmlPlatform.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/XMLString.hpp>

namespace {

std::string Narrow(const XMLCh* text, std::size_t length) {
    return {text, text + length};
}

// Collects a document's names and text.
class Collector : public XmlHandler {
public:
    void startElement(const XMLCh* /*uri*/, const XMLCh* /*localName*/, const XMLCh* name,
                      const xercesc::Attributes& /*attributes*/) override {
        seen += "<" + Narrow(name, xercesc::XMLString::stringLen(name)) + ">";
        ++elements;
    }
    void characters(const XMLCh* text, XMLSize_t length) override { seen += Narrow(text, length); }

    std::string seen;
    int elements = 0;
};

class XmlPlatformTest : public testing::Test {
protected:
    bool Parse(const std::string& document) {
        collector.seen.clear();
        std::istringstream stream(document);
        Collector fresh;
        const bool parsed = ParseXml(stream, fresh);
        collector.seen = fresh.seen;
        collector.elements = fresh.elements;
        return parsed;
    }

    XmlPlatform platform;
    Collector collector;
};

std::string Repeat(std::string_view text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

void ParseDom(BoundedDomParser& parser, std::string_view document) {
    const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(document.data()),
                                            document.size(), "");
    parser.parse(source);
}

}  // namespace

TEST_F(XmlPlatformTest, HandsOverNamesWithTheirPrefixes) {
    EXPECT_TRUE(Parse("<x:a><b>t</b><![CDATA[u]]></x:a>"));
    EXPECT_EQ(collector.seen, "<x:a><b>tu");
}

TEST_F(XmlPlatformTest, WhatIsNotWellFormedFails) {
    EXPECT_FALSE(Parse(""));
    EXPECT_FALSE(Parse("<a>"));
    EXPECT_FALSE(Parse("<a></b>"));
    EXPECT_FALSE(Parse("<a/>x"));
    EXPECT_FALSE(Parse("<a>\xff</a>"));
    EXPECT_FALSE(Parse("<a>&undeclared;</a>"));
}

TEST_F(XmlPlatformTest, StreamThatFailsIsNoDocument) {
    std::istringstream stream("<a/>");
    stream.setstate(std::ios_base::badbit);
    EXPECT_FALSE(ParseXml(stream, collector));
}

TEST_F(XmlPlatformTest, InternalEntitiesAreExpanded) {
    EXPECT_TRUE(Parse("<!DOCTYPE a [<!ENTITY e 'x&f;'><!ENTITY f 'y'>]><a>&e;&e;</a>"));
    EXPECT_EQ(collector.seen, "<a>xyxy");
}

TEST_F(XmlPlatformTest, ExternalEntitiesAreEmpty) {
    EXPECT_TRUE(Parse("<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>x&e;y</a>"));
    EXPECT_EQ(collector.seen, "<a>xy");
    EXPECT_TRUE(Parse("<!DOCTYPE a [<!ENTITY % e SYSTEM 'file:///etc/passwd'>%e;]><a>x</a>"));
    EXPECT_EQ(collector.seen, "<a>x");
    EXPECT_TRUE(Parse("<!DOCTYPE a SYSTEM 'http://localhost:9/a.dtd'><a>x</a>"));
    EXPECT_EQ(collector.seen, "<a>x");
}

TEST_F(XmlPlatformTest, NestedEntitiesEndAtTheLimit) {
    std::string document = "<!DOCTYPE a [<!ENTITY e0 'ha'>";
    for (int i = 1; i <= 12; ++i) {
        document +=
            "<!ENTITY e" + std::to_string(i) + " '" + Repeat("&e" + std::to_string(i - 1) + ";", 10) + "'>";
    }
    EXPECT_FALSE(Parse(document + "]><a>&e12;</a>"));
    EXPECT_FALSE(Parse(document + "]><a x='&e12;'/>"));
}

TEST_F(XmlPlatformTest, LongEntitiesAreRefused) {
    const std::string longText(XmlDeclarationBudget::MaxEntityText + 1, 'x');
    EXPECT_FALSE(Parse("<!DOCTYPE a [<!ENTITY e '" + longText + "'>]><a/>"));
}

TEST_F(XmlPlatformTest, EntityUsedTooOftenIsRefused) {
    const std::string head = "<!DOCTYPE a [<!ENTITY e 'x'>]><a>";
    EXPECT_TRUE(Parse(head + Repeat("&e;", 1000) + "</a>"));
    EXPECT_FALSE(Parse(head + Repeat("&e;", 1001) + "</a>"));
}

TEST_F(XmlPlatformTest, ParameterEntitiesMustNotUseOthers) {
    EXPECT_TRUE(Parse("<!DOCTYPE a [<!ENTITY % p ' '>%p;%p;]><a/>"));
    EXPECT_FALSE(Parse("<!DOCTYPE a [<!ENTITY % p ' '><!ENTITY % q '&#37;p;&#37;p;'>%q;]><a/>"));
}

// The library expands what a declared value uses without counting.
TEST_F(XmlPlatformTest, EntitiesThatMayGrowDoNotGoWithDeclaredAttributes) {
    const std::string attribute = "<!ATTLIST a x CDATA '&e;'>";
    const std::string limit(XmlDeclarationBudget::MaxParameterEntityText, 'x');
    EXPECT_TRUE(Parse("<!DOCTYPE a [<!ENTITY e 'y'>" + attribute + "]><a/>"));
    EXPECT_TRUE(Parse("<!DOCTYPE a [<!ENTITY e '" + limit + "'>" + attribute + "]><a/>"));
    EXPECT_FALSE(Parse("<!DOCTYPE a [<!ENTITY f 'y'><!ENTITY e '&f;'>" + attribute + "]><a/>"));
    EXPECT_FALSE(Parse("<!DOCTYPE a [<!ENTITY e 'y'><!ENTITY f '" + limit + "x'>" + attribute + "]><a/>"));
    EXPECT_TRUE(Parse("<!DOCTYPE a [<!ENTITY e 'y'>" + attribute + "<!ENTITY f '" + limit + "x'>]><a/>"));
}

TEST_F(XmlPlatformTest, ManyDeclaredAttributesAreRefused) {
    std::string attributes;
    for (int i = 0; i < 65; ++i) {
        attributes += " x" + std::to_string(i) + " CDATA #IMPLIED";
    }
    EXPECT_FALSE(Parse("<!DOCTYPE a [<!ATTLIST a" + attributes + ">]><a/>"));
    EXPECT_FALSE(Parse("<!DOCTYPE a [<!ATTLIST a x CDATA '" + std::string(257, 'x') + "'>]><a/>"));
    EXPECT_TRUE(Parse("<!DOCTYPE a [<!ATTLIST a x CDATA 'y'>]><a/>"));
}

TEST_F(XmlPlatformTest, DeepNestingDoesNotExhaustTheStack) {
    EXPECT_TRUE(Parse(Repeat("<a>", 100000) + Repeat("</a>", 100000)));
    EXPECT_EQ(collector.elements, 100000);
}

TEST_F(XmlPlatformTest, KnownTextGoesByItsOwnName) {
    ClosedEntityResolver resolver{{"known.dtd", "<!ELEMENT a EMPTY>"}};
    const auto idOf = [&resolver](const char16_t* systemId) {
        const std::unique_ptr<xercesc::InputSource> source(resolver.resolveEntity(nullptr, systemId));
        return Narrow(source->getSystemId(), xercesc::XMLString::stringLen(source->getSystemId()));
    };
    EXPECT_EQ(idOf(u"http://example.com/../known.dtd?x"), "known.dtd");
    EXPECT_EQ(idOf(u"other.dtd"), "other.dtd");
}

TEST_F(XmlPlatformTest, DomParserTakesKnownTextsAndNothingElse) {
    ClosedEntityResolver resolver{{"known.dtd", "<!ELEMENT a (#PCDATA)><!ATTLIST a x CDATA 'given'>"}};
    BoundedDomParser parser(&resolver);
    parser.setValidationScheme(xercesc::XercesDOMParser::Val_Always);
    ParseDom(parser,
             "<!DOCTYPE a SYSTEM '../known.dtd' [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>x&e;</a>");
    const xercesc::DOMElement* root = parser.getDocument()->getDocumentElement();
    const XMLCh* const text = root->getTextContent();
    EXPECT_EQ(Narrow(text, xercesc::XMLString::stringLen(text)), "x");
    const XMLCh* const given = root->getAttribute(u"x");
    EXPECT_EQ(Narrow(given, xercesc::XMLString::stringLen(given)), "given");
}

TEST_F(XmlPlatformTest, DomParserRaisesForDamageAndForBombs) {
    BoundedDomParser damaged;
    EXPECT_THROW(ParseDom(damaged, "<a>"), xercesc::SAXException);
    BoundedDomParser bomb;
    EXPECT_THROW(ParseDom(bomb, "<!DOCTYPE a [<!ENTITY e 'x'>]><a>" + Repeat("&e;", 1001) + "</a>"),
                 xercesc::SAXException);
    BoundedDomParser inAttribute;
    EXPECT_THROW(ParseDom(inAttribute,
                          "<!DOCTYPE a [<!ENTITY f 'y'><!ENTITY e '&f;'><!ATTLIST a x CDATA '&e;'>]><a/>"),
                 xercesc::SAXException);
    BoundedDomParser nested;
    EXPECT_THROW(ParseDom(nested, "<!DOCTYPE a [<!ENTITY % p ' '><!ENTITY % q '&#37;p;'>%q;]><a/>"),
                 xercesc::SAXException);
}

// Readers come and go in several threads: nothing of the library may end with one of them.
TEST(XmlPlatformThreadsTest, DocumentsAreParsedInSeveralThreads) {
    const auto parse = [](bool& allParsed) {
        for (int i = 0; i < 200; ++i) {
            const XmlPlatform running;
            std::istringstream stream("<a><b>text</b></a>");
            Collector collector;
            allParsed = ParseXml(stream, collector) && collector.seen == "<a><b>text" && allParsed;
        }
    };
    constexpr int Threads = 8;
    bool parsed[Threads];
    std::vector<std::thread> threads;
    for (bool& ofThread : parsed) {
        ofThread = true;
        threads.emplace_back(parse, std::ref(ofThread));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const bool ofThread : parsed) {
        EXPECT_TRUE(ofThread);
    }
}
