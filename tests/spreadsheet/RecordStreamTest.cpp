// Records of binary parts over streams that hand out their bytes in pieces of any size.
#include "spreadsheet/RecordStream.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <ios>
#include <istream>
#include <streambuf>
#include <string>
#include <vector>

namespace {

/** Hands out pieces of one size each, and fails at its end where it is to. */
class Pieces : public std::streambuf {
public:
    Pieces(std::string allBytes, std::size_t sizeOfPiece, bool failsAtItsEnd)
        : bytes(std::move(allBytes)), pieceSize(sizeOfPiece), fails(failsAtItsEnd) {}

protected:
    int_type underflow() override {
        if (given == bytes.size()) {
            return fails ? throw std::ios_base::failure("damaged") : traits_type::eof();
        }
        char* const begin = bytes.data() + given;
        given += std::min(pieceSize, bytes.size() - given);
        setg(begin, begin, bytes.data() + given);
        return traits_type::to_int_type(*begin);
    }

private:
    std::string bytes;
    std::size_t pieceSize;
    bool fails;
    std::size_t given = 0;
};

// A record of so many bytes, each of which is the low byte of the length plus its place.
std::string RecordOf(unsigned id, std::size_t length) {
    std::string record(1, static_cast<char>(id));
    std::size_t rest = length;
    do {
        record += static_cast<char>((rest & 0x7f) | (rest > 0x7f ? 0x80 : 0));
        rest >>= 7;
    } while (rest > 0);
    for (std::size_t i = 0; i < length; ++i) {
        record += static_cast<char>(length + i);
    }
    return record;
}

const std::vector<std::size_t> Lengths = {0, 1, 3, 4, 8, 17, 300, 16383, 40000, 65536, 70000, 5, 131072, 2};

std::string AllRecords() {
    std::string bytes;
    for (const std::size_t length : Lengths) {
        bytes += RecordOf(7, length);
    }
    return bytes;
}

void ExpectRecord(const RecordStream& records, std::size_t length) {
    EXPECT_EQ(records.GetId(), 7);
    ASSERT_EQ(records.GetLength(), length);
    for (const std::size_t place : {std::size_t{0}, length / 2, length - 1}) {
        EXPECT_EQ(records.GetByte(place), place < length ? static_cast<std::uint8_t>(length + place) : 0);
    }
    // Behind its end a record has zeros, whatever stands there in the part.
    EXPECT_EQ(records.GetByte(length), 0);
    EXPECT_EQ(records.GetI4(length), 0);
    EXPECT_EQ(records.GetDouble(length), 0.0);
    if (length > 0) {
        EXPECT_EQ(records.GetI4(length - 1), static_cast<std::uint8_t>(2 * length - 1));
    }
}

}  // namespace

TEST(RecordStreamTest, FindsTheSameRecordsWhateverThePieces) {
    for (const std::size_t pieceSize :
         std::initializer_list<std::size_t>{1, 2, 3, 7, 1000, 65535, 65536, 1 << 20}) {
        Pieces pieces(AllRecords(), pieceSize, false);
        std::istream stream(&pieces);
        RecordStream records(stream, RecordForm::Full);
        for (const std::size_t length : Lengths) {
            ASSERT_TRUE(records.Next());
            ExpectRecord(records, length);
        }
        EXPECT_FALSE(records.Next());
        EXPECT_FALSE(records.IsDamaged());
    }
}

TEST(RecordStreamTest, GivesEveryRecordThatStandsBeforeADamage) {
    for (const std::size_t pieceSize : std::initializer_list<std::size_t>{1, 7, 65536, 1 << 20}) {
        Pieces pieces(AllRecords() + RecordOf(7, 30000).substr(0, 20000), pieceSize, true);
        std::istream stream(&pieces);
        RecordStream records(stream, RecordForm::Full);
        for (const std::size_t length : Lengths) {
            ASSERT_TRUE(records.Next());
            ExpectRecord(records, length);
        }
        EXPECT_FALSE(records.Next());
        EXPECT_TRUE(records.IsDamaged());
        EXPECT_FALSE(records.Next());
    }
}

TEST(RecordStreamTest, EndsWithinARecordThatIsCut) {
    for (const std::size_t kept : std::initializer_list<std::size_t>{1, 2, 3, 50, 100}) {
        Pieces pieces(RecordOf(7, 4) + RecordOf(7, 200).substr(0, kept), 16, false);
        std::istream stream(&pieces);
        RecordStream records(stream, RecordForm::Full);
        EXPECT_TRUE(records.Next());
        EXPECT_FALSE(records.Next());
        EXPECT_FALSE(records.IsDamaged());
    }
}
