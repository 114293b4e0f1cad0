#include "tests/support/CsvOutcome.h"

#include <functional>

#include "text/CsvScanner.h"
#include "text/CsvSyntax.h"

namespace {

/** Notes every call in a text. */
class RecordingSink : public ReadSpreadSheetData {
public:
    using ReadSpreadSheetData::Set;
    void Set(int col, int row, const char* text) override {
        record += std::to_string(col) + " " + std::to_string(row) + " " + text + "\n";
    }
    void Set(int /*col*/, int /*row*/, float /*value*/) override { record += "number\n"; }
    void SetDataSize(int newCols, int newRows) override {
        cols = newCols;
        rows = newRows;
        record += "size " + std::to_string(cols) + " " + std::to_string(rows) + "\n";
    }
    int GetNumberOfColumns() override { return cols; }
    int GetNumberOfRows() override { return rows; }

    std::string record;

private:
    int cols = 0;
    int rows = 0;
};

std::string OutcomeOf(const std::function<std::size_t(CsvParser&)>& parse) {
    RecordingSink sink;
    CsvParser parser(&sink);
    const std::size_t parsed = parse(parser);
    parser.Finished();
    for (const int field : {parser.col, parser.row, parser.sheetCols, parser.sheetRows}) {
        sink.record += std::to_string(field) + " ";
    }
    return sink.record + std::to_string(parsed) + (parser.endsWithNewLine ? " ends with a line end\n" : "\n");
}

}  // namespace

std::string CsvOutcomeOfGrammar(std::string_view text, char delimiter) {
    return OutcomeOf([&](CsvParser& parser) {
        const CsvSyntax syntax(parser, delimiter);
        const char* const begin = text.data();
        return static_cast<std::size_t>(
            boost::spirit::classic::parse(begin, begin + text.size(), syntax).stop - begin);
    });
}

std::string CsvOutcomeOfScanner(std::string_view text, char delimiter) {
    return OutcomeOf([&](CsvParser& parser) { return CsvScanner(parser, delimiter).Scan(text); });
}
