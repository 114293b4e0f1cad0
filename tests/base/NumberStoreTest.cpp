#include "base/NumberStore.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/support/PeakMemory.h"

namespace {

using karta::NumberRoom;
using karta::NumberStore;
using karta::StoredNumbers;

void Fill(NumberRoom& room, std::size_t count, double first) {
    room.Clear();
    std::vector<double> some;
    for (std::size_t i = 0; i < count; ++i) {
        if (i % 3 == 0) {
            room.Add(first + static_cast<double>(i));
        } else {
            some.assign(1, first + static_cast<double>(i));
            room.Add(some);
        }
    }
}

bool Holds(const StoredNumbers& numbers, std::size_t count, double first, double factor) {
    bool are = numbers.size() == count;
    for (std::size_t i = 0; are && i < count; ++i) {
        are = numbers[i] == (first + static_cast<double>(i)) * factor;
    }
    return are;
}

// Small ones, one that fills blocks, and larger ones than any block.
constexpr std::size_t Counts[] = {0, 1, 100, 8192, 65536, 65537, 3'000'000, 5};

}  // namespace

TEST(NumberStoreTest, KeepsNumbersTimesAFactor) {
    std::vector<StoredNumbers> all;
    {
        NumberStore store;
        NumberRoom room;
        for (const std::size_t count : Counts) {
            Fill(room, count, 1000.0);
            all.push_back(store.Keep(room, 0.5));
            Fill(room, count, -7.0);
            all.push_back(store.Keep(room, 1.0));
        }
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_TRUE(Holds(all[i], Counts[i / 2], i % 2 == 0 ? 1000.0 : -7.0, i % 2 == 0 ? 0.5 : 1.0)) << i;
    }
}

TEST(NumberStoreTest, NumbersThatWereLetGoOfKeepTheirCount) {
    NumberStore store;
    NumberRoom room;
    Fill(room, 10, 1.0);
    StoredNumbers one = store.Keep(room, 1.0);
    const StoredNumbers other = store.Keep(room, 2.0);
    const StoredNumbers copy = one;
    EXPECT_FALSE(one.IsGone());
    one.LetGo();
    EXPECT_TRUE(one.IsGone());
    EXPECT_EQ(one.size(), 10U);
    EXPECT_TRUE(Holds(copy, 10, 1.0, 1.0));
    EXPECT_TRUE(Holds(other, 10, 1.0, 2.0));
}

TEST(NumberStoreTest, ThreadsKeepTheirNumbersApart) {
    NumberStore store;
    std::vector<std::vector<StoredNumbers>> kept(4);
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kept.size(); ++thread) {
        threads.emplace_back([&store, &mine = kept[thread], thread] {
            NumberRoom room;
            for (std::size_t i = 0; i < 200; ++i) {
                Fill(room, 500 + i, static_cast<double>(1000 * thread + i));
                mine.push_back(store.Keep(room, 1.0));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t thread = 0; thread < kept.size(); ++thread) {
        for (std::size_t i = 0; i < kept[thread].size(); ++i) {
            EXPECT_TRUE(Holds(kept[thread][i], 500 + i, static_cast<double>(1000 * thread + i), 1.0));
        }
    }
}

TEST(NumberStoreTest, MemoryGoesBackWhileNumbersAreLetGoOf) {
    if (!IsMemoryMeasurable()) {
        GTEST_SKIP() << "the sanitizer's own memory is many times that of the numbers";
    }
    // Twice 80 MB, the second as the first goes.
    const double peak = PeakMemoryOf([] {
        NumberStore store;
        NumberRoom room;
        Fill(room, 10'000, 1.0);
        std::vector<StoredNumbers> numbers(1000);
        for (StoredNumbers& array : numbers) {
            array = store.Keep(room, 1.0);
        }
        NumberStore next;
        for (StoredNumbers& array : numbers) {
            array.LetGo();
            array = next.Keep(room, 2.0);
        }
        return Holds(numbers.back(), 10'000, 1.0, 2.0);
    });
    const double nothing = PeakMemoryOf([] { return true; });
    EXPECT_GT(peak - nothing, 80e6);
    EXPECT_LT(peak - nothing, 110e6);
}
