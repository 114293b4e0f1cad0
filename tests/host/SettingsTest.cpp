// How choices are kept: XMLSection, binary strings, the streams of values.
#include <gtest/gtest.h>

#include <sstream>

#include "base/Exception.h"
#include "host/BinaryString.h"
#include "host/StreamReader.h"
#include "host/StreamWriter.h"
#include "host/XMLSection.h"

TEST(XMLSection, WritesItsForm) {
    XMLSection document;
    XMLSection& settings = document.CreateSection("Settings");
    settings.Write("Flag", true);
    settings.Write("Count", -3);
    settings.Write("Value", 0.1F);
    settings.Write("Text", "a b%<\xc3\xa5>");
    settings.Write("Ints", std::vector<int>{1, 2});
    settings.Write("Floats", std::vector<float>{0.5F, 1e10F});
    settings.Write("None", std::vector<int>{});
    EXPECT_EQ(document.Flush(),
              "<XMLSection><Settings><Flag>true</Flag><Count>-3</Count><Value>0.100000001</Value>"
              "<Text>a%20b%25%3c%c3%a5%3e</Text><Ints>1,2</Ints><Floats>0.5,1e+10</Floats><None></None>"
              "</Settings></XMLSection>");
}

TEST(XMLSection, ReadsWhatItWrote) {
    XMLSection document;
    XMLSection& written = document.CreateSection("Settings");
    std::string all;
    for (int c = 1; c < 256; ++c) {
        all += static_cast<char>(c);
    }
    written.Write("Text", all);
    written.Write("Ints", std::vector<int>{-1, 0, 7});
    written.Write("Floats", std::vector<float>{0.1F, -3e38F});
    written.Write("Flag", false);
    const auto section = XMLSection::CreateXMLSectionFromString(document.Flush());
    ASSERT_NE(section, nullptr);
    const XMLSection* settings = section->GetSection("Settings");
    ASSERT_NE(settings, nullptr);
    std::string text;
    std::vector<int> ints;
    std::vector<float> floats;
    bool flag = true;
    EXPECT_TRUE(settings->Read("Text", text));
    EXPECT_EQ(text, all);
    EXPECT_TRUE(settings->Read("Ints", ints));
    EXPECT_EQ(ints, (std::vector<int>{-1, 0, 7}));
    EXPECT_TRUE(settings->Read("Floats", floats));
    EXPECT_EQ(floats, (std::vector<float>{0.1F, -3e38F}));
    EXPECT_TRUE(settings->Read("Flag", flag));
    EXPECT_FALSE(flag);
}

TEST(XMLSection, AcceptsOneAndZeroAndWhiteSpace) {
    const XMLSection document(
        " <XMLSection>\n <Settings> <A> 1 </A><B>0</B><C> 12 </C><D> 1 , 2 </D> <E> x "
        "</E></Settings></XMLSection>\n");
    const XMLSection* settings = document.GetSection("Settings");
    ASSERT_NE(settings, nullptr);
    bool a = false;
    bool b = true;
    int c = 0;
    std::vector<int> d;
    std::string e;
    EXPECT_TRUE(settings->Read("A", a));
    EXPECT_TRUE(a);
    EXPECT_TRUE(settings->Read("B", b));
    EXPECT_FALSE(b);
    EXPECT_TRUE(settings->Read("C", c));
    EXPECT_EQ(c, 12);
    EXPECT_TRUE(settings->Read("D", d));
    EXPECT_EQ(d, (std::vector<int>{1, 2}));
    EXPECT_TRUE(settings->Read("E", e));
    EXPECT_EQ(e, "x");
}

TEST(XMLSection, ValuesWrittenAsTextsAreReadInTheirKind) {
    XMLSection document;
    XMLSection& settings = document.CreateSection(XMLSection::Settings);
    settings.Write("List", "1, 2");
    settings.Write("Floats", " 1.5 ,2 ");
    settings.Write("Flag", " true");
    settings.Write("Number", "12 ");
    std::vector<int> list;
    std::vector<float> floats;
    bool flag = false;
    int number = 0;
    EXPECT_TRUE(settings.Read("List", list));
    EXPECT_EQ(list, (std::vector<int>{1, 2}));
    EXPECT_TRUE(settings.Read("Floats", floats));
    EXPECT_EQ(floats, (std::vector<float>{1.5F, 2.0F}));
    EXPECT_TRUE(settings.Read("Flag", flag));
    EXPECT_TRUE(flag);
    EXPECT_TRUE(settings.Read("Number", number));
    EXPECT_EQ(number, 12);
}

