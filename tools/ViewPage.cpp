#include "tools/ViewPage.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "base/PathNames.h"
#include "tools/CurveReduction.h"
#include "tools/PageText.h"
#include "tools/PlotBlock.h"
#include "tools/PlotColumns.h"
#include "tools/PlotNumber.h"
#include "tools/TableHead.h"
#include "tools/TerminalText.h"
#include "tools/Utf8Text.h"

namespace {

// More curves aren't told apart; the page then shows quantiles, and so many curves of all.
constexpr std::size_t MostCurves = 200;
// More wouldn't be seen on a screen of today.
constexpr std::size_t MostQuantileStretches = 1000;
// Four bytes each, and a third more as text: with all else a page stays below 5 MB.
constexpr std::size_t MostNumbers = 500'000;
constexpr std::size_t FewestStretches = 500;

// Fewer curves are no map, however they follow each other in time; many begin as one.
constexpr std::size_t FewestMapRows = 4;
constexpr std::size_t FewestRowsOfFirstMap = 24;
constexpr std::size_t MostMapRows = 400;
constexpr std::size_t MostMapColumns = 400;

constexpr int MostHeadRows = 100;
constexpr int MostHeadColumns = 60;
// A text of megabytes in a cell would be seen by nobody.
constexpr std::size_t MostCellWidth = 200;

template <class Number>
std::string Base64Of(std::span<const Number> values) {
    const auto bytes = std::as_bytes(values);
    const std::unique_ptr<char, decltype(&g_free)> text(
        g_base64_encode(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()), &g_free);
    return text.get();
}

template <class Number>
std::string Base64Of(const std::vector<Number>& values) {
    return Base64Of(std::span<const Number>(values));
}

// Whether floats tell the numbers apart: not those of a narrow range far from zero.
bool AreFloatsEnough(const std::vector<double>& values) {
    constexpr double LeastShare = 1e-3;
    double least = HUGE_VAL;
    double greatest = -HUGE_VAL;
    for (const double value : values) {
        least = std::fmin(least, value);
        greatest = std::fmax(greatest, value);
    }
    const double size = std::max(std::fabs(least), std::fabs(greatest));
    constexpr double ExactIntegers = 1 << 24;
    return !(greatest >= least) || (size <= ExactIntegers && greatest - least >= LeastShare * size);
}

/** The part of the page's data that draws one table. */
class PlotWriter {
public:
    PlotWriter(JsonWriter& target, TableData& plotTable, const karta::TableShape& plotShape)
        : json(target), table(plotTable), shape(plotShape) {}

    void Write(bool isRaman) {
        if (std::optional<PlotBlock> block = PlotBlock::Find(table, shape)) {
            if (isRaman) {
                block->SetReversed(false);
            }
            WriteBlock(*block);
        } else if (const std::optional<PlotColumns> columns = PlotColumns::Find(table, shape)) {
            WriteColumns(*columns);
        }
    }

private:
    void WriteAxis(const PlotAxis& axis, const std::vector<double>* values = nullptr) {
        json.BeginObject("axis");
        json.Put("name", axis.name);
        json.Put("unit", axis.unit);
        json.Put("time", axis.isTime);
        json.Put("reversed", axis.isReversed);
        if (values != nullptr) {
            json.Put("x", Base64Of(*values));
        }
        json.EndObject();
    }

