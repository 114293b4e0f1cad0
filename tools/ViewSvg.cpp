#include "tools/ViewSvg.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

#include "base/DateText.h"
#include "base/NumberFormat.h"
#include "tools/CurveReduction.h"
#include "tools/PlotBlock.h"
#include "tools/PlotColumns.h"
#include "tools/TerminalText.h"
#include "tools/Utf8Text.h"

namespace {

constexpr double Width = 860;
constexpr double Height = 480;
constexpr double Left = 78;
constexpr double Top = 40;
constexpr double Bottom = 426;
constexpr double RightOfPlot = 836;
// Where there is a legend.
constexpr double RightBesideLegend = 656;

constexpr std::size_t MostCurves = 200;
// As many stand in the legend, one below the other.
constexpr std::size_t MostNames = 20;
constexpr std::size_t MostNameWidth = 24;
constexpr std::size_t MostColumns = 8;
constexpr double LineHeight = 19;

// After Okabe and Ito: told apart by colour-blind people.
constexpr std::array<const char*, 7> Colours = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                                "#e69f00", "#56b4e9", "#000000"};
constexpr std::array<const char*, 4> Dashes = {"none", "9 4", "2 3", "9 3 2 3"};

/** A curve of a picture: one list twice where nothing was reduced. */
struct Curve {
    std::string name;
    std::vector<double> x;
    std::vector<float> low;
    std::vector<float> high;
};

struct Picture {
    PlotAxis axis;  // its values aren't used
    std::string valueName;
    std::vector<Curve> curves;
    bool isOfPoints = false;  // no lines between them
    // Least, 5 %, median, 95 %, greatest.
    std::vector<double> quantileX;
    Quantiles quantiles;
    std::string remark;
};