TEST(XMLSection, MissingOrWrongValueLeavesTheCallers) {
    const XMLSection document("<XMLSection><Settings><A>x</A><B>1,x</B></Settings></XMLSection>");
    const XMLSection* settings = document.GetSection("Settings");
    int number = 7;
    bool flag = true;
    std::vector<int> list{5};
    EXPECT_FALSE(settings->Read("Z", number));
    EXPECT_FALSE(settings->Read("A", number));
    EXPECT_FALSE(settings->Read("A", flag));
    EXPECT_FALSE(settings->Read("B", list));
    EXPECT_EQ(number, 7);
    EXPECT_TRUE(flag);
    EXPECT_EQ(list, std::vector<int>{5});
}

TEST(XMLSection, EmptyListIsAList) {
    const XMLSection document("<XMLSection><Settings><A></A></Settings></XMLSection>");
    std::vector<int> list{5};
    EXPECT_TRUE(document.GetSection("Settings")->Read("A", list));
    EXPECT_TRUE(list.empty());
}

TEST(XMLSection, EmptySectionIsASection) {
    EXPECT_NE(XMLSection("<XMLSection><Settings></Settings></XMLSection>").GetSection("Settings"), nullptr);
    EXPECT_EQ(XMLSection("<XMLSection></XMLSection>").GetSection("Settings"), nullptr);
}

TEST(XMLSection, TextThatIsNoSectionIsNullOrRaises) {
    for (const char* text :
         {"", "x", "<Other></Other>", "<XMLSection>", "<XMLSection><A>1</B></XMLSection>",
          "<XMLSection></XMLSection>x", "<XMLSection><A>1", "<XMLSection><A>&amp;</A></XMLSection>"}) {
        EXPECT_EQ(XMLSection::CreateXMLSectionFromString(text), nullptr) << text;
        EXPECT_THROW(XMLSection{text}, Exception) << text;
    }
}

TEST(XMLSection, DepthIsBounded) {
    std::string text = "<XMLSection>";
    for (int i = 0; i < 100000; ++i) {
        text += "<a>";
    }
    EXPECT_EQ(XMLSection::CreateXMLSectionFromString(text), nullptr);
}

TEST(BinaryString, IsLengthAndBytes) {
    std::ostringstream out;
    WriteBinaryString(out, std::string_view("a\0b", 3));
    EXPECT_EQ(out.str(), std::string("\3\0\0\0a\0b", 7));
    std::istringstream in(out.str());
    EXPECT_EQ(ReadBinaryString(in), std::string("a\0b", 3));
}

TEST(BinaryString, LengthBeyondTheEndRaises) {
    std::istringstream cut(std::string("\4\0\0\0abc", 7));
    EXPECT_THROW(ReadBinaryString(cut), std::ios_base::failure);
    std::istringstream huge(
        std::string("\xff\xff\xff\xff"
                    "abc",
                    7));
    EXPECT_THROW(ReadBinaryString(huge), std::ios_base::failure);
    std::istringstream noLength("ab");
    EXPECT_THROW(ReadBinaryString(noLength), std::ios_base::failure);
}

TEST(Streams, ValuesComeBack) {
    std::ostringstream out;
    StreamWriter writer(out);
    const std::uint8_t bytes[] = {1, 0, 255};
    writer.WriteBool(true);
    writer.WriteInt32(-2);
    writer.WriteUInt8Vector(bytes, 3);
    EXPECT_EQ(out.str(), std::string("\1\xfe\xff\xff\xff\1\0\xff", 8));
    std::istringstream in(out.str());
    StreamReader reader(in);
    EXPECT_TRUE(reader.ReadBool());
    EXPECT_EQ(reader.ReadInt32(), -2);
    EXPECT_EQ(reader.ReadUInt8Vector(3), (std::vector<std::uint8_t>{1, 0, 255}));
    EXPECT_THROW(reader.ReadBool(), std::ios_base::failure);
}