    void WriteBlock(const PlotBlock& block) {
        const std::vector<std::size_t> chosen = ChooseEvenly(block.CountCurves(), MostCurves);
        // The points as they are, where there is room for them.
        const std::size_t room = MostNumbers / chosen.size();
        const Stretches stretches(block.CountPoints(), block.CountPoints() <= room
                                                           ? block.CountPoints()
                                                           : std::max(room / 2, FewestStretches));
        const std::vector<double> x = stretches.TakeMiddles(block.GetAxis().values);
        json.BeginObject("block");
        WriteAxis(block.GetAxis(), &x);
        json.Put("value", block.GetValueName());
        json.Put("count", static_cast<long long>(block.CountCurves()));
        json.Put("points", static_cast<long long>(block.CountPoints()));
        json.Put("isReduced", stretches.IsReduced());
        json.BeginArray("curves");
        std::vector<float> values(block.CountPoints());
        for (const std::size_t curve : chosen) {
            block.GetPart(curve, 0, values);
            WriteCurve(block.NameOf(curve), values, stretches);
        }
        json.EndArray();
        if (chosen.size() < block.CountCurves()) {
            WriteQuantiles(block);
        }
        if (const std::optional<PlotAxis>& coordinate = block.GetCoordinate();
            coordinate && block.CountCurves() >= FewestMapRows) {
            WriteMap(block, *coordinate);
        }
        json.EndObject();
    }

    void WriteCurve(const std::string& name, std::span<const float> values, const Stretches& stretches) {
        json.BeginObject();
        json.Put("name", name);
        if (stretches.IsReduced()) {
            const Envelope envelope = FindEnvelope(values, stretches);
            json.Put("low", Base64Of(envelope.low));
            json.Put("high", Base64Of(envelope.high));
        } else {
            json.Put("low", Base64Of(values));
        }
        json.EndObject();
    }

    void WriteQuantiles(const PlotBlock& block) {
        const Stretches stretches(block.CountPoints(), MostQuantileStretches);
        json.BeginObject("quantiles");
        json.Put("x", Base64Of(stretches.TakeMiddles(block.GetAxis().values)));
        json.BeginArray("bands");
        for (const std::vector<float>& band : FindQuantiles(block, stretches)) {
            json.Put(Base64Of(band));
        }
        json.EndArray();
        json.EndObject();
    }

    void WriteMap(const PlotBlock& block, const PlotAxis& coordinate) {
        const Stretches curves(block.CountCurves(), MostMapRows);
        const Stretches points(block.CountPoints(), MostMapColumns);
        json.BeginObject("map");
        WriteAxis(coordinate);
        json.Put("x", Base64Of(points.TakeMiddles(block.GetAxis().values)));
        json.Put("y", Base64Of(curves.TakeMiddles(coordinate.values)));
        json.Put("values", Base64Of(FindMap(block, curves, points)));
        json.Put("isReduced", curves.IsReduced() || points.IsReduced());
        json.Put("isFirst", !coordinate.isTime && block.CountCurves() >= FewestRowsOfFirstMap);
        json.EndObject();
    }

    void WriteColumns(const PlotColumns& columns) {
        const std::size_t room = MostNumbers / columns.GetColumns().size();
        const Stretches stretches(columns.CountRows(), columns.CountRows() <= room
                                                           ? columns.CountRows()
                                                           : std::max(room / 2, FewestStretches));
        json.BeginObject("plotColumns");
        const std::optional<std::size_t> axis = columns.GetAxis();
        json.Put("x", axis ? static_cast<long long>(*axis) : -1LL);
        json.Put("rows", static_cast<long long>(columns.CountRows()));
        json.Put("firstRow", static_cast<long long>(columns.GetFirstRow()));
        json.Put("rowsEach",
                 static_cast<double>(columns.CountRows()) / static_cast<double>(stretches.Count()));
        json.Put("isReduced", stretches.IsReduced());
        json.BeginArray("columns");
        for (std::size_t i = 0; i < columns.GetColumns().size(); ++i) {
            WriteColumn(columns, i, stretches);
        }
        json.EndArray();
        json.EndObject();
    }

    void WriteColumn(const PlotColumns& columns, std::size_t index, const Stretches& stretches) {
        const PlotColumns::Column& column = columns.GetColumns()[index];
        std::vector<double> values;
        for (int row = columns.GetFirstRow(); row <= columns.GetLastRow(); ++row) {
            values.push_back(columns.GetValue(index, row));
        }
        const bool hasRoom = 2 * columns.GetColumns().size() * columns.CountRows() <= MostNumbers;
        const bool isDouble = !column.isTime && hasRoom && !AreFloatsEnough(values);
        if (!column.isTime && !isDouble) {
            WriteCurve(column.name, std::vector<float>(values.begin(), values.end()), stretches);
            return;
        }
        json.BeginObject();
        json.Put("name", column.name);
        json.Put("time", column.isTime);
        json.Put("isDouble", isDouble);
        json.Put("low", Base64Of(stretches.TakeMiddles(values)));
        json.EndObject();
    }

