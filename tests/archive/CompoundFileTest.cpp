#include "archive/CompoundFile.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/support/ByteBuilder.h"
#include "tests/support/CompoundBuilder.h"
#include "tests/support/TempFolder.h"

namespace {

// A text of any length whose every place can be told.
std::string Counted(std::size_t size) {
    std::string text;
    while (text.size() < size) {
        text += std::to_string(text.size()) + " ";
    }
    text.resize(size);
    return text;
}

class CompoundFileTest : public testing::Test {
protected:
    CompoundFile Open(std::string_view bytes) { return CompoundFile(folder.Write("file", bytes).c_str()); }

    static std::string Names(const CompoundFile& file) {
        std::string names;
        for (const CompoundFile::Entry& entry : file.GetEntries()) {
            names += entry.name + (entry.isStream ? " " : "/ ");
        }
        return names;
    }

    // All bytes of an entry's stream; "short" when they aren't all there.
    static std::string ReadAll(const CompoundFile& file, std::size_t entry) {
        const auto stream = file.OpenStream(file.GetEntries().at(entry));
        std::string bytes(std::min<std::size_t>(stream->GetSize(), 1 << 20), '\0');
        const bool isWhole = stream->GetSize() == bytes.size() && stream->Read(bytes.data(), bytes.size());
        return isWhole ? bytes : "short";
    }

    TempFolder folder;
};

}  // namespace

TEST_F(CompoundFileTest, StreamsOfAllSizesAreReadWhole) {
    for (const unsigned shift : {9U, 12U}) {
        CompoundBuilder builder(shift);
        const std::size_t sizes[] = {0, 1, 64, 65, 4095, 4096, 4097, 70000};
        for (const std::size_t size : sizes) {
            builder.Stream("s" + std::to_string(size), Counted(size));
        }
        const CompoundFile file = Open(builder.Build());
        ASSERT_TRUE(file.IsOpen());
        EXPECT_EQ(Names(file), "s0 s1 s64 s65 s4095 s4096 s4097 s70000 ");
        for (std::size_t i = 0; i < std::size(sizes); ++i) {
            EXPECT_EQ(ReadAll(file, i), Counted(sizes[i])) << shift << " " << sizes[i];
        }
    }
}

TEST_F(CompoundFileTest, FatBeyondTheHeadersListIsFound) {
    // 109 sectors of FAT hold 13952 sectors, that is 7 MB.
    const std::string large = Counted(8'000'000);
    const CompoundFile file = Open(CompoundBuilder().Stream("large", large).Build());
    ASSERT_TRUE(file.IsOpen());
    const auto stream = file.OpenStream(file.GetEntries().at(0));
    std::string bytes(large.size(), '\0');
    ASSERT_TRUE(stream->Read(bytes.data(), bytes.size()));
    EXPECT_TRUE(bytes == large);
}

TEST_F(CompoundFileTest, EntriesComeInTheOrderOfTheTreeAndNotOfTheirNames) {
    CompoundBuilder builder;
    builder.Stream("b", "1").Stream("aa", "2").Storage("c").Stream("a", "3");
    EXPECT_EQ(Names(Open(builder.Build())), "b aa c/ a ");
    EXPECT_EQ(Names(Open(builder.LinkLeft().Build())), "a c/ aa b ");
}

TEST_F(CompoundFileTest, StorageHasNoStream) {
    const CompoundFile file = Open(CompoundBuilder().Storage("folder").Build());
    EXPECT_EQ(file.OpenStream(file.GetEntries().at(0)), nullptr);
}

TEST_F(CompoundFileTest, SeekAndTell) {
    const std::string text = Counted(5000);
    const CompoundFile file = Open(CompoundBuilder().Stream("text", text).Build());
    const auto stream = file.OpenStream(file.GetEntries().at(0));
    char buffer[600];
    EXPECT_EQ(stream->GetSize(), 5000U);
    ASSERT_TRUE(stream->Seek(1000));
    ASSERT_TRUE(stream->Read(buffer, 600));
    EXPECT_EQ(std::string_view(buffer, 600), text.substr(1000, 600));
    EXPECT_EQ(stream->Tell(), 1600U);
    EXPECT_TRUE(stream->Seek(5000));
    EXPECT_FALSE(stream->Seek(5001));
    EXPECT_EQ(stream->Tell(), 5000U);
    EXPECT_TRUE(stream->Read(buffer, 0));
}