std::string XmlText(const std::string& text) {
    std::string escaped;
    for (const char c : VisibleText(text)) {
        switch (c) {
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '&':
                escaped += "&amp;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

// A tenth of a pixel is enough.
std::string Place(double value) {
    return FormatShortest(std::round(value * 10.0) / 10.0);
}

struct Range {
    double low = HUGE_VAL;
    double high = -HUGE_VAL;

    void Cover(double value) {
        if (std::isfinite(value)) {
            low = std::min(low, value);
            high = std::max(high, value);
        }
    }
    /** Never empty afterwards; wider by a share at both ends. */
    void Widen(double share) {
        if (low > high) {
            low = 0.0;
            high = 1.0;
        }
        const double more = high > low ? (high - low) * share : std::max(std::fabs(low) * share, 0.5);
        low -= more;
        high += more;
    }
};

std::vector<double> TicksOf(const Range& range, int most) {
    const double raw = (range.high - range.low) / most;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    double step = 10.0 * power;
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= raw) {
            step = factor * power;
            break;
        }
    }
    std::vector<double> ticks;
    for (double at = std::ceil(range.low / step); at * step <= range.high; at += 1.0) {
        ticks.push_back(at * step + 0.0);  // no -0
    }
    return ticks;
}

std::vector<double> TimeTicksOf(const Range& range, int most) {
    constexpr double Second = 1e3;
    constexpr double Minute = 60 * Second;
    constexpr double Hour = 60 * Minute;
    constexpr double Day = 24 * Hour;
    constexpr double Steps[] = {Second,      5 * Second,  15 * Second, 30 * Second, Minute,   5 * Minute,
                                15 * Minute, 30 * Minute, Hour,        3 * Hour,    6 * Hour, 12 * Hour,
                                Day,         2 * Day,     7 * Day,     14 * Day,    30 * Day, 91 * Day};
    double step = 365 * Day;
    if (range.high - range.low < most * Second) {
        return TicksOf(range, most);
    }
    for (const double candidate : Steps) {
        if ((range.high - range.low) / candidate <= most) {
            step = candidate;
            break;
        }
    }
    while ((range.high - range.low) / step > most) {
        step *= 2;
    }
    std::vector<double> ticks;
    for (double at = std::ceil(range.low / step); at * step <= range.high; at += 1.0) {
        ticks.push_back(at * step + 0.0);  // no -0
    }
    return ticks;
}

std::string TextOfTime(double milliseconds) {
    std::string text = FormatDateTime(static_cast<std::int64_t>(milliseconds) * 1000, ' ');
    for (const char* const zeros : {" 00:00:00", ":00"}) {
        if (text.ends_with(zeros)) {
            return text.substr(0, text.size() - std::string_view(zeros).size());
        }
    }
    return text;
}

/** Draws a picture, one element a line. */
class SvgWriter {
public:
    explicit SvgWriter(const Picture& drawn) : picture(drawn) {
        right = picture.curves.size() > 1 ? RightBesideLegend : RightOfPlot;
        for (const Curve& curve : picture.curves) {
            for (std::size_t i = 0; i < curve.x.size(); ++i) {
                x.Cover(curve.x[i]);
                y.Cover(curve.low[i]);
                y.Cover(curve.high[i]);
            }
        }
        for (const double at : picture.quantileX) {
            x.Cover(at);
        }
        for (const std::vector<float>& band : picture.quantiles) {
            for (const float value : band) {
                y.Cover(value);
            }
        }
        x.Widen(0.0);
        y.Widen(0.04);
    }

    std::string Write(const std::string& title) {
        svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + Place(Width) + " " +
              Place(Height) + "\" width=\"" + Place(Width) + "\" height=\"" + Place(Height) +
              "\" role=\"img\" font-family=\"sans-serif\" font-size=\"13\" fill=\"#1b1f24\">\n";
        svg += "<title>" + XmlText(title) + "</title>\n";
        svg += "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
        Text(Left, Top - 18, title, "start", " font-weight=\"bold\" font-size=\"15\"");
        WriteGrid();
        WriteBands();
        for (std::size_t i = 0; i < picture.curves.size(); ++i) {
            WriteCurve(picture.curves[i], StyleOf(i));
        }
        WriteLegend();
        return svg + "</svg>\n";
    }

private:
    double AtX(double value) const {
        const double share = (value - x.low) / (x.high - x.low);
        return picture.axis.isReversed ? right - share * (right - Left) : Left + share * (right - Left);
    }
    double AtY(double value) const { return Bottom - (value - y.low) / (y.high - y.low) * (Bottom - Top); }

    void Text(double atX, double atY, const std::string& text, const char* anchor,
              const std::string& more = {}) {
        svg += "<text x=\"" + Place(atX) + "\" y=\"" + Place(atY) + "\" text-anchor=\"" + anchor + "\"" +
               more + ">" + XmlText(text) + "</text>\n";
    }

    void Line(double fromX, double fromY, double toX, double toY, const char* colour) {
        svg += "<line x1=\"" + Place(fromX) + "\" y1=\"" + Place(fromY) + "\" x2=\"" + Place(toX) +
               "\" y2=\"" + Place(toY) + "\" stroke=\"" + colour + "\"/>\n";
    }

    void WriteGrid() {
        const char* const grid = "#e3e7eb";
        for (const double at : picture.axis.isTime ? TimeTicksOf(x, 5) : TicksOf(x, 8)) {
            Line(AtX(at), Top, AtX(at), Bottom, grid);
            Text(AtX(at), Bottom + 18, picture.axis.isTime ? TextOfTime(at) : FormatG(at, 7), "middle");
        }
        for (const double at : TicksOf(y, 7)) {
            Line(Left, AtY(at), right, AtY(at), grid);
            Text(Left - 8, AtY(at) + 4, FormatG(at, 7), "end");
        }
        Line(Left, Bottom, right, Bottom, "#59636e");
        Line(Left, Top, Left, Bottom, "#59636e");
        Text((Left + right) / 2, Bottom + 40, picture.axis.GetTitle(), "middle");
        Text(18, (Top + Bottom) / 2, picture.valueName, "middle",
             " transform=\"rotate(-90 18 " + Place((Top + Bottom) / 2) + ")\"");
    }

    void WriteBand(std::size_t lower, std::size_t upper, const char* opacity) {
        std::string points;
        for (std::size_t i = 0; i < picture.quantileX.size(); ++i) {
            points += Place(AtX(picture.quantileX[i])) + "," + Place(AtY(picture.quantiles[upper][i])) + " ";
        }
        for (std::size_t i = picture.quantileX.size(); i-- > 0;) {
            points += Place(AtX(picture.quantileX[i])) + "," + Place(AtY(picture.quantiles[lower][i])) + " ";
        }
        svg += "<polygon points=\"" + points + "\" fill=\"#0072b2\" fill-opacity=\"" + opacity + "\"/>\n";
    }

    void WriteBands() {
        if (picture.quantileX.empty()) {
            return;
        }
        WriteBand(0, 4, "0.15");
        WriteBand(1, 3, "0.25");
        WriteCurve({"", picture.quantileX, picture.quantiles[2], picture.quantiles[2]},
                   " stroke=\"#0072b2\" stroke-width=\"1.6\"");
    }

    static std::string StyleOf(std::size_t index) {
        return std::string(" stroke=\"") + Colours[index % Colours.size()] +
               "\" stroke-width=\"1.2\" stroke-dasharray=\"" +
               Dashes[index / Colours.size() % Dashes.size()] + "\"";
    }

    static bool Falls(const Curve& curve, std::size_t i) {
        const std::size_t before = i - std::min<std::size_t>(i, 1);
        const std::size_t behind = std::min(i + 1, curve.x.size() - 1);
        return curve.low[before] + curve.high[before] > curve.low[behind] + curve.high[behind];
    }

    // A gap where a number is missing.
    void WriteCurve(const Curve& curve, const std::string& style) {
        std::string path;
        bool isPenDown = false;
        const auto put = [&](double atX, double atY) {
            path += (isPenDown ? "L" : "M") + Place(AtX(atX)) + " " + Place(AtY(atY));
            // A point alone: a line of no length with round ends.
            path += picture.isOfPoints ? "h0" : "";
            isPenDown = !picture.isOfPoints;
        };
        for (std::size_t i = 0; i < curve.x.size(); ++i) {
            if (!std::isfinite(curve.low[i]) || !std::isfinite(curve.x[i])) {
                isPenDown = false;
                continue;
            }
            // The end that the curve comes from first: a steep one would go to and fro otherwise.
            const bool falls = Falls(curve, i);
            put(curve.x[i], falls ? curve.high[i] : curve.low[i]);
            if (curve.high[i] != curve.low[i]) {
                put(curve.x[i], falls ? curve.low[i] : curve.high[i]);
            }
        }
        svg +=
            "<path d=\"" + path + "\" fill=\"none\" stroke-linejoin=\"round\"" + style +
            (picture.isOfPoints ? " stroke-linecap=\"round\" style=\"stroke-width:4;stroke-dasharray:none\""
                                : "") +
            "/>\n";
    }

    void WriteLegend() {
        double at = Top + 10;
        for (std::size_t i = 0; picture.curves.size() > 1 && i < std::min(picture.curves.size(), MostNames);
             ++i) {
            svg += "<line x1=\"" + Place(right + 14) + "\" y1=\"" + Place(at) + "\" x2=\"" +
                   Place(right + 40) + "\" y2=\"" + Place(at) + "\"" + StyleOf(i) + "/>\n";
            const std::string& name = picture.curves[i].name;
            const std::string_view part = FitDisplayWidth(name, MostNameWidth);
            Text(right + 46, at + 4, std::string(part) + (part.size() < name.size() ? "\u2026" : ""),
                 "start");
            at += LineHeight;
        }
        if (picture.curves.size() > MostNames) {
            Text(right + 46, at + 4, "and " + std::to_string(picture.curves.size() - MostNames) + " more",
                 "start");
        }
        if (!picture.remark.empty()) {
            Text(RightOfPlot, Top - 18, picture.remark, "end", " fill=\"#59636e\"");
        }
    }

    const Picture& picture;
    double right;
    Range x;
    Range y;
    std::string svg;
};

// Two points a pixel of the picture.
constexpr std::size_t MostStretches = 600;

Picture PictureOf(const PlotBlock& block) {
    Picture picture;
    picture.axis = block.GetAxis();
    picture.valueName = block.GetValueName();
    const Stretches stretches(block.CountPoints(), MostStretches);
    const std::vector<double> x = stretches.TakeMiddles(block.GetAxis().values);
    if (block.CountCurves() > MostCurves) {
        picture.quantileX = x;
        picture.quantiles = FindQuantiles(block, stretches);
        picture.remark =
            karta::CountOf(block.CountCurves(), "curve") + ": median, 5 to 95 %, least to greatest";
        return picture;
    }
    std::vector<float> values(block.CountPoints());
    for (std::size_t curve = 0; curve < block.CountCurves(); ++curve) {
        block.GetPart(curve, 0, values);
        Envelope envelope = FindEnvelope(values, stretches);
        picture.curves.push_back({block.NameOf(curve), x, std::move(envelope.low), std::move(envelope.high)});
    }
    return picture;
}

Picture PictureOf(const PlotColumns& columns) {
    Picture picture;
    picture.valueName = "value";
    const std::optional<std::size_t> axis = columns.GetAxis();
    picture.axis.name = axis ? columns.GetColumns()[*axis].name : "row";
    picture.axis.isTime = axis && columns.GetColumns()[*axis].isTime;
    std::vector<double> keys;
    for (int row = columns.GetFirstRow(); row <= columns.GetLastRow(); ++row) {
        keys.push_back(axis ? columns.GetValue(*axis, row) : row);
    }
    picture.isOfPoints = std::adjacent_find(keys.begin(), keys.end(), [](double left, double right) {
                             return !(left < right);
                         }) != keys.end();
    const Stretches stretches(columns.CountRows(), picture.isOfPoints ? columns.CountRows() : MostStretches);
    for (std::size_t i = 0; i < columns.GetColumns().size() && picture.curves.size() < MostColumns; ++i) {
        const PlotColumns::Column& column = columns.GetColumns()[i];
        if (i == axis || column.isTime) {
            continue;
        }
        std::vector<float> values;
        for (int row = columns.GetFirstRow(); row <= columns.GetLastRow(); ++row) {
            values.push_back(static_cast<float>(columns.GetValue(i, row)));
        }
        Envelope envelope = FindEnvelope(values, stretches);
        picture.curves.push_back(
            {column.name, stretches.TakeMiddles(keys), std::move(envelope.low), std::move(envelope.high)});
    }
    if (picture.curves.size() == 1) {
        picture.valueName = picture.curves.front().name;
    }
    return picture;
}

}  // namespace

std::optional<std::string> DrawSvg(TableRead& read, const std::string& title, bool isRaman) {
    if (std::optional<PlotBlock> block = PlotBlock::Find(*read.table, read.report.shape)) {
        if (isRaman) {
            block->SetReversed(false);
        }
        return SvgWriter(PictureOf(*block)).Write(AsUtf8(title));
    }
    if (const auto columns = PlotColumns::Find(*read.table, read.report.shape)) {
        return SvgWriter(PictureOf(*columns)).Write(AsUtf8(title));
    }
    return std::nullopt;
}
