// The program's own pieces.
#include <gtest/gtest.h>

#include <limits>
#include <numeric>
#include <sstream>

#include "karta/Error.h"
#include "karta/internal/RowFilter.h"
#include "table/TableData.h"
#include "tests/support/TempFolder.h"
#include "tools/ErrorText.h"
#include "tools/Json.h"
#include "tools/TableWriter.h"
#include "tools/TraceSink.h"
#include "tools/Utf8Text.h"

namespace {

std::string Written(TableData& table, TableForm form) {
    const TempFolder folder;
    OutputFile file(folder.Path("out"));
    std::vector<int> rows(static_cast<std::size_t>(table.GetNumberOfRows()));
    std::iota(rows.begin(), rows.end(), 1);
    WriteTable(table, rows, {form}, file);
    EXPECT_TRUE(file.Commit());
    return ReadWholeFile(folder.Path("out"));
}

}  // namespace

TEST(RowFilter, AnswersTheNextListedRow) {
    const RowFilter filter("7-8,1,3-5");
    EXPECT_EQ(filter.NextRowToRead(0), 1);
    EXPECT_EQ(filter.NextRowToRead(1), 3);
    EXPECT_EQ(filter.NextRowToRead(3), 4);
    EXPECT_EQ(filter.NextRowToRead(5), 7);
    EXPECT_EQ(filter.NextRowToRead(8), -1);
    EXPECT_EQ(RowFilter().NextRowToRead(41), 42);
}

TEST(RowFilter, RefusesWhatIsNoList) {
    for (const char* list : {"x", "0", "3-1", "1-", "-1", "1,,2", "1 2"}) {
        EXPECT_THROW(RowFilter{list}, karta::Error) << list;
    }
}

TEST(TraceSink, WritesEachCallInItsType) {
    std::ostringstream stream;
    TraceSink sink(stream);
    sink.SetDataSize(3, 2);
    sink.Set(1, 2, 7);
    sink.Set(1, 2, std::int64_t{1} << 40);
    sink.Set(1, 2, 0.1F);
    sink.Set(1, 2, 0.1);
    sink.Set(1, 2, "\"a\\\n\r\t\x01\x7f\xc3");
    sink.NextRowToRead(2);
    EXPECT_EQ(sink.GetNumberOfColumns(), 3);
    EXPECT_EQ(stream.str(),
              "SetDataSize 3 2\n"
              "Set 1 2 int 7\n"
              "Set 1 2 int64 1099511627776\n"
              "Set 1 2 float 0.100000001\n"
              "Set 1 2 double 0.10000000000000001\n"
              "Set 1 2 text \"\\\"a\\\\\\n\\r\\t\\x01\\x7f\\xc3\"\n"
              "NextRowToRead 2 3\n");
}

TEST(TableWriter, NumbersAreShortAndNonNumbersNamed) {
    TableData table;
    table.Set(1, 1, 0.1F);
    table.Set(2, 1, 1e300);
    table.Set(3, 1, -std::numeric_limits<double>::infinity());
    table.Set(4, 1, std::numeric_limits<float>::quiet_NaN());
    table.Set(5, 1, std::int64_t{9007199254740993});
    table.SetDataSize(6, 1);
    EXPECT_EQ(Written(table, TableForm::Csv), "0.1,1e+300,-inf,nan,9007199254740993,\n");
    EXPECT_EQ(Written(table, TableForm::JsonLines), "[0.1,1e+300,\"-inf\",null,9007199254740993,null]\n");
}

TEST(TableWriter, FieldsAreQuotedOnlyWhenTheyMustBe) {
    TableData table;
    table.Set(1, 1, "a,b");
    table.Set(2, 1, "a\tb");
    table.Set(3, 1, "a\nb");
    table.Set(4, 1, "\"");
    EXPECT_EQ(Written(table, TableForm::Csv), "\"a,b\",a\tb,\"a\nb\",\"\"\"\"\n");
    EXPECT_EQ(Written(table, TableForm::Tsv), "a,b\t\"a\tb\"\t\"a\nb\"\t\"\"\"\"\n");
}

TEST(Utf8Text, ValidTextStaysAndOtherIsWindows1252) {
    EXPECT_EQ(AsUtf8("a\xc3\xa5\xf0\x9f\x8d\xb7"), "a\xc3\xa5\xf0\x9f\x8d\xb7");
    EXPECT_EQ(AsUtf8("\xe5"), "\xc3\xa5");
    EXPECT_EQ(AsUtf8("\x80\x9f\x81"), "\xe2\x82\xac\xc5\xb8\xc2\x81");
    for (const char* invalid :
         {"\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xc3", "\xe0\x80\x80", "\xf0\x80\x80\x80"}) {
        EXPECT_NE(AsUtf8(invalid), invalid);
    }
}

TEST(Utf8Text, WidthIsThatOnATerminal) {
    EXPECT_EQ(GetDisplayWidth(""), 0U);
    EXPECT_EQ(GetDisplayWidth("a\u00e5b"), 3U);
    EXPECT_EQ(FitDisplayWidth("a\u00e5b", 2), "a\u00e5");
    // Ideographs take two places, a combining accent none; half of a wide character isn't shown.
    EXPECT_EQ(GetDisplayWidth("\u6e29\u5ea6"), 4U);
    EXPECT_EQ(FitDisplayWidth("\u6e29\u5ea6", 3), "\u6e29");
    EXPECT_EQ(GetDisplayWidth("e\u0301"), 1U);
    EXPECT_EQ(FitDisplayWidth("e\u0301f", 1), "e\u0301");
    EXPECT_EQ(FitDisplayWidth("ab", 0), "");
}

TEST(Json, WritesOneDocument) {
    std::ostringstream stream;
    JsonWriter json(stream);
    json.BeginObject();
    json.Put("a", "x\"\n\x01");
    json.BeginArray("b");
    json.Put("c");
    json.Put("d");
    json.EndArray();
    json.Put("e", 5LL);
    json.Put("f", true);
    json.BeginObject("g");
    json.EndObject();
    json.EndObject();
    EXPECT_EQ(stream.str(),
              "{\n  \"a\": \"x\\\"\\n\\u0001\",\n  \"b\": [\n    \"c\",\n    \"d\"\n  ],\n  \"e\": 5,\n  "
              "\"f\": true,\n"
              "  \"g\": {}\n}\n");
}

TEST(Json, ErrorsTellCodeFileAndPlace) {
    karta::Error::Details details;
    details.code = karta::ErrorCode::BadFile;
    details.file = "a.csv";
    details.format = "CSV File";
    details.text = "a quote is never closed";
    details.place.line = 7;
    details.place.cell = "B7";
    std::ostringstream stream;
    JsonWriter json(stream);
    json.BeginObject();
    PutError(json, FailureOf(karta::Error(details)));
    json.EndObject();
    EXPECT_EQ(stream.str(),
              "{\n  \"error\": {\n    \"message\": \"a.csv: a quote is never closed\",\n    \"status\": 1,\n"
              "    \"code\": \"bad-file\",\n    \"file\": \"a.csv\",\n    \"format\": \"CSV File\",\n"
              "    \"place\": {\n      \"line\": 7,\n      \"cell\": \"B7\"\n    }\n  }\n}\n");
}
