// The words of a table for the texts of a workbook's list.
#include "karta/internal/ListedTexts.h"

#include <gtest/gtest.h>

using karta::CellStore;
using karta::ListedTexts;

TEST(ListedTexts, ATextIsKeptOnceHoweverManyCellsReferToIt) {
    karta::ReadContext context;
    CellStore store(context);
    TextList list;
    list.Add("wheat");
    list.Add("rye");
    ListedTexts texts;
    const std::uint32_t wheat = texts.FindCode(store, list, 0);
    EXPECT_EQ(texts.GetText(wheat), "wheat");
    EXPECT_EQ(texts.GetText(texts.FindCode(store, list, 1)), "rye");
    EXPECT_EQ(texts.FindCode(store, list, 0), wheat);
}

TEST(ListedTexts, AListThatGrewHasItsNewTexts) {
    karta::ReadContext context;
    CellStore store(context);
    TextList list;
    list.Add("a");
    ListedTexts texts;
    const std::uint32_t first = texts.FindCode(store, list, 0);
    list.Add("b");
    EXPECT_EQ(texts.GetText(texts.FindCode(store, list, 1)), "b");
    EXPECT_EQ(texts.FindCode(store, list, 0), first);
}

// It lies where the first one lay, and its texts do.
TEST(ListedTexts, AnotherListInItsPlaceHasItsOwnTexts) {
    karta::ReadContext context;
    CellStore store(context);
    TextList list;
    list.Add("first");
    ListedTexts texts;
    texts.FindCode(store, list, 0);
    list.Clear();
    list.Add("other");
    EXPECT_EQ(texts.GetText(texts.FindCode(store, list, 0)), "other");
}

TEST(ListedTexts, TextsThatAreNoUtf8AreConverted) {
    karta::ReadContext context;
    CellStore store(context);
    TextList list;
    list.Add("caf\xe9");
    list.Add("");
    ListedTexts texts;
    EXPECT_EQ(texts.GetText(texts.FindCode(store, list, 0)), "caf\xc3\xa9");
    EXPECT_TRUE(CellStore::IsEmptyText(texts.GetWord(texts.FindCode(store, list, 1))));
}
