#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "base/ReadContext.h"
#include "tests/support/XmlOutcome.h"

// The scanner hands out what the library hands out, of any document.

namespace {

class XmlScannerTest : public testing::Test {
protected:
    // Both names and several sizes of pieces.
    static void ExpectSame(const std::string& document) {
        for (const XmlNames names : {XmlNames::AsWritten, XmlNames::ByNamespace}) {
            const std::string library = XmlOutcome(document, names, XmlParsers::Library);
            for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, document.size() + 1}) {
                const std::string both = XmlOutcome(document, names, XmlParsers::Both, piece);
                ASSERT_TRUE(Agree(document, library, both)) << document << "\nin pieces of " << piece
                                                            << "\nlibrary: " << library << "\nboth: " << both;
            }
        }
    }
    static bool IsKnown(const std::string& document) {
        return IsKnownToScanner(document, XmlNames::ByNamespace) &&
               IsKnownToScanner(document, XmlNames::AsWritten);
    }
    // The library's outcome, and no need for it.
    static std::string Known(const std::string& document) {
        ExpectSame(document);
        EXPECT_TRUE(IsKnown(document)) << document;
        return XmlOutcome(document, XmlNames::AsWritten, XmlParsers::Both);
    }
};

std::string Repeat(std::string_view text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

const std::vector<std::string> Documents = {
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n<worksheet xmlns=\"http://s/m\" "
    "xmlns:r=\"http://s/r\" xmlns:x=\"u\"><dimension ref=\"A1:B2\"/><sheetData><row r=\"1\" spans='1:2' "
    "x:d=\"0.25\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\"><f>A1&amp;\"&lt;\"</f><v>1.5E-3</v></c></row>"
    "</sheetData><pageMargins left=\"0.7\"/></worksheet>",
    "\xef\xbb\xbf<sst count=\"2\"><si><t xml:space=\"preserve\"> a\tb </t></si><si><r><t>Gr\xc3\xb6\xc3\x9f"
    "e</t></r><rPh><t>&#x1F600;&#65;</t></rPh></si><si><t><![CDATA[<a>\r\n]]]]>x<!-- c -->y<?p q?></t></si>"
    "</sst>\n<!-- end -->\n",
    "<a:b xmlns:a=\"u\" xmlns=\"v\"><a:c a:d='1' e=\"&quot;&apos;\n\t\"/><c xmlns=\"w\" xmlns:a=\"x\"><a:q/>"
    "</c></a:b>",
    "<!-- a --><?p?><a>\r\r\n]]&gt; \xf0\x9f\x98\x80 ] ]] </a> \n<?q r?>",
    "<?xml version=\"1.0\"?>\n<!-- c --><!DOCTYPE a SYSTEM \"../b/a.dtd\"> <?p?><a b='c'> x &amp; <c> "
    "</c></a>",
    "<!DOCTYPE a [<!ENTITY e \"x\"><!ATTLIST a b CDATA \"d\">]><a>&e;</a>",
};

}  // namespace

TEST_F(XmlScannerTest, KnowsWhatProgramsWrite) {
    EXPECT_EQ(Known("<?xml version='1.0' encoding='utf-8'?>\n<a b=\"1\" c='2'><d/>t&amp;&#x41;</a>"),
              "<a  {}\n  b  {}=1\n  c  {}=2\n<d  {}\n>\ntext t&A\n>\nwell-formed");
    for (const std::string& document : {Documents[0], Documents[1], Documents[2], Documents[3]}) {
        EXPECT_TRUE(IsKnown(document)) << document;
    }
}

