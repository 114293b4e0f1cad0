// The cells of one column in the making: what is taken ahead for those that are to come.
#include "karta/internal/CellVector.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using karta::CellStore;
using karta::CellVector;

namespace {

constexpr std::uint32_t Length = 1000;
constexpr int RowsOfRun = 1200;
constexpr int AnnouncedRows = 60'000;

/** Texts of one length, one run after the other. */
class LongTexts {
public:
    LongTexts() : bytes(std::string(Length * RowsOfRun, 'x')) {
        for (std::uint32_t i = 1; i <= RowsOfRun; ++i) {
            ends.push_back(i * Length);
        }
    }
    TextRun GetRun() const { return {bytes.data(), 0, ends, true}; }

private:
    std::string bytes;
    std::vector<std::uint32_t> ends;
};

}  // namespace

// Long texts at the top of a column say little of the many rows that were announced.
TEST(CellVector, TakesNoRoomForAnnouncedTextsFarBeyondThoseThatCame) {
    karta::ReadContext context;
    CellStore store(context);
    store.expectedRows = AnnouncedRows;
    store.mayTakeAll = true;
    const LongTexts texts;
    CellVector cells;
    cells.PutTexts(store, 0, texts.GetRun());
    cells.PutTexts(store, RowsOfRun, texts.GetRun());
    cells.PutTexts(store, 2 * RowsOfRun, texts.GetRun());
    const std::uint64_t taken = 3ULL * Length * RowsOfRun;
    EXPECT_GT(store.GetCharged(), taken);
    EXPECT_LT(store.GetCharged(), 9 * taken);
    EXPECT_LT(store.GetCharged(), std::uint64_t{AnnouncedRows} * Length / 2);
}

// But as much again for each row where the rest is near.
TEST(CellVector, TakesTheRoomForAnnouncedTextsAtOnceWhereItIsNear) {
    karta::ReadContext context;
    CellStore store(context);
    store.expectedRows = 5 * RowsOfRun;
    store.mayTakeAll = true;
    const LongTexts texts;
    CellVector cells;
    cells.PutTexts(store, 0, texts.GetRun());
    cells.PutTexts(store, RowsOfRun, texts.GetRun());
    const std::uint64_t charged = store.GetCharged();
    for (int run = 2; run < 5; ++run) {
        cells.PutTexts(store, run * RowsOfRun, texts.GetRun());
        EXPECT_EQ(store.GetCharged(), charged);
    }
    EXPECT_EQ(cells.GetEnd(), 5 * RowsOfRun);
}
