#include "archive/ZipFile.h"

#include <gtest/gtest.h>

#include <istream>
#include <iterator>
#include <limits>
#include <random>

#include <zip.h>

#include "archive/ReadAhead.h"
#include "base/Exception.h"
#include "host/NvSystemInfo.h"
#include "tests/support/TempFolder.h"
#include "tests/support/ZipBuilder.h"

namespace {

// Sets the limit for what an entry may unpack to, and sets it back.
class InflateLimit {
public:
    explicit InflateLimit(unsigned long long bytes) { NvSystemInfo::SetInflateLimit(bytes); }
    InflateLimit(const InflateLimit&) = delete;
    InflateLimit& operator=(const InflateLimit&) = delete;
    ~InflateLimit() { NvSystemInfo::SetInflateLimit(before); }

private:
    unsigned long long before = NvSystemInfo::GetInflateLimit();
};

class ZipFileTest : public testing::Test {
protected:
    // What the first entry unpacks to; "(bad)" where that fails.
    std::string FirstOf(const std::string& archive) {
        const ZipFile zip(folder.Write("test.zip", archive).c_str());
        const auto stream = zip.GetInputStream(zip.GetEntries().at(0));
        std::string bytes(std::istreambuf_iterator<char>(*stream), {});
        return bytes;
    }
    bool IsBad(const std::string& archive) {
        const ZipFile zip(folder.Write("test.zip", archive).c_str());
        const auto stream = zip.GetInputStream(zip.GetEntries().at(0));
        stream->ignore(std::numeric_limits<std::streamsize>::max());
        return stream->bad();
    }