TEST_F(CompoundFileTest, ReadingPastTheEndFailsAndMovesNothing) {
    const CompoundFile file = Open(CompoundBuilder().Stream("text", "abc").Build());
    const auto stream = file.OpenStream(file.GetEntries().at(0));
    char buffer[4];
    EXPECT_FALSE(stream->Read(buffer, 4));
    EXPECT_EQ(stream->Tell(), 0U);
    EXPECT_TRUE(stream->Read(buffer, 3));
    EXPECT_FALSE(stream->Read(buffer, 1));
}

TEST_F(CompoundFileTest, OnlySignatureAndAWholeHeaderMakeACompoundFile) {
    const std::string whole = CompoundBuilder().Stream("text", "abc").Build();
    EXPECT_TRUE(CompoundFile::IsCompoundFile(folder.Write("whole", whole).c_str()));
    EXPECT_TRUE(CompoundFile::IsCompoundFile(folder.Write("head", whole.substr(0, 512)).c_str()));
    EXPECT_FALSE(CompoundFile::IsCompoundFile(folder.Write("cut", whole.substr(0, 511)).c_str()));
    EXPECT_FALSE(CompoundFile::IsCompoundFile(folder.Write("other", "x" + whole.substr(1)).c_str()));
    EXPECT_FALSE(CompoundFile::IsCompoundFile(folder.Path("none").c_str()));
    EXPECT_FALSE(Open(whole.substr(0, 512)).IsOpen());
    EXPECT_FALSE(CompoundFile(folder.Path("none").c_str()).IsOpen());
}

TEST_F(CompoundFileTest, SectorSizesThatAreNoneAreRefused) {
    const std::string whole = CompoundBuilder().Stream("text", "abc").Build();
    for (const int shift : {0, 6, 17, 31, 64}) {
        std::string bytes = whole;
        bytes[CompoundBuilder::SectorShiftOffset] = static_cast<char>(shift);
        EXPECT_FALSE(Open(bytes).IsOpen()) << shift;
    }
}

TEST_F(CompoundFileTest, ChainsThatLoopLeaveTheFileOrMeetAFreeSectorEndThere) {
    CompoundBuilder builder;
    const std::string whole = builder.Stream("text", Counted(5000)).Build();
    const std::size_t place = builder.FatEntryOffset(builder.FirstSectorOf(1) + 2);
    for (const std::uint32_t next : {0U, 2U, 0x00FFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFDU, 0xFFFFFFFEU}) {
        const CompoundFile file = Open(ByteBuilder().Text(whole).Patch(place, next).Bytes());
        const auto stream = file.OpenStream(file.GetEntries().at(0));
        std::string bytes(1537, '\0');
        EXPECT_FALSE(stream->Read(bytes.data(), 1537)) << next;
        EXPECT_TRUE(stream->Read(bytes.data(), 1536)) << next;
    }
}

