#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <boost/spirit/include/classic_file_iterator_fwd.hpp>

#include "base/Export.h"
#include "frame/ReadSpreadSheetData.h"

/**
 * The bridge from the grammar of comma-separated text to a sink. The table's size isn't known before the
 * file has been parsed, so the sink is grown on the way: a column at a time while the first row lasts, a
 * row at a time behind it.
 *
 * The callbacks are what a grammar's actions call, each with the bytes of its match. They point back to
 * their parser, which therefore isn't copied.
 */
class KARTA_EXPORT CsvParser {
public:
    /** The bytes of a mapped file. Only code that parses needs its full declaration. */
    using file_iterator = boost::spirit::classic::file_iterator<
        char, boost::spirit::classic::fileiter_impl::mmap_file_iterator<char>>;

    /** Sets the sink, which stays the caller's, to one cell. */
    explicit CsvParser(ReadSpreadSheetData* target);
    CsvParser(const CsvParser&) = delete;
    CsvParser& operator=(const CsvParser&) = delete;

    /**
     * Back to the start for a second parse, whose sink then gets room for `rowCount` rows at once. What
     * the first parse set is gone.
     */
    void ResetSpreadSheet(int rowCount);
    /** Gives the sink its final size; the row that a line end at the file's end began is none. */
    void Finished();
    /** True once there were more rows or columns than an int counts. The cells there were left out. */
    bool IsOverfull() const { return overfull; }

    /** A field in quotes, given with them. */
    struct EscapedCallback {
        CsvParser* parser;
        void operator()(const char* first, const char* last) const;
        void operator()(const file_iterator& first, const file_iterator& last) const;
    };
    /** A field that is taken as it stands. */
    struct NonescapedCallback {
        CsvParser* parser;
        void operator()(const char* first, const char* last) const;
        void operator()(const file_iterator& first, const file_iterator& last) const;
    };
    /** The end of a row. */
    struct RecordCallback {
        CsvParser* parser;
        void operator()(const char* first, const char* last) const;
        void operator()(const file_iterator& first, const file_iterator& last) const;
    };
    /** The end of the file, right behind a line end. */
    struct EndWithNewLineCallback {
        CsvParser* parser;
        void operator()(const char* first, const char* last) const;
        void operator()(const file_iterator& first, const file_iterator& last) const;
    };

    std::int32_t col = 1;           /**< column of the next field */
    std::int32_t row = 1;           /**< row of the next field */
    std::int32_t sheetCols = 1;     /**< columns that the sink was sized to */
    std::int32_t sheetRows = 1;     /**< rows that the sink was sized to */
    std::int32_t expectedRows = -1; /**< rows known from an earlier parse */
    bool endsWithNewLine = false;   /**< the file ended in a line end */
    ReadSpreadSheetData* sink;

    EscapedCallback escapedCallback{this};
    NonescapedCallback nonescapedCallback{this};
    RecordCallback recordCallback{this};
    EndWithNewLineCallback endWithNewLineCallback{this};

private:
    void MakeRoom();
    void PutField();
    void Advance(std::int32_t& place);

    bool overfull = false;
    std::string field;  // the present field's text, kept for its memory
};
