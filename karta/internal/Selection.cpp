#include "karta/internal/Selection.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <limits>
#include <optional>
#include <stop_token>
#include <utility>

#include "base/Unicode.h"
#include "frame/FormatReader.h"
#include "karta/Error.h"
#include "karta/internal/BatchSink.h"
#include "karta/internal/FormatOptions.h"
#include "karta/internal/HeadRowsSink.h"
#include "karta/internal/SurveySink.h"
#include "karta/internal/TableRows.h"
#include "karta/internal/TableSink.h"
#include "karta/internal/TableSlices.h"

namespace karta {

namespace {

Fact MakeFact(const FileContents::Fact& fact) {
    return {AsUtf8(fact.name), AsUtf8(fact.value), fact.number, AsUtf8(fact.unit)};
}

std::vector<Fact> FactsOf(SpreadsheetFile& reader) {
    std::vector<Fact> facts;
    if (auto* contents = dynamic_cast<FileContents*>(&reader)) {
        for (const FileContents::Fact& fact : contents->ListFacts()) {
            facts.push_back(MakeFact(fact));
        }
    }
    return facts;
}

Part MakePart(const FileContents::Part& part, std::size_t place) {
    Part made;
    made.place = static_cast<int>(place);
    made.kind = part.kind;
    made.name = AsUtf8(part.name);
    if (part.rows >= 0 && part.cols >= 0) {
        made.rows = part.rows;
        made.columns = part.cols;
    }
    made.isHidden = part.hidden;
    made.detail = AsUtf8(part.detail);
    return made;
}

/** Hands progress on, now and then; what the callback raises stops the read and is kept for its end. */
class Observer {
public:
    Observer(const std::function<void(double)>& callback, const std::stop_token& token)
        : progress(callback), onStop(token, [this] { stop.request_stop(); }) {}

    /** A read by these wishes is looked at in all of its stages. */
    void LookAt(ReadWishes& wishes) {
        wishes.stop = stop.get_token();
        if (progress) {
            wishes.progress = [this](double share) { Tell(share); };
        }
    }

    /** Where the next share begins and ends, of several reads. */
    void SetStretch(double from, double to) {
        begin = from;
        end = to;
        known = from > 0.0 ? from : known;
    }

    ReadWatch Watch() {
        ReadWatch watch{stop.get_token(), {}, {}};
        if (progress) {
            watch.onRow = [this](int row, int rows) {
                Tell(rows > 0 ? static_cast<double>(row) / rows : -1.0);
            };
            watch.onShare = [this](double share) { Tell(share); };
        }
        return watch;
    }

    /** At the end of a read that gave a table. */
    void Finish() {
        Rethrow();
        if (progress) {
            progress(1.0);
        }
    }
    void Rethrow() const {
        if (raised) {
            std::rethrow_exception(raised);
        }
    }

private:
    static constexpr auto Interval = std::chrono::milliseconds(50);

    void Tell(double share) {
        const auto now = std::chrono::steady_clock::now();
        if (now < next || raised) {
            return;
        }
        next = now + Interval;
        // Who only knows that it goes on takes nothing back from who knows how far.
        known = share < 0.0 ? known : begin + (end - begin) * std::min(share, 1.0);
        try {
            progress(known);
        } catch (...) {
            raised = std::current_exception();
            stop.request_stop();
        }
    }

