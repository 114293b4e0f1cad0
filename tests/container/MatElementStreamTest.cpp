// Compressed elements, whichever library unpacks them: damaged ones give what zlib gives before it stops.
#include "container/MatElementStream.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "base/Budget.h"

namespace {

std::vector<std::uint8_t> SomeBytes() {
    std::mt19937 random(1);
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < 30'000; ++i) {
        const auto number = static_cast<unsigned int>(i);
        bytes.push_back(static_cast<std::uint8_t>(i % 7 == 0 ? random() : number / 50));
    }
    return bytes;
}

std::vector<std::uint8_t> Pack(const std::vector<std::uint8_t>& bytes) {
    uLongf size = compressBound(bytes.size());
    std::vector<std::uint8_t> packed(size);
    EXPECT_EQ(compress(packed.data(), &size, bytes.data(), bytes.size()), Z_OK);
    packed.resize(size);
    return packed;
}

/** What zlib alone makes of the bytes, and whether it found them sound. */
std::pair<std::vector<std::uint8_t>, bool> Inflate(std::vector<std::uint8_t> packed, std::size_t most) {
    std::vector<std::uint8_t> bytes(most);
    z_stream stream{};
    EXPECT_EQ(inflateInit(&stream), Z_OK);
    stream.next_in = packed.data();
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = bytes.data();
    stream.avail_out = static_cast<uInt>(most);
    int result = Z_OK;
    while (result == Z_OK) {
        result = inflate(&stream, Z_NO_FLUSH);
    }
    bytes.resize(most - stream.avail_out);
    inflateEnd(&stream);
    return {bytes, result == Z_STREAM_END};
}

std::vector<std::uint8_t> ReadAll(MatElementStream& stream, std::size_t most, std::size_t pieceSize) {
    std::vector<std::uint8_t> bytes(most);
    std::size_t filled = 0;
    while (filled < most) {
        const std::size_t wanted = std::min(pieceSize, most - filled);
        const std::size_t count = stream.Read(bytes.data() + filled, wanted);
        filled += count;
        if (count < wanted) {
            break;
        }
    }
    bytes.resize(filled);
    return bytes;
}

TEST(MatElementStreamTest, GivesWhatZlibGivesOfDamagedBytes) {
    const std::vector<std::uint8_t> bytes = SomeBytes();
    const std::vector<std::uint8_t> packed = Pack(bytes);
    std::mt19937 random(2);
    int sound = 0;
    int cut = 0;
    for (int round = 0; round < 1500; ++round) {
        std::vector<std::uint8_t> damaged = packed;
        const int kind = round % 3;
        if (kind == 1) {
            damaged[random() % damaged.size()] ^= static_cast<std::uint8_t>(1U << random() % 8);
        } else if (kind == 2) {
            damaged.resize(random() % damaged.size());
        }
        const auto [wanted, isSound] = Inflate(damaged, bytes.size() + 100);
        karta::Budget budget;
        budget.SetLimit(karta::Budget::Unlimited);
        MatInflatingStream stream(damaged, bytes.size() + 100, budget);
        const std::size_t pieceSize = 1 + random() % 5000;
        EXPECT_EQ(ReadAll(stream, bytes.size() + 100, pieceSize), wanted) << round;
        EXPECT_EQ(stream.IsSoundToTheEnd(), isSound) << round;
        // And again from the beginning.
        stream.Rewind();
        EXPECT_EQ(ReadAll(stream, bytes.size() + 100, 4096), wanted) << round;
        sound += isSound ? 1 : 0;
        cut += wanted.size() < bytes.size() ? 1 : 0;
    }
    EXPECT_GE(sound, 500);
    EXPECT_GE(cut, 500);
}

TEST(MatElementStreamTest, HandsOutBytesWhereTheyLieWhenTheyAreWholeAndAligned) {
    alignas(16) std::uint8_t bytes[48];
    std::iota(std::begin(bytes), std::end(bytes), std::uint8_t{0});
    MatPlainStream stream(bytes, 100);
    const auto taken = stream.Take(16, 8);
    EXPECT_EQ(taken.data(), bytes);
    EXPECT_EQ(taken.size(), 16U);
    EXPECT_EQ(stream.Tell(), 116U);
    EXPECT_TRUE(stream.Take(33, 8).empty()) << "more than there is";
    EXPECT_EQ(stream.Tell(), 116U);
    EXPECT_TRUE(stream.Skip(4));
    EXPECT_TRUE(stream.Take(8, 8).empty()) << "not at a multiple of eight";
    std::uint8_t next = 0;
    EXPECT_EQ(stream.Peek(&next, 1), 1U);
    EXPECT_TRUE(stream.Take(4, 4).empty()) << "partly looked at already";
    EXPECT_EQ(stream.Read(&next, 1), 1U);
    EXPECT_EQ(next, 20) << "what isn't handed out isn't passed over";
    EXPECT_EQ(stream.Take(27, 1).size(), 27U);
    EXPECT_EQ(stream.Take(1, 1).size(), 0U);

    const std::vector<std::uint8_t> packed = Pack(SomeBytes());
    karta::Budget budget;
    MatInflatingStream inflating(packed, 1 << 20, budget);
    EXPECT_TRUE(inflating.Take(8, 8).empty()) << "compressed";
    EXPECT_EQ(inflating.Tell(), 0U);
}

TEST(MatElementStreamTest, StopsAtItsBound) {
    const std::vector<std::uint8_t> bytes = SomeBytes();
    const std::vector<std::uint8_t> packed = Pack(bytes);
    karta::Budget budget;
    budget.SetLimit(karta::Budget::Unlimited);
    MatInflatingStream stream(packed, 1000, budget);
    std::vector<std::uint8_t> read(2000);
    EXPECT_EQ(stream.Read(read.data(), read.size()), 1000U);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 1000, read.begin()));
    EXPECT_EQ(stream.Read(read.data(), read.size()), 0U);
    EXPECT_TRUE(stream.IsSoundToTheEnd());
}

}  // namespace
