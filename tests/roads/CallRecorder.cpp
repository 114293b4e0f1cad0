#include "tests/roads/CallRecorder.h"

#include <algorithm>
#include <cmath>

#include "base/NumberFormat.h"
#include "tools/TraceSink.h"

namespace {

// Doubles strictly between these two that are whole numbers go as texts.
constexpr double LargestWholeFloat = 999990.0;
constexpr double TooLargeForInt64 = 9223372036854775808.0;

std::string Cell(const SinkCall& call, const std::string& typeAndValue) {
    return "Set " + std::to_string(call.col) + " " + std::to_string(call.row) + " " + typeAndValue;
}

}  // namespace

std::string SinkCall::Line() const {
    switch (kind) {
        case Int:
            return Cell(*this, "int " + std::to_string(whole));
        case Int64:
            return Cell(*this, "int64 " + std::to_string(whole));
        case Float:
            return Cell(*this, "float " + FormatG(number, 9));
        case Double:
            return Cell(*this, "double " + FormatG(number, 17));
        case Text:
            return Cell(*this, "text " + QuoteForTrace(text));
        case Size:
            return "SetDataSize " + std::to_string(col) + " " + std::to_string(row);
        case NextRow:
            break;
    }
    return "NextRowToRead " + std::to_string(row) + " " + std::to_string(whole);
}

SinkCall SinkCall::Narrowed() const {
    switch (kind) {
        case Int:
            return {Float, col, row, 0, static_cast<double>(static_cast<float>(whole))};
        case Int64:
            return {Text, col, row, 0, 0.0, std::to_string(whole)};
        case Double:
            if (number > LargestWholeFloat && number < TooLargeForInt64 && std::floor(number) == number) {
                return {Text, col, row, 0, 0.0, std::to_string(static_cast<std::int64_t>(number))};
            }
            return {Float, col, row, 0, static_cast<double>(static_cast<float>(number))};
        default:
            return *this;
    }
}

void SinkCall::Repeat(ReadSpreadSheetData& sink) const {
    switch (kind) {
        case Int:
            sink.Set(col, row, static_cast<int>(whole));
            break;
        case Int64:
            sink.Set(col, row, whole);
            break;
        case Float:
            sink.Set(col, row, static_cast<float>(number));
            break;
        case Double:
            sink.Set(col, row, number);
            break;
        case Text:
            sink.Set(col, row, text.c_str());
            break;
        case Size:
            sink.SetDataSize(col, row);
            break;
        case NextRow:
            sink.NextRowToRead(row);
            break;
    }
}

void CallRecorder::Set(int col, int row, int value) {
    calls.push_back({SinkCall::Int, col, row, value});
}

void CallRecorder::Set(int col, int row, std::int64_t value) {
    calls.push_back({SinkCall::Int64, col, row, value});
}

void CallRecorder::Set(int col, int row, double value) {
    calls.push_back({SinkCall::Double, col, row, 0, value});
}

void CallRecorder::Set(int col, int row, const char* text) {
    calls.push_back({SinkCall::Text, col, row, 0, 0.0, text});
}

void CallRecorder::Set(int col, int row, float value) {
    calls.push_back({SinkCall::Float, col, row, 0, static_cast<double>(value)});
}

int CallRecorder::NextRowToRead(int row) {
    int answer = row + 1;
    if (!wantedRows.empty()) {
        const auto next = std::upper_bound(wantedRows.begin(), wantedRows.end(), row);
        answer = next == wantedRows.end() ? -1 : *next;
    }
    calls.push_back({SinkCall::NextRow, 0, row, answer});
    return answer;
}

void CallRecorder::SetDataSize(int cols, int rows) {
    SpreadsheetSink::SetDataSize(cols, rows);
    calls.push_back({SinkCall::Size, cols, rows});
}
