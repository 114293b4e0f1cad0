// Small buffers that lie side by side in one piece of memory are buffers like any other.
#include "karta/internal/BufferRoom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <thread>
#include <utility>
#include <vector>

using karta::Buffer;
using karta::BufferRoom;

namespace {

// As many as several pieces of memory hold, each with a byte of its own.
std::vector<Buffer> TakeFilled(BufferRoom& room, std::size_t count) {
    std::vector<Buffer> buffers;
    for (std::size_t i = 0; i < count; ++i) {
        buffers.push_back(room.Take(1 + i % 3000));
        std::memset(buffers.back().GetData(), static_cast<int>(i % 251), buffers.back().GetSize());
    }
    return buffers;
}

bool IsFilled(const Buffer& buffer, std::size_t i) {
    const auto* const bytes = buffer.As<std::uint8_t>();
    return std::all_of(bytes, bytes + std::min(buffer.GetSize(), 1 + i % 3000),
                       [i](std::uint8_t byte) { return byte == i % 251; });
}

}  // namespace

TEST(BufferRoomTest, BuffersAreApartAndAligned) {
    BufferRoom room;
    const std::vector<Buffer> buffers = TakeFilled(room, 3000);
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        EXPECT_EQ(buffers[i].GetSize(), 1 + i % 3000);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffers[i].GetData()) % Buffer::Alignment, 0U) << i;
        EXPECT_TRUE(IsFilled(buffers[i], i)) << i;
    }
}

TEST(BufferRoomTest, BuffersOutliveTheirRoomAndEachOther) {
    std::vector<Buffer> buffers;
    {
        BufferRoom room;
        buffers = TakeFilled(room, 3000);
    }
    for (std::size_t i = 0; i < buffers.size(); i += 2) {
        buffers[i] = Buffer();
    }
    for (std::size_t i = 1; i < buffers.size(); i += 2) {
        EXPECT_TRUE(IsFilled(buffers[i], i)) << i;
    }
}

TEST(BufferRoomTest, BufferThatGrowsKeepsWhatItHasAndBecomesZerosBehind) {
    BufferRoom room;
    std::vector<Buffer> buffers = TakeFilled(room, 100);
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        const std::size_t size = buffers[i].GetSize();
        for (const std::size_t more :
             {std::size_t{1}, std::size_t{3}, std::size_t{1000}, std::size_t{500'000}}) {
            buffers[i].Resize(size + more);
            EXPECT_TRUE(IsFilled(buffers[i], i)) << i;
            const auto* const bytes = buffers[i].As<std::uint8_t>();
            EXPECT_TRUE(
                std::all_of(bytes + size, bytes + size + more, [](std::uint8_t byte) { return byte == 0; }))
                << i << " by " << more;
        }
    }
}

TEST(BufferRoomTest, BufferThatShrinksAndGrowsAgainHasZerosBehind) {
    for (const std::size_t size : {std::size_t{60}, std::size_t{2000}}) {
        BufferRoom room;
        Buffer buffers[] = {room.Take(size), Buffer(size)};
        for (Buffer& buffer : buffers) {
            std::memset(buffer.GetData(), 7, size);
            buffer.Resize(size - 20);
            buffer.Resize(size);
            EXPECT_EQ(buffer.As<std::uint8_t>()[size - 21], 7);
            EXPECT_EQ(buffer.As<std::uint8_t>()[size - 20], 0);
            EXPECT_EQ(buffer.As<std::uint8_t>()[size - 1], 0);
        }
    }
}

TEST(BufferRoomTest, LargeBufferHasMemoryOfItsOwn) {
    BufferRoom room;
    Buffer large = room.Take(std::size_t{1} << 20);
    std::memset(large.GetData(), 1, large.GetSize());
    EXPECT_EQ(large.GetSize(), std::size_t{1} << 20);
}

TEST(BufferRoomTest, AnyThreadsFreeThem) {
    BufferRoom room;
    std::vector<Buffer> mine = TakeFilled(room, 20'000);
    std::vector<Buffer> others(std::make_move_iterator(mine.begin() + 10'000),
                               std::make_move_iterator(mine.end()));
    std::thread other([&others] { others.clear(); });
    mine.clear();
    other.join();
    const std::vector<Buffer> further = TakeFilled(room, 100);
    EXPECT_TRUE(IsFilled(further.back(), 99));
}
