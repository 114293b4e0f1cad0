#include "karta/internal/AxisCheck.h"

#include <algorithm>
#include <optional>
#include <string>

#include "base/NumberFormat.h"
#include "frame/FileContents.h"
#include "host/NvString.h"
#include "karta/internal/NumberRange.h"

namespace {

// A fact is a number, or a text that begins with one: "1100 nm".
std::optional<double> NumberOf(const std::vector<FileContents::Fact>& facts, const char* name) {
    const auto fact =
        std::find_if(facts.begin(), facts.end(), [&](const auto& one) { return one.name == name; });
    if (fact == facts.end()) {
        return std::nullopt;
    }
    double value = 0.0;
    if (fact->number) {
        return fact->number;
    }
    return NvString::ToDouble(fact->value.substr(0, fact->value.find(' ')), value) ? std::optional(value)
                                                                                   : std::nullopt;
}

}  // namespace

void NoteIntervalsOffAxis(const karta::ReadWishes& wishes, SpreadsheetFile& reader, karta::Notes& notes) {
    auto* contents = dynamic_cast<FileContents*>(&reader);
    if (wishes.includes.empty() || contents == nullptr || reader.GetStatus() != SpreadsheetFile::StatusOk) {
        return;
    }
    const std::vector<FileContents::Fact> facts = contents->ListFacts();
    auto first = NumberOf(facts, "first X");
    auto last = NumberOf(facts, "last X");
    if (!first || !last) {
        first = NumberOf(facts, "first time");
        last = NumberOf(facts, "last time");
    }
    if (!first || !last) {
        return;
    }
    const auto [low, high] = std::minmax(*first, *last);
    for (const std::string& include : wishes.includes) {
        const auto interval = karta::ParseInterval(include);
        if (interval &&
            (std::max(interval->from, interval->to) < low || std::min(interval->from, interval->to) > high)) {
            notes.Add({"interval-off-axis", 1, include,
                       "include " + include + " lies off the axis, which goes from " +
                           FormatShortest(*first) + " to " + FormatShortest(*last)});
        }
    }
}