    TempFolder folder;
    std::string text = std::string(200000, 'x') + "end";
};

ZipBuilder::Entry MakeEntry(const std::string& bytes) {
    ZipBuilder::Entry entry;
    entry.name = "a";
    entry.bytes = bytes;
    entry.deflated = true;
    return entry;
}

std::string Archive(const ZipBuilder::Entry& entry) {
    return ZipBuilder().Add(entry).Build();
}

// What the library alone gives of the first entry, and a mark where it fails, or goes beyond this size.
std::string GetByLibrary(const std::string& path, std::size_t size) {
    zip* const archive = zip_open(path.c_str(), ZIP_RDONLY, nullptr);
    zip_file* const entry = zip_fopen_index(archive, 0, 0);
    std::string bytes;
    std::vector<char> room(ReadAhead::BlockSize);
    zip_int64_t count = 0;
    while (entry != nullptr && (count = zip_fread(entry, room.data(), room.size())) > 0) {
        if (bytes.size() + static_cast<std::size_t>(count) > size) {
            count = -1;
            break;
        }
        bytes.append(room.data(), static_cast<std::size_t>(count));
    }
    const bool isBad = count < 0 || bytes.size() != size;
    if (entry != nullptr) {
        zip_fclose(entry);
    }
    zip_discard(archive);
    return bytes + (isBad ? "(bad)" : "");
}

// Lines of numbers, as large as that a second thread unpacks them.
std::string ManyNumbers(std::size_t size) {
    std::mt19937 random(3);
    std::string numbers;
    while (numbers.size() < size) {
        numbers += std::to_string(random() % 100'000) + "\n";
    }
    return numbers;
}

}  // namespace

TEST_F(ZipFileTest, ListsEntriesInTheOrderOfTheDirectory) {
    const std::string path =
        folder.Write("test.zip", ZipBuilder().Add("b", "1").AddDeflated("a/B", "2").Add("A", "").Build());
    const ZipFile zip(path.c_str());
    ASSERT_EQ(zip.GetEntries().size(), 3U);
    EXPECT_EQ(zip.GetEntries()[0].name, "b");
    EXPECT_EQ(zip.GetEntries()[1].name, "a/B");
    EXPECT_EQ(zip.GetEntries()[2].name, "A");
    EXPECT_EQ(zip.FindEntry("a/B"), &zip.GetEntries()[1]);
    EXPECT_EQ(zip.FindEntry("a/b"), nullptr);
    EXPECT_EQ(zip.FindEntry("a"), nullptr);
}

TEST_F(ZipFileTest, FirstEntryOfANameIsFound) {
    const std::string path =
        folder.Write("test.zip", ZipBuilder().Add("a", "first").Add("a", "second").Build());
    const ZipFile zip(path.c_str());
    std::string found;
    *zip.GetInputStream(*zip.FindEntry("a")) >> found;
    EXPECT_EQ(found, "first");
}

TEST_F(ZipFileTest, StoredAndDeflatedEntriesUnpack) {
    EXPECT_EQ(FirstOf(ZipBuilder().Add("a", text).Build()), text);
    EXPECT_EQ(FirstOf(ZipBuilder().AddDeflated("a", text).Build()), text);
    EXPECT_EQ(FirstOf(ZipBuilder().Add("a", "").Build()), "");
}

TEST_F(ZipFileTest, DescriptorsBehindTheDataAreUnderstood) {
    ZipBuilder::Entry entry = MakeEntry(text);
    entry.hasDescriptor = true;
    EXPECT_EQ(FirstOf(Archive(entry)), text);
}

TEST_F(ZipFileTest, Zip64SizesAreUnderstood) {
    ZipBuilder::Entry entry = MakeEntry(text);
    entry.hasZip64Sizes = true;
    EXPECT_EQ(FirstOf(Archive(entry)), text);
}

TEST_F(ZipFileTest, CommentAndBytesBeforeDontMatter) {
    const ZipBuilder zip = ZipBuilder().AddDeflated("a", text);
    EXPECT_EQ(FirstOf(zip.Build("a comment")), text);
    EXPECT_EQ(FirstOf("bytes before" + zip.Build()), text);
    EXPECT_EQ(FirstOf("bytes before" + zip.Build("and a comment")), text);
}

TEST_F(ZipFileTest, LargeEntriesUnpack) {
    const std::string numbers = ManyNumbers(3'000'000);
    EXPECT_EQ(FirstOf(ZipBuilder().AddDeflated("a", numbers).Build()), numbers);
    ZipBuilder::Entry entry = MakeEntry(numbers);
    entry.hasZip64Sizes = true;
    EXPECT_EQ(FirstOf("in front" + Archive(entry)), numbers);
    entry.checksumError = 1;
    EXPECT_TRUE(IsBad(Archive(entry)));
    entry.checksumError = 0;
    entry.sizeError = 1;
    EXPECT_TRUE(IsBad(Archive(entry)));
}

// Another library unpacks what is sound.
TEST_F(ZipFileTest, OfADamagedEntryComesWhatTheLibraryGives) {
    std::mt19937 random(5);
    for (const std::size_t size : {std::size_t{300}, std::size_t{200'000}, std::size_t{1'500'000}}) {
        const std::string sound = ZipBuilder().AddDeflated("a", ManyNumbers(size)).Build();
        for (int round = 0; round < 40; ++round) {
            std::string damaged = sound;
            const std::size_t place = 31 + random() % (sound.size() - 31 - 68);
            damaged[place] = static_cast<char>(damaged[place] ^ (1 << random() % 8));
            const std::string path = folder.Write("test.zip", damaged);
            const ZipFile zip(path.c_str());
            const auto stream = zip.GetInputStream(zip.GetEntries().at(0));
            std::string bytes;
            try {
                for (int byte = stream->rdbuf()->sbumpc(); byte >= 0; byte = stream->rdbuf()->sbumpc()) {
                    bytes += static_cast<char>(byte);
                }
            } catch (const std::ios_base::failure&) {
                bytes += "(bad)";
            }
            ASSERT_EQ(bytes, GetByLibrary(path, zip.GetEntries().at(0).size)) << "byte " << place;
        }
    }
}

TEST_F(ZipFileTest, WrongChecksumIsAFailure) {
    ZipBuilder::Entry entry = MakeEntry(text);
    entry.checksumError = 1;
    EXPECT_TRUE(IsBad(Archive(entry)));
    entry.deflated = false;
    EXPECT_TRUE(IsBad(Archive(entry)));
    entry.checksumError = 0;
    EXPECT_FALSE(IsBad(Archive(entry)));
}

TEST_F(ZipFileTest, WrongSizeIsAFailure) {
    ZipBuilder::Entry entry = MakeEntry(text);
    entry.sizeError = 1;
    EXPECT_TRUE(IsBad(Archive(entry)));
    entry.sizeError = static_cast<std::uint32_t>(-1);
    EXPECT_TRUE(IsBad(Archive(entry)));
}

TEST_F(ZipFileTest, EncryptedEntryIsAFailure) {
    ZipBuilder::Entry entry = MakeEntry(text);
    entry.encrypted = true;
    EXPECT_TRUE(IsBad(Archive(entry)));
}

TEST_F(ZipFileTest, EntryThatUnpacksToTooMuchIsAFailure) {
    const InflateLimit limit(text.size());
    EXPECT_FALSE(IsBad(Archive(MakeEntry(text))));
    EXPECT_TRUE(IsBad(Archive(MakeEntry(text + "x"))));
    // What is stored takes its own room in the file.
    EXPECT_FALSE(IsBad(ZipBuilder().Add("a", text + "x").Build()));
}

TEST_F(ZipFileTest, WhatIsNoArchiveIsAnException) {
    const std::string archive = ZipBuilder().Add("a", "b").Build();
    EXPECT_THROW(ZipFile(folder.Path("none").c_str()), Exception);
    EXPECT_THROW(ZipFile(folder.Path("").c_str()), Exception);
    EXPECT_THROW(ZipFile(folder.Write("empty", "").c_str()), Exception);
    EXPECT_THROW(ZipFile(folder.Write("text", "plain text").c_str()), Exception);
    EXPECT_THROW(ZipFile(folder.Write("cut", archive.substr(0, archive.size() / 2)).c_str()), Exception);
}

TEST_F(ZipFileTest, CompoundFileIsCalledByItsName) {
    const std::string path =
        folder.Write("test", "\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" + std::string(504, '\0'));
    try {
        const ZipFile zip(path.c_str());
        FAIL();
    } catch (const Exception& exception) {
        EXPECT_STREQ(exception.what(),
                     "The file is no zip archive but a compound file, as workbooks with a password are.");
    }
}

TEST_F(ZipFileTest, ArchiveWithoutEntriesOpens) {
    const std::string path = folder.Write("test.zip", ZipBuilder().Build());
    EXPECT_TRUE(ZipFile(path.c_str()).GetEntries().empty());
}

// Several names on the same packed bytes would let a small archive unpack to anything.
TEST_F(ZipFileTest, RefusesEntriesThatOverlap) {
    const std::string sound = ZipBuilder().AddDeflated("a", text).AddDeflated("b", text).Build();
    EXPECT_EQ(FirstOf(sound), text);
    // The second entry's offset in the directory: both lead to the first.
    std::string shared = sound;
    const std::size_t second = shared.rfind("PK\1\2");
    shared.replace(second + 42, 4, std::string(4, '\0'));
    EXPECT_THROW(FirstOf(shared), Exception);
    // The second begins within the first.
    std::string within = sound;
    within[second + 42] = static_cast<char>(within[second + 42] - 1);
    EXPECT_THROW(FirstOf(within), Exception);
    EXPECT_THROW(FirstOf("in front" + shared), Exception);
}

TEST_F(ZipFileTest, UnpackedBytesAreWorkOfTheContext) {
    const std::string path = folder.Write("test.zip", ZipBuilder().AddDeflated("a", text).Build());
    const auto context = std::make_shared<karta::ReadContext>();
    const ZipFile zip(path.c_str(), context);
    context->budget.ChargeWork(context->budget.GetWorkLimit() - 1000, "all but a little");
    const auto stream = zip.GetInputStream(zip.GetEntries().at(0));
    EXPECT_THROW(stream->rdbuf()->sbumpc(), karta::BudgetExceeded);
    EXPECT_EQ(stream->get(), std::char_traits<char>::eof());
    EXPECT_TRUE(stream->bad());
}

TEST_F(ZipFileTest, UnpackingStopsWhenTheContextSaysSo) {
    const std::string path = folder.Write("test.zip", ZipBuilder().AddDeflated("a", text).Build());
    const auto context = std::make_shared<karta::ReadContext>();
    std::stop_source stop;
    context->stop = stop.get_token();
    const ZipFile zip(path.c_str(), context);
    const auto stream = zip.GetInputStream(zip.GetEntries().at(0));
    EXPECT_EQ(stream->get(), 'x');
    stop.request_stop();
    const auto drain = [&] { std::string(std::istreambuf_iterator<char>(*stream), {}); };
    EXPECT_THROW(drain(), karta::Stopped);
}