    JsonWriter& json;
    TableData& table;
    const karta::TableShape& shape;
};

std::string HeadCell(TableData& table, int col, int row) {
    const std::string text = AsUtf8(table.GetString(col, row));
    const std::string_view part = FitDisplayWidth(text, MostCellWidth);
    return part.size() < text.size() ? std::string(part) + "\u2026" : text;
}

void WriteHead(JsonWriter& json, TableData& table, const karta::TableShape& shape) {
    const TableHead head(table, &shape);
    const int cols = std::min(table.GetNumberOfColumns(), MostHeadColumns);
    const int firstRow = head.GetNameRow() + 1;
    const int lastRow = std::min(table.GetNumberOfRows(), firstRow + MostHeadRows - 1);
    json.BeginObject("head");
    json.Put("firstRow", static_cast<long long>(firstRow));
    if (head.GetNameRow() > 0) {
        json.BeginArray("names");
        for (int col = 1; col <= cols; ++col) {
            json.Put(HeadCell(table, col, head.GetNameRow()));
        }
        json.EndArray();
    }
    json.BeginArray("isNumber");
    for (int col = 1; col <= cols; ++col) {
        const int row = head.GetFirstDataRow();
        json.Put({}, !IsPointInTime(table.GetKind(col, row)) && !std::isnan(PlotNumberOf(table, col, row)));
    }
    json.EndArray();
    json.BeginArray("rows");
    for (int row = firstRow; row <= lastRow; ++row) {
        json.BeginArray();
        for (int col = 1; col <= cols; ++col) {
            json.Put(HeadCell(table, col, row));
        }
        json.EndArray();
    }
    json.EndArray();
    json.EndObject();
}

// A script element ends at "</script", whatever stands around it, and these characters have no need to stand
// in a text as they are. Outside of JSON's texts there are none of them.
std::string EscapeForScript(const std::string& json) {
    std::string escaped;
    escaped.reserve(json.size());
    for (std::size_t at = 0; at < json.size(); ++at) {
        const std::string_view rest = std::string_view(json).substr(at);
        if (rest.front() == '<') {
            escaped += "\\u003c";
        } else if (rest.front() == '>') {
            escaped += "\\u003e";
        } else if (rest.front() == '&') {
            escaped += "\\u0026";
        } else if (rest.starts_with("\u2028") || rest.starts_with("\u2029")) {
            escaped += rest.starts_with("\u2028") ? "\\u2028" : "\\u2029";
            at += 2;
        } else {
            escaped += rest.front();
        }
    }
    return escaped;
}

// As a policy names the one text that may run: by its digest.
std::string DigestOf(std::string_view text) {
    const std::unique_ptr<GChecksum, decltype(&g_checksum_free)> checksum(g_checksum_new(G_CHECKSUM_SHA256),
                                                                          &g_checksum_free);
    g_checksum_update(checksum.get(), reinterpret_cast<const unsigned char*>(text.data()),
                      static_cast<gssize>(text.size()));
    std::array<unsigned char, 32> digest{};
    gsize size = digest.size();
    g_checksum_get_digest(checksum.get(), digest.data(), &size);
    return "'sha256-" + Base64Of(std::span<const unsigned char>(digest)) + "'";
}

// More names would fill the page before its plot.
constexpr std::size_t MostNamesInSubtitle = 3;

// The folder that all of them lie in; empty where there is none.
std::string CommonFolder(const std::vector<std::string>& files) {
    std::string common = files.front().substr(0, files.front().rfind('/') + 1);
    for (const std::string& file : files) {
        while (!file.starts_with(common)) {
            common.pop_back();
            common.erase(common.rfind('/') + 1);
        }
    }
    return common;
}

std::string SubtitleOf(const std::vector<std::string>& files) {
    if (files.size() > MostNamesInSubtitle) {
        const std::string folder = CommonFolder(files);
        return karta::CountOf(files.size(), "file") + (folder.empty() ? "" : " of " + folder);
    }
    std::string names;
    for (const std::string& file : files) {
        names += (names.empty() ? "" : ", ") + file;
    }
    return names;
}

}  // namespace

