// Parts as people name them.
#include "karta/internal/PartChoice.h"

#include <gtest/gtest.h>

#include "karta/Error.h"

namespace {

using Parts = std::vector<FileContents::Part>;

FileContents::Part Sheet(const std::string& name, int number) {
    FileContents::Part part;
    part.kind = "sheet";
    part.name = name;
    part.number = number;
    return part;
}

const Parts& Sheets() {
    static const Parts parts = {Sheet("Dritte Gr\xf6\xdf"
                                      "e",
                                      0),
                                Sheet("2", 1), Sheet("a,b", 2), Sheet("Last", 3)};
    return parts;
}

std::string TextOf(const std::string& wanted) {
    return PartChoice(Sheets(), wanted, "sheets").GetText();
}

}  // namespace

TEST(PartChoice, NamesAreAsInfoPrintsThemInAnyCase) {
    // The file's bytes are Windows-1252; the record is to find them again.
    for (const char* wanted :
         {"Dritte Gr\u00f6\u00dfe", "dritte gr\u00f6\u00dfe", "DRITTE GR\u00d6\u1e9eE", "1"}) {
        const PartChoice choice(Sheets(), wanted, "sheets");
        ASSERT_EQ(choice.GetParts().size(), 1U) << wanted;
        EXPECT_EQ(choice.GetParts().front()->number, 0) << wanted;
    }
    EXPECT_EQ(TextOf("dritte gr\u00f6\u00dfe"),
              "Dritte Gr\xf6\xdf"
              "e");
}

TEST(PartChoice, NameGoesBeforePlaceAndBeforeAList) {
    EXPECT_EQ(PartChoice(Sheets(), "2", "part").GetParts().front()->number, 1);
    EXPECT_EQ(PartChoice(Sheets(), "a,b", "part").GetParts().front()->number, 2);
    EXPECT_EQ(TextOf("4"), "4");
    EXPECT_EQ(TextOf("last,1"), "Last,1");
    EXPECT_EQ(PartChoice(Sheets(), "last,1", "part").GetParts().size(), 2U);
    EXPECT_EQ(PartChoice(Sheets(), "ALL", "part").GetParts().size(), 4U);
    EXPECT_EQ(TextOf("ALL"), "all");
}

TEST(PartChoice, MemberStandsForItsPartWhereNoPartIsNamedSo) {
    Parts parts = {Sheet("lat", 1), Sheet("lon", 2)};
    parts[0].members = {"lat", "height", "lon", "2"};
    EXPECT_EQ(PartChoice(parts, "height", "--part").GetText(), "lat");
    EXPECT_EQ(PartChoice(parts, "lon", "--part").GetText(), "lon");
    EXPECT_EQ(PartChoice(parts, "2", "--part").GetText(), "lat") << "a name goes before a place";
    EXPECT_EQ(PartChoice(parts, "height,lon", "--part").GetText(), "lat,lon");
    EXPECT_THROW(PartChoice(parts, "HEIGHT", "--part"), karta::Error);
}

TEST(PartChoice, WhatNamesNoPartIsRefused) {
    for (const char* wanted : {"", "nope", "0", "5", "1,5", "1,", "1,,2", "-1"}) {
        try {
            const PartChoice choice(Sheets(), wanted, "sheets");
            ADD_FAILURE() << wanted;
        } catch (const karta::Error& error) {
            EXPECT_EQ(error.GetCode(), karta::ErrorCode::NoSuchPart);
            EXPECT_EQ(error.GetOption(), "sheets");
            EXPECT_TRUE(error.GetText().starts_with("there is no '")) << error.what();
            EXPECT_TRUE(error.GetAdvice().starts_with("its parts are 1 'Dritte Gr\u00f6\u00dfe', 2 '2', "))
                << error.what();
        }
    }
}
