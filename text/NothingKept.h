#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "frame/CellRunSink.h"
#include "frame/WideSink.h"

/** A sink for a read of which only the reader itself learns something. */
class NothingKept : public WideSink, public CellRunSink {
public:
    using ReadSpreadSheetData::Set;
    void Set(int /*col*/, int /*row*/, const char* /*text*/) override {}
    void Set(int /*col*/, int /*row*/, float /*value*/) override {}
    void Set(int /*col*/, int /*row*/, double /*value*/) override {}
    void Set(int /*col*/, int /*row*/, std::int64_t /*value*/) override {}
    void Set(int /*col*/, int /*row*/, int /*value*/) override {}
    void SetText(int /*col*/, int /*row*/, std::string_view /*text*/) override {}
    void SetBool(int /*col*/, int /*row*/, bool /*value*/) override {}
    void SetDate(int /*col*/, int /*row*/, std::int32_t /*days*/) override {}
    void SetTime(int /*col*/, int /*row*/, std::int64_t /*microseconds*/) override {}
    void SetDateTime(int /*col*/, int /*row*/, std::int64_t /*microseconds*/) override {}
    void SetDuration(int /*col*/, int /*row*/, std::int64_t /*microseconds*/) override {}
    void SetError(int /*col*/, int /*row*/, std::string_view /*text*/) override {}
    void SetMissing(int /*col*/, int /*row*/) override {}
    void SetRowRun(int /*firstCol*/, int /*row*/, std::span<const float> /*values*/) override {}
    void SetRowRun(int /*firstCol*/, int /*row*/, std::span<const double> /*values*/) override {}
    void SetColumnRun(int /*col*/, int /*firstRow*/, std::span<const float> /*values*/) override {}
    void SetColumnRun(int /*col*/, int /*firstRow*/, std::span<const double> /*values*/) override {}
    void SetCellRun(int /*col*/, int /*firstRow*/, std::span<const double> /*values*/,
                    std::span<const std::uint8_t> /*decimals*/) override {}
    void SetTextRun(int /*col*/, int /*firstRow*/, const TextRun& /*texts*/) override {}
    void SetValueRun(int /*col*/, int /*firstRow*/, ValueRunKind /*kind*/,
                     std::span<const std::int64_t> /*values*/) override {}
    bool PrefersCellRuns() const override { return true; }
    void SetDataSize(int /*cols*/, int /*rows*/) override {}
    int GetNumberOfColumns() override { return 0; }
    int GetNumberOfRows() override { return 0; }
    bool KeepsRows() const override { return false; }
};