ViewPage::ViewPage(const std::string& title, const std::vector<std::string>& files) {
    json.BeginObject();
    json.Put("generator", "karta-import " KARTA_VERSION);
    json.Put("title", AsUtf8(title));
    json.Put("subtitle", AsUtf8(SubtitleOf(files)));
    json.BeginArray("files");
    for (const std::string& file : files) {
        if (files.size() > MostNamesInSubtitle) {
            json.Put(AsUtf8(file));
        }
    }
    json.EndArray();
    json.BeginArray("tables");
}

bool ViewPage::IsRaman(const ViewSubject& subject) {
    return std::any_of(subject.facts.begin(), subject.facts.end(), [](const FileContents::Fact& fact) {
        return ToLowerCase(fact.value).find("raman") != std::string::npos;
    });
}

void ViewPage::BeginTable(const ViewSubject& subject) {
    json.BeginObject();
    json.Put("title", AsUtf8(subject.title));
    json.Put("file", AsUtf8(subject.file));
    json.Put("format", AsUtf8(subject.format));
    json.Put("reason", AsUtf8(subject.reason));
    json.BeginArray("facts");
    for (const FileContents::Fact& fact : subject.facts) {
        json.BeginArray();
        json.Put(AsUtf8(fact.name));
        json.Put(AsUtf8(fact.value));
        json.EndArray();
    }
    json.EndArray();
}

void ViewPage::Add(const ViewSubject& subject, TableRead& read) {
    TableData& table = *read.table;
    BeginTable(subject);
    json.BeginArray("notes");
    if (!read.report.warning.empty()) {
        json.Put(AsUtf8(read.report.warning));
    }
    for (const karta::Note& note : read.report.notes) {
        json.Put(AsUtf8(note.text));
    }
    json.EndArray();
    json.Put("rows", static_cast<long long>(table.GetNumberOfRows()));
    json.Put("columns", static_cast<long long>(table.GetNumberOfColumns()));
    WriteHead(json, table, read.report.shape);
    PlotWriter(json, table, read.report.shape).Write(IsRaman(subject));
    json.EndObject();
}

void ViewPage::AddFailure(const ViewSubject& subject, const std::string& text) {
    BeginTable(subject);
    json.BeginArray("notes");
    json.EndArray();
    json.Put("error", AsUtf8(text));
    json.EndObject();
}

std::string ViewPage::Finish() {
    json.EndArray();
    json.EndObject();
    const std::string style = std::string(PageText::LibraryStyle) + std::string(PageText::Style);
    const std::string policy = "default-src 'none'; script-src " + DigestOf(PageText::Library) + " " +
                               DigestOf(PageText::Script) + "; style-src " + DigestOf(style) +
                               "; img-src data:; base-uri 'none'; form-action 'none'";
    const std::string content = EscapeForScript(stream.str());
    const std::pair<std::string_view, std::string_view> pieces[] = {{"@POLICY@", policy},
                                                                    {"@STYLE@", style},
                                                                    {"@DATA@", content},
                                                                    {"@LIBRARY@", PageText::Library},
                                                                    {"@SCRIPT@", PageText::Script}};
    // Each stands once, in this order: what is put in isn't searched again.
    std::string page;
    std::string_view rest = PageText::Template;
    for (const auto& [mark, text] : pieces) {
        const std::size_t at = rest.find(mark);
        page.append(rest.substr(0, at)).append(text);
        rest.remove_prefix(at + mark.size());
    }
    return page.append(rest);
}
