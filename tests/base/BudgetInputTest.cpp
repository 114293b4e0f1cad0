// What raises a budget's limits, what it expects, and that charging it hears a stop.
#include <gtest/gtest.h>

#include <filesystem>
#include <stop_token>
#include <string>

#include "base/Budget.h"
#include "base/ReadContext.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr std::uint64_t Megabyte = 1 << 20;

}  // namespace

TEST(BudgetInputTest, CountsAFileOnceByWhateverName) {
    const TempFolder folder;
    const std::string path = folder.Write("large", std::string(8 * Megabyte, 'x'));
    std::filesystem::create_symlink(path, folder.Path("link"));
    karta::Budget budget;
    EXPECT_EQ(budget.GetMemoryLimit(), 256 * Megabyte);
    budget.AddInput(path.c_str());
    EXPECT_EQ(budget.GetMemoryLimit(), 512 * Megabyte);
    budget.AddInput(path.c_str());
    budget.AddInput(folder.Path("link").c_str());
    EXPECT_EQ(budget.GetMemoryLimit(), 512 * Megabyte);
    budget.AddInput(folder.Write("other", std::string(Megabyte, 'x')).c_str());
    EXPECT_EQ(budget.GetMemoryLimit(), 576 * Megabyte);
}

TEST(BudgetInputTest, TakesNoFolderAndNothingThatIsMissing) {
    const TempFolder folder;
    karta::Budget budget;
    budget.AddInput(folder.Path("").c_str());
    budget.AddInput(folder.Path("missing").c_str());
    EXPECT_EQ(budget.GetMemoryLimit(), 256 * Megabyte);
}

TEST(BudgetInputTest, RefusesWhatIsExpectedWithoutChargingIt) {
    karta::Budget budget;
    budget.SetLimit(1000);
    budget.ChargeOutput(600, "The output");
    budget.ExpectOutput(400, "The output");
    EXPECT_FALSE(budget.WasExceeded());
    EXPECT_THROW(budget.ExpectOutput(401, "The output"), karta::BudgetExceeded);
    EXPECT_TRUE(budget.WasExceeded());
    budget.ChargeOutput(400, "The output");
}

TEST(BudgetInputTest, HearsAStopWhereverItIsCharged) {
    karta::ReadContext context;
    std::stop_source source;
    context.stop = source.get_token();
    context.budget.ChargeMemory(1, "The table");
    source.request_stop();
    EXPECT_THROW(context.budget.ChargeMemory(1, "The table"), karta::Stopped);
    EXPECT_THROW(context.budget.ChargeOutput(1, "The output"), karta::Stopped);
    EXPECT_THROW(context.budget.ChargeWork(1, "rows"), karta::Stopped);
    EXPECT_EQ(context.budget.GetMemory(), 1U);
}
