#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/JsonRows.h"
#include "base/SeparatedText.h"
#include "base/TextArena.h"
#include "frame/CellRunSink.h"
#include "frame/RowTextSink.h"
#include "text/ColumnTypes.h"
#include "text/DelimitedOptions.h"
#include "text/FieldForm.h"
#include "text/FieldMarks.h"
#include "text/NumberMarks.h"
#include "text/PieceTexts.h"
#include "text/TextDialect.h"
#include "text/ZoneCount.h"

/** What the lines of a text are read by; the same for all pieces of it. */
struct LineRules {
    TextDialect dialect;           /**< of one byte, whose runs don't count as one */
    std::vector<ColumnType> types; /**< of the columns of most lines */
    DateOrder dateOrder = DateOrder::None;
    bool isUtf8 = false;                 /**< all bytes are known to be */
    bool mustBePlain = false;            /**< that is so for plain lines only, which has to be looked at */
    bool isOneByte = false;              /**< bytes above ASCII are characters by themselves */
    bool makesRuns = false;              /**< truth values, dates and times lie side by side, as numbers do */
    bool makesTexts = false;             /**< and so do texts */
    bool keepsWriting = false;           /**< it is kept where numbers are written */
    std::optional<RowTextForm> rowTexts; /**< the lines become rows of text, and no columns */
    const char* textEnd = nullptr;       /**< behind the whole text */
};

/**
 * Some records of delimited text, divided and converted, in columns: the part of reading that needs nothing
 * but their bytes, so that any thread can do it. It takes the beginning for that of a record, and those
 * records that are divided in one way only: of the usual width, each field plain or wholly in quotes. Others,
 * and remarks, are only found, each taken for a line.
 */
class LinePiece {
public:
    /** A cell that isn't just a value of its column, or one that would be written with other characters. */
    struct Other {
        enum Kind : std::uint8_t {
            Text,
            Missing,
            Value,    /**< has a form */
            Unlooked, /**< its bytes may have to be converted first */
            Source    /**< the value's characters */
        };
        std::uint32_t row;     // from 0
        std::uint32_t form;    // its place among the forms
        std::uint32_t record;  // where its record begins, from the piece's beginning
        Kind kind;
        std::string_view text;
    };
    struct Column {
        std::vector<double> numbers;         // one a row where the column is numbers; 0 at others
        std::vector<std::uint8_t> decimals;  // in runs, how numbers are written, if any is told of
        bool hasDecimals = false;
        std::vector<NumberWriting::Place> writing;  // where they are written, if that is kept
        std::vector<std::int64_t> values;           // the same of truth values, dates and times in runs
        PieceTexts texts;                           // of texts
        bool hasWriting = false;    // the first date and time of the piece tells how they are written
        bool areBlanked = false;    // with a blank between them
        std::vector<Other> others;  // by rows
    };
    /** A record that isn't in the columns, with what it is if it is a line. */
    struct OddLine {
        std::uint32_t row;
        std::string_view line;  // with its end
    };
    /** Rows of text, up to a record that isn't among them or to the end. */
    struct RowTexts {
        std::uint32_t rows = 0;
        std::size_t end = 0;     // where their text ends
        std::size_t widest = 0;  // the most fields of one
        ZoneCount zones;
    };

    /** Whole lines, each with its line feed but for the text's last one. */
    void Read(std::string_view lines, const LineRules& rules);

