#include "spreadsheet/SheetChoice.h"

#include <gtest/gtest.h>

#include <ios>

#include "frame/CompleteOptions.h"
#include "tests/support/ReadTrace.h"

TEST(SheetChoiceTest, ComesBackAsItWasLent) {
    std::vector<std::uint8_t> memory;
    NvImportOpenOptions record{0, nullptr};
    SheetChoice::Lend({2, 0, 2}, true, memory, record);
    std::vector<int> sheets;
    bool vertical = false;
    SheetChoice::Read(record, sheets, vertical);
    EXPECT_EQ(sheets, (std::vector<int>{2, 0, 2}));
    EXPECT_TRUE(vertical);
}

TEST(SheetChoiceTest, AKeyThatIsNotThereLeavesItsValue) {
    TestOptions options{{"Vertical", "false"}};
    std::vector<int> sheets{7};
    bool vertical = true;
    SheetChoice::Read(*options.Get(), sheets, vertical);
    EXPECT_EQ(sheets, std::vector<int>{7});
    EXPECT_FALSE(vertical);
}

TEST(SheetChoiceTest, AnEmptyTextChoosesNothing) {
    std::vector<int> sheets{7};
    bool vertical = true;
    SheetChoice::ConvertSheetStringToVector("", sheets, vertical);
    EXPECT_TRUE(sheets.empty());
    EXPECT_FALSE(vertical);
}

TEST(SheetChoiceTest, ARecordCutShortIsRefused) {
    TestOptions options(std::string("\x10\0\0\0abc", 7));
    std::vector<int> sheets;
    bool vertical = false;
    EXPECT_THROW(SheetChoice::Read(*options.Get(), sheets, vertical), std::ios_base::failure);
}

TEST(SheetChoiceTest, PartsOfTheCompleteReading) {
    std::vector<std::uint8_t> memory;
    NvImportOpenOptions record{0, nullptr};
    SheetChoice::LendParts("Raw data", false, memory, record);
    EXPECT_EQ(CompleteOptions(&record).GetText(CompleteOptions::Part), "Raw data");
    EXPECT_FALSE(SheetChoice::ReadVertical(&record));
    EXPECT_TRUE(SheetChoice::ReadVertical(nullptr));
}
