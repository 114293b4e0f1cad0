#include "base/Suggestion.h"

#include <gtest/gtest.h>

namespace {

const std::vector<std::string> Verbs = {"formats", "detect", "info", "show", "view", "convert", "trace"};

}  // namespace

TEST(SuggestionTest, AWordWithAMistakeIsFound) {
    EXPECT_EQ(FindSuggestion("shwo", Verbs), "show");
    EXPECT_EQ(FindSuggestion("covnert", Verbs), "convert");
    EXPECT_EQ(FindSuggestion("format", Verbs), "formats");
    EXPECT_EQ(FindSuggestion("INFO", Verbs), "info");
}

TEST(SuggestionTest, TheBeginningOfAWordIsEnough) {
    EXPECT_EQ(FindSuggestion("conv", Verbs), "convert");
    EXPECT_EQ(FindSuggestion("--col", {"--rows", "--columns"}), "--columns");
}

TEST(SuggestionTest, WhatIsFarFromEverythingIsNothing) {
    EXPECT_EQ(FindSuggestion("xyz", Verbs), "");
    EXPECT_EQ(FindSuggestion("", Verbs), "");
    EXPECT_EQ(FindSuggestion(std::string(100'000, 'a'), Verbs), "");
    EXPECT_EQ(FindSuggestion("show", {}), "");
}

TEST(SuggestionTest, OfTwoTheNearerOneIsTaken) {
    EXPECT_EQ(FindSuggestion("Sheet2", {"Sheet1", "Sheet22", "Sheet2x", "sheet2"}), "sheet2");
}