TEST_F(XmlScannerTest, TextsAndValuesAreThoseOfTheLibrary) {
    for (const std::string& document : Documents) {
        ExpectSame(document);
    }
    Known("<a>\r\nb\rc\n</a>");
    Known("<a b=\" x\r\ny\rz\n\t&#10;&#13;\"/>");
    Known("<a>&lt;&gt;&amp;&quot;&apos;&#9;&#x10FFFF;&#xe000;</a>");
    Known("<a><![CDATA[]]></a>");
    Known("<a><![CDATA[ ]] ]]> <![CDATA[]]]]><![CDATA[>]]></a>");
    Known("<a>\x7f\xc2\x80\xc2\x85\xe2\x80\xa8\xef\xbb\xbf\xf4\x8f\xbf\xbf</a>");
    Known("<a b='\"' c=\"'\" d='>'/>");
    Known("<a>" + Repeat("&amp;", 3000) + "</a>");
    Known("<a>" + Repeat("x", 200'000) + "</a>");
    Known("<a b=\"" + Repeat("x&#10;", 30'000) + "\"/>");
    Known(Repeat("<a>", 2000) + Repeat("</a>", 2000));
}

TEST_F(XmlScannerTest, OtherDocumentsAreTheLibrarys) {
    for (const char* document : {"",
                                 " ",
                                 "x",
                                 "<",
                                 "<a",
                                 "<a>",
                                 "<a></b>",
                                 "<a/>x",
                                 "<a/><b/>",
                                 " <?xml version=\"1.0\"?><a/>",
                                 "<?xml version=\"1.1\"?><a/>",
                                 "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xf6</a>",
                                 "<?xml version=\"1.0\" encoding=\"UTF-16\"?><a/>",
                                 "<?xml encoding=\"UTF-8\"?><a/>",
                                 "<?xml version=\"1.0\" standalone=\"maybe\"?><a/>",
                                 "<?XML version=\"1.0\"?><a/>",
                                 "<?xml?><a/>",
                                 "<?xml version=\"1.0\"encoding=\"UTF-8\"?><a/>",
                                 "<?xml version = \"1.0\" ?><a/>",
                                 "<a b=\"1\" b=\"2\"/>",
                                 "<a b=\"1\"c=\"2\"/>",
                                 "<a b=1/>",
                                 "<a b/>",
                                 "<a b=\"<\"/>",
                                 "<a b=\"&\"/>",
                                 "<a>&</a>",
                                 "<a>&b;</a>",
                                 "<a>&#0;</a>",
                                 "<a>&#xD800;</a>",
                                 "<a>&#x110000;</a>",
                                 "<a>&#xFFFE;</a>",
                                 "<a>&#99999999999;</a>",
                                 "<a>&#x;</a>",
                                 "<a>&#;</a>",
                                 "<a>]]></a>",
                                 "<a>\x01</a>",
                                 "<a>\xff</a>",
                                 "<a>\xc0\x80</a>",
                                 "<a>\xed\xa0\x80</a>",
                                 "<a>\xef\xbf\xbf</a>",
                                 "<a>\xf4\x90\x80\x80</a>",
                                 "<a>\xe2\x82</a>",
                                 "<a><!-- -- --></a>",
                                 "<a><!-- ---></a>",
                                 "<a><!-></a>",
                                 "<a><?xml?></a>",
                                 "<a><?XmL ?></a>",
                                 "<a><?b:c ?></a>",
                                 "<a><?p\x02?></a>",
                                 "<![CDATA[x]]><a/>",
                                 "<a/><![CDATA[x]]>",
                                 "<a><![CDATA[x]]</a>",
                                 "<a><![cdata[x]]></a>",
                                 "<b:a/>",
                                 "<a b:c=\"1\"/>",
                                 "<a xmlns:b=\"\"/>",
                                 "<a xmlns:xml=\"u\"/>",
                                 "<a xmlns:xmlns=\"u\"/>",
                                 "<a xmlns=\"http://www.w3.org/2000/xmlns/\"/>",
                                 "<xmlns:a/>",
                                 "<xml:a/>",
                                 "<:a/>",
                                 "<a:/>",
                                 "<a:b:c/>",
                                 "<1a/>",
                                 "<-a/>",
                                 "<a\xc3\xb6/>",
                                 "<\xc3\xb6/>",
                                 "<a xmlns:b=\"u\" xmlns:c=\"u\" b:d=\"1\" c:d=\"2\"/>",
                                 "<a></a >",
                                 "<a></ a>",
                                 "< a/>",
                                 "<a / >",
                                 "<a/><!DOCTYPE a>",
                                 "<!doctype a><a/>",
                                 "\xff\xfe<\0a\0/\0>\0",
                                 "<a\0/>"}) {
        ExpectSame(document);
    }
    ExpectSame(std::string("<a>\0</a>", 8));
    ExpectSame(std::string("\xff\xfe<\0a\0/\0>\0", 10));
    ExpectSame(std::string("<a/>\0", 5));
    EXPECT_FALSE(IsKnown("<!DOCTYPE a><a/>"));
    EXPECT_TRUE(IsKnown("<!DOCTYPE a SYSTEM \"a.dtd\"><a/>"));
    for (const char* document :
         {"<!DOCTYPE a SYSTEM \"a.dtd\"><!DOCTYPE a SYSTEM \"a.dtd\"><a/>",
          "<!DOCTYPE a SYSTEM \"a.dtd\" []><a/>", "<!DOCTYPE a SYSTEM \"a.dtd\"><a>&e;</a>",
          "<!DOCTYPE a SYSTEM 'a.dtd'><a/>", "<!DOCTYPE a SYSTEM \"\"><a/>", "<!DOCTYPE a SYSTEM \"a\"",
          "<a><!DOCTYPE a SYSTEM \"a\"></a>", "<!DOCTYPE 1 SYSTEM \"a\"><a/>",
          "<!DOCTYPE a PUBLIC \"a\" \"b\"><a/>", "<!DOCTYPE b:a SYSTEM \"a\"><a/>"}) {
        ExpectSame(document);
    }
    EXPECT_FALSE(IsKnown("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a/>"));
}

TEST_F(XmlScannerTest, MuchOfOneKindIsTheSameToo) {
    std::string attributes;
    std::string declarations;
    for (int i = 0; i < 100; ++i) {
        attributes += " a" + std::to_string(i) + "='" + std::to_string(i) + "'";
        declarations += " xmlns:a" + std::to_string(i) + "='u" + std::to_string(i) + "'";
    }
    ExpectSame("<a" + attributes + "/>");
    ExpectSame("<a" + declarations + "><a70:b a71:c='1'/></a>");
    ExpectSame("<a><!--" + Repeat("x", 300'000) + "--><![CDATA[" + Repeat("y\r\n", 100'000) + "]]></a>");
}

// Deterministic: the same documents every time.
TEST_F(XmlScannerTest, ChangedDocumentsAreTheSameToo) {
    static const std::vector<std::string> Pieces = {"<",        ">",
                                                    "/",        "\"",
                                                    "'",        "&",
                                                    ";",        "=",
                                                    " ",        "\r\n",
                                                    "]]>",      "<!--",
                                                    "-->",      "<?",
                                                    "?>",       "<![CDATA[",
                                                    "&amp;",    "&#",
                                                    "xmlns",    ":",
                                                    "a:",       "x",
                                                    "\xc3\xb6", "\xff",
                                                    "\0",       "&#65;",
                                                    "</a>",     "<b/>",
                                                    "--",       "]",
                                                    "xml",      "\t",
                                                    "<a>",      "\xef\xbf\xbe",
                                                    "\x01",     " a=\"1\"",
                                                    "&lt",      "<!DOCTYPE a>"};
    std::mt19937 random(7);
    for (int round = 0; round < 12'000; ++round) {
        std::string document = Documents[random() % Documents.size()];
        for (unsigned int change = random() % 4; change <= 3; ++change) {
            const std::size_t place = random() % (document.size() + 1);
            const std::string& piece = Pieces[random() % Pieces.size()];
            switch (random() % 4) {
                case 0:
                    document.insert(place, piece);
                    break;
                case 1:
                    document.replace(place, piece.size(), piece);
                    break;
                case 2:
                    document.erase(place, random() % 8);
                    break;
                default:
                    document.insert(place, document.substr(random() % (document.size() + 1), random() % 30));
                    break;
            }
        }
        ExpectSame(document);
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_F(XmlScannerTest, AHandlerMayEndTheParse) {
    class OneElement : public XmlEvents {
    public:
        void StartElement(const XmlElement& /*element*/) override {
            if (++count == 2) {
                throw XmlEnd("that is enough");
            }
        }
        void EndElement() override {}
        void Characters(std::string_view /*text*/) override {}
        int count = 0;
    };
    for (const XmlParsers parsers : {XmlParsers::Both, XmlParsers::Library}) {
        OneElement handler;
        int opened = 0;
        const auto source = [&opened] {
            ++opened;
            return std::make_unique<std::istringstream>("<a><b/><c/></a>");
        };
        EXPECT_FALSE(StreamXml(source, handler, XmlNames::AsWritten, parsers));
        EXPECT_EQ(handler.count, 2);
        EXPECT_EQ(opened, 1);
    }
}

TEST_F(XmlScannerTest, AStreamThatFailsIsNoDocument) {
    class Failing : public std::streambuf {
    protected:
        int_type underflow() override { throw std::ios_base::failure("damaged"); }
        std::streamsize xsgetn(char* /*to*/, std::streamsize /*count*/) override { return underflow(); }
    };
    class FailingStream : public std::istream {
    public:
        FailingStream() : std::istream(&buffer) {}

    private:
        Failing buffer;
    };
    class Nobody : public XmlEvents {
    public:
        void StartElement(const XmlElement& /*element*/) override {}
        void EndElement() override {}
        void Characters(std::string_view /*text*/) override {}
    };
    Nobody nobody;
    EXPECT_FALSE(StreamXml([] { return std::make_unique<FailingStream>(); }, nobody, XmlNames::AsWritten));
    EXPECT_FALSE(StreamXml([] { return nullptr; }, nobody, XmlNames::AsWritten));
}
