#include "frame/CellOutput.h"

#include <limits>

#include "base/DateText.h"

namespace {

// Integers up to here are doubles without loss.
constexpr std::int64_t LargestExactInteger = std::int64_t{1} << 53;

template <class Number>
void SetRow(ReadSpreadSheetData& sink, int firstCol, int row, std::span<const Number> values) {
    for (const Number value : values) {
        sink.Set(firstCol++, row, value);
    }
}

template <class Number>
void SetColumn(ReadSpreadSheetData& sink, int col, int firstRow, std::span<const Number> values) {
    for (const Number value : values) {
        sink.Set(col, firstRow++, value);
    }
}

}  // namespace

CellOutput::CellOutput(ReadSpreadSheetData& readerSink)
    : sink(readerSink), wide(dynamic_cast<WideSink*>(&readerSink)) {}

void CellOutput::Text(int col, int row, std::string_view text) {
    if (wide != nullptr) {
        wide->SetText(col, row, text);
    } else {
        terminated.assign(text);
        sink.Set(col, row, terminated.c_str());
    }
}

void CellOutput::TerminatedText(int col, int row, const std::string& text) {
    if (wide != nullptr) {
        wide->SetText(col, row, text);
    } else {
        sink.Set(col, row, text.c_str());
    }
}

void CellOutput::ListedText(int col, int row, const TextList& list, std::size_t place) {
    if (wide != nullptr) {
        wide->SetListedText(col, row, list, place);
    } else {
        sink.Set(col, row, list.Get(place).data());
    }
}

void CellOutput::Integer(int col, int row, std::int64_t value) {
    if (value >= -LargestExactInteger && value <= LargestExactInteger) {
        sink.Set(col, row, static_cast<double>(value));
    } else {
        sink.Set(col, row, value);
    }
}

void CellOutput::Unsigned(int col, int row, std::uint64_t value) {
    if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        Integer(col, row, static_cast<std::int64_t>(value));
    } else {
        Text(col, row, std::to_string(value));
    }
}

void CellOutput::Bool(int col, int row, bool value) {
    if (wide != nullptr) {
        wide->SetBool(col, row, value);
    } else {
        sink.Set(col, row, value ? "TRUE" : "FALSE");
    }
}

void CellOutput::Date(int col, int row, std::int32_t days) {
    if (wide != nullptr) {
        wide->SetDate(col, row, days);
    } else {
        sink.Set(col, row, FormatDate(days).c_str());
    }
}

void CellOutput::Time(int col, int row, std::int64_t microseconds) {
    if (wide != nullptr) {
        wide->SetTime(col, row, microseconds);
    } else {
        sink.Set(col, row, FormatTime(microseconds).c_str());
    }
}

void CellOutput::DateTime(int col, int row, std::int64_t microseconds) {
    if (wide != nullptr) {
        wide->SetDateTime(col, row, microseconds);
    } else {
        sink.Set(col, row, FormatDateTime(microseconds, ' ').c_str());
    }
}

void CellOutput::Duration(int col, int row, std::int64_t microseconds) {
    if (wide != nullptr) {
        wide->SetDuration(col, row, microseconds);
    } else {
        sink.Set(col, row, FormatDuration(microseconds).c_str());
    }
}

void CellOutput::Error(int col, int row, std::string_view text) {
    if (wide != nullptr) {
        wide->SetError(col, row, text);
    } else {
        Text(col, row, text);
    }
}

void CellOutput::Missing(int col, int row) {
    if (wide != nullptr) {
        wide->SetMissing(col, row);
    }
}

void CellOutput::RowRun(int firstCol, int row, std::span<const float> values) {
    if (wide != nullptr) {
        wide->SetRowRun(firstCol, row, values);
    } else {
        SetRow(sink, firstCol, row, values);
    }
}

void CellOutput::RowRun(int firstCol, int row, std::span<const double> values) {
    if (wide != nullptr) {
        wide->SetRowRun(firstCol, row, values);
    } else {
        SetRow(sink, firstCol, row, values);
    }
}

void CellOutput::ColumnRun(int col, int firstRow, std::span<const float> values) {
    if (wide != nullptr) {
        wide->SetColumnRun(col, firstRow, values);
    } else {
        SetColumn(sink, col, firstRow, values);
    }
}

void CellOutput::ColumnRun(int col, int firstRow, std::span<const double> values) {
    if (wide != nullptr) {
        wide->SetColumnRun(col, firstRow, values);
    } else {
        SetColumn(sink, col, firstRow, values);
    }
}

void CellOutput::EndRow(int row) {
    if (wide != nullptr) {
        wide->EndRow(row);
    }
}
