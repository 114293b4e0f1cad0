#pragma once

#include <cstdint>
#include <string_view>

#include "base/DateText.h"
#include "base/JsonRows.h"
#include "text/NothingKept.h"

/** A sink of the cells of one row after the other, each once and in the order of the columns. */
class JsonRowSink final : public NothingKept {
public:
    /** They stay the caller's, who ends each row. */
    explicit JsonRowSink(JsonRows& jsonRows) : rows(jsonRows) {}

    using NothingKept::Set;
    void Set(int /*col*/, int /*row*/, double value) override { rows.AddNumber(value); }
    void Set(int /*col*/, int /*row*/, std::int64_t value) override { rows.AddInteger(value); }
    // The text of a cell ends at a NUL.
    void SetText(int /*col*/, int /*row*/, std::string_view text) override {
        rows.AddText(text.substr(0, text.find('\0')));
    }
    void SetBool(int /*col*/, int /*row*/, bool value) override { rows.AddBool(value); }
    void SetDate(int /*col*/, int /*row*/, std::int32_t days) override {
        rows.AddPlainText(FormatDate(days));
    }
    void SetTime(int /*col*/, int /*row*/, std::int64_t microseconds) override {
        rows.AddPlainText(FormatTime(microseconds));
    }
    void SetDateTime(int /*col*/, int /*row*/, std::int64_t microseconds) override {
        rows.AddPlainText(FormatDateTime(microseconds));
    }
    void SetMissing(int /*col*/, int /*row*/) override { rows.AddNull(); }

private:
    JsonRows& rows;
};