    const std::function<void(double)>& progress;
    double known = -1.0;
    double begin = 0.0;
    double end = 1.0;
    std::exception_ptr raised;
    std::chrono::steady_clock::time_point next;
    std::stop_source stop;
    std::stop_callback<std::function<void()>> onStop;
};

void CheckRanges(const std::vector<RowRange>& ranges) {
    for (const RowRange& range : ranges) {
        if (range.first < 1 || range.last < range.first) {
            throw Error({.code = ErrorCode::BadOption,
                         .option = "rows",
                         .text = "takes ranges that count from 1, not " + std::to_string(range.first) +
                                 " to " + std::to_string(range.last)});
        }
    }
}

void CheckHeader(const std::optional<int>& header) {
    if (header && *header < 0) {
        throw Error({.code = ErrorCode::BadOption,
                     .option = "header",
                     .text = "takes a row from 1, or 0 for none, not " + std::to_string(*header)});
    }
}

std::int64_t LastOf(const std::vector<RowRange>& ranges) {
    std::int64_t last = ranges.empty() ? std::numeric_limits<std::int64_t>::max() : 0;
    for (const RowRange& range : ranges) {
        last = std::max(last, range.last);
    }
    return last;
}

// Whether what the beginning of a file told of its types and encoding turned out not to hold for all of it.
bool WasMisjudged(const Notes& notes) {
    return std::any_of(notes.GetAll().begin(), notes.GetAll().end(), [](const Note& note) {
        return note.code == "late-texts" || note.code == "not-utf-8" || note.code == "dropped-nuls";
    });
}

}  // namespace

std::shared_ptr<FormatCatalogue> LoadFormats(const std::vector<std::string>& pluginFolders) {
    auto formats = std::make_shared<FormatCatalogue>();
    formats->InitFrom(pluginFolders);
    return formats;
}

Selection::Selection(std::vector<std::string> fileNames, ReadOptions readOptions,
                     std::shared_ptr<FormatCatalogue> formats, UnknownOptions unknown)
    : files(std::move(fileNames)), options(std::move(readOptions)), unknownOptions(unknown) {
    if (files.empty()) {
        throw Error({.code = ErrorCode::NotFound, .text = "no file is named"});
    }
    CheckRanges(options.rows);
    CheckHeader(options.header);
    ReadWishes wishes = MakeWishes(files, options);
    // Any table can have a row of names.
    wishes.header.reset();
    if (unknownOptions == UnknownOptions::AreDropped) {
        wishes = WithoutFormatOptions(std::move(wishes));
    }
    WithErrors(wishes, {}, [&] { chosen = ChooseFormat(std::move(formats), wishes); });
    format = chosen.GetName();
}

ReadWishes Selection::MakePartWishes(const PartName& part) const {
    ReadOptions ofPart = options;
    ofPart.part = part;
    ReadWishes wishes = MakeWishes(files, ofPart);
    if (!KnowsOption(*chosen.formats, chosen.format, "header", wishes.reading)) {
        wishes.header.reset();
    }
    if (unknownOptions == UnknownOptions::AreDropped) {
        DropUnknownOptions(*chosen.formats, chosen.format, wishes);
    } else {
        CheckFormatOptions(*chosen.formats, chosen.format, wishes);
    }
    return wishes;
}

Inspection Selection::Inspect() const {
    ReadWishes wishes = MakePartWishes(0);
    Observer observer(options.progress, options.stop);
    observer.LookAt(wishes);
    try {
        Inspection found = InspectBy(wishes);
        observer.Finish();
        return found;
    } catch (const Error&) {
        observer.Rethrow();
        throw;
    }
}

Inspection Selection::InspectBy(const ReadWishes& wishes) const {
    Inspection found;
    found.format = format;
    found.shortName = chosen.formats->GetShortName(chosen.format);
    found.reason = chosen.reason;
    found.reading = options.reading;
    WithErrors(wishes, format, [&] {
        OptionsRecord record = MakeOptions(*chosen.formats, chosen.format, wishes);
        const auto reader = MakeReader(*chosen.formats, chosen.format, wishes);
        reader->Open(true, wishes.Selection().c_str(), record.Get());
        if (reader->GetStatus() != SpreadsheetFile::StatusOk) {
            RaiseReadersError(*reader, wishes, format);
        }
        if (auto* contents = dynamic_cast<FileContents*>(reader.get())) {
            for (const FileContents::Part& part : contents->ListParts()) {
                found.parts.push_back(MakePart(part, found.parts.size() + 1));
            }
            found.facts = FactsOf(*reader);
        }
        if (const auto* own = dynamic_cast<FormatReader*>(reader.get())) {
            found.notes = own->GetContext()->notes.GetAll();
        }
        reader->Close();
    });
    return found;
}

// One read of the files into a sink of its caller's.
class Selection::Run {
public:
    Run(const Selection& readSelection, const ReadWishes& readWishes, Observer& observer)
        : selection(readSelection), wishes(readWishes), control(RowFilter(), observer.Watch()) {
        report.context = MakeContext(wishes);
        report.notes = NoteUnknownSettings(*selection.chosen.formats, selection.chosen.format, wishes);
    }

    /** A row of names behind all rows names nothing. */
    void CheckHeaderIn(ReadSpreadSheetData& sink) const {
        const int rows = sink.GetNumberOfRows();
        const int header = selection.options.header.value_or(0);
        if (rows > 0 && header > rows) {
            throw Error({.code = ErrorCode::BadOption,
                         .file = selection.files.front(),
                         .format = selection.format,
                         .option = "header",
                         .text = "names row " + std::to_string(header) + " of " +
                                 CountOf(static_cast<std::uint64_t>(rows), "row")});
        }
    }

    const std::shared_ptr<ReadContext>& GetContext() const { return report.context; }
    ReadControl& GetControl() { return control; }

    void ReadInto(ReadSpreadSheetData& sink) {
        OptionsRecord record = MakeOptions(*selection.chosen.formats, selection.chosen.format, wishes);
        ReadDirectly(wishes, selection.chosen, record, control, sink, report,
                     {.begin = {}, .end = [&](SpreadsheetFile& reader) { facts = FactsOf(reader); }});
        CheckHeaderIn(sink);
    }

