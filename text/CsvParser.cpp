#include "text/CsvParser.h"

#include <algorithm>
#include <limits>
#include <type_traits>

#include <boost/spirit/include/classic_file_iterator.hpp>

static_assert(std::is_same_v<CsvParser::file_iterator, boost::spirit::classic::file_iterator<>>);

namespace {

constexpr char Quote = '"';

// The text of a quoted field: without the quotes around it, each pair inside one quote.
void Unescape(std::string_view escaped, std::string& text) {
    std::string_view rest = escaped.substr(1, escaped.size() - 2);
    text.clear();
    for (std::size_t quote = rest.find(Quote); quote != std::string_view::npos; quote = rest.find(Quote)) {
        text.append(rest.substr(0, quote + 1));
        rest.remove_prefix(quote + 2);
    }
    text.append(rest);
}

// Where the byte of an iterator lies in the mapped file; for the end, the place behind the last byte.
const char* AddressOf(const CsvParser::file_iterator& place) {
    return &*place;
}

}  // namespace

CsvParser::CsvParser(ReadSpreadSheetData* target) : sink(target) {
    sink->SetDataSize(1, 1);
}

void CsvParser::ResetSpreadSheet(int rowCount) {
    expectedRows = rowCount;
    col = row = sheetCols = sheetRows = 1;
    endsWithNewLine = false;
    overfull = false;
    sink->SetDataSize(1, 1);
    sink->Set(1, 1, "");
}

void CsvParser::Finished() {
    sink->SetDataSize(sheetCols, endsWithNewLine ? sheetRows - 1 : sheetRows);
}

// Grows the sink by the one row or column that the present field begins.
void CsvParser::MakeRoom() {
    if (col == 1 && sheetRows < row) {
        ++sheetRows;
        if (sink->GetNumberOfRows() < row) {
            sink->SetDataSize(sheetCols, std::max(sheetRows, expectedRows));
        }
    }
    if (sink->GetNumberOfColumns() < col) {
        ++sheetCols;
        sink->SetDataSize(sheetCols, sheetRows == 1 ? 1 : std::max(sheetRows, expectedRows));
    }
}

// An empty field takes its place and sets nothing.
void CsvParser::PutField() {
    if (overfull) {
        return;
    }
    MakeRoom();
    if (!field.empty()) {
        sink->Set(col, row, field.c_str());
    }
    Advance(col);
}

void CsvParser::Advance(std::int32_t& place) {
    overfull = overfull || place == std::numeric_limits<std::int32_t>::max();
    place += overfull ? 0 : 1;
}

void CsvParser::EscapedCallback::operator()(const char* first, const char* last) const {
    Unescape({first, last}, parser->field);
    parser->PutField();
}

void CsvParser::NonescapedCallback::operator()(const char* first, const char* last) const {
    parser->field.assign(first, last);
    parser->PutField();
}

void CsvParser::RecordCallback::operator()(const char* /*first*/, const char* /*last*/) const {
    parser->Advance(parser->row);
    parser->col = 1;
}

void CsvParser::EndWithNewLineCallback::operator()(const char* /*first*/, const char* /*last*/) const {
    parser->endsWithNewLine = true;
}

void CsvParser::EscapedCallback::operator()(const file_iterator& first, const file_iterator& last) const {
    (*this)(AddressOf(first), AddressOf(last));
}

void CsvParser::NonescapedCallback::operator()(const file_iterator& first, const file_iterator& last) const {
    (*this)(AddressOf(first), AddressOf(last));
}

void CsvParser::RecordCallback::operator()(const file_iterator& first, const file_iterator& last) const {
    (*this)(AddressOf(first), AddressOf(last));
}

void CsvParser::EndWithNewLineCallback::operator()(const file_iterator& first,
                                                   const file_iterator& last) const {
    (*this)(AddressOf(first), AddressOf(last));
}
