#include "text/DelimitedText.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <span>
#include <stdexcept>
#include <thread>
#include <utility>

#include "base/Ascii.h"
#include "base/ByteScan.h"
#include "base/PathNames.h"
#include "base/Unicode.h"
#include "host/NvString.h"
#include "text/DialectRefiner.h"
#include "text/DialectSniffer.h"
#include "text/NothingKept.h"
#include "text/TypedField.h"

namespace {

// The types are proposed by this much of the text.
constexpr std::size_t HeadSize = 1 << 20;

// How often a stop is looked for and the progress told.
constexpr int RowsBetweenLooks = 1024;
// A text that streams takes no more memory than this of its file.
constexpr std::size_t BytesToLetGo = std::size_t{8} << 20;
// How much of records that become text is handed out at once.
constexpr std::size_t RowTextsAtOnce = std::size_t{1} << 16;

// A table can't count more rows; readers end it as what outgrows a budget.
class TooManyRows : public karta::BudgetExceeded {
public:
    TooManyRows() : karta::BudgetExceeded("the text has more rows than can be counted") {}
};

// What is read at once by a thread; the first pieces are small, for who wants the first rows only.
constexpr std::size_t FirstPiece = std::size_t{1} << 15;
constexpr std::size_t LargestPiece = std::size_t{1} << 18;
// But where it has many columns, each of which costs a call: so many bytes of each, as far as they stay in a
// cache.
constexpr std::size_t BytesOfColumn = 512;
constexpr std::size_t LargestWidePiece = std::size_t{1} << 21;
constexpr double RoomForUnevenLines = 1.02;
// How many lines are looked at for an end of a piece that is in no quotes.
constexpr int LinesToEndAt = 32;
// Pieces below this aren't worth looking for, for a while.
constexpr std::size_t LeastPiece = std::size_t{1} << 14;
constexpr std::size_t BetweenTries = std::size_t{1} << 17;
// Of a text that is believed to be plain: how far it is looked ahead, and how many records may be read by
// themselves before all of it is looked at.
constexpr std::size_t PlainAtOnce = std::size_t{1} << 16;
constexpr int MostProven = 1024;
// A piece keeps a number for each line and column.
constexpr std::size_t MostPieceColumns = 10'000;
// Where threads cost more than they bring, and how many bring the most.
constexpr std::size_t LeastForThreads = std::size_t{1} << 21;
constexpr unsigned int MostThreads = 8;

unsigned int GetThreadCount(unsigned int wanted, std::size_t bytes) {
    return wanted != 0               ? wanted
           : bytes < LeastForThreads ? 1
                                     : std::clamp(std::thread::hardware_concurrency(), 1U, MostThreads);
}

/** As long as it is there, the readers of pieces copy what the sink leaves to them. */
class CopyingByReaders {
public:
    CopyingByReaders(CellRunSink* runSink, PieceReaders& pieceReaders)
        : sink(pieceReaders.HasOthers() ? runSink : nullptr), readers(pieceReaders) {
        if (sink != nullptr) {
            sink->LeaveCopying(&readers);
        }
    }
    CopyingByReaders(const CopyingByReaders&) = delete;
    CopyingByReaders& operator=(const CopyingByReaders&) = delete;
    ~CopyingByReaders() {
        readers.LetGo();
        readers.FinishCopies();
        if (sink != nullptr) {
            sink->LeaveCopying(nullptr);
        }
    }

private:
    CellRunSink* const sink;
    PieceReaders& readers;
};

ValueRunKind GetRunKind(ColumnType::Kind kind, bool areBlanked) {
    switch (kind) {
        case ColumnType::Bool:
            return ValueRunKind::Bool;
        case ColumnType::Date:
            return ValueRunKind::Date;
        case ColumnType::Time:
            return ValueRunKind::Time;
        default:
            return areBlanked ? ValueRunKind::DateBlankedTime : ValueRunKind::DateTime;
    }
}

// "1 text, 2-5 number": columns of one type together.
std::string ListTypes(const std::vector<ColumnType>& types) {
    std::string list;
    for (std::size_t first = 0; first < types.size();) {
        std::size_t last = first;
        while (last + 1 < types.size() && types[last + 1].kind == types[first].kind) {
            ++last;
        }
        list += (list.empty() ? "" : ", ") + std::to_string(first + 1) +
                (last > first ? "-" + std::to_string(last + 1) : "") + " " + GetTypeName(types[first].kind);
        first = last + 1;
    }
    return list;
}

std::vector<std::string> SplitList(std::string_view list) {
    std::vector<std::string> items;
    while (!list.empty()) {
        const std::size_t comma = std::min(list.find(','), list.size());
        items.emplace_back(list.substr(0, comma));
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
    return items;
}

}  // namespace

void DelimitedText::Open(const char* path, const DelimitedOptions& choices) {
    options = choices;
    source.Open(path, options.encoding, context);
    ExamineHead();
}

void DelimitedText::ExamineHead() {
    bool isCut = false;
    std::string beginning = source.GetBeginning(SniffedCharacters, isCut);
    std::erase(beginning, '\0');
    text = source.GetText();
    const std::size_t directive = GetDirectiveLength(beginning);
    hasDirective = directive > 0;
    dialect = SniffDialect(beginning, isCut);
    if (options.delimiter) {
        dialect = SniffQuotes(std::string_view(beginning).substr(directive), isCut, *options.delimiter);
    } else if (!hasDirective) {
        dialect = RefineDialect(dialect, SkipRemarks(beginning), isCut);
    }
    dialect.mergeRuns = dialect.mergeRuns || (options.mergeRuns && !dialect.delimiter.empty());
    // The directive is ASCII but for the character that it names, which another encoding may write shorter.
    text.remove_prefix(directive == 0 ? 0 : std::min(text.find_first_of("\r\n"), text.size()));
    if (directive > 0) {
        text.remove_prefix(text.starts_with("\r\n") ? 2 : std::min<std::size_t>(text.size(), 1));
    }

    const bool mayHaveCommas = dialect.delimiter == ";" || dialect.delimiter == "\t";
    evidence = ColumnTypes(mayHaveCommas, options.decimal.value_or('\0'));
    bool isHeadCut = text.size() > HeadSize;
    std::string_view headText = text.substr(0, HeadSize);
    std::string converted;
    if (source.GetEncoding().kind == TextEncoding::Windows1252 && !IsAscii(headText)) {
        AppendWindows1252(converted, headText);
        headText = converted;
    }
    head = ReadTextHead(headText, isHeadCut, dialect, options, evidence);
    NameTextColumns();
    types = ResolveTypes();
}

void DelimitedText::NameTextColumns() {
    for (const std::string& item : SplitList(options.textColumns)) {
        int place = 0;
        const auto name = std::find_if(head.names.begin(), head.names.end(), [&](const std::string& known) {
            return EqualIgnoringCase(known, item);
        });
        if (name != head.names.end()) {
            evidence.KeepAsText(static_cast<std::size_t>(name - head.names.begin()));
        } else if (NvString::ToInt(item, place) && place >= 1 &&
                   static_cast<std::size_t>(place) <= std::max(head.usualWidth, head.names.size())) {
            evidence.KeepAsText(static_cast<std::size_t>(place) - 1);
        } else {
            throw std::invalid_argument("there is no column '" + item + "' to keep as text");
        }
    }
}

std::vector<ColumnType> DelimitedText::ResolveTypes() const {
    const std::size_t cols = std::max(head.usualWidth, static_cast<std::size_t>(size.cols));
    return options.hasTypes ? evidence.Resolve(cols)
                            : std::vector<ColumnType>(cols, ColumnType{ColumnType::Text, '.', 0});
}

RecordScanner DelimitedText::MakeScanner() const {
    return {text, dialect, head.usualWidth};
}

DelimitedText::Size DelimitedText::Measure() {
    RecordScanner scanner = MakeScanner();
    Size measured;
    while (true) {
        std::size_t width = 0;
        if (const auto line = scanner.PartsLines() ? scanner.NextLine() : std::nullopt) {
            width = 1 + CountByte(line->data(), line->data() + line->size(), dialect.delimiter.front());
        } else if (scanner.Next()) {
            width = scanner.GetFields().size();
        } else {
            return measured;
        }
        if (measured.rows == std::numeric_limits<int>::max()) {
            throw TooManyRows();
        }
        if (measured.rows % RowsBetweenLooks == 0) {
            context.ThrowIfStopped();
        }
        ++measured.rows;
        measured.cols = std::max(measured.cols, static_cast<int>(width));
    }
}

void DelimitedText::Read(ReadSpreadSheetData& sink, const std::function<void()>& startOver) {
    CellOutput output(sink);
    isStreaming = !output.KeepsRows();
    cellRuns = nullptr;
    rowTextSink = nullptr;
    auto* const runSink = dynamic_cast<CellRunSink*>(&sink);
    const bool wantsEvidence = output.WantsWholeEvidence();
    // Texts in runs must be known to be UTF-8.
    proven = 0;
    plainUntil = !isStreaming && !hasDirective && dialect.delimiter.size() == 1 && !dialect.mergeRuns
                     ? source.GetPlainBeginning()
                     : 0;
    if (!IsBelievedPlain() && (!isStreaming || wantsEvidence || runSink != nullptr) &&
        source.ExamineWhole(context)) {
        ExamineHead();
    }
    if (isStreaming && wantsEvidence) {
        SettleTypes();
    }
    BeginReading();
    // What the head tells; the types may turn out otherwise.
    context.shape = head.GetShape(types);
    cellRuns = runSink != nullptr && runSink->PrefersCellRuns() ? runSink : nullptr;
    rowTextSink = isStreaming ? dynamic_cast<RowTextSink*>(&sink) : nullptr;
    ReadRecords(output);
    EndBelief();
    HandOutRowTexts();
    if (!isStreaming) {
        ConvertAgain(output);
    } else if (startOver) {
        ReadAgain(output, startOver);
    }
    sink.SetDataSize(size.cols, size.rows);
    context.shape = head.GetShape(types);
    AddNotes();
}

void DelimitedText::BeginReading() {
    size = {};
    spanLines = false;
    textsBehind = unclosed = contradictions = zones = {};
    letGo = 0;
    rowTextForm.reset();
    rowsInTexts = 0;
}

// By a read of all records that nobody gets.
void DelimitedText::SettleTypes() {
    NothingKept nothing;
    CellOutput output(nothing);
    cellRuns = &nothing;
    BeginReading();
    ReadRecords(output);
    types = ResolveTypes();
}

// Records one by one where they have to be, and in pieces on all cores where lines are records.
void DelimitedText::ReadRecords(CellOutput& output) {
    RecordScanner scanner = MakeScanner();
    std::optional<PieceReaders> readers;
    std::size_t oneByOneUntil = 0;
    bool hasMore = true;
    bool isBelieved = IsBelievedPlain();
    while (hasMore) {
        if (isBelieved != IsBelievedPlain()) {
            isBelieved = IsBelievedPlain();
            readers.reset();
            oneByOneUntil = 0;
        }
        if (WantsOtherRows()) {
            HandOutRowTexts();
            rowTextForm = rowTextSink->GetRowTextForm();
            BeginRowTexts();
            readers.reset();
        }
        if (scanner.GetEnd() >= oneByOneUntil && MayPart(scanner)) {
            if (!readers) {
                readers.emplace(GetLineRules(), GetThreadCount(context.threads, text.size()));
            }
            const std::size_t begin = scanner.GetEnd();
            ReadPieces(*readers, scanner, output);
            if (isBelieved != IsBelievedPlain()) {
                continue;
            }
            const std::size_t done = scanner.GetEnd() - begin;
            // Where records are of a kind that pieces can't be made of, further looks would be in vain.
            oneByOneUntil = done < LeastPiece ? scanner.GetEnd() + BetweenTries : 0;
        }
        hasMore = ReadRecord(scanner, output);
    }
}

bool DelimitedText::ReadRecord(RecordScanner& scanner, CellOutput& output) {
    if (rowTextForm && !WantsOtherRows()) {
        return ReadRowText(scanner, output);
    }
    HandOutRowTexts();
    ProveNext(scanner);
    if (const auto line = scanner.NextLine()) {
        BeginRecord(scanner.GetStart());
        EndRecord(output, PutLine(*line, output));
    } else if (scanner.Next()) {
        BeginRecord(scanner.GetStart());
        NoteFaults(scanner);
        EndRecord(output, PutRecord(scanner, output));
    } else {
        return false;
    }
    return true;
}

// As text; as cells where it is too wide for that.
bool DelimitedText::ReadRowText(RecordScanner& scanner, CellOutput& output) {
    if (!scanner.Next()) {
        return false;
    }
    BeginRecord(scanner.GetStart());
    NoteFaults(scanner);
    if (!PutRowText(scanner)) {
        HandOutRowTexts();
        EndRecord(output, PutRecord(scanner, output));
    }
    return true;
}

// Whether lines are read in pieces: below the heads, where one byte parts the fields that no number has.
bool DelimitedText::MayPart(const RecordScanner& scanner) const {
    if (dialect.delimiter.size() != 1 || dialect.mergeRuns || !scanner.PartsLines() ||
        scanner.GetEnd() >= text.size() || head.usualWidth == 0 || head.usualWidth > MostPieceColumns) {
        return false;
    }
    return IsBelowHead() && !IsPartOfNumbers(dialect.delimiter.front()) && dialect.delimiter.front() != '#';
}

bool DelimitedText::IsBelowHead() const {
    return size.rows >= std::max({head.nameRow, head.unitRow, head.firstDataRow - 1});
}

// Whether the sink takes rows otherwise than when it was last looked: as cells, or as text.
bool DelimitedText::WantsOtherRows() const {
    return rowTextSink != nullptr && IsBelowHead() && rowTextSink->GetRowTextForm() != rowTextForm;
}

LineRules DelimitedText::GetLineRules() const {
    LineRules rules;
    rules.dialect = dialect;
    rules.types = types;
    rules.dateOrder = options.dateOrder;
    rules.isUtf8 = AreFieldsUtf8();
    rules.mustBePlain = IsBelievedPlain();
    rules.isOneByte = source.GetEncoding().kind == TextEncoding::Windows1252;
    rules.makesRuns = cellRuns != nullptr;
    rules.makesTexts = MakesTextRuns();
    rules.keepsWriting = cellRuns != nullptr && cellRuns->WantsWriting();
    rules.rowTexts = rowTextForm;
    rules.textEnd = text.data() + text.size();
    rules.types.resize(head.usualWidth);
    return rules;
}

// Whole lines, which are whole records if the line end is in no quotes: what was read tells. Where records
// are known to go over lines, it is looked for where quotes are pairs up to there; where none are, as of an
// inch, the guess is that they are characters.
std::string_view DelimitedText::CutRecords(std::size_t place, std::size_t pieceSize) const {
    if (text.size() - place <= pieceSize) {
        return text.substr(place);
    }
    const char* const begin = text.data() + place;
    const char* end = begin + pieceSize;
    if (!spanLines) {
        const std::size_t feed = text.substr(place, pieceSize).rfind('\n');
        return feed == std::string_view::npos ? std::string_view() : text.substr(place, feed + 1);
    }
    std::size_t quotes = CountByte(begin, end, dialect.quote);
    std::string_view lines;
    for (int lookedAt = 0; lookedAt < LinesToEndAt; ++lookedAt) {
        const std::size_t feed = std::string_view(begin, static_cast<std::size_t>(end - begin)).rfind('\n');
        if (feed == std::string_view::npos) {
            return lines;
        }
        const char* const behind = begin + feed + 1;
        quotes -= CountByte(behind, end, dialect.quote);
        if (quotes % 2 == 0) {
            return {begin, feed + 1};
        }
        lines = lines.empty() ? std::string_view(begin, feed + 1) : lines;
        end = behind - 1;
    }
    return lines;
}

// As far as records can be read in pieces from where the scanner is, which then stands behind them. Pieces
// are begun where a record seems to; where one turns out to go on, those behind it are for nothing.
void DelimitedText::ReadPieces(PieceReaders& readers, RecordScanner& scanner, CellOutput& output) {
    std::size_t place = scanner.GetEnd();
    std::size_t pieceSize = FirstPiece;
    const std::size_t largestPiece =
        std::clamp(head.usualWidth * BytesOfColumn, LargestPiece, LargestWidePiece);
    bool hasMore = true;
    const bool isBelieved = IsBelievedPlain();
    const CopyingByReaders copying(cellRuns, readers);
    while (hasMore || !readers.IsEmpty()) {
        while (hasMore && readers.HasRoom()) {
            const std::string_view lines =
                place < text.size() ? CutRecords(place, pieceSize) : std::string_view();
            hasMore = !lines.empty();
            if (hasMore) {
                readers.Give(lines);
                place += lines.size();
                pieceSize = std::min(2 * pieceSize, largestPiece);
            }
        }
        if (!readers.IsEmpty()) {
            const LinePiece& piece = readers.Take();
            const std::size_t end = PlaceOf(piece.GetLines().data()) + piece.GetLines().size();
            if (!piece.IsPlain()) {
                GiveUpBelief(scanner, scanner.GetEnd());
            } else {
                plainUntil = isBelieved ? std::max(plainUntil, end) : 0;
                PutPiece(piece, scanner, output);
            }
            readers.LetGo();
            ExpectRows(scanner.GetEnd());
            if (isBelieved != IsBelievedPlain()) {
                readers.Forget();
                return;
            }
            if (scanner.GetEnd() != end) {
                readers.Forget();
                spanLines = true;
                return;
            }
            hasMore = hasMore && !WantsOtherRows();
        }
    }
}

// Whether the text is plain up to here, and looks a little further.
bool DelimitedText::IsPlainUpTo(std::size_t end) {
    if (end > plainUntil) {
        const std::size_t until = std::min(text.size(), end + PlainAtOnce);
        if (!IsPlain(text.substr(plainUntil, until - plainUntil))) {
            return false;
        }
        plainUntil = until;
    }
    return true;
}

// The record that is next must be plain where the text is believed to be, with all that is looked at to
// divide it. Of quotes that leave a choice, that may be anything; and many such looks cost more than one at
// the whole.
void DelimitedText::ProveNext(RecordScanner& scanner) {
    if (!IsBelievedPlain()) {
        return;
    }
    const std::size_t start = scanner.GetEnd();
    RecordScanner trial = MakeScanner();
    trial.Seek(start);
    const bool isThere = trial.NextLine() || trial.Next();
    // A doubled quote, or a second character of a line end, may be behind it.
    const std::size_t end = std::min(text.size(), trial.GetEnd() + 1);
    if (isThere && (++proven > MostProven || trial.HasFaultyQuotes() || !IsPlainUpTo(end))) {
        GiveUpBelief(scanner, start);
    }
}

// The whole text is looked at after all. Up to here nothing of it was another one than it is now.
void DelimitedText::GiveUpBelief(RecordScanner& scanner, std::size_t place) {
    plainUntil = 0;
    if (source.ExamineWhole(context)) {
        text = source.GetText();
    }
    scanner = MakeScanner();
    scanner.Seek(place);
}

// Behind the last record.
void DelimitedText::EndBelief() {
    if (IsBelievedPlain() && IsPlainUpTo(text.size())) {
        source.TakeAsPlain();
    } else if (IsBelievedPlain() && source.ExamineWhole(context)) {
        text = source.GetText();
    }
    plainUntil = 0;
}

// As many for each byte to come as there are of those up to here, and a few more.
void DelimitedText::ExpectRows(std::size_t place) {
    if (cellRuns != nullptr && place > 0) {
        const double rows =
            static_cast<double>(size.rows) * static_cast<double>(text.size()) / static_cast<double>(place);
        cellRuns->ExpectRows(static_cast<int>(
            std::min(rows * RoomForUnevenLines, static_cast<double>(std::numeric_limits<int>::max()))));
    }
}

// Leaves the scanner behind the last record that was put.
void DelimitedText::PutPiece(const LinePiece& piece, RecordScanner& scanner, CellOutput& output) {
    const std::size_t start = PlaceOf(piece.GetLines().data());
    const std::size_t end = start + piece.GetLines().size();
    TellProgress(start);
    if (isStreaming) {
        LetGoBefore(start);
    }
    if (!piece.IsParted() || (piece.HasRowTexts() && WantsOtherRows())) {
        scanner.Seek(start);
        ReadRecordsBefore(end, scanner, output);
        return;
    }
    if (piece.HasRowTexts()) {
        PutRowTexts(piece, scanner, output);
        return;
    }
    othersPut.assign(piece.GetColumns().size(), 0);
    if (types.size() < piece.GetColumns().size()) {
        types.resize(piece.GetColumns().size());
    }
    size.cols = std::max(size.cols, piece.GetRowCount() > piece.GetOddLines().size()
                                        ? static_cast<int>(piece.GetColumns().size())
                                        : 0);
    isHead = isRemark = false;
    votes.clear();
    std::uint32_t row = 0;
    const bool isBelieved = IsBelievedPlain();
    for (const LinePiece::OddLine& odd : piece.GetOddLines()) {
        PutRows(piece, row, odd.row, output);
        const std::size_t place = PlaceOf(odd.line.data());
        scanner.Seek(place);
        ReadRecord(scanner, output);
        if (scanner.GetEnd() != place + odd.line.size() || isBelieved != IsBelievedPlain()) {
            return;
        }
        isHead = isRemark = false;
        votes.clear();
        row = odd.row + 1;
    }
    PutRows(piece, row, piece.GetRowCount(), output);
    PutOpenRecord(piece, scanner, output);
}

// One at the end whose quote isn't closed in the piece.
void DelimitedText::PutOpenRecord(const LinePiece& piece, RecordScanner& scanner, CellOutput& output) {
    const std::size_t start = PlaceOf(piece.GetLines().data());
    scanner.Seek(start + piece.GetTaken().size());
    if (scanner.GetEnd() < start + piece.GetLines().size()) {
        ReadRecord(scanner, output);
    }
}

void DelimitedText::ReadRecordsBefore(std::size_t end, RecordScanner& scanner, CellOutput& output) {
    while (scanner.GetEnd() < end && ReadRecord(scanner, output)) {
    }
}

// Rows of a piece, which are as the sink writes them, and the records between them.
void DelimitedText::PutRowTexts(const LinePiece& piece, RecordScanner& scanner, CellOutput& output) {
    std::size_t begin = 0;
    const std::vector<LinePiece::RowTexts>& stretches = piece.GetStretches();
    for (std::size_t i = 0; i < stretches.size(); ++i) {
        PutRowTexts(stretches[i], piece.GetRowTexts().substr(begin, stretches[i].end - begin));
        begin = stretches[i].end;
        if (i == piece.GetOddLines().size()) {
            PutOpenRecord(piece, scanner, output);
            return;
        }
        const std::string_view odd = piece.GetOddLines()[i].line;
        scanner.Seek(PlaceOf(odd.data()));
        ReadRecord(scanner, output);
        if (scanner.GetEnd() != PlaceOf(odd.data()) + odd.size()) {
            return;
        }
        if (WantsOtherRows()) {
            ReadRecordsBefore(PlaceOf(piece.GetLines().data()) + piece.GetLines().size(), scanner, output);
            return;
        }
    }
}

void DelimitedText::PutRowTexts(const LinePiece::RowTexts& stretch, std::string_view rowsAsText) {
    if (stretch.rows == 0) {
        return;
    }
    HandOutRowTexts();
    if (stretch.rows > static_cast<std::uint32_t>(std::numeric_limits<int>::max() - size.rows)) {
        throw TooManyRows();
    }
    const int rows = static_cast<int>(stretch.rows);
    const int cols = static_cast<int>(stretch.widest);
    if (stretch.zones.count > 0) {
        AddZones(stretch.zones.count, PlaceOf(stretch.zones.first));
    }
    rowTextSink->PutRowTexts(size.rows + 1, rows, cols, rowsAsText);
    size.rows += rows;
    size.cols = std::max(size.cols, cols);
}

void DelimitedText::BeginRowTexts() {
    rowTexts.Begin(rowTextForm ? rowTextForm->separator : ',');
    jsonRows.Begin(rowTextForm ? rowTextForm->members : nullptr);
}

std::string_view DelimitedText::GetRowTexts() const {
    return rowTextForm && rowTextForm->kind == RowTextForm::JsonLines ? jsonRows.GetBytes()
                                                                      : rowTexts.GetBytes();
}

// The record at hand as a row of text. False, with nothing done, where it is wider than the sink's rows.
bool DelimitedText::PutRowText(const RecordScanner& scanner) {
    const std::size_t width = scanner.GetFields().size();
    if (!rowTextForm || width > rowTextForm->width) {
        return false;
    }
    if (rowTextForm->kind == RowTextForm::JsonLines) {
        PutJsonRow(scanner);
    } else {
        PutSeparatedRow(scanner);
    }
    firstRowInTexts = rowsInTexts == 0 ? size.rows : firstRowInTexts;
    ++rowsInTexts;
    widestInTexts = std::max(widestInTexts, width);
    size.cols = std::max(size.cols, static_cast<int>(width));
    if (GetRowTexts().size() >= RowTextsAtOnce) {
        HandOutRowTexts();
    }
    LetGoBefore(recordStart);
    return true;
}

void DelimitedText::PutJsonRow(const RecordScanner& scanner) {
    const int width = PutRecord(scanner, jsonOutput);
    Vote(width);
    jsonRows.EndRow(rowTextForm->width);
}

void DelimitedText::PutSeparatedRow(const RecordScanner& scanner) {
    const auto fields = scanner.GetFields();
    for (std::size_t col = 0; col < fields.size(); ++col) {
        const std::string_view value = source.ToUtf8(scanner.GetText(fields[col], storage), utf8);
        if (!isRemark && col < types.size() && types[col].kind == ColumnType::DateTime &&
            HasZone(value, options.dateOrder)) {
            AddZones(1, recordStart);
        }
        // A cell's text ends at a NUL.
        rowTexts.Add(value.substr(0, value.find('\0')));
    }
    rowTexts.EndRow(rowTextForm->width);
}

void DelimitedText::HandOutRowTexts() {
    if (rowsInTexts > 0) {
        rowTextSink->PutRowTexts(firstRowInTexts, rowsInTexts, static_cast<int>(widestInTexts),
                                 GetRowTexts());
    }
    rowTexts.Clear();
    jsonRows.Clear();
    rowsInTexts = 0;
    widestInTexts = 0;
}

// Rows of a piece, from one to before the other, which then are the last ones of the table.
void DelimitedText::PutRows(const LinePiece& piece, std::uint32_t first, std::uint32_t last,
                            CellOutput& output) {
    if (last - first > static_cast<std::uint32_t>(std::numeric_limits<int>::max() - size.rows)) {
        throw TooManyRows();
    }
    if (cellRuns != nullptr || output.PrefersColumns()) {
        for (std::size_t col = 0; col < piece.GetColumns().size(); ++col) {
            PutColumn(piece, col, first, last, output);
        }
        size.rows += static_cast<int>(last - first);
        if (isStreaming && last > first) {
            context.ThrowIfStopped();
            output.EndRow(size.rows);
        }
    } else {
        for (std::uint32_t row = first; row < last; ++row) {
            ++size.rows;
            PutRow(piece, row, output);
            if (isStreaming) {
                context.ThrowIfStopped();
                output.EndRow(size.rows);
            }
        }
    }
    Contradict();
}

void DelimitedText::PutColumn(const LinePiece& piece, std::size_t col, std::uint32_t first,
                              std::uint32_t last, CellOutput& output) {
    const LinePiece::Column& column = piece.GetColumns()[col];
    const int place = static_cast<int>(col) + 1;
    const auto rowOf = [&](std::uint32_t row) { return size.rows + 1 + static_cast<int>(row - first); };
    const bool hasRuns = HasRuns(col);
    std::uint32_t begin = first;
    const auto putRun = [&](std::uint32_t end) {
        if (hasRuns && end > begin) {
            PutRun(piece, col, begin, end, rowOf(begin), output);
        }
    };
    const std::size_t firstOther = othersPut[col];
    std::size_t at = firstOther;
    for (; at < column.others.size() && column.others[at].row < last; ++at) {
        const LinePiece::Other& other = column.others[at];
        if (other.kind != LinePiece::Other::Source) {
            putRun(other.row);
            PutOther(piece, other, output, place, rowOf(other.row));
            begin = other.row + 1;
        }
    }
    putRun(last);
    for (std::size_t i = firstOther; i < at && hasRuns; ++i) {
        if (column.others[i].kind == LinePiece::Other::Source) {
            output.Source(place, rowOf(column.others[i].row), column.others[i].text);
        }
    }
    othersPut[col] = at;
}

// Whether the cells of a piece's column are values side by side, but for the others.
bool DelimitedText::HasRuns(std::size_t col) const {
    switch (types[col].kind) {
        case ColumnType::Number:
            return true;
        case ColumnType::Text:
            return MakesTextRuns();
        case ColumnType::Empty:
            return false;
        default:
            return cellRuns != nullptr;
    }
}

// Whether texts are UTF-8 without a further look, or become it without one.
bool DelimitedText::MakesTextRuns() const {
    return cellRuns != nullptr && (AreFieldsUtf8() || source.GetEncoding().kind == TextEncoding::Windows1252);
}

void DelimitedText::PutRun(const LinePiece& piece, std::size_t col, std::uint32_t first, std::uint32_t last,
                           int row, CellOutput& output) {
    const LinePiece::Column& column = piece.GetColumns()[col];
    const int place = static_cast<int>(col) + 1;
    const ColumnType::Kind kind = types[col].kind;
    if (kind == ColumnType::Text) {
        TextRun run = column.texts.GetRun(first, last);
        // Where an ASCII byte parts the fields of UTF-8, no character is divided.
        run.areUtf8 = static_cast<unsigned char>(dialect.delimiter.front()) < 0x80;
        cellRuns->SetTextRun(place, row, run);
    } else if (kind != ColumnType::Number) {
        cellRuns->SetValueRun(place, row, GetRunKind(kind, column.areBlanked),
                              std::span(column.values).subspan(first, last - first));
    } else if (cellRuns != nullptr) {
        PutNumberRun(piece, col, first, last, row);
    } else {
        output.ColumnRun(place, row, std::span(column.numbers).subspan(first, last - first));
    }
}

void DelimitedText::PutNumberRun(const LinePiece& piece, std::size_t col, std::uint32_t first,
                                 std::uint32_t last, int row) {
    const LinePiece::Column& column = piece.GetColumns()[col];
    const int place = static_cast<int>(col) + 1;
    const std::size_t count = last - first;
    const std::span<const double> numbers = std::span(column.numbers).subspan(first, count);
    const std::span<const std::uint8_t> decimals = column.hasDecimals
                                                       ? std::span(column.decimals).subspan(first, count)
                                                       : std::span<const std::uint8_t>();
    if (column.writing.empty()) {
        cellRuns->SetCellRun(place, row, numbers, decimals);
    } else {
        cellRuns->SetNumbersOfText(place, row, numbers, decimals,
                                   {piece.GetLines().data(), text.data() + text.size(),
                                    std::span(column.writing).subspan(first, count)});
    }
}

void DelimitedText::PutRow(const LinePiece& piece, std::uint32_t row, CellOutput& output) {
    const std::vector<LinePiece::Column>& columns = piece.GetColumns();
    rowNumbers.clear();
    sourcesOfRow.clear();
    const auto putRun = [&](std::size_t end) {
        if (!rowNumbers.empty()) {
            output.RowRun(static_cast<int>(end - rowNumbers.size()) + 1, size.rows, rowNumbers);
            rowNumbers.clear();
        }
    };
    for (std::size_t col = 0; col < columns.size(); ++col) {
        const LinePiece::Column& column = columns[col];
        std::size_t& at = othersPut[col];
        if (at == column.others.size() || column.others[at].row != row) {
            rowNumbers.push_back(column.numbers[row]);
            continue;
        }
        const LinePiece::Other& other = column.others[at++];
        if (other.kind == LinePiece::Other::Source) {
            rowNumbers.push_back(column.numbers[row]);
            sourcesOfRow.push_back({static_cast<int>(col) + 1, other.text});
        } else {
            putRun(col);
            PutOther(piece, other, output, static_cast<int>(col) + 1, size.rows);
        }
    }
    putRun(columns.size());
    for (const auto& [col, text] : sourcesOfRow) {
        output.Source(col, size.rows, text);
    }
}

void DelimitedText::PutOther(const LinePiece& piece, const LinePiece::Other& other, CellOutput& output,
                             int col, int row) {
    switch (other.kind) {
        case LinePiece::Other::Missing:
            output.Missing(col, row);
            break;
        case LinePiece::Other::Text:
            PutText(other.text, output, col, row);
            break;
        case LinePiece::Other::Value:
        case LinePiece::Other::Unlooked:
            recordStart = PlaceOf(piece.GetLines().data()) + other.record;
            if (other.kind == LinePiece::Other::Value) {
                PutLooked(piece.GetForm(other), other.text, output, col, row);
            } else {
                PutValue(source.ToUtf8(other.text, utf8), output, col, row);
            }
            break;
        case LinePiece::Other::Source:
            break;
    }
}

void DelimitedText::TellProgress(std::size_t place) const {
    context.ThrowIfStopped();
    if (context.progress) {
        context.progress(static_cast<double>(place) / static_cast<double>(text.size()));
    }
}

// A text that streams is behind the reading up to here.
void DelimitedText::LetGoBefore(std::size_t place) {
    if (place >= letGo + BytesToLetGo) {
        letGo = place;
        source.LetGo(letGo);
    }
}

void DelimitedText::BeginRecord(std::size_t start) {
    if (size.rows == std::numeric_limits<int>::max()) {
        throw TooManyRows();
    }
    if (size.rows % RowsBetweenLooks == 0) {
        TellProgress(start);
    } else if (isStreaming) {
        context.ThrowIfStopped();
    }
    ++size.rows;
    recordStart = start;
    isRemark = text[start] == '#';
    isHead = head.IsHead(size.rows);
    votes.clear();
}

void DelimitedText::EndRecord(CellOutput& output, int width) {
    size.cols = std::max(size.cols, width);
    Vote(width);
    if (isStreaming) {
        output.EndRow(size.rows);
        LetGoBefore(recordStart);
    }
}

// Of the record at hand, which has so many fields.
void DelimitedText::Vote(int width) {
    if (head.Votes(size.rows, static_cast<std::size_t>(width), isRemark)) {
        Contradict();
    }
}

// What the votes at hand say against the types.
void DelimitedText::Contradict() {
    for (const OtherForm& vote : votes) {
        contradictions.first =
            contradictions.count == 0 ? vote.start : std::min(contradictions.first, vote.start);
        ++contradictions.count;
        evidence.Vote(static_cast<std::size_t>(vote.col) - 1, vote.bits);
    }
    votes.clear();
}

int DelimitedText::PutRecord(const RecordScanner& scanner, CellOutput& output) {
    const auto fields = scanner.GetFields();
    if (types.size() < fields.size()) {
        types.resize(fields.size());
    }
    int col = 0;
    for (const TextField& field : fields) {
        PutField(scanner, field, output, ++col, size.rows);
    }
    return col;
}

// A record without quotes: divided, looked at and handed out in one pass.
int DelimitedText::PutLine(std::string_view line, CellOutput& output) {
    const char delimiter = dialect.delimiter.front();
    const char* at = line.data();
    const char* const end = at + line.size();
    const bool mayHoldNumbers = !isHead && !isRemark && !IsPartOfNumbers(delimiter);
    for (int col = 1;; ++col) {
        if (types.size() < static_cast<std::size_t>(col)) {
            types.resize(static_cast<std::size_t>(col));
        }
        const ColumnType::Kind kind = types[static_cast<std::size_t>(col) - 1].kind;
        if (!(kind == ColumnType::Number && mayHoldNumbers && PutPlainNumber(at, end, output, col))) {
            const char* const fieldEnd = FindByte(at, end, delimiter);
            const std::string_view value(at, static_cast<std::size_t>(fieldEnd - at));
            if (value.empty()) {
                output.Missing(col, size.rows);
            } else if (kind == ColumnType::Text) {
                PutText(value, output, col, size.rows);
            } else {
                PutValue(source.ToUtf8(value, utf8), output, col, size.rows);
            }
            at = fieldEnd;
        }
        if (at == end) {
            return col;
        }
        ++at;
        at += dialect.skipsBlank && at != end && *at == ' ' ? 1 : 0;
    }
}

// A field of a column of numbers that is one, as most are. False, without a step, for any other.
bool DelimitedText::PutPlainNumber(const char*& at, const char* end, CellOutput& output, int col) {
    FieldForm form;
    const char* const behind = TakePlainNumber(at, end, text.data() + text.size(), dialect.delimiter.front(),
                                               types[static_cast<std::size_t>(col) - 1], form);
    if (behind == nullptr) {
        return false;
    }
    output.Number(col, size.rows, form.number);
    if (!form.isCanonical) {
        output.Source(col, size.rows, {at, static_cast<std::size_t>(behind - at)});
    }
    at = behind;
    return true;
}

void DelimitedText::PutText(std::string_view value, CellOutput& output, int col, int row) {
    output.Text(col, row, source.ToUtf8(value, utf8));
}

// One cell. A field without a character is missing, unless quotes say that it is the empty text.
void DelimitedText::PutField(const RecordScanner& scanner, const TextField& field, CellOutput& output,
                             int col, int row) {
    if (!field.text.empty() || !field.behind.empty()) {
        PutValue(source.ToUtf8(scanner.GetText(field, storage), utf8), output, col, row);
    } else if (field.isQuoted) {
        output.Text(col, row, {});
    } else {
        output.Missing(col, row);
    }
}

// A cell's characters, in UTF-8.
void DelimitedText::PutValue(std::string_view value, CellOutput& output, int col, int row) {
    const bool isAxis =
        isHead && row == head.nameRow && head.firstAxisColumn > 0 && col >= head.firstAxisColumn;
    if (types[static_cast<std::size_t>(col) - 1].kind == ColumnType::Text || isRemark ||
        (isHead && !isAxis)) {
        output.Text(col, row, value);
    } else {
        PutLooked(GetFieldForm(value, options.dateOrder), value, output, col, row);
    }
}

void DelimitedText::PutLooked(const FieldForm& form, std::string_view value, CellOutput& output, int col,
                              int row) {
    if ((form.bits & ~types[static_cast<std::size_t>(col) - 1].accepted) != 0) {
        votes.push_back({col, form.bits, recordStart});
        output.Text(col, row, value);
        return;
    }
    PutTypedField(types[static_cast<std::size_t>(col) - 1], form, value, output, col, row);
    if ((form.bits & FieldForm::WithZone) != 0) {
        AddZones(1, recordStart);
    }
}

void DelimitedText::AddZones(std::uint64_t count, std::size_t first) {
    zones.first = zones.count == 0 ? first : std::min(zones.first, first);
    zones.count += count;
}

// The columns that turned out otherwise than the file's beginning had them.
void DelimitedText::ConvertAgain(CellOutput& output) {
    std::vector<ColumnType> settled = ResolveTypes();
    std::vector<std::size_t> columns;
    for (std::size_t col = 0; col < settled.size(); ++col) {
        if (settled[col].kind != types[col].kind || settled[col].decimalMark != types[col].decimalMark ||
            settled[col].accepted != types[col].accepted) {
            columns.push_back(col);
        }
    }
    types = std::move(settled);
    contradictions = {};
    if (!columns.empty()) {
        zones = {};
        ConvertColumns(columns, output);
    }
}

// The same where nothing is there any more to be converted again.
void DelimitedText::ReadAgain(CellOutput& output, const std::function<void()>& startOver) {
    std::vector<ColumnType> settled = ResolveTypes();
    settled.resize(std::max(settled.size(), types.size()));
    types.resize(settled.size());
    if (settled != types) {
        types = std::move(settled);
        startOver();
        BeginReading();
        ReadRecords(output);
    }
}

void DelimitedText::ConvertColumns(const std::vector<std::size_t>& columns, CellOutput& output) {
    RecordScanner scanner = MakeScanner();
    for (int row = 1; scanner.Next(); ++row) {
        if (row % RowsBetweenLooks == 0) {
            context.ThrowIfStopped();
        }
        const auto fields = scanner.GetFields();
        recordStart = scanner.GetStart();
        isRemark = text[recordStart] == '#';
        isHead = head.IsHead(row);
        votes.clear();
        for (const std::size_t col : columns) {
            if (col < fields.size()) {
                PutField(scanner, fields[col], output, static_cast<int>(col) + 1, row);
            }
        }
    }
}

void DelimitedText::NoteFaults(const RecordScanner& scanner) {
    if (scanner.GetTextsBehindQuotes() > 0) {
        textsBehind.first = textsBehind.count == 0 ? scanner.GetStart() : textsBehind.first;
        textsBehind.count += scanner.GetTextsBehindQuotes();
    }
    if (scanner.GetUnclosedQuotes() > 0) {
        unclosed.first = unclosed.count == 0 ? scanner.GetStart() : unclosed.first;
        unclosed.count += scanner.GetUnclosedQuotes();
    }
}

// "line 12" of the file, whose beginning may have been let go of.
std::string DelimitedText::LineOf(std::size_t offset) const {
    std::uint64_t lines = 1;
    for (std::size_t place = 0; place < offset; place += std::min(BytesToLetGo, offset - place)) {
        const std::string_view piece = text.substr(place, std::min(BytesToLetGo, offset - place));
        lines += static_cast<std::uint64_t>(std::count(piece.begin(), piece.end(), '\n'));
        for (std::size_t at = piece.find('\r'); at != std::string_view::npos; at = piece.find('\r', at + 1)) {
            lines += place + at + 1 < offset && text[place + at + 1] == '\n' ? 0 : 1;
        }
        if (isStreaming) {
            source.LetGo(place);
        }
    }
    return "line " + std::to_string(lines + (hasDirective ? 1 : 0));
}

void DelimitedText::AddNotes() {
    karta::Notes& notes = context.notes;
    if (size.rows == 0) {
        notes.Add({"empty-file", 1, "", "the file is empty"});
    }
    source.AddNotes(notes);
    if (textsBehind.count > 0) {
        const std::string line = LineOf(textsBehind.first);
        notes.Add({"text-behind-quote", textsBehind.count, line,
                   karta::CountOf(textsBehind.count, "field") +
                       " with text behind the closing quote (first: " + line + ")"});
    }
    if (unclosed.count > 0) {
        const std::string line = LineOf(unclosed.first);
        notes.Add({"unclosed-quote", unclosed.count, line,
                   karta::CountOf(unclosed.count, "quote") +
                       " never closed and taken as part of the text (first: " + line + ")"});
    }
    if (contradictions.count > 0) {
        const std::string line = LineOf(contradictions.first);
        notes.Add({"late-texts", contradictions.count, line,
                   karta::CountOf(contradictions.count, "field") +
                       " of another type than the file's beginning has in their columns were kept as text "
                       "(first: " +
                       line + ")"});
    }
    if (zones.count > 0) {
        const std::string line = LineOf(zones.first);
        notes.Add({"time-zones", zones.count, line,
                   karta::CountOf(zones.count, "time") + " with a zone became UTC (first: " + line + ")"});
    }
    // Where no types are wanted there is nothing to settle.
    const auto unsettled =
        options.hasTypes ? evidence.GetUnsettledColumns(types) : std::vector<std::size_t>();
    for (const std::size_t col : unsettled) {
        const std::string place = "column " + std::to_string(col + 1);
        notes.Add({"unsettled-numbers", 1, place,
                   place + " stays text: nothing in the file tells decimal marks from marks of groups in its "
                           "numbers; --decimal says which it is"});
    }
}

std::vector<FileContents::Fact> DelimitedText::ListFacts() const {
    std::vector<FileContents::Fact> facts;
    facts.emplace_back("encoding", source.GetEncoding().name);
    facts.emplace_back("delimiter", GetName(dialect));
    if (dialect.skipsBlank) {
        facts.emplace_back("blank behind each delimiter", "left out");
    }
    facts.emplace_back("quote", std::string(1, dialect.quote));
    if (dialect.escape != '\0') {
        facts.emplace_back("escape", std::string(1, dialect.escape));
    }
    if (const char mark = evidence.GetDecimalMark()) {
        facts.emplace_back("decimal mark", std::string(1, mark));
    }
    facts.emplace_back("header row", head.nameRow, "");
    if (head.unitRow > 0) {
        facts.emplace_back("units row", head.unitRow, "");
    }
    if (head.firstAxisColumn > 0) {
        facts.emplace_back("axis from column", head.firstAxisColumn, "");
    }
    if (head.hasIndexColumn) {
        facts.emplace_back("index column", 1, "");
    }
    facts.emplace_back("types", ListTypes(types));
    return facts;
}
