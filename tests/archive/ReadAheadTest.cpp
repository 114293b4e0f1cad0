#include "archive/ReadAhead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace {

// Fills blocks with one letter after the other, so many of them.
ReadAhead::Fill Letters(int count) {
    return [left = count, letter = 'a'](std::span<char> block) mutable -> std::size_t {
        if (left-- == 0) {
            return 0;
        }
        std::fill(block.begin(), block.end(), letter++);
        return block.size();
    };
}

}  // namespace

TEST(ReadAheadTest, BlocksComeInTheirOrder) {
    ReadAhead ahead(Letters(20));
    for (char letter = 'a'; letter < 'a' + 20; ++letter) {
        const std::span<char> block = ahead.Next();
        ASSERT_EQ(block.size(), ReadAhead::BlockSize);
        EXPECT_EQ(std::count(block.begin(), block.end(), letter), std::ssize(block));
    }
    EXPECT_TRUE(ahead.Next().empty());
    EXPECT_TRUE(ahead.Next().empty());
}

TEST(ReadAheadTest, WhatIsRaisedComesBehindTheBlocksBefore) {
    ReadAhead ahead([fill = Letters(2)](std::span<char> block) {
        const std::size_t size = fill(block);
        if (size == 0) {
            throw std::runtime_error("no more");
        }
        return size;
    });
    EXPECT_EQ(ahead.Next().front(), 'a');
    EXPECT_EQ(ahead.Next().front(), 'b');
    EXPECT_THROW(ahead.Next(), std::runtime_error);
    EXPECT_THROW(ahead.Next(), std::runtime_error);
}

TEST(ReadAheadTest, WhoHasEnoughNeedntReadToTheEnd) {
    int filled = 0;
    for (int taken = 0; taken < 8; ++taken) {
        ReadAhead ahead([&filled, fill = Letters(1000)](std::span<char> block) {
            ++filled;
            return fill(block);
        });
        for (int i = 0; i < taken; ++i) {
            ASSERT_FALSE(ahead.Next().empty());
        }
    }
    EXPECT_LT(filled, 8 * 12);
}
