#include "container/ClassicHeader.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/container/NetCDFBuilder.h"
#include "tests/support/ByteBuilder.h"

namespace {

bool IsSound(std::string_view bytes) {
    return IsSoundClassicFile({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

// The file with one 32-bit field of its header overwritten.
std::string Patched(std::string file, std::size_t offset, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        file[offset + i] = static_cast<char>(value >> (24 - 8 * i));
    }
    return file;
}

// Where the header's fields are in Small.
constexpr std::size_t RecordCount = 4;
constexpr std::size_t DimensionTag = 8;
constexpr std::size_t DimensionCount = 12;
constexpr std::size_t DimensionNameLength = 16;
constexpr std::size_t DimensionLength = 24;
constexpr std::size_t AttributeCount = 32;
constexpr std::size_t AttributeType = 44;
constexpr std::size_t AttributeLength = 48;
constexpr std::size_t VariableCount = 60;
constexpr std::size_t ShapeLength = 72;
constexpr std::size_t ShapeDimension = 76;
constexpr std::size_t VariableType = 88;
constexpr std::size_t VariableBegin = 96;

std::string Small() {
    NetCDFBuilder file;
    file.Dimension("x", 3).Attribute("a", Chars("text")).Variable("v", {"x"}, Floats({1, 2, 3}));
    return file.File();
}

NetCDFBuilder WithRecords() {
    NetCDFBuilder file;
    file.Dimension("r", 0)
        .Records(2)
        .Variable("one", {"r"}, Shorts({1, 2}))
        .Variable("two", {"r"}, Doubles({1, 2}));
    return file;
}

}  // namespace

TEST(ClassicHeaderTest, WholeFilesAreSound) {
    EXPECT_TRUE(IsSound(Small()));
    EXPECT_TRUE(IsSound(NetCDFBuilder().File())) << "a file with nothing in it";
    EXPECT_TRUE(IsSound(WithRecords().File()));
    EXPECT_TRUE(IsSound(Chromatogram().File()));
}

TEST(ClassicHeaderTest, LargeOffsetsAreSound) {
    NetCDFBuilder file(2);
    file.Dimension("x", 2).Variable("v", {"x"}, Floats({1, 2}));
    EXPECT_TRUE(IsSound(file.File()));
    EXPECT_FALSE(IsSound(file.File().substr(0, file.File().size() - 1)));
}

TEST(ClassicHeaderTest, OtherFormatsAreNot) {
    EXPECT_FALSE(IsSound(""));
    EXPECT_FALSE(IsSound("CDF"));
    EXPECT_FALSE(IsSound("\x89HDF\r\n\x1a\n and so on, as long as a header is"));
    std::string fifth = NetCDFBuilder().File();
    fifth[3] = '\5';
    EXPECT_FALSE(IsSound(fifth)) << "64-bit data";
    EXPECT_FALSE(IsSound(" " + Small()));
}

TEST(ClassicHeaderTest, EveryCutIsFound) {
    const std::string file = Small();
    for (std::size_t size = 0; size < file.size(); ++size) {
        EXPECT_FALSE(IsSound(file.substr(0, size))) << size;
    }
}

TEST(ClassicHeaderTest, CountsThatTheFileCannotHoldAreFound) {
    for (const std::size_t field :
         {DimensionCount, AttributeCount, VariableCount, ShapeLength, AttributeLength}) {
        for (const std::uint32_t count : {0x7FFFFFFFU, 0xFFFFFFFFU, 0x10000000U, 100U}) {
            EXPECT_FALSE(IsSound(Patched(Small(), field, count))) << field << ": " << count;
        }
    }
}

TEST(ClassicHeaderTest, TagsOfOtherListsAreFound) {
    EXPECT_FALSE(IsSound(Patched(Small(), DimensionTag, 12)));
    EXPECT_FALSE(IsSound(Patched(Small(), DimensionTag, 0))) << "an absent list has no elements";
}

TEST(ClassicHeaderTest, NamesAreBounded) {
    for (const std::uint32_t length : {0U, 257U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(IsSound(Patched(Small(), DimensionNameLength, length))) << length;
    }
    NetCDFBuilder longest;
    longest.Dimension(std::string(256, 'n'), 3);
    EXPECT_TRUE(IsSound(longest.File()));
}

TEST(ClassicHeaderTest, UnknownTypesAreFound) {
    for (const std::uint32_t type : {0U, 7U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(IsSound(Patched(Small(), AttributeType, type))) << type;
        EXPECT_FALSE(IsSound(Patched(Small(), VariableType, type))) << type;
    }
}

TEST(ClassicHeaderTest, ShapesAreHeldAgainstTheFile) {
    EXPECT_FALSE(IsSound(Patched(Small(), DimensionLength, 4)));
    EXPECT_FALSE(IsSound(Patched(Small(), DimensionLength, 0xFFFFFFFCU)));
    EXPECT_FALSE(IsSound(Patched(Small(), ShapeDimension, 1))) << "there is no such dimension";
    NetCDFBuilder product;
    product.Dimension("x", 0x10000).Variable("v", {"x", "x", "x", "x"}, Floats({}));
    EXPECT_FALSE(IsSound(product.File())) << "the product of the lengths overflows";
}

TEST(ClassicHeaderTest, OffsetsAreHeldAgainstTheFile) {
    for (const std::uint32_t begin : {0xFFFFFFFFU, 0x7FFFFFFFU, static_cast<std::uint32_t>(Small().size())}) {
        EXPECT_FALSE(IsSound(Patched(Small(), VariableBegin, begin))) << begin;
    }
}

TEST(ClassicHeaderTest, DimensionWithoutAVariableMayBeLong) {
    NetCDFBuilder file;
    file.Dimension("_255_byte_string", 255);
    EXPECT_TRUE(IsSound(file.File()));
}

TEST(ClassicHeaderTest, RecordsAreCountedAgainstTheFile) {
    const std::string file = WithRecords().File();
    for (const std::uint32_t count : {3U, 2147483632U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(IsSound(Patched(file, RecordCount, count))) << count;
    }
    EXPECT_TRUE(IsSound(Patched(file, RecordCount, 1)));
    EXPECT_FALSE(IsSound(file.substr(0, file.size() - 1)));
}

TEST(ClassicHeaderTest, RecordsWithoutAVariableAreBoundedByTheFile) {
    NetCDFBuilder file;
    file.Dimension("r", 0);
    EXPECT_TRUE(IsSound(file.Records(5).File()));
    EXPECT_FALSE(IsSound(file.Records(2147483632).File()));
}

TEST(ClassicHeaderTest, LoneRecordVariableIsNotAligned) {
    NetCDFBuilder file;
    file.Dimension("r", 0).Records(3).Variable("one", {"r"}, Bytes("abc"));
    EXPECT_TRUE(IsSound(file.File()));
    EXPECT_FALSE(IsSound(file.File().substr(0, file.File().size() - 1)));
}

TEST(ClassicHeaderTest, RecordDimensionStandsFirst) {
    NetCDFBuilder file;
    file.Dimension("x", 2).Dimension("r", 0).Variable("v", {"x", "r"}, Floats({}));
    EXPECT_FALSE(IsSound(file.File()));
}

// The number of values of a shape may not fit any integer; what is left of it must.
TEST(ClassicHeaderTest, ShapesBeyondAnyNumberAreCutToTheFile) {
    const auto large = [](ByteBuilder& file, std::uint64_t value) { file.PutBig(value); };
    ByteBuilder file;
    file.Text("CDF\x05");
    large(file, 0);
    file.PutBig(std::uint32_t{10});
    large(file, 2);
    for (const auto& [name, length] :
         {std::pair{'a', std::uint64_t{0x0f00000000000000}}, std::pair{'b', std::uint64_t{0x1000002}}}) {
        large(file, 1);
        file.Field(std::string(1, name), 4);
        large(file, length);
    }
    file.Zeros(12).PutBig(std::uint32_t{11});
    large(file, 1);
    large(file, 1);
    file.Field("v", 4);
    for (const unsigned int field : {2U, 0U, 1U}) {
        large(file, field);
    }
    file.Zeros(12).PutBig(std::uint32_t{3});
    large(file, 4);
    large(file, 200);
    file.PadTo(300);
    const std::string bytes = file.Bytes();
    const auto header =
        ReadClassicHeader({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    ASSERT_TRUE(header);
    ASSERT_EQ(header->variables.size(), 1U);
    EXPECT_TRUE(header->variables[0].isCut);
    EXPECT_EQ(header->variables[0].shape, (std::vector<std::uint64_t>{0, 0x1000002}));
}
