// Memory that buffers hand on: what may be anything, what must be zeros, and how much is kept.
#include "karta/internal/BlockPool.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "karta/Buffer.h"
#include "karta/internal/TableSink.h"

using karta::BlockPool;
using karta::Buffer;

namespace {

constexpr std::size_t Megabyte = std::size_t{1} << 20;

BlockPool::Block MapBlock(std::size_t size) {
    void* const data = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(data, MAP_FAILED);
    return {data, size};
}

bool AreAll(const Buffer& buffer, std::size_t from, std::uint8_t wanted) {
    const std::uint8_t* const bytes = buffer.As<std::uint8_t>();
    return std::all_of(bytes + from, bytes + buffer.GetSize(),
                       [wanted](std::uint8_t byte) { return byte == wanted; });
}

TEST(BlockPoolTest, HandsOutTheBlockThatFitsBest) {
    BlockPool pool;
    const BlockPool::Block large = MapBlock(3 * Megabyte);
    const BlockPool::Block small = MapBlock(2 * Megabyte);
    pool.Give(large);
    pool.Give(small);
    EXPECT_EQ(pool.GetSize(), 5 * Megabyte);
    EXPECT_EQ(pool.Take(4 * Megabyte).data, nullptr);
    EXPECT_EQ(pool.Take(Megabyte / 2).data, nullptr);
    const BlockPool::Block taken = pool.Take(2 * Megabyte - 1);
    EXPECT_EQ(taken.data, small.data);
    EXPECT_EQ(taken.size, 2 * Megabyte);
    EXPECT_EQ(pool.Take(2 * Megabyte).data, large.data);
    EXPECT_EQ(pool.Take(2 * Megabyte).data, nullptr);
    EXPECT_EQ(pool.GetSize(), 0U);
    pool.Give(large);
    pool.Give(small);
}

TEST(BlockPoolTest, KeepsNoMoreThanItsShare) {
    BlockPool pool;
    for (int i = 0; i < 40; ++i) {
        pool.Give(MapBlock(Megabyte));
        EXPECT_LE(pool.GetSize(), 16 * Megabyte);
    }
    pool.Give(MapBlock(60 * Megabyte));
    EXPECT_LE(pool.GetSize(), 64 * Megabyte);
    EXPECT_NE(pool.Take(60 * Megabyte).data, nullptr);
    pool.Give(MapBlock(65 * Megabyte));
    EXPECT_EQ(pool.Take(65 * Megabyte).data, nullptr);
}

// What LazyFree counts of the block's mapping.
std::size_t OfferedKilobytes(const BlockPool::Block& block) {
    std::ifstream maps("/proc/self/smaps");
    std::ostringstream begin;
    begin << std::hex << reinterpret_cast<std::uintptr_t>(block.data) << '-';
    std::string line;
    while (std::getline(maps, line) && !line.starts_with(begin.str())) {
    }
    while (std::getline(maps, line)) {
        if (line.starts_with("LazyFree:")) {
            return std::stoul(line.substr(line.find(':') + 1));
        }
    }
    return 0;
}

TEST(BlockPoolTest, OffersLargeBlocksToTheSystemAndKeepsSmallOnes) {
    // Their neighbours can't become one mapping with them.
    const BlockPool::Block fence = MapBlock(24 * Megabyte);
    auto* const begin = static_cast<std::uint8_t*>(fence.data);
    ASSERT_EQ(mprotect(fence.data, fence.size, PROT_NONE), 0);
    const BlockPool::Block small = {begin + Megabyte, 2 * Megabyte};
    const BlockPool::Block large = {begin + 8 * Megabyte, 12 * Megabyte};
    BlockPool pool;
    for (const BlockPool::Block& block : {small, large}) {
        ASSERT_EQ(mprotect(block.data, block.size, PROT_READ | PROT_WRITE), 0);
        std::memset(block.data, 1, block.size);
        pool.Give(block);
    }
    EXPECT_EQ(OfferedKilobytes(small), 0U);
    if (OfferedKilobytes(large) == 0) {
        GTEST_SKIP() << "the system tells nothing of what it may take";
    }
    // The last few that it was offered it counts a little later.
    EXPECT_GT(OfferedKilobytes(large), large.size / 1024 / 2);
    EXPECT_EQ(pool.Take(large.size).data, large.data);
    EXPECT_EQ(pool.Take(small.size).data, small.data);
    munmap(fence.data, fence.size);
}

TEST(BlockPoolTest, BuffersOfZerosAreThatAlsoBehindOthers) {
    for (const std::size_t size : {Megabyte, 9 * Megabyte + 1}) {
        Buffer first;
        first.ResizeUnset(size);
        std::fill_n(first.As<std::uint8_t>(), size, std::uint8_t{0xa5});
        first = Buffer();
        EXPECT_TRUE(AreAll(Buffer(size), 0, 0));
        Buffer second;
        second.ResizeUnset(size - 1000);
        std::fill_n(second.As<std::uint8_t>(), size - 1000, std::uint8_t{0x5a});
        second.Resize(2 * size);
        EXPECT_TRUE(AreAll(second, size - 1000, 0));
        second.Resize(size / 2 + 300'000);
        EXPECT_TRUE(AreAll(second, 0, 0x5a));
        second.Resize(size);
        EXPECT_TRUE(AreAll(second, size / 2 + 300'000, 0));
    }
}

TEST(BlockPoolTest, RowsWithoutAValueAreZeros) {
    constexpr int Rows = 100'000;
    // What the pool hands out next is full of other numbers.
    {
        Buffer other;
        other.ResizeUnset(std::size_t{2} * Rows * sizeof(double));
        std::fill_n(other.As<double>(), 2 * Rows, 1234.5);
    }
    const auto context = std::make_shared<karta::ReadContext>();
    karta::TableSink sink(context, 0);
    const std::vector<double> run(Rows / 2, 0.25);
    sink.SetColumnRun(1, 1, run);
    sink.Set(1, Rows / 2 + 100, 7.5);
    sink.Set(2, Rows, 1.0);
    const karta::Table table = sink.Finish();
    const karta::Column& column = table.GetColumn(0);
    EXPECT_EQ(column.GetNullCount(), Rows - Rows / 2 - 1);
    const double* const values = column.GetBuffers().values->As<double>();
    for (int row = 0; row < Rows; ++row) {
        const double wanted = row < Rows / 2 ? 0.25 : row == Rows / 2 + 99 ? 7.5 : 0.0;
        ASSERT_EQ(values[row], wanted) << row;
    }
}

TEST(BlockPoolTest, ServesManyThreads) {
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (std::size_t i = 0; i < wrong.size(); ++i) {
        threads.emplace_back([&wrong, i] {
            const auto own = static_cast<std::uint8_t>(i + 1);
            for (int round = 0; round < 50; ++round) {
                Buffer buffer;
                buffer.ResizeUnset(Megabyte / 2 + static_cast<std::size_t>(round) * 4096);
                std::fill_n(buffer.As<std::uint8_t>(), buffer.GetSize(), own);
                std::this_thread::yield();
                wrong[i] += AreAll(buffer, 0, own) ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

}  // namespace
