// The zlib format by the fast library: what it unpacks, and when it leaves the bytes to another.
#include "archive/FastInflate.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace {

std::string SomeText() {
    std::string text;
    for (int i = 0; i < 60'000; ++i) {
        text += std::to_string(i * 7919 % 10'007) + (i % 13 == 0 ? "\n" : " ");
    }
    return text;
}

std::vector<std::uint8_t> Pack(const std::string& text) {
    uLongf size = compressBound(text.size());
    std::vector<std::uint8_t> packed(size);
    EXPECT_EQ(compress2(packed.data(), &size, reinterpret_cast<const Bytef*>(text.data()), text.size(), 6),
              Z_OK);
    packed.resize(size);
    return packed;
}

/** All that is handed out in pieces of some size. */
std::string ReadAll(FastInflate& inflate, std::size_t pieceSize) {
    std::string text;
    std::string piece(pieceSize, '\0');
    while (!inflate.IsAtEnd() && !inflate.HasGivenUp()) {
        const std::size_t count = inflate.Read(piece);
        text.append(piece, 0, count);
    }
    return text;
}

class FastInflateTest : public testing::Test {
protected:
    void SetUp() override {
        if (!FastInflate::IsThere()) {
            GTEST_SKIP() << "this program has zlib alone";
        }
    }

    const std::string text = SomeText();
    const std::vector<std::uint8_t> packed = Pack(text);
};

TEST_F(FastInflateTest, UnpacksTheZlibFormatInPiecesOfAnySize) {
    for (const std::size_t size : {std::size_t{7}, std::size_t{4096}, text.size(), text.size() + 1}) {
        FastInflate inflate(packed);
        EXPECT_EQ(ReadAll(inflate, size), text);
        EXPECT_TRUE(inflate.IsAtEnd());
        EXPECT_FALSE(inflate.HasGivenUp());
    }
}

TEST_F(FastInflateTest, GivesUpWhereTheHeadIsNotZlibs) {
    for (const auto& [first, second] : {std::pair{0x79, 0x9c}, {0x88, 0x1c}, {0x78, 0xbb}, {0x78, 0x9d}}) {
        std::vector<std::uint8_t> other = packed;
        other[0] = static_cast<std::uint8_t>(first);
        other[1] = static_cast<std::uint8_t>(second);
        FastInflate inflate(other);
        EXPECT_TRUE(inflate.HasGivenUp());
        EXPECT_EQ(ReadAll(inflate, 4096), "");
    }
    FastInflate nothing(std::span<const std::uint8_t>{});
    EXPECT_TRUE(nothing.HasGivenUp());
}

TEST_F(FastInflateTest, GivesUpWhereTheCheckValueIsAnother) {
    std::vector<std::uint8_t> other = packed;
    other.back() ^= 1U;
    FastInflate inflate(other);
    const std::string read = ReadAll(inflate, 4096);
    EXPECT_TRUE(inflate.HasGivenUp());
    EXPECT_FALSE(inflate.IsAtEnd());
    EXPECT_EQ(read, text.substr(0, read.size()));
}

TEST_F(FastInflateTest, GivesUpWhereTheBytesEndEarly) {
    const std::span<const std::uint8_t> all(packed);
    for (const std::size_t size : {std::size_t{2}, packed.size() / 2, packed.size() - 1}) {
        FastInflate inflate(all.first(size));
        const std::string read = ReadAll(inflate, 1000);
        EXPECT_TRUE(inflate.HasGivenUp());
        EXPECT_EQ(read, text.substr(0, read.size()));
    }
}

}  // namespace