    /** What the first of two reads gives: the table, if it is small, or a plan of it, or neither where it can
     * only be read as a whole. */
    struct Survey {
        bool wasMisjudged = false;  // by the file's beginning; then nothing else is here
        std::optional<Table> whole;
        std::optional<TablePlan> plan;
    };

    Survey MakeSurvey(std::int64_t rows, std::size_t mostHeldBytes, bool needsEvidence) {
        SurveySink sink(report.context, control, selection.options.header, rows, mostHeldBytes);
        sink.WantWholeEvidence(needsEvidence);
        ReadInto(sink);
        Survey survey;
        survey.wasMisjudged = !needsEvidence && WasMisjudged(report.context->notes);
        if (survey.wasMisjudged) {
            return survey;
        }
        if (sink.IsWhole()) {
            survey.whole = Complete(sink.Finish());
        } else if (survey.plan = sink.Plan(); survey.plan) {
            survey.plan->head = Complete(survey.plan->head);
        }
        return survey;
    }

    /** The table with what the read has told beside it. */
    Table Complete(const Table& table) const {
        Notes notes;
        for (const std::vector<Note>* told : {&table.GetNotes(), &report.notes}) {
            for (const Note& note : *told) {
                notes.Add({note.code, note.count, AsUtf8(note.place), AsUtf8(note.text)});
            }
        }
        if (!report.warning.empty()) {
            notes.Add({"warning", 1, "", AsUtf8(report.warning)});
        }
        return table.With(facts, notes.GetAll());
    }

private:
    const Selection& selection;
    const ReadWishes& wishes;
    ReadReport report;
    ReadControl control;
    std::vector<Fact> facts;
};

Table Selection::Read(const PartName& part) const {
    ReadWishes wishes = MakePartWishes(part);
    Observer observer(options.progress, options.stop);
    observer.LookAt(wishes);
    try {
        return WithErrors(wishes, format, [&] {
            Run run(*this, wishes, observer);
            TableSink table(run.GetContext(), options.header);
            HeadRowsSink firstRows(table, *run.GetContext(), run.GetControl(), LastOf(options.rows));
            if (options.rows.empty()) {
                table.Watch(run.GetControl());
            }
            run.ReadInto(options.rows.empty() ? static_cast<ReadSpreadSheetData&>(table) : firstRows);
            const Table read = table.Finish();
            observer.Finish();
            return Select(run.Complete(read));
        });
    } catch (const Error&) {
        observer.Rethrow();
        throw;
    }
}

void Selection::ForEachBatch(const PartName& part, std::int64_t rows, const BatchFunction& use,
                             std::size_t mostHeldBytes) const {
    const std::int64_t step = std::max<std::int64_t>(rows, 1);
    if (!options.rows.empty()) {
        ForEachSlice(Read(part), step, use);
        return;
    }
    ReadWishes wishes = MakePartWishes(part);
    Observer observer(options.progress, options.stop);
    observer.LookAt(wishes);
    Run::Survey survey;
    std::exception_ptr raised;
    // Looking through the whole file for what the types are costs as much as a read: only where the beginning
    // tells it wrongly.
    bool needsEvidence = false;
    double share = 0.5;
    try {
        WithErrors(wishes, format, [&] {
            observer.SetStretch(0.0, share);
            survey = Run(*this, wishes, observer).MakeSurvey(step, mostHeldBytes, needsEvidence);
            if (survey.wasMisjudged) {
                needsEvidence = true;
                observer.SetStretch(std::exchange(share, 0.75), 0.75);
                survey = Run(*this, wishes, observer).MakeSurvey(step, mostHeldBytes, needsEvidence);
            }
            if (survey.whole) {
                observer.Finish();
            }
        });
        WithErrors(wishes, format, [&] {
            if (survey.plan) {
                observer.SetStretch(share, 1.0);
                Run run(*this, wishes, observer);
                BatchSink sink(run.GetContext(), run.GetControl(), *survey.plan, step, use);
                sink.WantWholeEvidence(needsEvidence);
                run.ReadInto(sink);
                sink.Finish();
                raised = sink.GetRaised();
                observer.Finish();
            }
        });
    } catch (const Error&) {
        observer.Rethrow();
        throw;
    }
    if (raised) {
        std::rethrow_exception(raised);
    }
    if (!survey.plan) {
        ForEachSlice(survey.whole ? *survey.whole : Read(part), step, use);
    }
}

Table Selection::Select(const Table& table) const {
    if (options.rows.empty()) {
        return table;
    }
    std::vector<Table> pieces;
    for (const RowRange& range : options.rows) {
        const std::int64_t first = std::min(range.first - 1, table.GetRowCount());
        const std::int64_t last = std::min(range.last, table.GetRowCount());
        pieces.push_back(table.Slice(first, last - first));
    }
    return pieces.size() == 1 ? pieces.front() : JoinRows(pieces);
}

}  // namespace karta