    std::string_view GetLines() const { return text; }
    /** What of the lines is here: all but a record at the end whose quote isn't closed in them. */
    std::string_view GetTaken() const { return text.substr(0, taken); }
    /** False where lines that must be plain aren't: then nothing else is here. */
    bool IsPlain() const { return isPlain; }
    /** False where carriage returns part lines as well, or lines can't be rows of text: then nothing else
     * here holds. */
    bool IsParted() const { return isParted; }
    /** Whether it is rows of text, and no columns. */
    bool HasRowTexts() const { return hasRowTexts; }
    /** The rows of text, one behind the other, and what they are between the odd lines: one more than these.
     */
    std::string_view GetRowTexts() const { return isJson ? jsonRows.GetBytes() : rowTexts.GetBytes(); }
    const std::vector<RowTexts>& GetStretches() const { return stretches; }
    std::uint32_t GetRowCount() const { return rows; }
    const std::vector<Column>& GetColumns() const { return columns; }
    const FieldForm& GetForm(const Other& other) const { return forms[other.form]; }
    const std::vector<OddLine>& GetOddLines() const { return oddLines; }

private:
    void Clear(std::string_view lines, const LineRules& rules);
    void MakeRoom(std::size_t wanted, const LineRules& rules);
    void PlaceQuickColumns(const LineRules& rules);
    template <bool KeepsWriting>
    const char* ReadRecord(const char* at, const char* end, const LineRules& rules);
    const char* ReadField(const char* at, const char* end, const LineRules& rules, std::size_t col);
    template <bool KeepsWriting>
    const char* ReadQuickNumbers(const char* at, const char* end, const LineRules& rules, std::size_t& col);
    const char* ReadQuoted(const char* open, const char* end, const LineRules& rules, std::size_t col);
    template <class IsEnd>
    const char* ReadNumber(std::string_view from, const char* readable, const LineRules& rules,
                           std::size_t col, IsEnd isEnd);
    const char* TakeLineEnd(const char* at, const char* end);
    void PutDecimals(std::size_t col, std::uint32_t row, std::uint8_t decimals);
    void KeepWriting(Column& column, std::string_view number) const;
    void PutField(std::string_view value, const char* readable, const LineRules& rules, std::size_t col);
    void PutText(std::string_view value, const char* readable, const LineRules& rules, std::size_t col);
    bool PutValue(std::string_view value, const LineRules& rules, std::size_t col);
    void AddOther(std::size_t col, Other::Kind kind, std::string_view value, std::uint32_t form = 0);
    void AddValue(std::size_t col, std::string_view value, const LineRules& rules);
    void DropRow(const LineRules& rules);
    void ReadRowTexts(const LineRules& rules, const RowTextForm& form);
    template <class Adder>
    void AddRows(const LineRules& rules, std::size_t width, Adder& adder);
    template <class Adder>
    const char* AddRow(const char* end, const LineRules& rules, Adder& adder, std::size_t& fields);
    template <class Adder>
    const char* AddRecord(const char* end, const LineRules& rules, Adder& adder, std::size_t& fields);
    template <class Adder>
    const char* AddField(const char* end, const LineRules& rules, Adder& adder, std::size_t col);
    void EndStretch();
    const char* FindEndOfQuoted(const char* open, const char* end, const LineRules& rules, bool& isEscaped);
    std::string_view FindOddLine(const char* end) const;

    std::string_view text;
    std::size_t taken = 0;
    std::uint32_t rows = 0;
    std::size_t room = 0;  // for so many rows, in columns as these rules have them
    const LineRules* madeFor = nullptr;
    bool isPlain = true;
    bool isParted = true;
    bool isOpen = false;           // a quote at the end isn't closed
    const char* record = nullptr;  // the one that is read
    const char* fieldBegin = nullptr;
    std::vector<Column> columns;
    // Side by side for the reading of quick numbers; without numbers where a column isn't of those with
    // points.
    struct QuickColumn {
        double* numbers;
        std::uint8_t* decimals;  // null where none is told of so far
        NumberWriting::Place* writing;
    };
    std::vector<QuickColumn> quickColumns;
    bool areAllQuick = false;
    FieldMarks fieldMarks;
    FieldMarks::Reading reading;
    std::vector<FieldForm> forms;
    std::vector<OddLine> oddLines;
    std::string unescaped;  // a field's text for the moment
    std::string utf8;
    TextArena unescapedTexts;  // those that others refer to
    bool hasRowTexts = false;
    bool isJson = false;
    SeparatedText rowTexts;
    JsonRows jsonRows;
    NumberMarks marks;
    bool hasQuotes = false;  // of the lines that become rows of text
    bool hasReturns = false;
    RowTexts stretch;  // the one that is read
    std::vector<RowTexts> stretches;
};