TEST_F(CompoundFileTest, MiniChainsThatLoopOrLeaveTheMiniStreamEndThere) {
    CompoundBuilder builder;
    const std::string whole = builder.Stream("text", Counted(300)).Build();
    for (const std::uint32_t next : {0U, 1U, 5U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        const CompoundFile file =
            Open(ByteBuilder().Text(whole).Patch(builder.MiniFatEntryOffset(1), next).Bytes());
        EXPECT_EQ(ReadAll(file, 0), "short") << next;
    }
}

TEST_F(CompoundFileTest, SizeBeyondTheFileIsNotBelieved) {
    CompoundBuilder builder;
    const std::string whole = builder.Stream("text", Counted(5000)).Build();
    const std::size_t place = builder.DirectoryEntryOffset(1) + CompoundBuilder::SizeOffset;
    const CompoundFile file = Open(ByteBuilder().Text(whole).Patch(place, 0xFFFFFFF0U).Bytes());
    EXPECT_EQ(file.GetEntries().at(0).size, 0xFFFFFFF0U);
    EXPECT_EQ(ReadAll(file, 0), "short");
}

TEST_F(CompoundFileTest, UpperHalfOfASizeIsNoiseInFilesOf512ByteSectors) {
    CompoundBuilder builder;
    const std::string whole = builder.Stream("text", Counted(5000)).Build();
    const std::size_t place = builder.DirectoryEntryOffset(1) + CompoundBuilder::SizeOffset + 4;
    EXPECT_EQ(ReadAll(Open(ByteBuilder().Text(whole).Patch(place, 0xCCCCCCCCU).Bytes()), 0), Counted(5000));
}

TEST_F(CompoundFileTest, TreeThatLoopsOrLeavesTheDirectoryIsListedOnce) {
    CompoundBuilder builder;
    const std::string whole = builder.Stream("a", "1").Stream("b", "2").Stream("c", "3").Build();
    const std::size_t right = builder.DirectoryEntryOffset(2) + CompoundBuilder::RightOffset;
    EXPECT_EQ(Names(Open(ByteBuilder().Text(whole).Patch(right, 1U).Bytes())), "a b ");
    EXPECT_EQ(Names(Open(ByteBuilder().Text(whole).Patch(right, 2U).Bytes())), "a b ");
    EXPECT_EQ(Names(Open(ByteBuilder().Text(whole).Patch(right, 500U).Bytes())), "a b ");
    const std::size_t left = builder.DirectoryEntryOffset(3) + CompoundBuilder::LeftOffset;
    EXPECT_EQ(Names(Open(ByteBuilder().Text(whole).Patch(left, 1U).Bytes())), "a b c ");
}

TEST_F(CompoundFileTest, DirectoryAsDeepAsItIsLongIsListed) {
    CompoundBuilder builder;
    for (int i = 0; i < 100'000; ++i) {
        builder.Stream("n" + std::to_string(i), "");
    }
    EXPECT_EQ(Open(builder.Build()).GetEntries().size(), 100'000U);
    EXPECT_EQ(Open(builder.LinkLeft().Build()).GetEntries().front().name, "n99999");
}

TEST_F(CompoundFileTest, NamesWithWrongLengthsStayInTheirField) {
    CompoundBuilder builder;
    const std::string whole = builder.Stream("name", "1").Build();
    const std::size_t place = builder.DirectoryEntryOffset(1) + CompoundBuilder::NameLengthOffset;
    for (const auto& [length, name] : std::initializer_list<std::pair<std::uint16_t, const char*>>{
             {0, " "}, {1, " "}, {2, " "}, {6, "na "}, {64, "name "}, {65535, "name "}}) {
        EXPECT_EQ(Names(Open(ByteBuilder().Text(whole).Patch(place, length).Bytes())), name) << length;
    }
}

TEST_F(CompoundFileTest, ListsOfTheFatThatLieAreNotBelieved) {
    const std::string whole = CompoundBuilder().Stream("text", "abc").Build();
    EXPECT_EQ(
        ReadAll(Open(ByteBuilder().Text(whole).Patch(CompoundBuilder::FatCountOffset, 0xFFFFFFFFU).Bytes()),
                0),
        "abc");
    const CompoundFile none =
        Open(ByteBuilder().Text(whole).Patch(CompoundBuilder::FatCountOffset, 0U).Bytes());
    EXPECT_TRUE(none.IsOpen());
}

TEST_F(CompoundFileTest, CutAtEveryLengthItNeverReadsOutside) {
    const std::string whole =
        CompoundBuilder().Stream("small", Counted(200)).Stream("large", Counted(4500)).Build();
    for (std::size_t size = 0; size < whole.size(); size += size < 600 ? 1 : 61) {
        const CompoundFile file = Open(whole.substr(0, size));
        for (std::size_t i = 0; i < file.GetEntries().size(); ++i) {
            ReadAll(file, i);
        }
        EXPECT_EQ(file.IsOpen() && size < 512, false);
    }
}

TEST_F(CompoundFileTest, DamagedFilesEnd) {
    const std::string whole =
        CompoundBuilder().Stream("small", Counted(200)).Storage("s").Stream("large", Counted(4500)).Build();
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        std::string bytes = whole;
        for (std::size_t i = 0; i < whole.size() / 100; ++i) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        const CompoundFile file = Open(bytes);
        EXPECT_LE(file.GetEntries().size(), bytes.size() / 128);
        for (std::size_t i = 0; i < file.GetEntries().size(); ++i) {
            if (file.GetEntries()[i].isStream) {
                ReadAll(file, i);
            }
        }
    }
}
